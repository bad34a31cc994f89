#!/usr/bin/env bash
# Builds the DXF fuzzer and runs it for a while (default 600 s), seeded with
# the test fixtures and, when present, the shared corpus drawings. Crashes
# land in build/fuzz/crashes/; turn each into a regression test.
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-600}
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_COMPILER=clang -DVANTROVE_FUZZ=ON -DVANTROVE_TESTS=OFF -DVANTROVE_BENCH=OFF >/dev/null
cmake --build build/fuzz --target dxf_fuzzer -j 2
mkdir -p build/fuzz/corpus build/fuzz/crashes
cp tests/engine/fixtures/*.dxf build/fuzz/corpus/
if [ -d ../shared/corpus/dxf ]; then
  find ../shared/corpus/dxf -name '*.dxf' -size -120k -exec cp {} build/fuzz/corpus/ \;
fi
dict=$PWD/engine/fuzz/dxf.dict
cd build/fuzz  # libFuzzer writes its job logs into the working folder
bin/dxf_fuzzer corpus -jobs=1 -max_len=16384 -rss_limit_mb=2048 -timeout=10 \
  -max_total_time="$seconds" -artifact_prefix=crashes/ -dict="$dict"
