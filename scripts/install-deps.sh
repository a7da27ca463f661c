#!/usr/bin/env bash
# Installs the Debian packages the build needs when they are missing (as root), or says
# exactly which to install. Usage: scripts/install-deps.sh [extra packages...]
set -euo pipefail

# librsvg2-bin (rsvg-convert) renders the SVG pictures of the plot tests; only the tests use it.
# The Python module: python3-dev and pybind11-dev build it, python3-numpy and python3-pytest run
# it and its tests.
packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev libxml2-dev libcli11-dev rapidjson-dev pkg-config
  librsvg2-bin python3-dev pybind11-dev python3-numpy python3-pytest "$@")
# Test-only and never required: LinuxCNC's G-code interpreter (rs274) checks the G-code writer's
# output, and its test is skipped without it. Installed when the package archive has it; a
# failure to install it only warns.
optional=(linuxcnc-uspace)

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }
# Not through grep -q: under pipefail, apt-cache's broken pipe would make a match fail.
available() { [[ "$(apt-cache policy "$1" 2>/dev/null)" =~ Candidate:\ [^\(] ]]; }
haveLists() { compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null; }

missing=()
for package in "${packages[@]}"; do
  installed "$package" || missing+=("$package")
done
optionalMissing=()
for package in "${optional[@]}"; do
  installed "$package" || optionalMissing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && [ ${#optionalMissing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  if [ ${#optionalMissing[@]} -gt 0 ]; then
    echo "Optional Debian packages not installed (the tests that need them are skipped): ${optionalMissing[*]}" >&2
    echo "Install them with: sudo apt-get install --no-install-recommends ${optionalMissing[*]}" >&2
  fi
  [ ${#missing[@]} -eq 0 ] && exit 0
  echo "Missing Debian packages: ${missing[*]}" >&2
  echo "Install them with: sudo apt-get install ${missing[*]}" >&2
  exit 1
fi

export DEBIAN_FRONTEND=noninteractive
updated=false
# For the optional packages alone the lists are read only when there are none yet: an archive
# without them is then not asked again on every run.
if [ ${#missing[@]} -gt 0 ] || ! haveLists; then
  apt-get update -q
  updated=true
fi
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing missing packages: ${missing[*]}"
  apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
for package in "${optionalMissing[@]}"; do
  if ! available "$package"; then
    echo "The package archive has no $package; the tests that need it are skipped." >&2
    continue
  fi
  echo "Installing optional package: $package"
  # Lists that are old may name a version the archive no longer has: read them again once.
  if apt-get install -y -q --no-install-recommends "$package" \
    || { [ "$updated" = false ] && apt-get update -q && updated=true \
      && apt-get install -y -q --no-install-recommends "$package"; }; then
    continue
  fi
  echo "Could not install $package; the tests that need it are skipped." >&2
done
