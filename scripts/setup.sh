#!/usr/bin/env bash
# Installs what building and testing quarn_common needs (Debian 12), then
# configures and builds into build/ (or the directory given as $1, with
# further arguments passed to cmake).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/install_packages.sh
. "$root/scripts/install_packages.sh"
build=${1:-"$root/build"}
shift || true

packages=(cmake ninja-build g++ clang-14 libclang-rt-14-dev pkg-config
          libace-dev libtinyxml-dev libgtest-dev libgmock-dev
          libbenchmark-dev libsimdjson-dev libpcap-dev help2man)
install_packages "${packages[@]}"

cmake -S "$root" -B "$build" -G Ninja "$@"
cmake --build "$build" -j "$(nproc)"
