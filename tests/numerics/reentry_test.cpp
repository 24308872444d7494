// The steppers keep nothing between calls: a derivative object may run a
// stepper of its own in the middle of a step, with the results of the step
// alone, bit for bit.
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

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
}
