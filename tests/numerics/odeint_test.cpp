// ODE steppers: the acceptance and growth rules of the adaptive step, the
// Bulirsch-Stoer stages, the step dumps and the asserted input ranges.
#include <cmath>
#include <utility>
#include <vector>

#include "numerics/odeint.h"
#include "support/testutil.h"

using vttest::arFOf;
using vttest::readFile;

namespace {

// y' = c t^pow for every component c of arFC (pow 4), or a jump to 1 at t > 0.3
// (pow -1); with c NaN the rate is NaN.
class Rate : public ArF64FnF64ArF64 {
public:
    Rate(std::vector<double> arFC, int iPow) : arFC(std::move(arFC)), iPow(iPow) {}
    void arFAtFArF(A1Val<double>* pd, double fTi, const A1Val<double>& y) override {
        pd->reconstructIFirstILast(1, y.iLast());
        for (Long i = 1; i <= y.iLast(); i++)
            (*pd)[i] = iPow < 0 ? (fTi > 0.3 ? 1.0 : 0.0) : arFC[i - 1] * std::pow(fTi, iPow);
        nCall++;
    }
    std::vector<double> arFC;
    int iPow;
    long nCall = 0;
};

// y1' = y2, y2' = -y1.
class Oscillator : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* pd, double, const A1Val<double>& y) override {
        pd->reconstructIFirstILast(1, 2);
        (*pd)[1] = y[2];
        (*pd)[2] = -y[1];
        nCall++;
    }
    long nCall = 0;
};

using FnStepQC = void (*)(A1Val<double>*, double*, double*, double*, double, A1Val<double>*,
                          A1Val<double>*, Long, double, double, A1Val<double>*,
                          ArF64FnF64ArF64*);

// One accuracy-controlled step from (fX, y); the results in the members.
struct StepIO {
    A1Val<double> arFY, arFDyDx, arFScale, arFYNext;
    double fXNext = 0.0, fHUsed = 0.0, fHNextEst = 0.0;
    StepIO(const std::vector<double>& vY, const std::vector<double>& vDyDx, double fScale = 1.0)
        : arFY(arFOf(vY)), arFDyDx(arFOf(vDyDx)),
          arFScale(arFOf(std::vector<double>(vY.size(), fScale))),
          arFYNext(1, static_cast<Long>(vY.size())) {}
    void step(FnStepQC fn, double fX, double fH, double fEps, ArF64FnF64ArF64* psys) {
        fn(&arFYNext, &fXNext, &fHUsed, &fHNextEst, fX, &arFY, &arFDyDx, arFY.n(), fH, fEps,
           &arFScale, psys);
    }
};

}  // namespace

using OdeFiles = InTempDir;

TEST_F(OdeFiles, Rk4UnderflowBelow1e300WritesDebugThenAsserts) {
    vttest::writeFile("debug.txt", "an older dump that must disappear\n");
    Rate rate({0.0, 2.0}, 0);
    A1Val<double> arFY = arFOf({1e-310, -1.0}), arFDyDx = arFOf({0.0, 2.0}), arFYNext(1, 2);
    EXPECT_DEATH(rk4Step(&arFYNext, 3.0, &arFY, &arFDyDx, 2, 0.25, &rate),
                 "^Assertion failed: std::fabs\\(fYNext\\) >= 1e-300, file .*odeint\\.cpp, "
                 "line [0-9]+\n$");
    EXPECT_EQ(readFile("debug.txt"),
              "Y too small in rk4Step\n"
              "    fX          =     3.0000000000e+00\n"
              "    fH          =     2.5000000000e-01\n"
              "    *parFY =\n"
              "       1.0000000000e-310\n"
              "       -1.0000000000e+00\n"
              "   *arFDyT =\n"
              "        0.0000000000e+00\n"
              "        2.0000000000e+00\n"
              "   *parFYNext =\n"
              "       1.0000000000e-310\n"
              "       -5.0000000000e-01\n");
    // At and beside the bounds of 0 < |y| < 1e-300 (an exact zero is not
    // underflow), in the last of three components (the state does not move):
    // the step fails exactly there.
    const double fTiny = 1e-300, fBelow = std::nextafter(1e-300, 0.0);
    for (double f : {0.0, -0.0, fTiny, -fTiny, fBelow, -fBelow, 4.9e-324, -4.9e-324, 2.2250738585072014e-308,
                     HUGE_VAL, -HUGE_VAL, std::nan(""), 1.0}) {
        A1Val<double> arFY3 = arFOf({1.0, 2.0, f}), arFD3 = arFOf({0.0, 0.0, 0.0}), arFNext3(1, 3);
        Rate still({0.0, 0.0, 0.0}, 0);
        auto step = [&] { rk4Step(&arFNext3, 0.0, &arFY3, &arFD3, 3, 0.5, &still); };
        if (f != 0.0 && std::fabs(f) < 1e-300) EXPECT_DEATH(step(), "fYNext") << f;
        else step();
    }
}

