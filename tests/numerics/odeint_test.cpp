// ODE steppers: orders of convergence, the acceptance and growth rules of the
// adaptive step, the step dumps, aliasing of input and output state.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "numerics/odeint.h"
#include "support/testutil.h"

using vttest::readFile;

namespace {

// y1' = y2, y2' = -y1: y = (cos t, -sin t) from (1, 0) at t = 0.
class Oscillator : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* parFDeriv, double, const A1Val<double>& arFState) override {
        parFDeriv->reconstructIFirstILast(1, 2);
        (*parFDeriv)[1] = arFState[2];
        (*parFDeriv)[2] = -arFState[1];
        nCall++;
    }
    long nCall = 0;
};

// y' = y.
class Exponential : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* pd, double, const A1Val<double>& y) override {
        pd->reconstructIFirstILast(1, 1);
        (*pd)[1] = y[1];
    }
};

// y' = c t^4 for every component c of arFC, whatever the state: the steps
// reduce to quadrature, whose results are known exactly.
class QuarticInTime : public ArF64FnF64ArF64 {
public:
    explicit QuarticInTime(std::vector<double> arFC) : arFC(std::move(arFC)) {}
    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& arFState) override {
        parFDeriv->reconstructIFirstILast(1, arFState.iLast());
        for (Long i = 1; i <= arFState.iLast(); i++)
            (*parFDeriv)[i] = arFC[i - 1] * fTi * fTi * fTi * fTi;
    }
    std::vector<double> arFC;
};

// A fixed derivative, whatever the time and state.
class ConstantRate : public ArF64FnF64ArF64 {
public:
    explicit ConstantRate(std::vector<double> arFRate) : arFRate(std::move(arFRate)) {}
    void arFAtFArF(A1Val<double>* parFDeriv, double, const A1Val<double>& arFState) override {
        parFDeriv->reconstructIFirstILast(1, arFState.iLast());
        for (Long i = 1; i <= arFState.iLast(); i++) (*parFDeriv)[i] = arFRate[i - 1];
    }
    std::vector<double> arFRate;
};

// A smooth non-linear 7-state system, shaped like the vehicle's state
// (positions, pitch, velocities, pitch rate, mass).
class SevenStates : public ArF64FnF64ArF64 {
public:
    void arFAtFArF(A1Val<double>* parFDeriv, double fTi, const A1Val<double>& y) override {
        parFDeriv->reconstructIFirstILast(1, 7);
        (*parFDeriv)[1] = y[4];
        (*parFDeriv)[2] = y[5];
        (*parFDeriv)[3] = y[6];
        (*parFDeriv)[4] = 30.0 * std::sin(y[3]) / y[7] - 0.1 * y[4] * std::fabs(y[4]);
        (*parFDeriv)[5] = 30.0 * std::cos(y[3]) / y[7] - 3.7 - 0.1 * y[5] * std::fabs(y[5]);
        (*parFDeriv)[6] = 2.0 * std::sin(3.0 * fTi) - 0.5 * y[6] - 4.0 * y[3];
        (*parFDeriv)[7] = -0.02;
    }
};

A1Val<double> arFOf(const std::vector<double>& v) {
    A1Val<double> ar(1, static_cast<Long>(v.size()));
    for (Long i = 1; i <= ar.iLast(); i++) ar[i] = v[i - 1];
    return ar;
}

// Largest error of the oscillator state against cos/sin at fTi.
double fErrOscillator(const A1Val<double>& arFY, double fTi) {
    return std::fmax(std::fabs(arFY[1] - std::cos(fTi)), std::fabs(arFY[2] + std::sin(fTi)));
}

// The two accuracy-controlled steppers share one interface.
using FnStepQC = void (*)(A1Val<double>*, double*, double*, double*, double, A1Val<double>*,
                          A1Val<double>*, Long, double, double, A1Val<double>*,
                          ArF64FnF64ArF64*);

struct StepperQC {
    const char* szName;
    FnStepQC fnStep;
};

