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
# The .pc file names no run path: the loader is told where the library is,
# as it would be by ldconfig for a system install. The library finds its
# reference data in the installed data directory: no environment variable.
LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR "$work/consumer_pc"

# A reference file beside the library is read before the installed one:
# an unreadable protocol tree there makes the same host fail.
mkdir "$libdir/pat"
echo "not a protocol tree" >"$libdir/pat/proto_tree.xml"
if LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR "$work/consumer_pc" \
    2>/dev/null; then
  echo "a protocol tree beside the library was not read first" >&2
  exit 1
fi
rm -r "$libdir/pat"

# Only $includedir itself goes on the include path: no subsystem folder.
flags=$(pkg-config --cflags quarn_common)
set -- $flags
if [ $# -ne 1 ] || [ "$(realpath "${1#-I}")" != "$(realpath "$prefix/include")" ]; then
  echo "pkg-config --cflags gives '$flags', not only -I$prefix/include" >&2
  exit 1
fi
if pkg-config --libs quarn_common | grep -q rpath; then
  echo "pkg-config --libs carries a run path" >&2
  exit 1
fi

cmake -S "$src" -B "$work/cmake_build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_CXX_FLAGS="${extra[*]:-}" >/dev/null
cmake --build "$work/cmake_build" >/dev/null
env -u QUARN_MODULE_DIR "$work/cmake_build/consumer"
env -u QUARN_MODULE_DIR "$work/cmake_build/one_header"

# Reference data in $datadir/quarn_common, examples under the docs, and
# nothing but the library and the package files in $libdir.
for f in pat/proto_tree.xml ipt1.dat ipt2.dat url/sys_url.dat; do
  test -f "$prefix/share/quarn_common/$f"
done
ls "$prefix"/share/doc/*/examples/gateway/ip_obj_mgr.xml >/dev/null
unexpected=$(cd "$libdir" && find . -mindepth 1 \( -path ./pkgconfig \
  -o -path ./cmake \) -prune -o -print | grep -v '^\./libquarn_common\.so' || true)
if [ -n "$unexpected" ]; then
  echo "unexpected files in $libdir: $unexpected" >&2
  exit 1
fi
# No implementation header is installed.
if find "$prefix/include" -name '*_internal.h' | grep -q .; then
  echo "implementation headers installed" >&2
  exit 1
fi

test -L "$libdir/libquarn_common.so"
ls "$libdir" | grep -q 'libquarn_common.so.0'
echo "install consumer: 3 passed, 0 failed"
