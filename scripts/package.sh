#!/usr/bin/env bash
# Builds the Debian package and checks it as a user would meet it.
#
#   scripts/package.sh
#
# Configures build-deb/ for an install under /usr (no tests), builds, runs
# cpack, and then:
#   - lintian must report no error on the package;
#   - the package, unpacked with dpkg -x into a scratch root, must build a
#     host with pkg-config and find_package, and that host must find the
#     library's reference data with no environment variable set;
#   - the unpacked quarn must answer --version and classify the example
#     connections with the example configuration from the package's docs.
# Leaves the package in build-deb/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/install_packages.sh
. "$root/scripts/install_packages.sh"
build="$root/build-deb"
install_packages cmake ninja-build g++ pkg-config libace-dev libtinyxml-dev \
  libsimdjson-dev libpcap-dev help2man dpkg-dev lintian file

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_INSTALL_PREFIX=/usr -DQUARN_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls "$build"/*.deb)
echo "package: $(basename "$deb")"
dpkg-deb --field "$deb" Package Version Depends

# lintian: errors fail the check; warnings are shown.
lintian_out=$(lintian --tag-display-limit 0 "$deb" || true)
[ -z "$lintian_out" ] || echo "$lintian_out"
if grep -q '^E:' <<<"$lintian_out"; then
  echo "lintian reports errors" >&2
  exit 1
fi
echo "lintian: $(grep -c '^E:' <<<"$lintian_out" || true) errors," \
  "$(grep -c '^W:' <<<"$lintian_out" || true) warnings"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg -x "$deb" "$work/root"
usr="$work/root/usr"
libdir=$(dirname "$(find "$usr" -name 'libquarn_common.so.0' | head -n 1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
consumer="$root/tests/install/consumer"
c++ -std=c++17 -o "$work/consumer_pc" "$consumer/consumer.cc" \
  $(pkg-config --cflags --libs quarn_common)
LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR "$work/consumer_pc"
cmake -S "$consumer" -B "$work/cmake_build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$usr" >/dev/null
cmake --build "$work/cmake_build" >/dev/null
LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR "$work/cmake_build/consumer"
LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR \
  "$work/cmake_build/one_header"

examples="$usr/share/doc/quarn-common/examples"
LD_LIBRARY_PATH="$libdir" "$usr/bin/quarn" --version
LD_LIBRARY_PATH="$libdir" env -u QUARN_MODULE_DIR "$usr/bin/quarn" classify \
  --config "$examples/gateway" "$examples/connections.csv" >"$work/out.json"
echo "unpacked package: consumers built and ran, quarn classified" \
  "$(wc -l <"$work/out.json") connections"