// One accuracy-controlled step from (fX, y) with the given rates and error
// scales (all 1 unless given); the results in the members.
struct StepIO {
    A1Val<double> arFY, arFDyDx, arFScale, arFYNext;
    double fXNext = 0.0, fHUsed = 0.0, fHNextEst = 0.0;
    StepIO(const std::vector<double>& vY, const std::vector<double>& vDyDx,
           const std::vector<double>& vScale = {})
        : arFY(arFOf(vY)), arFDyDx(arFOf(vDyDx)),
          arFScale(arFOf(vScale.empty() ? std::vector<double>(vY.size(), 1.0) : vScale)),
          arFYNext(1, static_cast<Long>(vY.size())) {}
    void step(FnStepQC fn, double fX, double fH, double fEps, ArF64FnF64ArF64* psys) {
        fn(&arFYNext, &fXNext, &fHUsed, &fHNextEst, fX, &arFY, &arFDyDx, arFY.n(), fH, fEps,
           &arFScale, psys);
    }
};

// Integrates the oscillator over [0, fTiEnd] with absolute error scale 1 and
// tolerance fEps, landing on fTiEnd exactly; the error and the step count.
std::pair<double, long> errNStepOscillator(FnStepQC fnStep, double fEps, double fTiEnd) {
    Oscillator osc;
    A1Val<double> arFY = arFOf({1.0, 0.0});
    A1Val<double> arFDyDx(1, 2);
    A1Val<double> arFScale = arFOf({1.0, 1.0});
    double fTi = 0.0, fH = 0.5;
    long nStep = 0;
    while (fTi < fTiEnd) {
        const double fHTry = std::fmin(fH, fTiEnd - fTi);
        osc.arFAtFArF(&arFDyDx, fTi, arFY);
        double fTiNext, fHUsed;
        fnStep(&arFY, &fTiNext, &fHUsed, &fH, fTi, &arFY, &arFDyDx, 2, fHTry, fEps, &arFScale, &osc);
        fTi = (fHUsed == fTiEnd - fTi) ? fTiEnd : fTiNext;  // an uncut step lands on the end
        nStep++;
    }
    return {fErrOscillator(arFY, fTiEnd), nStep};
}

}  // namespace

// ---- rk4Step ----------------------------------------------------------------

TEST(Rk4Step, OneStepOfExponentialIsTheQuarticTaylorPolynomial) {
    // For y' = y one classical step multiplies by 1 + h + h^2/2 + h^3/6 + h^4/24.
    Exponential expo;
    for (double fH : {0.5, 0.1, -0.3}) {
        A1Val<double> arFY = arFOf({2.0});
        A1Val<double> arFDyDx = arFOf({2.0});
        A1Val<double> arFYNext(5, 9);
        rk4Step(&arFYNext, 1.0, &arFY, &arFDyDx, 1, fH, &expo);
        ASSERT_EQ(arFYNext.iFirst(), 1);
        ASSERT_EQ(arFYNext.iLast(), 1);
        const double fTaylor = 1 + fH + fH * fH / 2 + fH * fH * fH / 6 + fH * fH * fH * fH / 24;
        EXPECT_NEAR(arFYNext[1], 2.0 * fTaylor, 1e-14) << fH;
    }
}

TEST(Rk4Step, TimeOnlyRateIsSimpsonsRuleAtTheRightAbscissas) {
    // y' = 5 t^4 from t = 1 over h = 2: Simpson's rule gives
    // 2/6 * (5 + 4 * 5 * 2^4 + 5 * 3^4) = 2/6 * 730, which differs from the
    // exact 3^5 - 1 = 242 and so shows that the middle and end abscissas are
    // x + h/2 and x + h.
    QuarticInTime quartic({5.0});
    A1Val<double> arFY = arFOf({1.0});
    A1Val<double> arFDyDx = arFOf({5.0});
    A1Val<double> arFYNext(1, 1);
    rk4Step(&arFYNext, 1.0, &arFY, &arFDyDx, 1, 2.0, &quartic);
    EXPECT_NEAR(arFYNext[1], 1.0 + 2.0 / 6.0 * 730.0, 1e-12);
}

using Rk4StepFiles = InTempDir;

