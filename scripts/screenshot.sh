#!/usr/bin/env bash
# Makes the pictures of the README afresh, under a virtual X server with a
# 1600 x 1000 screen (the frame takes 0.9 of it): docs/screenshot.png after
# planning and flying the bundled hop (p, s), and docs/screenshot_guided.png
# of the same hop flown by the guidance (g) with View > Show plan path on.
# The window test program draws them (its "screenshots" function, skipped in
# ordinary runs); the guided one is left out while g flies nothing.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)" --target test_gui
QT_QPA_PLATFORM=xcb VT_SCREENSHOT_DIR="$PWD/docs" \
  xvfb-run -a -s "-screen 0 1600x1000x24" build/release/tests/gui/test_gui screenshots
ls -l docs/screenshot*.png
