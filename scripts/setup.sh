#!/usr/bin/env bash
# Installs every Debian package the project needs. Idempotent: it asks apt only
# for what is missing and refreshes the package lists only when it must install.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config clang-format clang libclang-rt-14-dev
  # libraries
  libxml2-dev libplist-dev libtiff-dev libcairo2-dev libpango1.0-dev nlohmann-json3-dev
  libavformat-dev libavcodec-dev libavutil-dev libswscale-dev libswresample-dev
  fonts-dejavu-core
  # tests and benchmarks
  libgtest-dev libgmock-dev googletest libbenchmark-dev python3
  # outside judges
  ffmpeg libimage-exiftool-perl mediainfo libxml2-utils libtiff-tools procps
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