TEST_F(Rk4StepFiles, ExactZeroIsNotUnderflow) {
    ConstantRate rate({0.0, 0.0});
    A1Val<double> arFY = arFOf({0.0, 1e-300});
    A1Val<double> arFDyDx = arFOf({0.0, 0.0});
    A1Val<double> arFYNext(1, 2);
    rk4Step(&arFYNext, 0.0, &arFY, &arFDyDx, 2, 0.5, &rate);
    EXPECT_EQ(arFYNext[1], 0.0);
    EXPECT_EQ(arFYNext[2], 1e-300);
    EXPECT_FALSE(vttest::fileExists("debug.txt"));
}

TEST_F(Rk4StepFiles, UnderflowBelow1e300WritesDebugThenAsserts) {
    vttest::writeFile("debug.txt", "an older dump that must disappear\n");
    ConstantRate rate({0.0, 2.0});
    A1Val<double> arFY = arFOf({1e-310, -1.0});
    A1Val<double> arFDyDx = arFOf({0.0, 2.0});
    A1Val<double> arFYNext(1, 2);
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
}

// ---- rk5StepQC ----------------------------------------------------------------

// With y' = t^4 from t = 0 and h = 6, every intermediate value is a short
// binary fraction, so the steps are exact:
//   one full step    h/6 * (f(0) + f(6) + 4 f(3))                     = 1620
//   two half steps   0.5 * (f(0) + f(3) + 4 f(1.5))
//                  + 0.5 * (f(3) + f(6) + 4 f(4.5))    = 50.625 + 1508.625 = 1559.25
// and their difference is exactly 60.75. The extrapolated result
// 1559.25 + (1559.25 - 1620) / 15 is the exact integral 6^5 / 5 = 1555.2.
namespace {
constexpr double fDiffQuartic = 60.75;

struct QuarticStep {
    double fXNext, fHUsed, fHNextEst;
    double fY;
};

QuarticStep stepQuartic(double fScale, double fEps) {
    QuarticInTime quartic({1.0});
    StepIO io({0.0}, {0.0}, {fScale});
    io.step(rk5StepQC, 0.0, 6.0, fEps, &quartic);
    return {io.fXNext, io.fHUsed, io.fHNextEst, io.arFYNext[1]};
}
}  // namespace

TEST(Rk5StepQC, ScaledErrorOfExactlyOneIsAccepted) {
    const QuarticStep r = stepQuartic(fDiffQuartic, 1.0);
    EXPECT_EQ(r.fHUsed, 6.0);
    EXPECT_EQ(r.fXNext, 6.0);
    // fErrMax = 1: 0.9 * h * 1^-0.2.
    EXPECT_EQ(r.fHNextEst, 0.9 * 6.0);
    EXPECT_NEAR(r.fY, 1555.2, 1e-12);

    // The tolerance enters as a divisor: scale 121.5 with eps 0.5 is the same.
    EXPECT_EQ(stepQuartic(2.0 * fDiffQuartic, 0.5).fHUsed, 6.0);
}

TEST(Rk5StepQC, ScaledErrorJustAboveOneShrinksTheStep) {
    const QuarticStep r = stepQuartic(std::nextafter(fDiffQuartic, 0.0), 1.0);
    EXPECT_LT(r.fHUsed, 6.0);
    // The first retry uses 0.9 h fErrMax^-0.25 with fErrMax a hair above 1.
    EXPECT_NEAR(r.fHUsed, 0.9 * 6.0, 1e-12);
    EXPECT_EQ(r.fXNext, r.fHUsed);
    // The retried step's error scales as h^5: accepted with room to grow.
    const double fErrMax = fDiffQuartic * std::pow(0.9, 5.0) / std::nextafter(fDiffQuartic, 0.0);
    EXPECT_NEAR(r.fHNextEst, 0.9 * r.fHUsed * std::pow(fErrMax, -0.2), 1e-9);
    // Still the exact integral, now of t^4 over [0, h].
    EXPECT_NEAR(r.fY, std::pow(r.fHUsed, 5.0) / 5.0, 1e-9);
}

TEST(Rk5StepQC, GrowthIsCappedAtFourBelowTheThreshold) {
    // fErrMax = 60.75 / 101250 rounds to the same double as 0.0006: not above
    // the threshold, so the cap applies.
    const QuarticStep rAt = stepQuartic(fDiffQuartic / 0.0006, 1.0);
    ASSERT_EQ(fDiffQuartic / (fDiffQuartic / 0.0006), 0.0006);
    EXPECT_EQ(rAt.fHUsed, 6.0);
    EXPECT_EQ(rAt.fHNextEst, 24.0);

    // Far below: still exactly four times.
    EXPECT_EQ(stepQuartic(1e9, 1.0).fHNextEst, 24.0);

    // Just above the threshold the formula takes over, and it meets the cap
    // there (0.9 * 0.0006^-0.2 is about 3.96).
    const QuarticStep rAbove = stepQuartic(fDiffQuartic / 0.0006001, 1.0);
    const double fErrMax = fDiffQuartic / (fDiffQuartic / 0.0006001);
    ASSERT_GT(fErrMax, 0.0006);
    EXPECT_DOUBLE_EQ(rAbove.fHNextEst, 0.9 * 6.0 * std::pow(fErrMax, -0.2));
    EXPECT_NEAR(rAbove.fHNextEst / 6.0, 3.96, 0.01);
}

using Rk5StepQCFiles = InTempDir;

TEST_F(Rk5StepQCFiles, StepThatNoLongerMovesXWritesDebugThenAsserts) {
    ConstantRate rate({1.0, -2.0});
    StepIO io({1.0, 2.0}, {1.0, -2.0});
    // 1e20 + 0.001 == 1e20.
    EXPECT_DEATH(io.step(rk5StepQC, 1e20, 0.001, 1e-6, &rate),
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
}

TEST(Rk5StepQCDeath, NaNScaledErrorAssertsInsteadOfLoopingForever) {
    ConstantRate rate({std::nan(""), 0.0});
    StepIO io({0.0, 1.0}, {0.0, 0.0});
    EXPECT_DEATH(io.step(rk5StepQC, 0.0, 0.1, 1e-6, &rate),
                 "^Assertion failed: !std::isnan\\(fErrMax\\), file .*odeint\\.cpp");
    // The NaN in the last component is not passed over by the maximum either.
    ConstantRate rateLast({0.0, std::nan("")});
    EXPECT_DEATH(io.step(rk5StepQC, 0.0, 0.1, 1e-6, &rateLast),
                 "Assertion failed: !std::isnan\\(fErrMax\\)");
}

// ---- both accuracy-controlled steppers --------------------------------------

class StepQC : public ::testing::TestWithParam<StepperQC> {};

INSTANTIATE_TEST_SUITE_P(Steppers, StepQC,
                         ::testing::Values(StepperQC{"rk5StepQC", rk5StepQC},
                                           StepperQC{"bulirschStoerStep", bulirschStoerStep}),
                         [](const auto& info) { return std::string(info.param.szName); });

TEST_P(StepQC, GlobalErrorFollowsTheTolerance) {
    double fErrPrev = 1.0;
    for (double fEps : {1e-5, 1e-7, 1e-9, 1e-11}) {
        const auto [fErr, nStep] = errNStepOscillator(GetParam().fnStep, fEps, 10.0);
        // Each step's local error is held below fEps, so the global error is
        // bounded by their sum; a hundredfold tighter tolerance buys at least
        // a tenfold smaller error.
        EXPECT_LT(fErr, nStep * fEps) << fEps;
        EXPECT_LT(fErr, fErrPrev / 10.0) << fEps;
        fErrPrev = fErr;
    }
}

TEST_P(StepQC, SameArrayInAndOutGivesBitIdenticalResults) {
    // The 7-state system from far too large a first step, so that steps are
    // retried: every retry must start from the same state.
    SevenStates sys;
    const std::vector<double> arFY0 = {0.0, 0.5, 0.1, 1.0, 0.0, 0.0, 20.0};
    A1Val<double> arFScale = arFOf({1e-6, 1e-6, 1e-7, 1e-6, 1e-6, 1e-7, 1e-6});
    A1Val<double> arFYInPlace = arFOf(arFY0), arFYA = arFOf(arFY0), arFYB(1, 7), arFDyDx(1, 7);
    double fTi1 = 0.0, fH1 = 5.0, fTi2 = 0.0, fH2 = 5.0;
    int nRetried = 0;
    for (int iStep = 0; iStep < 100; iStep++) {
        double fTiNext, fHUsed1, fHUsed2;
        const double fHTry = fH1;
        sys.arFAtFArF(&arFDyDx, fTi1, arFYInPlace);
        GetParam().fnStep(&arFYInPlace, &fTiNext, &fHUsed1, &fH1, fTi1, &arFYInPlace, &arFDyDx, 7,
                          fH1, 1.0, &arFScale, &sys);
        fTi1 = fTiNext;
        nRetried += fHUsed1 != fHTry;
        sys.arFAtFArF(&arFDyDx, fTi2, arFYA);
        GetParam().fnStep(&arFYB, &fTiNext, &fHUsed2, &fH2, fTi2, &arFYA, &arFDyDx, 7, fH2, 1.0,
                          &arFScale, &sys);
        fTi2 = fTiNext;
        arFYA = arFYB;
        ASSERT_EQ(fTi1, fTi2) << iStep;
        ASSERT_EQ(std::memcmp(&arFYInPlace[1], &arFYA[1], 7 * sizeof(double)), 0) << iStep;
    }
    EXPECT_GT(nRetried, 0);
}

TEST_P(StepQC, InputRangesAreAssertedInOrder) {
    ConstantRate rate({0.0, 0.0});
    A1Val<double> arFGood = arFOf({1.0, 2.0}), arFShort = arFOf({1.0}), arFYNext(1, 2);
    double fXNext, fHUsed, fHNextEst;
    const FnStepQC fnStep = GetParam().fnStep;
    EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFShort, &arFShort, 2, 0.1,
                        1e-6, &arFShort, &rate),
                 vttest::szAssertRe("parFY->iFirst() == 1 && parFY->iLast() == iNY", "odeint"));
    EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFGood, &arFShort, 2, 0.1,
                        1e-6, &arFShort, &rate),
                 vttest::szAssertRe("parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY", "odeint"));
    EXPECT_DEATH(fnStep(&arFYNext, &fXNext, &fHUsed, &fHNextEst, 0.0, &arFGood, &arFGood, 2, 0.1,
                        1e-6, &arFShort, &rate),
                 vttest::szAssertRe("parFYErrScale->iFirst() == 1 && parFYErrScale->iLast() == iNY",
                                    "odeint"));
    // The fixed step checks the same two ranges first.
    EXPECT_DEATH(rk4Step(&arFYNext, 0.0, &arFShort, &arFShort, 2, 0.1, &rate),
                 vttest::szAssertRe("parFY->iFirst() == 1 && parFY->iLast() == iNY", "odeint"));
    EXPECT_DEATH(rk4Step(&arFYNext, 0.0, &arFGood, &arFShort, 2, 0.1, &rate),
                 vttest::szAssertRe("parFDyDx->iFirst() == 1 && parFDyDx->iLast() == iNY", "odeint"));
}

