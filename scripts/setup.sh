#!/usr/bin/env bash
# Installs what building and testing quarn_common needs (Debian 12), then
# configures and builds into build/ (or the directory given as $1, with
# further arguments passed to cmake).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-"$root/build"}
shift || true

packages=(cmake ninja-build g++ clang-14 libclang-rt-14-dev pkg-config
          libace-dev libtinyxml-dev libgtest-dev libgmock-dev
          libbenchmark-dev libsimdjson-dev libpcap-dev help2man)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' \
    || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y "${missing[@]}"
fi

cmake -S "$root" -B "$build" -G Ninja "$@"
cmake --build "$build" -j "$(nproc)"
