#!/usr/bin/env bash
# Builds the 2007 page fuzzer and runs it for a while (default 600 s),
# seeded with the corpus 2007 drawings (mode byte 2, then each file minus its
# first 0x80 bytes) and a few small decompressor and codeword inputs.
# Crashes land in build/fuzz/crashes-2007/; turn each into a regression test.
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${1:-600}
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_COMPILER=clang -DVANTROVE_FUZZ=ON -DVANTROVE_TESTS=OFF -DVANTROVE_BENCH=OFF >/dev/null
cmake --build build/fuzz --target dwg2007_page_fuzzer -j 2
seeds=build/fuzz/corpus-2007
mkdir -p "$seeds" build/fuzz/crashes-2007
for f in ../shared/corpus/dwg/*.dwg; do
  [ -f "$f" ] || continue
  if [ "$(head -c 6 "$f")" = "AC1021" ]; then
    { printf '\x02'; tail -c +129 "$f"; } > "$seeds/$(basename "$f" .dwg).seed"
  fi
done
printf '\x00\x40\x00\x0f\x05abcdefghijklmnopqrstuvwxyz0123\x40\x00\x11' > "$seeds/decompress.seed"
head -c 800 /dev/zero | { printf '\x01\x05'; cat; } > "$seeds/codewords.seed"
cd build/fuzz  # libFuzzer writes its job logs into the working folder
bin/dwg2007_page_fuzzer corpus-2007 -jobs=1 -max_len=1100000 -rss_limit_mb=2048 -timeout=20 \
  -max_total_time="$seconds" -artifact_prefix=crashes-2007/ -print_final_stats=1
