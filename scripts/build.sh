#!/usr/bin/env bash
# Configures and builds Pendara, warnings as errors. BUILD_DIR (default build), BUILD_TYPE
# (default RelWithDebInfo) and extra CMake arguments may be given:
#   scripts/build.sh -DPENDARA_SANITIZE=ON
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo} \
    -DPENDARA_WERROR=ON "$@" >/dev/null
cmake --build "$BUILD_DIR" -j "${JOBS:-2}"
