// Landing-dispersion campaigns: one dispersed flight of the bundled hop, the
// same flight without the campaign's watcher, and whole campaigns on one and
// two threads (parallel efficiency = rate on 2 / (2 x rate on 1)).
//
// The plan is the bundled hop, planned in-process from examples/traj1r.txt
// when that file exists; otherwise the checked-in pitch-step flight plan
// (tests/data/reference/flight/pitch_step/fltplan.txt). The label of every
// benchmark says which.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bundled_hop.h"
#include "mc/campaign.h"
#include "mc/dispersion.h"
#include "mc/picture.h"
#include "mc/summary.h"
#include "sim/flight.h"
#include "sim/fltsim.h"

#include "sim/params.h"

namespace {
BuiltInScenario scenario;
Planet& planet = scenario.planet;
Vehicle& vehicle = scenario.vehicle;
Stvehicle3dof& stvehicle3dof0 = scenario.stvehicle3dof0;
}  // namespace

namespace {

struct BenchSetup {
    McSchedule sched;
    McDispersion disp;
    std::string szPlanName;
};

// Reads the bundled hop's schedule, or falls back to the reference plan.
BenchSetup const& setup() {
    static BenchSetup* psetup = [] {
        auto* p = new BenchSetup;
        std::string szErr;
        if (!bReadDispersionFile(&p->disp, VT_EXAMPLES "/dispersion.txt", &szErr)) {
            std::fprintf(stderr, "bench_mc: %s\n", szErr.c_str());
            std::exit(1);
        }
        std::string szPlan = VT_TEST_DATA "/reference/flight/pitch_step/fltplan.txt";
        p->szPlanName = "pitch_step plan";
        const std::string szHop = szFltplanBundledHop();
        if (!szHop.empty()) {
            szPlan = szHop;
            p->szPlanName = "bundled hop";
        }
        std::FILE* pfile = std::fopen(szPlan.c_str(), "r");
        if (pfile == nullptr) {
            std::fprintf(stderr, "bench_mc: can't open %s\n", szPlan.c_str());
            std::exit(1);
        }
        readMcSchedule(&p->sched, pfile, szPlan.c_str());
        std::fclose(pfile);
        return p;
    }();
    return *psetup;
}

// One dispersed flight per iteration, runs 1, 2, 3, ... of the example
// dispersion: flights per second on one core.
void BM_McFlight(benchmark::State& state) {
    BenchSetup const& s = setup();
    McWork work;
    Long iRun = 0;
    Long nStep = 0;
    for (auto _ : state) {
        iRun = iRun % 1000 + 1;
        const McRunResult res = mcRunFly(scenario, s.sched, mcInputsForRun(s.disp, iRun), iRun, &work);
        nStep += res.nStep;
        benchmark::DoNotOptimize(res.fXfRest);
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["steps/flight"] =
        benchmark::Counter(static_cast<double>(nStep) / static_cast<double>(state.iterations()));
    state.SetLabel(s.szPlanName);
}
BENCHMARK(BM_McFlight)->Unit(benchmark::kMicrosecond);

// The undispersed flight through the campaign (with its watcher) and the
// same flight straight through the model and driver: the watcher's cost.
void BM_McFlightUndispersed(benchmark::State& state) {
    BenchSetup const& s = setup();
    McWork work;
    for (auto _ : state) {
        const McRunResult res = mcRunFly(scenario, s.sched, McInputs{}, 0, &work);
        benchmark::DoNotOptimize(res.fXfRest);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(s.szPlanName);
}
BENCHMARK(BM_McFlightUndispersed)->Unit(benchmark::kMicrosecond);

void BM_SimulateFlightUnwatched(benchmark::State& state) {
    BenchSetup const& s = setup();
    A1Val<double> arFTi = s.sched.arFTiCmd, arFFc = s.sched.arFFcThrustCmd,
                  arFMm = s.sched.arFMmPitchCmd;
    A1Val<double> arFTiData(0);
    A1Val<void*> arPSt(0);
    for (auto _ : state) {
        Vehicle veh = vehicle;
        Planet pla = planet;
        ArFFnFArFModel model(&pla, &veh, &scenario.arPArPPtVtxPgnGnd, fDTiDataMc, arFTi, arFFc, arFMm);
        A1Val<double> arFIC(1, 7);
        for (Long i = 1; i <= 6; i++) arFIC[i] = 0.0;
        arFIC[7] = stvehicle3dof0.fMs;
        sim(&arFTiData, &arPSt, &model, 0.0, arFIC, fTiMaxMc, fDTiDataMc, fDTiStepMinMc,
            iNStepMaxMc, fTolIntgMc, fTolIntgMc, fTolIntgMc, fTolIntgMc, fTolIntgMc);
        benchmark::DoNotOptimize(arPSt[arPSt.iLast()]);
        deleteStoredRun(&arFTiData, &arPSt);
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(s.szPlanName);
}
BENCHMARK(BM_SimulateFlightUnwatched)->Unit(benchmark::kMicrosecond);

// A campaign of 400 runs on N threads (wall clock): items per second is the
// campaign's flights per second.
void BM_McCampaign(benchmark::State& state) {
    BenchSetup const& s = setup();
    const Long nThread = static_cast<Long>(state.range(0));
    const Long nRun = 400;
    const std::vector<Long> aiRun = aiMcRunsOfRank(nRun, 0, 1);
    std::vector<McRunResult> ares(aiRun.size());
    for (auto _ : state) {
        mcFlyRuns(scenario, ares.data(), aiRun, s.sched, s.disp, nThread);
        benchmark::DoNotOptimize(ares.data());
    }
    state.SetItemsProcessed(state.iterations() * nRun);
    state.SetLabel(s.szPlanName);
}
BENCHMARK(BM_McCampaign)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// What process 0 does after the flights, per run: one row of mc_runs.csv,
// and the statistics of 100000 runs (sorting the misses).
void BM_McCsvRow(benchmark::State& state) {
    BenchSetup const& s = setup();
    McRunResult res{};
    res.iRun = 123456;
    const McInputs inputs = mcInputsForRun(s.disp, 7);
    for (int j = 0; j < nMcParam; j++) res.arFDev[j] = inputs.arFDev[j];
    res.fTiRest = 6.35;
    res.fXfRest = 30.123456789;
    res.fZfRest = -0.0371234;
    res.bTouchdown = 1;
    res.fTiTouchdown = 5.4321;
    res.fVeXfTouchdown = 0.123;
    res.fVeZfTouchdown = -0.456;
    res.fMsPropLeft = 0.7654;
    res.nStep = 321;
    for (auto _ : state) {
        std::string sz = szMcCsvRow(res, 0.54321);
        benchmark::DoNotOptimize(sz.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_McCsvRow);

void BM_McSummarize100k(benchmark::State& state) {
    const Long n = 100000;
    std::vector<McRunResult> ares(static_cast<std::size_t>(n));
    McRng rng{99};
    for (Long i = 0; i < n; i++) {
        ares[static_cast<std::size_t>(i)] = McRunResult{};
        ares[static_cast<std::size_t>(i)].iRun = i + 1;
        ares[static_cast<std::size_t>(i)].fXfRest = 30.0 + rng.fNormal();
        ares[static_cast<std::size_t>(i)].fZfRest = 0.1 * rng.fNormal();
    }
    for (auto _ : state) {
        const McSummary summ = mcSummarize(ares.data(), n, 30.0, 0.0);
        benchmark::DoNotOptimize(summ.fR95);
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_McSummarize100k)->Unit(benchmark::kMillisecond);

// The picture of 100000 rest points (one file per iteration).
void BM_McPicture100k(benchmark::State& state) {
    setup();
    const Long n = 100000;
    std::vector<McRunResult> ares(static_cast<std::size_t>(n));
    McRng rng{7};
    for (Long i = 0; i < n; i++) {
        McRunResult& res = ares[static_cast<std::size_t>(i)];
        res = McRunResult{};
        res.iRun = i + 1;
        res.fXfRest = 29.0 + 2.0 * rng.fNormal();
        res.bUpright = res.fXfRest > 27.24 ? 1 : 0;
    }
    const std::string szFile =
        (std::filesystem::temp_directory_path() / "vt_bench_mc_rest_points.png").string();
    std::string szErr;
    for (auto _ : state)
        if (!bWriteMcPicture(szFile.c_str(), &scenario.arPArPPtVtxPgnGnd, ares.data(), n, 29.0, 0.0, 1.2, 3.9, &szErr))
            state.SkipWithError(szErr.c_str());
    std::filesystem::remove(szFile);
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_McPicture100k)->Unit(benchmark::kMillisecond);

}  // namespace
