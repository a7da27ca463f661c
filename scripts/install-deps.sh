#!/usr/bin/env bash
# Installs the Debian packages the build needs when they are missing (as root), or says
# exactly which to install. Usage: scripts/install-deps.sh [extra packages...]
set -euo pipefail

packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev libxml2-dev libcli11-dev rapidjson-dev pkg-config "$@")
missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
  echo "Installing missing packages: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -q
  apt-get install -y -q --no-install-recommends "${missing[@]}"
else
  echo "Missing Debian packages: ${missing[*]}" >&2
  echo "Install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi
