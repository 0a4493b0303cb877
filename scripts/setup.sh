#!/usr/bin/env bash
# Installs every package Pendara needs to build, test and show itself, when missing.
# Debian 12 (or later); runs apt-get as root or through sudo.
set -euo pipefail

PACKAGES=(
    g++ cmake ninja-build pkg-config git
    libsqlite3-dev libsodium-dev libxlsxwriter-dev libhpdf-dev
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    qt6-base-dev libgl-dev qt6-translations-l10n
    fonts-dejavu-core xkb-data
    xvfb xauth imagemagick poppler-utils x11-apps unzip
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

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
echo "Instalando: ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