// With y' = t^4 from t = 0 and h = 6 the full step gives 1620, the two half
// steps 1559.25: their difference is exactly 60.75, and the extrapolated
// result is the exact integral 1555.2. The error scale sets fErrMax.
TEST(Rk5StepQC, AcceptanceAtOneAndGrowthCappedAtFour) {
    const double fDiff = 60.75;
    // fTol < 0: equal to within 4 ulps; 0: exactly equal.
    const struct { double fScale, fEps, fHUsed, fHNextEst, fTol; } acase[] = {
        {fDiff, 1.0, 6.0, 0.9 * 6.0, 0.0},        // fErrMax 1: accepted
        {2.0 * fDiff, 0.5, 6.0, 0.9 * 6.0, 0.0},  // eps is a divisor
        {fDiff / 0.0006, 1.0, 6.0, 24.0, 0.0},    // at the threshold: the cap
        {1e9, 1.0, 6.0, 24.0, 0.0},
        {fDiff / 0.0006001, 1.0, 6.0, 0.9 * 6.0 * std::pow(fDiff / (fDiff / 0.0006001), -0.2),
         -1.0},
        // A hair above 1: retried with 0.9 h fErrMax^-0.25, whose error
        // scales as h^5.
        {std::nextafter(fDiff, 0.0), 1.0, 0.9 * 6.0, 0.9 * 6.0, 1e-9}};
    ASSERT_EQ(fDiff / (fDiff / 0.0006), 0.0006);
    for (const auto& c : acase) {
        Rate quartic({1.0}, 4);
        StepIO io({0.0}, {0.0}, c.fScale);
        io.step(rk5StepQC, 0.0, 6.0, c.fEps, &quartic);
        EXPECT_EQ(io.fXNext, io.fHUsed);
        if (c.fTol > 0.0) {
            EXPECT_NEAR(io.fHUsed, c.fHUsed, 1e-12);
            EXPECT_NEAR(io.fHNextEst, c.fHNextEst, c.fTol);
            EXPECT_NEAR(io.arFYNext[1], std::pow(io.fHUsed, 5.0) / 5.0, 1e-9);
            continue;
        }
        EXPECT_EQ(io.fHUsed, 6.0) << c.fScale;
        if (c.fTol < 0.0) EXPECT_DOUBLE_EQ(io.fHNextEst, c.fHNextEst);
        else EXPECT_EQ(io.fHNextEst, c.fHNextEst) << c.fScale;
        EXPECT_NEAR(io.arFYNext[1], 1555.2, 1e-12);
    }
}

TEST_F(OdeFiles, Rk5StepThatNoLongerMovesXWritesDebugThenAsserts) {
    Rate rate({1.0, -2.0}, 0);
    StepIO io({1.0, 2.0}, {1.0, -2.0});
    EXPECT_DEATH(io.step(rk5StepQC, 1e20, 0.001, 1e-6, &rate),  // 1e20 + 0.001 == 1e20
                 "^Assertion failed: \\*pfXNext != fX, file .*odeint\\.cpp, line [0-9]+\n$");
    EXPECT_EQ(readFile("debug.txt"),
              "Step size too small in routine rk5StepQC\n"
              "    iLoop       = 1\n"
              "    fX          =     1.0000000000e+20\n"
              "    fHTry       =     1.0000000000e-03\n"
              "    fH          =     1.0000000000e-03\n"
              "    arFYTemp1 =\n"
              "        1.0005000000e+00\n"
              "        1.9990000000e+00\n"
              "   arFDyDxTemp =\n"
              "        1.0000000000e+00\n"
              "       -2.0000000000e+00\n"
              "    arFYNext =\n"
              "        1.0010000000e+00\n"
              "        1.9980000000e+00\n");
    // A NaN in the last component is not passed over by the error maximum.
    Rate nan({0.0, std::nan("")}, 0);
    StepIO ioNaN({0.0, 1.0}, {0.0, 0.0});
    EXPECT_DEATH(ioNaN.step(rk5StepQC, 0.0, 0.1, 1e-6, &nan),
                 "^Assertion failed: !std::isnan\\(fErrMax\\), file .*odeint\\.cpp");
}

