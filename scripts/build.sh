#!/usr/bin/env bash
# Configures and builds one configuration: release (default) or sanitize
# (address + undefined behaviour sanitizers, with debug info).
set -euo pipefail
cd "$(dirname "$0")/.."
config=${1:-release}
case "$config" in
  release)  flags=(-DCMAKE_BUILD_TYPE=Release) ;;
  sanitize) flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DVANTROVE_SANITIZE=ON -DVANTROVE_BENCH=OFF) ;;
  *) echo "usage: scripts/build.sh [release|sanitize]" >&2; exit 2 ;;
esac
jobs=$(nproc)
cmake -S . -B "build/$config" -G Ninja -DVANTROVE_WERROR=ON "${flags[@]}" >/dev/null
cmake --build "build/$config" -j "$jobs"
