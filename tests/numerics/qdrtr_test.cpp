// Trapezoid and Simpson quadrature: stage counts, closed-form values, the
// shared stage-limit failure and the wrap of the 16-bit point counter.
#include "numerics/qdrtr.h"

#include <cstdint>
#include <functional>

#include <gtest/gtest.h>

namespace {

// A function object from a lambda that counts its evaluations.
class FnCounted : public FFnF {
public:
    explicit FnCounted(std::function<double(double)> fn) : _fn(std::move(fn)) {}
    double fRAtFD(double fD) override {
        nEval++;
        return _fn(fD);
    }
    long nEval = 0;

private:
    std::function<double(double)> _fn;
};

const char szTooMany[] =
    "Too many steps in routine QTrap::fValue\nAssertion failed: 0, file .*qdrtr";

// A hat of height 1 over [0, 2 fW] with its peak at fW, zero up to 1: its
// integral is fW. Trapezoid stage k (spacing 2^-(k-1) on [0, 1]) is exact
// once its grid contains fW, and 0 before (the coarser grids only see zeros).
F1PwF fnHat(double fW) { return F1PwF(4, 0.0, 0.0, fW, 1.0, 2.0 * fW, 0.0, 1.0, 0.0); }

}  // namespace

TEST(QTrapzdTest, PointCounterWrapsAfterFifteenRefinements) {
    // Deliberate: the counter is 16 bits. After 15 refinements it reads
    // -32768, then 0; the refinements after that add no points and halve the
    // estimate. Nothing divides by zero and nothing loops.
    FnCounted fn([](double x) { return x * x; });
    QTrapzd q(&fn, 0.0, 1.0);
    for (int k = 1; k <= 14; k++) q.refine();
    EXPECT_EQ(q.iT(), 16384);
    q.refine();  // the 15th: 16384 new points, 32768 intervals
    EXPECT_EQ(q.iT(), -32768);
    EXPECT_EQ(fn.nEval, 32769);
    const double fN = 32768.0;
    const double fExact15 = 1.0 / 3.0 + 1.0 / (6.0 * fN * fN);
    EXPECT_NEAR(q.fValue(), fExact15, 1e-15);
    q.refine();
    EXPECT_EQ(q.iT(), 0);
    EXPECT_EQ(fn.nEval, 32769);
    EXPECT_NEAR(q.fValue(), 0.5 * fExact15, 1e-15);
    q.refine();
    EXPECT_EQ(q.iT(), 0);
    EXPECT_EQ(fn.nEval, 32769);
    EXPECT_NEAR(q.fValue(), 0.25 * fExact15, 1e-15);
}

TEST(QTrapTest, DefaultToleranceIsOneInAHundredThousand) {
    // f is 1 at both ends and c at the midpoint, linear in between: stage 1
    // gives 1, stage 2 gives (1 + c)/2, exact from then on.
    auto fnTent = [](double fC) {
        return [fC](double x) { return 1.0 + (fC - 1.0) * (x <= 0.5 ? 2.0 * x : 2.0 * (1.0 - x)); };
    };
    FnCounted fnClose(fnTent(1.0 + 1.8e-5));
    QTrap qClose(&fnClose, 0.0, 1.0);
    EXPECT_DOUBLE_EQ(qClose.fValue(), 1.0 + 0.9e-5);  // change 0.9e-5: stage 2
    EXPECT_EQ(fnClose.nEval, 3);
    FnCounted fnFar(fnTent(1.0 + 2.2e-5));
    QTrap qFar(&fnFar, 0.0, 1.0);
    EXPECT_DOUBLE_EQ(qFar.fValue(), 1.0 + 1.1e-5);  // change 1.1e-5: stage 3
    EXPECT_EQ(fnFar.nEval, 5);
}

TEST(QTrapTest, StageLimitCountsFromStageTwo) {
    // Exact from stage 5 on (grid spacing 1/16), so the first agreement is
    // between stages 5 and 6: a limit of 6 suffices, 5 does not. Exact from
    // stage 15 (spacing 2^-14), the default limit reaches stage 16, the last
    // that still adds points.
    F1PwF fnHat16 = fnHat(1.0 / 16.0), fnHat16384 = fnHat(1.0 / 16384.0);
    EXPECT_DOUBLE_EQ(QTrap(&fnHat16, 0.0, 1.0, 1e-6, 6).fValue(), 1.0 / 16.0);
    EXPECT_DEATH(QTrap(&fnHat16, 0.0, 1.0, 1e-6, 5).fValue(), szTooMany);
    EXPECT_DOUBLE_EQ(QTrap(&fnHat16384, 0.0, 1.0).fValue(), 1.0 / 16384.0);
}

TEST(QSimpTest, ReversedLimits) {
    FnCounted fnSq([](double x) { return x * x; });
    QSimp qRev(&fnSq, 1.0, 0.0, 1e-6, 20);
    EXPECT_NEAR(qRev.fValue(), -1.0 / 3.0, 1e-15);
}

TEST(QTrapTest, NeverAgreeingStagesFailWithTheSameMessage) {
    // Exact from stage 16 (spacing 2^-15). Without the counter's wrap stage
    // 17 would agree; with it, stage 17 adds no points and halves the
    // estimate, every later stage halves again, and the limit of 20 runs out.
    F1PwF fnWrap = fnHat(1.0 / 32768.0);
    FnCounted fnZero([](double) { return 0.0; }), fnOne([](double) { return 1.0; });
    FnCounted fnLinear([](double x) { return x; });
    EXPECT_DEATH(QTrap(&fnWrap, 0.0, 1.0).fValue(), szTooMany);
    EXPECT_DEATH(QTrap(&fnZero, 0.0, 1.0).fValue(), szTooMany);  // a zero integral
    EXPECT_DEATH(QTrap(&fnOne, 2.0, 2.0).fValue(), szTooMany);   // a == b
    EXPECT_DEATH(QSimp(&fnZero, 0.0, 1.0, 1e-6, 20).fValue(), szTooMany);
    for (std::int16_t nStepMax : {1, 0, -5})
        EXPECT_DEATH(QSimp(&fnLinear, 0.0, 1.0, 1e-6, nStepMax).fValue(), szTooMany) << nStepMax;
}
