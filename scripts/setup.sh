#!/usr/bin/env bash
# Installs what the build needs on a Debian machine. Fast when everything is there already.
set -euo pipefail
packages=(build-essential cmake zlib1g-dev libdeflate-dev pkg-config libgtest-dev googletest qt6-base-dev clang libclang-rt-14-dev xvfb xauth)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  echo "Installing: ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
