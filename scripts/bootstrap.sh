#!/usr/bin/env bash
# Installs whatever is missing from Debian's archive, then configures and builds.
# Safe to run again: installed packages are skipped and the build is incremental.
# Usage: scripts/bootstrap.sh [build-dir] [extra cmake arguments...]
# TESSEL_TARGET=name builds that target only (the fuzz scripts build "fuzzers").
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  build-essential cmake pkg-config clang libclang-rt-14-dev
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  qtbase5-dev qttools5-dev qtdeclarative5-dev qml-module-qtquick2
  libssl-dev libraw-dev libtiff-dev libjpeg-dev zlib1g-dev
  libimage-exiftool-perl libraw-bin
  dpkg-dev file  # cpack -G DEB: dpkg-shlibdeps computes the dependencies
  xvfb xauth gettext
  llvm-14
  dbus libsystemd-dev  # the messaging benchmark's peer: a private bus and an sd-bus echo service
  fonts-dejavu-core fonts-ipafont-gothic  # the screenshots: Latin and Japanese text
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi

build=${1:-build}
shift || true
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build "$build" -j2 ${TESSEL_TARGET:+--target "$TESSEL_TARGET"}
