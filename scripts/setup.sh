#!/usr/bin/env bash
# Installs every Debian 12 package the build and the tests need, builds the
# Release configuration into build/release and installs it under /usr/local
# (so that `import vantrove` works in /usr/bin/python3). Safe to run again.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  # toolchain
  cmake g++ ninja-build pkg-config clang libclang-rt-14-dev
  # libraries
  libicu-dev libcli11-dev nlohmann-json3-dev libsimdjson-dev libpugixml-dev libzip-dev zlib1g-dev
  # the Qt 6 control adapters and the drawing browser example
  qt6-base-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev python3-ezdxf
  # an independent reader of written DWG 2000 files (GDAL's CAD driver, ogrinfo)
  gdal-bin
  # Word and Excel files: encryption, independent readers, rendering, benchmark peer
  libssl-dev python3-openpyxl python3-docx python3-msoffcrypto-tool poppler-utils libxlsxwriter-dev
  libreoffice-calc-nogui libreoffice-writer-nogui fonts-dejavu-core fonts-liberation2
  # databases: the ODBC driver manager, its drivers, and the test servers
  unixodbc unixodbc-dev odbcinst libsqliteodbc odbc-postgresql odbc-mariadb tdsodbc sqlite3
  postgresql mariadb-server mariadb-client
  # clipboard tests on a virtual X server
  xvfb xclip xsel x11-utils
  # the Python module, its tests, the Dask example; the Debian package
  pybind11-dev python3-dev python3-numpy python3-pytest python3-dask python3-distributed dpkg-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
if ((${#missing[@]})); then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get -o DPkg::Lock::Timeout=600 update -q
  $SUDO apt-get -o DPkg::Lock::Timeout=600 install -y -q --no-install-recommends "${missing[@]}"
fi

scripts/build.sh release

# Install the library, headers, CMake and pkg-config files, the tool with its
# man page and completion, and the Python module (for /usr/bin/python3) under
# /usr/local, then refresh the linker cache for /usr/local/lib.
$SUDO cmake --install build/release --prefix /usr/local >/dev/null
$SUDO ldconfig
