#!/usr/bin/env bash
# Builds the release program and the benchmarks, then measures: the Google
# Benchmark suite (bench/) and whole-process timings of the batch mode on the
# bundled hop. Run it on a quiet machine; the figures go into bench/README.md
# by hand, with the machine they came from.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
command -v hyperfine >/dev/null || { SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo;
  $SUDO apt-get install -y --no-install-recommends hyperfine; }
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)" --target vantorell vt_bench
root=$PWD
bin=$PWD/build/release/app/vantorell
echo "==== machine"
lscpu | grep -E "Model name|^CPU\(s\)" || true
echo "==== benchmarks"
OPENBLAS_NUM_THREADS=1 build/release/bench/vt_bench --benchmark_min_time=1 "$@"
echo "==== whole process (bundled hop)"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cp examples/traj1r.txt "$dir/"
cd "$dir"
"$bin" -k p >/dev/null
hyperfine -N --warmup 20 --runs 200 "$bin -k s" "$bin -k ps"
if cmake --build "$root/build/release" -j"$(nproc)" --target vantorell_py >/dev/null 2>&1; then
  echo "==== Python module"
  OPENBLAS_NUM_THREADS=1 PYTHONPATH="$root/build/release/python" /usr/bin/python3 \
    "$root/bench/bench_python.py" --vt-bench "$root/build/release/bench/vt_bench"
fi
