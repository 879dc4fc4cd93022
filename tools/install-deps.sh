#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only those that are missing.
set -euo pipefail
packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev libgl-dev
  libusb-1.0-0-dev libpcap-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  umockdev libumockdev-dev
  xvfb xauth
  nlohmann-json3-dev
  tshark libxml2-utils python3-junitparser
  dpkg-dev file
  pybind11-dev python3-dev python3-pytest python3-smbus2
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo apt-get update
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
