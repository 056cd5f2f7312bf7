#!/usr/bin/env bash
# Sourced by the setup and benchmark scripts: install_packages PKG... installs
# the Debian packages that are not installed yet, with apt-get, as root or
# through sudo.

install_packages() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null |
      grep -q 'install ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  local sudo=""
  [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=600 \
    install -y "${missing[@]}"
}
