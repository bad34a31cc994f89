#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, then builds and runs a
# small outside project against it twice: with CMake (find_package(Vantrove))
# and with pkg-config. Usage: outside-project.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1 source=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/vantrove-outside.XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
sample=$source/samples/title-blocks.dxf

cmake --install "$build" --prefix "$prefix" >/dev/null
expected_version=$("$prefix/bin/vantrove" call Version | sed 's/.*"result":"\([^"]*\)".*/\1/')

check() {  # the program's output: both versions, "OK", one table, the engine's "1000:Ok"
  local out
  out=$("$1" "$sample")
  echo "$out"
  [[ $(sed -n 1p <<<"$out") == "$expected_version $expected_version" ]]
  [[ $(sed -n 2p <<<"$out") == "OK" ]]
  [[ $(sed -n 3p <<<"$out") == 1\ * ]]
  [[ $(sed -n 4p <<<"$out") == "1 1000:Ok" ]]
}

echo "== CMake"
cmake -S "$source/tests/package/outside" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_BUILD_TYPE=Release -DCMAKE_BUILD_RPATH="$prefix/lib" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
check "$work/cmake-build/outside"

echo "== pkg-config"
export PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vantrove.pc)")
flags=$(pkg-config --cflags --libs vantrove)
echo "pkg-config: $flags"
libdir=$(pkg-config --variable=libdir vantrove)
c++ -std=c++20 -O1 "$source/tests/package/outside/main.cpp" -o "$work/outside-pc" $flags -Wl,-rpath,"$libdir"
check "$work/outside-pc"

echo "== Python module from the prefix"
site=$(dirname "$(find "$prefix" -name __init__.py -path '*vantrove/*')")
if [[ -d $site ]]; then
  PYTHONPATH=$(dirname "$site") /usr/bin/python3 -c \
    'import vantrove, sys; v = vantrove.Vantrove(); assert vantrove.__file__.startswith(sys.argv[1]), vantrove.__file__; print(v.Version())' \
    "$prefix"
fi
