#!/usr/bin/env bash
# Installs the Debian packages Ruvola builds and tests with, but only those that are missing, so
# a second run costs a few milliseconds. Usage: scripts/setup.sh [build|test]
set -euo pipefail

build_packages=(
  cmake ninja-build g++ pkg-config
  qt6-base-dev
  nlohmann-json3-dev liburiparser-dev
  libglib2.0-dev libxcb1-dev libudev-dev
  libpulse-dev pulseaudio-utils
  xdg-utils
  libx11-dev libxcb-ewmh-dev libxcb-icccm4-dev libxcb-xtest0-dev
  libwayland-dev libxkbcommon-dev qt6-wayland
  fonts-noto-color-emoji fonts-open-sans
)
test_packages=(
  libgtest-dev googletest
  clang-format
  xvfb shared-mime-info
  libbenchmark-dev
  pulseaudio
  openbox x11-utils xdotool trayer imagemagick dbus openssl
  clang libclang-rt-14-dev
  sway xwayland waybar weston
)

wanted=("${build_packages[@]}")
if [[ "${1:-build}" == "test" ]]; then
  wanted+=("${test_packages[@]}")
fi

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "setup: need root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
  as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
