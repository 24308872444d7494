#!/usr/bin/env bash
# memcheck over the whole batch chain p s l f c on the reference hop: no
# invalid access, no use of uninitialised values, no definite leak.
set -euo pipefail
bin=$1; data=$2; supp=$3
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp "$data/reference/plan/hop_short/traj1r.txt" "$dir/traj1r.txt"
cd "$dir"
valgrind --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite --show-leak-kinds=definite \
  --keep-debuginfo=yes --suppressions="$supp" -q "$bin" -k pslfc --size 64x48 >/dev/null
test -s results.txt && test -s traj1l.txt && test -s pane.bmp
echo "valgrind: clean"
