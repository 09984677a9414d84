#!/usr/bin/env bash
# Installs what building and testing Ostrelle needs on Debian 12, then configures and builds.
# Usage: scripts/setup.sh [BUILD_DIR] [extra cmake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  g++ cmake ninja-build pkg-config clang-format clang libclang-rt-14-dev
  libgtkmm-4.0-dev libwebkitgtk-6.0-dev libsoup-3.0-dev libx11-dev libxcb-xkb-dev libxcb-xtest0-dev nlohmann-json3-dev libgtest-dev
  xvfb xauth xdotool x11-utils procps dbus dbus-x11 webkit2gtk-driver fonts-noto-cjk curl openbox imagemagick
  desktop-file-utils appstream librsvg2-bin help2man dpkg-dev file python3-gi libglib2.0-bin gettext tzdata
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  # A machine that has never fetched the package lists cannot find anything.
  if [ -z "$(ls -A /var/lib/apt/lists 2>/dev/null | grep -v -e lock -e partial)" ]; then
    $sudo apt-get update -qq
  fi
  if ! DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"; then
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
  fi
fi

build_dir="${1:-build}"
shift || true
cmake -S . -B "$build_dir" -G Ninja "$@" >/dev/null
cmake --build "$build_dir" -j"$(nproc)"
