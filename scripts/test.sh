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
exit $status
