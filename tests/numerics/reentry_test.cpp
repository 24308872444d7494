// The steppers and the B-spline evaluators keep nothing between calls: a
// derivative object may run a stepper of its own in the middle of a step,
// and several threads may step and evaluate at once, all with the results
// of one thread alone, bit for bit.
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "numerics/nurbs.h"
#include "numerics/odeint.h"
#include "support/testutil.h"

namespace {

using FnStepQC = void (*)(A1Val<double>*, double*, double*, double*, double, A1Val<double>*,
                          A1Val<double>*, Long, double, double, A1Val<double>*,
                          ArF64FnF64ArF64*);

// Each result as its bits, so that a NaN or a signed zero compares too.
using Bits = std::vector<unsigned long long>;
void addBits(Bits* pbits, double f) {
    unsigned long long u;
    std::memcpy(&u, &f, sizeof u);
    pbits->push_back(u);
}

// y_i' = -y_i + y_{i+1} / 2 + sin(i t), the last coupled to the first.
// With an inner step set, every evaluation first runs it on a system of the
// same size (so that it would reuse any work array the outer step keeps).
class Coupled : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* pd, double fTi, const A1Val<double>& y) override {
        if (fnInner) fnInner();
        const Long n = y.iLast();
        pd->reconstructIFirstILast(1, n);
        for (Long i = 1; i <= n; i++) (*pd)[i] = -y[i] + 0.5 * y[i % n + 1] + std::sin(i * fTi);
    }
    std::function<void()> fnInner;
};

// Ten accepted steps of fnStep from a fixed start: every abscissa, step and
// state, as bits.
Bits bitsOfSteps(FnStepQC fnStep, Coupled* psys, Long n) {
    A1Val<double> arFY(1, n), arFDyDx(1, n), arFScale(1, n);
    for (Long i = 1; i <= n; i++) {
        arFY[i] = 0.3 * i;
        arFScale[i] = 1.0 + i;
    }
    double fX = 0.0, fH = 0.4;
    Bits bits;
    for (int iStep = 0; iStep < 10; iStep++) {
        psys->arFAtFArF(&arFDyDx, fX, arFY);
        double fXNext, fHUsed;
        fnStep(&arFY, &fXNext, &fHUsed, &fH, fX, &arFY, &arFDyDx, n, fH, 1e-7, &arFScale, psys);
        fX = fXNext;
        for (double f : {fX, fHUsed, fH}) addBits(&bits, f);
        for (Long i = 1; i <= n; i++) addBits(&bits, arFY[i]);
    }
    return bits;
}

// The point and derivatives of orders 0..3 of a curve of degree p in two
// coordinates at 41 parameter values, and the basis functions there.
Bits bitsOfCurve(Long p) {
    const Long n = p + 6;
    Vd<double> vdfU(0, n + p + 1);
    for (Long i = 0; i <= n + p + 1; i++)
        vdfU[i] = i <= p ? 0.0 : (i > n ? 4.0 : 4.0 * (i - p) / (n - p + 1) + 0.01 * std::sin(i));
    std::vector<std::unique_ptr<Vd<double>>> apvdf;
    A<unsigned char*> apVdfP(0, n);
    for (Long i = 0; i <= n; i++) {
        apvdf.push_back(std::make_unique<Vd<double>>(1, 2));
        (*apvdf.back())[1] = std::cos(0.7 * i);
        (*apvdf.back())[2] = std::sin(1.3 * i);
        apVdfP[i] = reinterpret_cast<unsigned char*>(apvdf.back().get());
    }
    Bits bits;
    Vd<double> vdfX(1, 2), vdfN(0, p);
    Mdc<double> mdcf(1, 2, 0, 3);
    for (int k = 0; k <= 40; k++) {
        const double u = 0.1 * k;
        vdfXBSplineAtU(2, u, n, p, &vdfU, &apVdfP, &vdfX);
        mdcfDerivsBSplineAtU(2, n, p, &vdfU, &apVdfP, u, 3, &mdcf);
        vdfNBSpline(iSpanInKnotvc(n, p, u, &vdfU), u, p, &vdfU, &vdfN);
        for (Long iDim = 1; iDim <= 2; iDim++) addBits(&bits, vdfX[iDim]);
        for (Long iOrder = 0; iOrder <= 3; iOrder++)
            for (Long iDim = 1; iDim <= 2; iDim++) addBits(&bits, mdcf.at(iDim, iOrder));
        for (Long j = 0; j <= p; j++) addBits(&bits, vdfN[j]);
    }
    return bits;
}

