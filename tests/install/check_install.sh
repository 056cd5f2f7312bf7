#!/usr/bin/env bash
# check_install.sh <build dir> <scratch dir> <consumer source dir> <c++>
set -euo pipefail
build=$1 work=$2 src=$3 cxx=$4
rm -rf "$work" && mkdir -p "$work"
prefix="$work/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null

# A sanitized library needs the sanitizer runtime in its hosts too.
extra=()
if grep -q 'QUARN_SANITIZE:BOOL=ON' "$build/CMakeCache.txt"; then
  extra=(-fsanitize=address,undefined)
fi

libdir=$(ls -d "$prefix"/lib*/pkgconfig | head -n 1 | xargs dirname)
export PKG_CONFIG_PATH="$libdir/pkgconfig"
"$cxx" -std=c++17 "${extra[@]}" -o "$work/consumer_pc" "$src/consumer.cc" \
  $(pkg-config --cflags --libs quarn_common)
# The installed tree is the module directory: no environment variable.
env -u QUARN_MODULE_DIR "$work/consumer_pc"

cmake -S "$src" -B "$work/cmake_build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_CXX_FLAGS="${extra[*]:-}" >/dev/null
cmake --build "$work/cmake_build" >/dev/null
env -u QUARN_MODULE_DIR "$work/cmake_build/consumer"

test -L "$libdir/libquarn_common.so"
ls "$libdir" | grep -q 'libquarn_common.so.0'
echo "install consumer: 2 passed, 0 failed"
