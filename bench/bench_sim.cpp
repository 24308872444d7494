// The flight simulation's hot path: one derivative evaluation of the vehicle
// model, one accuracy-controlled step of it, and whole flights of the
// reference pitch-step plan and of the bundled hop (evaluations per flight,
// time per evaluation, time per flight).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "bundled_hop.h"

#include "sim/flight.h"
#include "sim/fltsim.h"
#include "guide/guidance.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
Planet& planet = scenario.planet;
Vehicle& vehicle = scenario.vehicle;
Stvehicle3dof& stvehicle3dof0 = scenario.stvehicle3dof0;
}  // namespace

namespace {

// The model with a count of its evaluations (the stepper's included).
class ArFFnFArFModelCounting : public ArFFnFArFModel {
public:
    using ArFFnFArFModel::ArFFnFArFModel;
    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& arFState) override {
        nEval++;
        ArFFnFArFModel::arFAtFArF(parFDeriv, fTi, arFState);
    }
    long nEval = 0;
};

// A command schedule read from a plan file.
struct Plan {
    A1Val<double> arFTi{0}, arFFc{0}, arFMm{0};
    explicit Plan(const std::string& szPath) {
        std::FILE* pfile = std::fopen(szPath.c_str(), "r");
        if (pfile == nullptr) {
            std::fprintf(stderr, "bench_sim: can't open %s\n", szPath.c_str());
            std::exit(1);
        }
        readCmdsFromPFILE(&arFTi, &arFFc, &arFMm, pfile, szPath.c_str());
        std::fclose(pfile);
    }
};

// The reference plan with a pitch manoeuvre: climb, tilt and back, cut,
// fall onto the 20 degree slope and settle there.
struct PlanPitchStep : Plan {
    PlanPitchStep()
        : Plan(std::string(VT_TEST_DATA) + "/reference/flight/pitch_step/fltplan.txt") {}
};

A1Val<double> arFStateAt(double x, double z, double fPitch, double vx, double vz, double fPitchDot,
                         double fMs) {
    A1Val<double> ar(1, 7);
    ar[1] = x;
    ar[2] = z;
    ar[3] = fPitch;
    ar[4] = vx;
    ar[5] = vz;
    ar[6] = fPitchDot;
    ar[7] = fMs;
    return ar;
}

// One evaluation in flight, with the ground armed (so the contact query
// runs over all six polygons and finds nothing), as for most of a hop.
void BM_ModelDerivativeInFlight(benchmark::State& state) {
    PlanPitchStep plan;
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, plan.arFTi, plan.arFFc, plan.arFMm);
    model.bClearedGnd = true;
    A1Val<double> arFState = arFStateAt(2.0, 3.0, 0.1, 1.0, -0.5, 0.05, 99.0);
    A1Val<double> arFDeriv(1, 7);
    double fTi = 1.0;
    for (auto _ : state) {
        model.arFAtFArF(&arFDeriv, fTi, arFState);
        benchmark::DoNotOptimize(arFDeriv[5]);
        fTi += 1e-6;
    }
}
BENCHMARK(BM_ModelDerivativeInFlight);

// One evaluation resting on the 20 degree slope (contact forces computed).
void BM_ModelDerivativeOnSlope(benchmark::State& state) {
    PlanPitchStep plan;
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, plan.arFTi, plan.arFFc, plan.arFMm);
    model.bClearedGnd = true;
    A1Val<double> arFState = arFStateAt(5.0, -1.5, -0.3, 0.0, 0.0, 0.0, 98.0);
    A1Val<double> arFDeriv(1, 7);
    for (auto _ : state) {
        model.arFAtFArF(&arFDeriv, 9.0, arFState);
        benchmark::DoNotOptimize(arFDeriv[5]);
    }
}
BENCHMARK(BM_ModelDerivativeOnSlope);

// One rk5StepQC step of the model in flight, the state advanced in place as
// the driver does (the state is reset every 20 steps to stay in the air).
void BM_ModelRk5StepQC(benchmark::State& state) {
    PlanPitchStep plan;
    ArFFnFArFModelCounting model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, plan.arFTi, plan.arFFc, plan.arFMm);
    model.bClearedGnd = true;
    const A1Val<double> arFState0 = arFStateAt(2.0, 3.0, 0.1, 1.0, 0.5, 0.05, 99.0);
    A1Val<double> arFState = arFState0;
    A1Val<double> arFDeriv(1, 7), arFScale(1, 7);
    for (Long i = 1; i <= 7; i++) arFScale[i] = 0.001;
    double fTi = 1.0;
    long nStep = 0;
    for (auto _ : state) {
        double fTiNext, fHUsed, fHNext;
        model.arFAtFArF(&arFDeriv, fTi, arFState);
        rk5StepQC(&arFState, &fTiNext, &fHUsed, &fHNext, fTi, &arFState, &arFDeriv, 7, 0.05, 1.0,
                  &arFScale, &model);
        fTi = fTiNext;
        if (++nStep % 20 == 0) {
            arFState = arFState0;
            fTi = 1.0;
        }
        benchmark::DoNotOptimize(arFState[2]);
    }
    state.counters["evals_per_step"] =
        benchmark::Counter(static_cast<double>(model.nEval), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ModelRk5StepQC);