// ---- mmidStep -------------------------------------------------------------------

namespace {
double fMmidExp(Long nStep) {
    Exponential expo;
    A1Val<double> arFY = arFOf({1.0});
    A1Val<double> arFDyDx = arFOf({1.0});
    A1Val<double> arFYNext(1, 1);
    mmidStep(&arFYNext, 0.0, &arFY, &arFDyDx, 1, 1.0, &expo, nStep);
    return arFYNext[1];
}
}  // namespace

// ---- rzextr -----------------------------------------------------------------------

namespace {
// The value at x = 0 of the rational function P(x) / (1 + Q(x)) through the
// points (x[i], y[i]), with deg P = (k-1)/2 and deg Q = k-1-deg P for k
// points (types (0,0), (0,1), (1,1), (1,2), (2,2), ...), by solving
//   P(x[i]) - y[i] Q(x[i]) = y[i]
// for the k coefficients with Gaussian elimination; P(0) is the first.
double fRationalAtZero(const std::vector<long double>& arX, const std::vector<long double>& arY) {
    const size_t k = arX.size();
    const size_t nP = (k - 1) / 2 + 1;
    std::vector<std::vector<long double>> a(k, std::vector<long double>(k + 1));
    for (size_t i = 0; i < k; i++) {
        long double fPow = 1.0L;
        for (size_t j = 0; j < nP; j++, fPow *= arX[i]) a[i][j] = fPow;
        fPow = arX[i];
        for (size_t j = nP; j < k; j++, fPow *= arX[i]) a[i][j] = -arY[i] * fPow;
        a[i][k] = arY[i];
    }
    for (size_t c = 0; c < k; c++) {
        size_t iPivot = c;
        for (size_t r = c + 1; r < k; r++)
            if (std::fabs(a[r][c]) > std::fabs(a[iPivot][c])) iPivot = r;
        std::swap(a[c], a[iPivot]);
        for (size_t r = 0; r < k; r++) {
            if (r == c) continue;
            const long double f = a[r][c] / a[c][c];
            for (size_t j = c; j <= k; j++) a[r][j] -= f * a[c][j];
        }
    }
    return static_cast<double>(a[0][k] / a[0][0]);
}
}  // namespace

