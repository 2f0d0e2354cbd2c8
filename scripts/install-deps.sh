#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, as root. Does nothing
# (and does not touch apt) when everything is there already.
#
# Usage: scripts/install-deps.sh [--linux-only]
set -euo pipefail

linux_packages=(
  cmake ninja-build g++ clang-14 libclang-rt-14-dev llvm-14 pkg-config git ca-certificates
  libzip-dev zipcmp zipmerge ziptool zlib1g-dev libpugixml-dev googletest libbenchmark-dev unicode-data
  zip unzip libarchive-tools python3 nlohmann-json3-dev abigail-tools dpkg-dev file
  libsodium-dev minisign lintian doxygen man-db libjs-jquery python3-debian
  libcurl4-openssl-dev libssl-dev python3-pytest python3-cryptography python3-requests faketime nginx-light
)
windows_packages=(
  g++-mingw-w64-x86-64-posix mingw-w64-tools libz-mingw-w64-dev dpkg-dev
  wine wine64 libwine-dev
)

packages=("${linux_packages[@]}")
[[ ${1:-} == --linux-only ]] || packages+=("${windows_packages[@]}")

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
done
((${#missing[@]})) || exit 0

if [[ $(id -u) -ne 0 ]]; then
  echo "missing packages: ${missing[*]}; run this script as root to install them" >&2
  exit 1
fi
echo "[deps] installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get -o DPkg::Lock::Timeout=600 update -qq
apt-get -o DPkg::Lock::Timeout=600 install -y -qq "${missing[@]}" >/dev/null
