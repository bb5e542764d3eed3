#!/usr/bin/env bash
# Installs every Debian package the kit, its backend, its tests and its examples need.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail

PACKAGES=(
  build-essential cmake ninja-build pkg-config git
  clang libclang-rt-14-dev
  libcurl4-openssl-dev ca-certificates
  libsqlite3-dev sqlite3
  libpq-dev postgresql
  nlohmann-json3-dev
  libturbojpeg0-dev
  libplist-dev
  libcpp-httplib-dev libssl-dev zlib1g-dev libbrotli-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  shared-mime-info
  iproute2 procps curl python3
  python3-requests-oauthlib python3-oauthlib
  qt6-base-dev qt6-base-dev-tools qt6-svg-dev qt6-sensors-dev libgl-dev
  qt6-qpa-plugins libxkbcommon-dev
  fonts-inter
  xvfb xauth xdotool imagemagick openbox x11-apps
  chromium chromium-driver python3-selenium
  qt6-tools-dev qt6-l10n-tools
)

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#PACKAGES[@]} packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
echo "install-deps: installing ${missing[*]}"
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