// Whole flights with the program's settings, the stored records released
// after each flight; guided when a command source is given. The timed flights use the model itself (the driver
// inlines its derivative into the stepper); the evaluations are counted in
// one flight beforehand through the counting model, which takes the
// virtual interface and flies the same flight.
void flyPlanRepeatedly(benchmark::State& state, Plan& plan, CmdSource* pcmdsource = nullptr) {
    ArFFnFArFModel model(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05, plan.arFTi, plan.arFFc, plan.arFMm);
    model.pcmdsource = pcmdsource;
    A1Val<double> arFTiRun(0);
    A1Val<void*> arPStRun(0);
    auto fly = [&](ArFFnFArFModel* pmodel) {
        A1Val<double> arFStateIC = arFStateAt(0, 0, 0, 0, 0, 0, 100.0);
        sim(&arFTiRun, &arPStRun, pmodel, 0.0, arFStateIC, 30.0, 0.05, 1e-6, 20000, 0.001, 0.001,
            0.001, 0.001, 0.001);
        const long nData = arFTiRun.n();
        deleteStoredRun(&arFTiRun, &arPStRun);
        return nData;
    };
    ArFFnFArFModelCounting modelCounting(&planet, &vehicle, &scenario.arPArPPtVtxPgnGnd, 0.05,
                                         plan.arFTi, plan.arFFc, plan.arFMm);
    modelCounting.pcmdsource = pcmdsource;
    const long nData = fly(&modelCounting);
    for (auto _ : state) benchmark::DoNotOptimize(fly(&model));
    const double fEval = static_cast<double>(modelCounting.nEval);
    state.counters["evals_per_flight"] = fEval;
    // Seconds of CPU time per evaluation, shown with an SI prefix (n = ns).
    state.counters["time_per_eval"] = benchmark::Counter(
        fEval * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["records"] = static_cast<double>(nData);
}

void BM_FlightPitchStep(benchmark::State& state) {
    PlanPitchStep plan;
    flyPlanRepeatedly(state, plan);
}
BENCHMARK(BM_FlightPitchStep)->Unit(benchmark::kMillisecond);

// The schedule planned at szPlan (szFltplanBundledHop and the like), or
// null with the benchmark skipped when the hop could not be planned.
std::unique_ptr<Plan> pplanOrSkip(benchmark::State& state, const std::string& szPlan) {
    if (szPlan.empty()) {
        state.SkipWithError("the hop could not be planned");
        return nullptr;
    }
    return std::make_unique<Plan>(szPlan);
}

void BM_FlightBundledHop(benchmark::State& state) {
    if (auto pplan = pplanOrSkip(state, szFltplanBundledHop())) flyPlanRepeatedly(state, *pplan);
}
BENCHMARK(BM_FlightBundledHop)->Unit(benchmark::kMillisecond);

// The hand-made hop across the valley: longer in the air, fewer of its
// evaluations on the ground.
void BM_FlightHandmadeHop(benchmark::State& state) {
    if (auto pplan = pplanOrSkip(state, szFltplanHandmadeHop())) flyPlanRepeatedly(state, *pplan);
}
BENCHMARK(BM_FlightHandmadeHop)->Unit(benchmark::kMillisecond);

// The same plan flown guided (50 Hz). The reference is built once, as a
// campaign builds it once for all its runs (BM_GuidanceReference).
void BM_FlightBundledHopGuided(benchmark::State& state) {
    const auto pplan = pplanOrSkip(state, szFltplanBundledHop());
    if (!pplan) return;
    const GuidanceSettings gs;
    const GuidanceRef ref(pplan->arFTi, pplan->arFFc, pplan->arFMm, vehicle, planet,
                          stvehicle3dof0, 0.0, gs);
    GuidedCmds cmds(ref, guidanceGainsFm(gs, vehicle, planet), vehicle, planet.fAcG);
    flyPlanRepeatedly(state, *pplan, &cmds);
}
BENCHMARK(BM_FlightBundledHopGuided)->Unit(benchmark::kMillisecond);

void BM_GuidanceReference(benchmark::State& state) {
    const auto pplan = pplanOrSkip(state, szFltplanBundledHop());
    if (!pplan) return;
    const GuidanceSettings gs;
    for (auto _ : state) {
        const GuidanceRef ref(pplan->arFTi, pplan->arFFc, pplan->arFMm, vehicle, planet,
                              stvehicle3dof0, 0.0, gs);
        benchmark::DoNotOptimize(ref.fXfLanding());
    }
}
BENCHMARK(BM_GuidanceReference)->Unit(benchmark::kMillisecond);

}  // namespace