TEST(Rzextr, IsTheDiagonalRationalInterpolantAtZero) {
    // Midpoint results for y' = y over [0, 1] with 2, 4, 6, ... sub-steps,
    // at abscissas (1/n)^2, as the Bulirsch-Stoer step makes them.
    const Long aiN[] = {2, 4, 6, 8, 12, 16, 24};
    std::vector<long double> arX, arY;
    A1Val<double> arFXEst(1, 11);
    A2Val<double> a2FD;
    A1Val<double> arFYEst(1, 1), arFYZ(1, 1), arFDy(1, 1);
    for (Long iEst = 1; iEst <= 7; iEst++) {
        const double fHSub = 1.0 / aiN[iEst - 1];
        arFYEst[1] = fMmidExp(aiN[iEst - 1]);
        arX.push_back(fHSub * fHSub);
        arY.push_back(arFYEst[1]);
        rzextr(iEst, fHSub * fHSub, &arFYEst, &arFYZ, &arFDy, 1, 7, &arFXEst, &a2FD);
        EXPECT_EQ(arFXEst[iEst], fHSub * fHSub);
        if (iEst == 1) {
            // Nothing to extrapolate from yet: the estimate is its own error.
            EXPECT_EQ(arFYZ[1], arFYEst[1]);
            EXPECT_EQ(arFDy[1], arFYEst[1]);
        } else {
            EXPECT_NEAR(arFYZ[1], fRationalAtZero(arX, arY), 1e-13) << iEst;
            const std::vector<long double> arXOld(arX.begin() + 1, arX.end());
            const std::vector<long double> arYOld(arY.begin() + 1, arY.end());
            // The error estimate is what the oldest estimate contributes: the
            // difference from the interpolant through the others.
            EXPECT_NEAR(arFDy[1], arFYZ[1] - fRationalAtZero(arXOld, arYOld), 1e-13) << iEst;
        }
    }
    EXPECT_LT(std::fabs(arFYZ[1] - std::exp(1.0)), 1e-13);
}

TEST(Rzextr, UsesOnlyTheLatestEstimatesAndKeepsComponentsApart) {
    // With nUse = 3 the fifth result is the (1, 1) interpolant through the
    // third, fourth and fifth estimates. Component 2 is (2 + x) / (1 + 3x),
    // itself of type (1, 1): every result from the third on is exactly 2.
    const Long aiN[] = {2, 4, 6, 8, 12};
    std::vector<long double> arX, arY;
    A1Val<double> arFXEst(1, 11);
    A2Val<double> a2FD;
    A1Val<double> arFYEst(1, 2), arFYZ(1, 2), arFDy(1, 2);
    for (Long iEst = 1; iEst <= 5; iEst++) {
        const double fX = 1.0 / (aiN[iEst - 1] * aiN[iEst - 1]);
        arFYEst[1] = fMmidExp(aiN[iEst - 1]);
        arFYEst[2] = (2.0 + fX) / (1.0 + 3.0 * fX);
        arX.push_back(fX);
        arY.push_back(arFYEst[1]);
        rzextr(iEst, fX, &arFYEst, &arFYZ, &arFDy, 2, 3, &arFXEst, &a2FD);
        if (iEst >= 3) {
            EXPECT_NEAR(arFYZ[2], 2.0, 1e-14) << iEst;
            const std::vector<long double> arXLast(arX.end() - 3, arX.end());
            const std::vector<long double> arYLast(arY.end() - 3, arY.end());
            EXPECT_NEAR(arFYZ[1], fRationalAtZero(arXLast, arYLast), 1e-13) << iEst;
        }
    }
    EXPECT_EQ(a2FD.iCLast(), 3);
}

