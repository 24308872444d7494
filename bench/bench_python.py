"""Timings of the Python module.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/bench_python.py \
        [--vt-bench build/release/bench/vt_bench]

1. One flight of the bundled hop from Python, vantorell.fly(plan): the schedule
   copied, the flight, the records copied into numpy arrays. With --vt-bench,
   the same flight in C++ (BM_FlightBundledHop) is timed as well and the
   overhead printed (goal: at most 1 ms + 10 % over the C++ flight).
2. 10 000 dispersed flights of the bundled hop with examples/dispersion.txt on
   two threads, vantorell.dispersion(..., threads=2) (goal: under 5 s).
"""
import argparse
import json
import statistics
import subprocess
import time
from pathlib import Path

import vantorell

ROOT = Path(__file__).resolve().parent.parent


def median_time(fn, repeat, number):
    """Median wall and CPU seconds per call."""
    wall, cpu = [], []
    for _ in range(repeat):
        t0, c0 = time.perf_counter(), time.process_time()
        for _ in range(number):
            fn()
        wall.append((time.perf_counter() - t0) / number)
        cpu.append((time.process_time() - c0) / number)
    return statistics.median(wall), statistics.median(cpu)


def cpp_flight_ms(vt_bench):
    out = subprocess.run([vt_bench, "--benchmark_filter=BM_FlightBundledHop$", "--benchmark_format=json",
                          "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    for b in json.loads(out)["benchmarks"]:
        if b.get("aggregate_name") == "median":
            scale = {"ms": 1.0, "us": 1e-3, "ns": 1e-6}[b["time_unit"]]
            return b["real_time"] * scale, b["cpu_time"] * scale
    raise RuntimeError("no median in the benchmark output")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vt-bench", help="the C++ benchmark program, for the C++ flight")
    parser.add_argument("--runs", type=int, default=10000)
    args = parser.parse_args()

    plan = vantorell.plan(ROOT / "examples" / "traj1r.txt")
    vantorell.fly(plan)
    wall, cpu = median_time(lambda: vantorell.fly(plan), repeat=15, number=40)
    print("one flight from Python: median %.3f ms wall, %.3f ms CPU" % (wall * 1e3, cpu * 1e3))
    if args.vt_bench:
        cpp_wall, cpp_cpu = cpp_flight_ms(args.vt_bench)
        print("one flight in C++ (BM_FlightBundledHop): median %.3f ms wall, %.3f ms CPU"
              % (cpp_wall, cpp_cpu))
        for what, py_ms, cpp_ms in [("wall", wall * 1e3, cpp_wall), ("CPU", cpu * 1e3, cpp_cpu)]:
            print("overhead of Python (%s): %.3f ms (%.1f %%); allowed %.3f ms"
                  % (what, py_ms - cpp_ms, (py_ms / cpp_ms - 1) * 100, 1.0 + 0.1 * cpp_ms))

    t0, c0 = time.perf_counter(), time.process_time()
    result = vantorell.dispersion(plan, ROOT / "examples" / "dispersion.txt", runs=args.runs, threads=2)
    dt, dc = time.perf_counter() - t0, time.process_time() - c0
    print("%d dispersed flights on 2 threads: %.2f s wall (%.0f runs/s), %.2f s CPU; R95 %.3f m"
          % (args.runs, dt, args.runs / dt, dc, result["summary"]["r95"]))


if __name__ == "__main__":
    main()
