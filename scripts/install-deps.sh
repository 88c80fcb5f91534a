#!/usr/bin/env bash
# Installs what Quillon needs to build, test and benchmark on Debian 12.
# Fast when everything is already there: dpkg is asked first, apt only for what is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  qt6-base-dev qt6-base-dev-tools libqt6svg6-dev qt6-svg-dev qt6-pdf-dev libgl-dev
  libsqlite3-dev sqlite3 libssl-dev openssl libplist-dev
  fontconfig fonts-dejavu-core
  desktop-file-utils appstream man-db lintian file dpkg-dev
)
if [ "${1:-}" = "--bench" ]; then
  packages+=(jdupes fdupes rmlint time python3)
fi

missing=()
for p in "${packages[@]}"; do
  # A virtual or unknown name (libqt6svg6-dev on some mirrors) is tried once and skipped if apt has no candidate.
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep 'install ok installed' >/dev/null; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
installable=()
for p in "${missing[@]}"; do
  if apt-cache policy "$p" 2>/dev/null | grep 'Candidate: [^(]' >/dev/null; then installable+=("$p"); fi
done
[ ${#installable[@]} -eq 0 ] && exit 0
$SUDO apt-get install -y -qq --no-install-recommends "${installable[@]}"