// ---- bulirschStoerStep -------------------------------------------------------

namespace {
struct BSStep {
    double fXNext, fHUsed, fHNextEst, fY1;
    long nCall;
};
BSStep stepBSOscillator(double fH, double fEps) {
    Oscillator osc;
    StepIO io({1.0, 0.0}, {0.0, -1.0});
    io.step(bulirschStoerStep, 0.0, fH, fEps, &osc);
    return {io.fXNext, io.fHUsed, io.fHNextEst, io.arFYNext[1], osc.nCall};
}
}  // namespace

TEST(BulirschStoerStep, ProposedStepFollowsTheStageThatConverged) {
    // Stage j costs nseq[j] derivative calls, so the call count tells the
    // stage: 2+4+6+8 = 20 calls is stage 4, then 32, 48, 72, 104, 152, 216, 312.
    struct Case {
        double fH, fEps;
        long nCall;
        double fRatio;
    };
    const Case aCase[] = {
        {0.1, 1e-6, 20, 16.0 / 8},    {1.0, 1e-6, 32, 16.0 / 12}, {1.0, 1e-10, 48, 1.2},
        {1.0, 1e-13, 72, 0.95},       {2.0, 1e-13, 104, 16.0 / 32}, {3.0, 1e-13, 216, 16.0 / 64},
        {5.0, 1e-13, 312, 16.0 / 96},
    };
    for (const Case& c : aCase) {
        const BSStep r = stepBSOscillator(c.fH, c.fEps);
        EXPECT_EQ(r.nCall, c.nCall) << c.fH << " " << c.fEps;
        EXPECT_EQ(r.fHUsed, c.fH);
        EXPECT_EQ(r.fXNext, c.fH);
        EXPECT_DOUBLE_EQ(r.fHNextEst, c.fH * c.fRatio) << c.fH << " " << c.fEps;
        EXPECT_NEAR(r.fY1, std::cos(c.fH), 1e2 * c.fEps);
    }
}

TEST(BulirschStoerStep, FailedStepIsCutBySixteenAndSaysSo) {
    // A rate that jumps at t = 0.3 defeats the extrapolation over [0, 1];
    // over [0, 1/16] the rate is 0 and the first testable stage converges.
    class Jump : public ArF64FnF64ArF64 {
    public:
        void arFAtFArF(A1Val<double>* pd, double fTi, const A1Val<double>&) override {
            pd->reconstructIFirstILast(1, 1);
            (*pd)[1] = fTi > 0.3 ? 1.0 : 0.0;
        }
    } jump;
    StepIO io({0.0}, {0.0});
    ::testing::internal::CaptureStdout();
    io.step(bulirschStoerStep, 0.0, 1.0, 1e-10, &jump);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "    B-S step failed, fH =   1.0000e+00\n");
    EXPECT_EQ(io.fHUsed, 0.0625);
    EXPECT_EQ(io.fXNext, 0.0625);
    EXPECT_EQ(io.fHNextEst, 0.125);  // stage 4: 16 / 8
    EXPECT_EQ(io.arFYNext[1], 0.0);
}

TEST(BulirschStoerStepDeath, StepThatNoLongerMovesXReportsUnderflowAndAsserts) {
    // A NaN rate is never accepted; after the first cut 1e20 + 1/16 == 1e20.
    ConstantRate rate({std::nan("")});
    StepIO io({0.0}, {0.0});
    EXPECT_DEATH(io.step(bulirschStoerStep, 1e20, 1.0, 1e-6, &rate),
                 "^\\*{40}\nstep size underflow in bulirschStoerStep\n\\*{40}\n"
                 "Assertion failed: fX \\+ fH != fX, file .*odeint\\.cpp, line [0-9]+\n$");
}
