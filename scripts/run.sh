#!/usr/bin/env bash
# Installs what is missing, builds the release program, and runs the main job:
# the bundled hop planned and flown (in the window when a display is there,
# otherwise as a batch chain in build/hop/).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)" --target vantorell
bin="$PWD/build/release/app/vantorell"
mkdir -p build/hop
cp examples/traj1r.txt build/hop/traj1r.txt
if [ -n "${DISPLAY:-}" ] && [ -z "${CI:-}" ]; then
  echo "Opening the workbench on the bundled hop in build/hop: press p, then s, then r."
  cd build/hop && exec "$bin"
fi
cd build/hop
"$bin" -k pslc
echo
echo "No display: planned and flew the bundled hop in batch mode."
echo "Files are in $PWD: fltplan.txt results.txt traj1l.txt pane.bmp fe.log"
