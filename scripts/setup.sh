#!/usr/bin/env bash
# Installs every package Pendara needs to build, test and show itself, when missing.
# Debian 12 (or later); runs apt-get as root or through sudo.
set -euo pipefail

PACKAGES=(
    g++ cmake ninja-build pkg-config git
    libsqlite3-dev libsodium-dev libxlsxwriter-dev libhpdf-dev zlib1g-dev
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    qt6-base-dev libgl-dev qt6-translations-l10n
    fonts-dejavu-core xkb-data
    xvfb xauth imagemagick poppler-utils x11-apps unzip
    locales sqlite3 time strace
)

# The users' regional settings, under which the suite runs a second time.
SPANISH_LOCALE=es_ES.UTF-8

spanish_locale_missing() {
    ! locale -a 2>/dev/null | grep -ix 'es_ES\.utf-\?8' >/dev/null
}

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

if [ ${#missing[@]} -eq 0 ] && ! spanish_locale_missing; then
    exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
if [ ${#missing[@]} -gt 0 ]; then
    echo "Instalando: ${missing[*]}" >&2
    export DEBIAN_FRONTEND=noninteractive
    $SUDO apt-get update -qq
    $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
if spanish_locale_missing; then
    echo "Generando la configuración regional $SPANISH_LOCALE" >&2
    $SUDO localedef -i es_ES -f UTF-8 "$SPANISH_LOCALE"
fi
