#!/usr/bin/env bash
# Installs the Debian 12 packages the project needs, when any is missing.
set -euo pipefail
pkgs=(g++ clang cmake make libgtest-dev libgmock-dev libbenchmark-dev
      liblapacke-dev libopenblas-dev libnlopt-dev
      qt6-base-dev libqt6opengl6-dev qt6-charts-dev
      libgl-dev libegl-dev libgl1-mesa-dri xvfb xauth
      libclang-rt-14-dev libopenmpi-dev openmpi-bin valgrind
      pybind11-dev python3-dev python3-numpy python3-pytest python3-matplotlib)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi
