#!/usr/bin/env bash
# Photographs the desktop window on a demo company group under a virtual display: the main
# window with both grids filled, the reference detail window, the configuration dialog and the
# report preview.
#   OUT_DIR    where the pictures go (default docs/screenshots)
#   BUILD_DIR  as for scripts/build.sh
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)
BUILD_DIR=${BUILD_DIR:-build}
OUT_DIR=${OUT_DIR:-$ROOT/docs/screenshots}

bash scripts/setup.sh
cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo} \
    -DPENDARA_GUI=ON >/dev/null
cmake --build "$BUILD_DIR" -j "${JOBS:-2}" --target pendara qvdata

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
# Settings and data of their own, so that the user's are not touched.
export QUORVEX_HOME="$WORK/home"
export PENDARA_HELP_DIR="$ROOT/docs/help"
mkdir -p "$QUORVEX_HOME" "$OUT_DIR"
"$ROOT/$BUILD_DIR/qvdata" demo "$WORK/demo" --no-key >/dev/null

# The window walks through its views by itself and photographs each (PENDARA_SCREENSHOT).
PENDARA_SCREENSHOT="$OUT_DIR" xvfb-run -a -s "-screen 0 1400x900x24" \
    "$ROOT/$BUILD_DIR/pendara"
ls -l "$OUT_DIR"/main.png "$OUT_DIR"/detail.png "$OUT_DIR"/config.png "$OUT_DIR"/report.png
