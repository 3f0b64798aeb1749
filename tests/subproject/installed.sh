#!/bin/sh
# BUILD SOURCE: a host is built against an installation of BUILD, once by find_package and once by pkg-config, and run.
set -eu
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
for component in runtime development; do
    cmake --install "$1" --prefix "$prefix" --component $component >"$prefix/log"
done
cmake -S "$2" -B "$prefix/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$prefix/log"
cmake --build "$prefix/build"
"$prefix/build/linked_host"
library=$(find "$prefix" -name 'liblarkmoor.so.0')
PKG_CONFIG_PATH=$(dirname "$library")/pkgconfig
export PKG_CONFIG_PATH
c++ -std=c++11 "$2/host.cpp" -o "$prefix/host" $(pkg-config --define-variable=prefix="$prefix" --cflags --libs larkmoor)
LD_LIBRARY_PATH=$(dirname "$library") "$prefix/host"
readelf -d "$library" | grep -q 'BIND_NOW'
