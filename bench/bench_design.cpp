// Hop design: one whole design (two starts when the time is free, each a
// continuation of SLSQP solves over the planning chain) per target, with
// the optimiser's work and the propellant as counters. A design takes
// seconds, so each runs once.
#include <benchmark/benchmark.h>

#include "design/design.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
}  // namespace

namespace {

// Targets in decimetres (benchmark arguments are integers): behind the pad,
// the valley floor, the far plain.
void BM_DesignHop(benchmark::State& state) {
    HopSpec hopspec;
    hopspec.fXTarget = static_cast<double>(state.range(0)) / 10.0;
    DesignResult r;
    // The result is read after the loop, so the call stays.
    for (auto _ : state) r = designHop(scenario, hopspec);
    // ok = 0: out of reach; when only the reserve binds, the propellant and
    // time are those of the least-propellant hop found.
    state.counters["ok"] = r.bOk ? 1 : 0;
    state.counters["propellant_kg"] = r.fMsProp;
    state.counters["time_s"] = r.fTiFlight;
    state.counters["iterations"] = static_cast<double>(r.nIter);
    state.counters["evaluations"] = static_cast<double>(r.nEval);
}
BENCHMARK(BM_DesignHop)
    ->Arg(-50)
    ->Arg(-100)
    ->Arg(-200)
    ->Arg(130)
    ->Arg(145)
    ->Arg(160)
    ->Arg(285)
    ->Arg(350)
    ->Arg(450)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

}  // namespace