struct StepperCase {
    const char* szName;
    FnStepQC fnStep;
    Long n;
};
const StepperCase aStepperCase[] = {
    {"rk5StepQC", rk5StepQC, 7},
    {"ck5StepQC", ck5StepQC, 7},
    {"bulirschStoerStep", bulirschStoerStep, 3},
    {"rk5StepQC, a state longer than the stack holds", rk5StepQC, 20}};

}  // namespace

TEST(Reentry, ADerivativeThatStepsItselfLeavesTheOuterStepAlone) {
    for (const StepperCase& c : aStepperCase) {
        Coupled sysPlain;
        const Bits bitsAlone = bitsOfSteps(c.fnStep, &sysPlain, c.n);
        Coupled sysInner, sysOuter;
        sysOuter.fnInner = [&c, &sysInner] { (void)bitsOfSteps(c.fnStep, &sysInner, c.n); };
        EXPECT_EQ(bitsOfSteps(c.fnStep, &sysOuter, c.n), bitsAlone) << c.szName;
    }
    // rk4Step, with an rk4Step inside each evaluation.
    Coupled sysPlain, sysInner, sysOuter;
    A1Val<double> arFY(1, 7), arFDyDx(1, 7), arFYPlain(1, 7), arFYOuter(1, 7);
    for (Long i = 1; i <= 7; i++) arFY[i] = 0.3 * i;
    sysPlain.arFAtFArF(&arFDyDx, 0.0, arFY);
    sysOuter.fnInner = [&] {
        A1Val<double> arFYInner(1, 7);
        rk4Step(&arFYInner, 1.0, &arFY, &arFDyDx, 7, 0.2, &sysInner);
    };
    rk4Step(&arFYPlain, 0.0, &arFY, &arFDyDx, 7, 0.1, &sysPlain);
    rk4Step(&arFYOuter, 0.0, &arFY, &arFDyDx, 7, 0.1, &sysOuter);
    for (Long i = 1; i <= 7; i++) EXPECT_EQ(arFYOuter[i], arFYPlain[i]) << i;
}

TEST(Reentry, ThreadsSteppingAndEvaluatingAtOnceGetTheResultsOfOneThread) {
    // Every job: the stepper cases, and curves of the planner's degrees (5
    // and 6), of degree 0, and beyond the stack's tables (16).
    std::vector<std::function<Bits()>> afnJob;
    for (const StepperCase& c : aStepperCase)
        afnJob.push_back([&c] {
            Coupled sys;
            return bitsOfSteps(c.fnStep, &sys, c.n);
        });
    for (Long p : {0, 5, 6, 16}) afnJob.push_back([p] { return bitsOfCurve(p); });

    std::vector<Bits> abitsAlone;
    for (auto& fnJob : afnJob) abitsAlone.push_back(fnJob());
    // Four threads, each running every job in its own order, many times.
    constexpr int nThread = 4, nRound = 20;
    std::vector<int> anMismatch(nThread, 0);
    std::vector<std::thread> athread;
    for (int iThread = 0; iThread < nThread; iThread++)
        athread.emplace_back([&, iThread] {
            for (int iRound = 0; iRound < nRound; iRound++)
                for (std::size_t k = 0; k < afnJob.size(); k++) {
                    const std::size_t iJob = (k + iThread) % afnJob.size();
                    if (afnJob[iJob]() != abitsAlone[iJob]) anMismatch[iThread] += 1;
                }
        });
    for (std::thread& thread : athread) thread.join();
    for (int iThread = 0; iThread < nThread; iThread++)
        EXPECT_EQ(anMismatch[iThread], 0) << "thread " << iThread;
}
