#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: the release build
# and the sanitizer build (AddressSanitizer, LeakSanitizer, UndefinedBehavior).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
jobs=$(nproc)
for preset in release sanitize; do
  echo "==== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j"$jobs"
  echo "==== $preset tests"
  ctest --preset "$preset"
done
if [ -x scripts/fuzz.sh ]; then
  echo "==== fuzzing"
  bash scripts/fuzz.sh
fi
