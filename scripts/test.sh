#!/usr/bin/env bash
# Builds the Release and the sanitizer configurations and runs every test in
# both. Exits non-zero when a build or a test fails.
set -euo pipefail
cd "$(dirname "$0")/.."
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
status=0
for config in release sanitize; do
  echo "== $config build"
  scripts/build.sh "$config"
  echo "== $config tests"
  ctest --test-dir "build/$config" --output-on-failure -j "$(nproc)" || status=1
done
# The JSON request reader under the sanitizers, on mutated requests for a
# bounded time (VANTROVE_FUZZ_SECONDS, default 60). Only a crash fails.
echo "== fuzzing the JSON request reader"
fuzz_dir=$(mktemp -d)
build/sanitize/bin/json_request_fuzzer -max_total_time="${VANTROVE_FUZZ_SECONDS:-60}" \
  -dict=cli/fuzz/json.dict -artifact_prefix="$fuzz_dir/" cli/fuzz/seeds || { status=1; ls -l "$fuzz_dir"; }
rm -rf "$fuzz_dir"
exit $status