TEST(OdeDeath, InputRangesAreAssertedInOrder) {
    Rate rate({0.0, 0.0}, 0);
    A1Val<double> arFGood = arFOf({1.0, 2.0}), arFShort = arFOf({1.0}), arFYNext(1, 2);
    double fXNext, fHUsed, fHNextEst;
    for (FnStepQC fnStep : {rk5StepQC, bulirschStoerStep}) {
        EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFShort, &arFShort, 2,
                            0.1, 1e-6, &arFShort, &rate),
                     vttest::szAssertRe("parFY->iFirst() == 1 && parFY->iLast() == iNY", "odeint"));
        EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFGood, &arFShort, 2,
                            0.1, 1e-6, &arFShort, &rate),
                     vttest::szAssertRe("parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY",
                                        "odeint"));
        EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFGood, &arFGood, 2,
                            0.1, 1e-6, &arFShort, &rate),
                     vttest::szAssertRe(
                         "parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY", "odeint"));
    }
    EXPECT_DEATH(rk4Step(&arFYNext, 0.0, &arFGood, &arFShort, 2, 0.1, &rate),
                 vttest::szAssertRe("parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY", "odeint"));
    // A derivative object that hands back one element too few: "array
    // bounds" at the first element it lacks.
    struct ShortRate : ArF64FnF64ArF64 {
        void arFAtFArF(A1Val<double>* pd, double, const A1Val<double>& y) override {
            pd->reconstructIFirstILast(1, y.iLast() - 1);
            for (Long i = 1; i < y.iLast(); i++) (*pd)[i] = 0.0;
        }
    } rateShort;
    A1Val<double> arFThree = arFOf({1.0, 2.0, 3.0}), arFYNext3(1, 3);
    for (FnStepQC fnStep : {rk5StepQC, ck5StepQC})
        EXPECT_DEATH(fnStep(&arFYNext3, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFThree, &arFThree, 3,
                            0.1, 1e-6, &arFThree, &rateShort),
                     "array bounds");
}

TEST(BulirschStoerStep, ProposedStepFollowsTheStageThatConverged) {
    // Stage j costs nseq[j] derivative calls, so the call count tells the
    // stage: 2+4+6+8 = 20 calls is stage 4, then 32, 48, 72, 104, 152, 216, 312.
    const struct { double fH, fEps; long nCall; double fRatio; } acase[] = {
        {0.1, 1e-6, 20, 16.0 / 8}, {1.0, 1e-10, 48, 1.2}, {1.0, 1e-13, 72, 0.95},
        {2.0, 1e-13, 104, 16.0 / 32}, {5.0, 1e-13, 312, 16.0 / 96}};
    for (const auto& c : acase) {
        Oscillator osc;
        StepIO io({1.0, 0.0}, {0.0, -1.0});
        io.step(bulirschStoerStep, 0.0, c.fH, c.fEps, &osc);
        EXPECT_EQ(osc.nCall, c.nCall) << c.fH << " " << c.fEps;
        EXPECT_EQ(io.fHUsed, c.fH);
        EXPECT_EQ(io.fXNext, c.fH);
        EXPECT_DOUBLE_EQ(io.fHNextEst, c.fH * c.fRatio) << c.fH << " " << c.fEps;
        EXPECT_NEAR(io.arFYNext[1], std::cos(c.fH), 1e2 * c.fEps);
    }
}

TEST(BulirschStoerStep, FailedStepIsCutBySixteenAndSaysSo) {
    // The jump at t = 0.3 defeats the extrapolation over [0, 1]; over
    // [0, 1/16] the rate is 0 and the first testable stage converges.
    Rate jump({0.0}, -1);
    StepIO io({0.0}, {0.0});
    ::testing::internal::CaptureStdout();
    io.step(bulirschStoerStep, 0.0, 1.0, 1e-10, &jump);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "    B-S step failed, fH =   1.0000e+00\n");
    EXPECT_EQ(io.fHUsed, 0.0625);
    EXPECT_EQ(io.fXNext, 0.0625);
    EXPECT_EQ(io.fHNextEst, 0.125);  // stage 4: 16 / 8
    EXPECT_EQ(io.arFYNext[1], 0.0);
    // A NaN rate is never accepted; after the first cut 1e20 + 1/16 == 1e20.
    Rate nan({std::nan("")}, 0);
    EXPECT_DEATH(io.step(bulirschStoerStep, 1e20, 1.0, 1e-6, &nan),
                 "^\\*{40}\nstep size underflow in bulirschStoerStep\n\\*{40}\n"
                 "Assertion failed: fX \\+ fH != fX, file .*odeint\\.cpp, line [0-9]+\n$");
}
