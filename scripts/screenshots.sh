#!/usr/bin/env bash
# Photographs the desktop window on a demo company group under virtual displays of 1024x768 and
# 1920x1080: the main window with both grids filled at both sizes, the reference detail window,
# the configuration dialog, the report dialog and the report preview; also draws the toolbar
# buttons for the help page (docs/help/iconos).
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

# The window walks through its views by itself and photographs each (PENDARA_SCREENSHOT); the
# window's own settings (size, column widths) stay in the scratch folder.
for SCREEN in 1024x768 1920x1080; do
    PENDARA_SCREENSHOT="$OUT_DIR" PENDARA_HELP_ICONS="$ROOT/docs/help/iconos" \
        xvfb-run -a -s "-screen 0 ${SCREEN}x24" "$ROOT/$BUILD_DIR/pendara"
done
ls -l "$OUT_DIR"/main-1024.png "$OUT_DIR"/main-1920.png "$OUT_DIR"/detail.png \
    "$OUT_DIR"/config.png "$OUT_DIR"/report-dialog.png "$OUT_DIR"/preview.png
