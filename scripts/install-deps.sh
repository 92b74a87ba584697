#!/usr/bin/env bash
# Installs the Debian packages Ovrin needs to build, test and run.
# clang, its runtime libraries and llvm-symbolizer serve make sanitize and make fuzz.
# Only missing packages are installed; a machine that has them all is left alone.
set -euo pipefail

PACKAGES=(
  cmake ninja-build g++ make pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev libgl-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libcli11-dev nlohmann-json3-dev libeigen3-dev libfftw3-dev
  xvfb xauth fonts-dejavu-core locales
  clang libclang-rt-14-dev llvm-14
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
