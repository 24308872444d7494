#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer + UndefinedBehavior
# Sanitizer) and runs each one for a bounded time from a starting corpus made
# of the edge-case files in tests/data/. The saved crash inputs in
# fuzz/regressions/ are replayed first. A crash, hang or sanitizer report
# fails the run. FUZZ_SECONDS sets the time per target (default 60).
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${FUZZ_SECONDS:-60}
build=build/fuzz
CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVT_FUZZ=ON -DVT_STOP_THROWS=ON -DVT_BUILD_GUI=OFF -DVT_BUILD_TESTS=OFF -DVT_BUILD_BENCH=OFF \
  -DCMAKE_CXX_FLAGS="-fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=undefined" \
  -DCMAKE_C_FLAGS="-fsanitize=address,undefined,fuzzer-no-link" >/dev/null
cmake --build "$build" -j"$(nproc)"

# target  where its starting inputs are (edge cases kept for the tests)
declare -A inputs=(
  [fuzz_waypoints]="tests/data/reference/plan tests/data/plan examples -name traj1r*"
  [fuzz_schedule]="tests/data/reference/flight tests/data/sim -name *.txt"
  [fuzz_viewin]="tests/data/view -type f"
  [fuzz_hopfile]="examples -name hop*"
)
# The process-level stops are legitimate, and a fatal error's abandoned
# buffers are not leaks (the process would end there), so leak checking is
# left to the test suite's LeakSanitizer run.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
status=0
for target in fuzz_waypoints fuzz_schedule fuzz_viewin fuzz_hopfile; do
  bin="$build/fuzz/$target"
  [ -x "$bin" ] || { echo "fuzz: $target not built"; status=1; continue; }
  corpus=$(mktemp -d)
  # Every starting file under its own name (many share a fixed file name).
  n=0
  set -f  # the patterns are for find, not for the shell
  # shellcheck disable=SC2086
  while IFS= read -r -d '' f; do
    n=$((n + 1))
    cp "$f" "$corpus/$n-$(basename "$f")"
  done < <(find ${inputs[$target]} -type f -print0 2>/dev/null)
  set +f
  if [ -d "fuzz/regressions/$target" ]; then
    echo "==== $target: replaying saved crash inputs"
    "$bin" -runs=0 fuzz/regressions/"$target"/* || status=1
  fi
  echo "==== $target: ${secs}s from $(ls "$corpus" | wc -l) starting inputs"
  artifacts=$(mktemp -d)
  if ! "$bin" -max_total_time="$secs" -timeout=10 -rss_limit_mb=2048 -max_len=8192 \
       -artifact_prefix="$artifacts/" -print_final_stats=1 "$corpus" 2>"$artifacts/log"; then
    tail -40 "$artifacts/log"
    echo "fuzz: $target found a problem; inputs in $artifacts"
    status=1
  else
    grep -E "stat::number_of_executed_units|Done" "$artifacts/log" | tail -2
  fi
  rm -rf "$corpus"
done
exit $status
