// Inner loops of the numerics: one accuracy-controlled step of a 7-state
// system (the flight simulation's shape), and B-spline evaluation as the path
// analysis does it (degree 6, point and two derivatives).
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "numerics/nurbs.h"
#include "numerics/odeint.h"

namespace {

// A cheap smooth 7-state system: x, z, pitch, x and z velocity, pitch rate,
// mass, with thrust along the body axis, gravity and a little drag.
class SevenStates : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& y) override {
        parFDeriv->reconstructIFirstILast(1, 7);
        A1Val<double>& d = *parFDeriv;
        d[1] = y[4];
        d[2] = y[5];
        d[3] = y[6];
        d[4] = 30.0 * std::sin(y[3]) / y[7] - 0.01 * y[4];
        d[5] = 30.0 * std::cos(y[3]) / y[7] - 3.7 - 0.01 * y[5];
        d[6] = 0.2 * std::sin(fTi) - 0.5 * y[6] - 4.0 * y[3];
        d[7] = -0.02;
    }
};

void fillState(A1Val<double>* parFY) {
    const double afY0[7] = {0.0, 0.5, 0.05, 1.0, 0.0, 0.0, 20.0};
    for (Long i = 1; i <= 7; i++) (*parFY)[i] = afY0[i - 1];
}

// One rk5StepQC call per iteration, the state advanced in place as the
// simulation does; the step proposal is fed back, as in a real run. The
// state is reset every 1000 steps so the run stays in the same regime.
void BM_Rk5StepQC7(benchmark::State& state) {
    SevenStates sys;
    A1Val<double> arFY(1, 7), arFDyDx(1, 7), arFScale(1, 7);
    fillState(&arFY);
    const double afScale[7] = {1e-4, 1e-4, 1e-5, 1e-4, 1e-4, 1e-5, 1e-4};
    for (Long i = 1; i <= 7; i++) arFScale[i] = afScale[i - 1];
    double fTi = 0.0, fH = 0.01;
    long nStep = 0;
    for (auto _ : state) {
        double fTiNext, fHUsed;
        sys.arFAtFArF(&arFDyDx, fTi, arFY);
        rk5StepQC(&arFY, &fTiNext, &fHUsed, &fH, fTi, &arFY, &arFDyDx, 7, fH, 1.0, &arFScale,
                  &sys);
        fTi = fTiNext;
        if (++nStep % 1000 == 0) {
            fillState(&arFY);
            fTi = 0.0;
            fH = 0.01;
        }
        benchmark::DoNotOptimize(arFY[1]);
    }
}
BENCHMARK(BM_Rk5StepQC7);

// The same step with a proposal so short that it is always accepted at once:
// the cost of the step itself (three RK4 steps, eleven derivatives).
void BM_Rk5StepQC7Accepted(benchmark::State& state) {
    SevenStates sys;
    A1Val<double> arFY(1, 7), arFDyDx(1, 7), arFScale(1, 7), arFYNext(1, 7);
    fillState(&arFY);
    for (Long i = 1; i <= 7; i++) arFScale[i] = 1.0;
    sys.arFAtFArF(&arFDyDx, 0.0, arFY);
    for (auto _ : state) {
        double fTiNext, fHUsed, fHNextEst;
        rk5StepQC(&arFYNext, &fTiNext, &fHUsed, &fHNextEst, 0.0, &arFY, &arFDyDx, 7, 1e-3, 1e-6,
                  &arFScale, &sys);
        benchmark::DoNotOptimize(arFYNext[1]);
    }
}
BENCHMARK(BM_Rk5StepQC7Accepted);

// A degree-6 curve in 3 coordinates over [0, 30] with 16 control points.
struct Curve6 {
    static constexpr Long p = 6;
    static constexpr Long n = 15;
    Vd<double> vdfU{0, n + p + 1};
    std::vector<std::unique_ptr<Vd<double>>> apvdf;
    A<unsigned char*> apVdfP{0, n};
    Curve6() {
        for (Long i = 0; i <= n + p + 1; i++) {
            const Long iInner = i - p;
            vdfU[i] = iInner <= 0 ? 0.0 : (iInner >= n - p + 1 ? 30.0 : 30.0 * iInner / (n - p + 1));
        }
        for (Long i = 0; i <= n; i++) {
            apvdf.push_back(std::make_unique<Vd<double>>(1, 3));
            (*apvdf.back())[1] = 10.0 * i;
            (*apvdf.back())[2] = 0.0;
            (*apvdf.back())[3] = 50.0 * std::sin(0.3 * i);
            apVdfP[i] = reinterpret_cast<unsigned char*>(apvdf.back().get());
        }
    }
};

void BM_MdcfDerivsBSplineAtU(benchmark::State& state) {
    Curve6 c;
    Mdc<double> mdcf(1, 3, 0, 2);
    double u = 0.0;
    for (auto _ : state) {
        mdcfDerivsBSplineAtU(3, Curve6::n, Curve6::p, &c.vdfU, &c.apVdfP, u, 2, &mdcf);
        benchmark::DoNotOptimize(mdcf.pdata[0]);
        u += 0.0123;
        if (u > 30.0) u = 0.0;
    }
}
BENCHMARK(BM_MdcfDerivsBSplineAtU);

void BM_VdfXBSplineAtU(benchmark::State& state) {
    Curve6 c;
    Vd<double> vdfX(1, 3);
    double u = 0.0;
    for (auto _ : state) {
        vdfXBSplineAtU(3, u, Curve6::n, Curve6::p, &c.vdfU, &c.apVdfP, &vdfX);
        benchmark::DoNotOptimize(vdfX.pdata[0]);
        u += 0.0123;
        if (u > 30.0) u = 0.0;
    }
}
BENCHMARK(BM_VdfXBSplineAtU);

}  // namespace
