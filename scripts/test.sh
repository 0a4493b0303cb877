#!/usr/bin/env bash
# Sets up the machine, builds and runs every test. BUILD_DIR and CMake arguments as build.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh "$@"
BUILD_DIR=${BUILD_DIR:-build}
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
cd "$BUILD_DIR"
ctest --output-on-failure -j "${JOBS:-2}" --timeout 900
