// Planning speed on the bundled hop: the B-spline fit (assembly and LU
// solve), the path analysis over the N+1 samples of `p`, and the whole
// planning chain from the waypoint file.
#include <benchmark/benchmark.h>

#include <string>

#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
}  // namespace

namespace {

const std::string szHop = std::string(VT_EXAMPLES) + "/traj1r.txt";

struct FitOut {
    unsigned char bOk = false;
    Vd<double>* pvdfTParam = nullptr;
    A<unsigned char*>* paPVdfXParam = nullptr;
    double fTi = 0.0, fTf = 0.0;
    Long nX = 0, pX = 0, mX = 0, nZ = 0, pZ = 0, mZ = 0;
    Vd<double>* pvdfUKnotX = nullptr;
    A<unsigned char*>* paPVdfXCpX = nullptr;
    Vd<double>* pvdfUKnotZ = nullptr;
    A<unsigned char*>* paPVdfXCpZ = nullptr;

    explicit FitOut(Vd<double>* pvdfParam) {
        paramsToBSpline(pvdfParam, &bOk, &pvdfTParam, &paPVdfXParam, &fTi, &fTf, &nX, &pX, &mX,
                        &pvdfUKnotX, &paPVdfXCpX, &nZ, &pZ, &mZ, &pvdfUKnotZ, &paPVdfXCpZ);
    }
    ~FitOut() {
        delete pvdfTParam;
        deletePaPVdf(paPVdfXParam);
        delete pvdfUKnotX;
        deletePaPVdf(paPVdfXCpX);
        delete pvdfUKnotZ;
        deletePaPVdf(paPVdfXCpZ);
    }
};

void BM_FitBundledHop(benchmark::State& state) {
    Vd<double>* pvdfParam = pvdfParamTraj1FromFile(szHop.c_str());
    for (auto _ : state) {
        FitOut fit(pvdfParam);
        benchmark::DoNotOptimize(fit.bOk);
    }
    state.counters["waypoints"] = pvdfParam->n() / 3;
    delete pvdfParam;
}
BENCHMARK(BM_FitBundledHop)->Unit(benchmark::kMicrosecond);

void BM_AnalyzeBundledHop(benchmark::State& state) {
    Vd<double>* pvdfParam = pvdfParamTraj1FromFile(szHop.c_str());
    FitOut fit(pvdfParam);
    const Long nSample = 5 * (fit.nX + fit.nZ);
    Vd<double> vdfT(0, nSample);
    for (Long i = 0; i <= nSample; i++)
        vdfT[i] = fit.fTi + (static_cast<double>(i) / nSample) * (fit.fTf - fit.fTi);
    vdfT[nSample] = fit.fTf;
    for (auto _ : state) {
        A<unsigned char*>*paX = nullptr, *paXDot = nullptr, *paXDot2 = nullptr, *paF = nullptr,
        *paM = nullptr;
        Vd<double>*pvdfPitch = nullptr, *pvdfPitchDot = nullptr, *pvdfPitchDot2 = nullptr,
        *pvdfMs = nullptr;
        double fHorzRange, fMsProp, fFMin, fFMax;
        analyzePathBSpline(scenario.planet, scenario.vehicle, fit.nX, fit.pX, fit.mX, fit.pvdfUKnotX, fit.paPVdfXCpX, fit.nZ, fit.pZ,
                           fit.mZ, fit.pvdfUKnotZ, fit.paPVdfXCpZ, &vdfT, &paX, &pvdfPitch,
                           &paXDot, &pvdfPitchDot, &paXDot2, &pvdfPitchDot2, &pvdfMs, &paF, &paM,
                           &fHorzRange, &fMsProp, &fFMin, &fFMax);
        benchmark::DoNotOptimize(fMsProp);
        for (auto* pa : {paX, paXDot, paXDot2, paF, paM}) deletePaPVdf(pa);
        for (auto* pv : {pvdfPitch, pvdfPitchDot, pvdfPitchDot2, pvdfMs}) delete pv;
    }
    state.counters["samples"] = nSample + 1;
    delete pvdfParam;
}
BENCHMARK(BM_AnalyzeBundledHop)->Unit(benchmark::kMicrosecond);

// Steps 1-5 of `p`: release, read, fit, sample times, analysis.
void BM_PlanChainBundledHop(benchmark::State& state) {
    PlanState ps;
    for (auto _ : state) benchmark::DoNotOptimize(ps.bPlanTraj1FromFile(scenario, szHop.c_str()));
}
BENCHMARK(BM_PlanChainBundledHop)->Unit(benchmark::kMicrosecond);

}  // namespace
