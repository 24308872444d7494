// Function objects: polynomial, linear, spline and log-log tables, checked
// against closed forms; their extrapolation and their definition failures.
#include "numerics/ffnf.h"
#include "support/testutil.h"

#include <cmath>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using vttest::arFOf;

std::string szAssert(const std::string& szExpr) { return vttest::szAssertRe(szExpr, "ffnf"); }

}  // namespace

TEST(FPolyFTest, CoefficientsFromAHigherIndexLackTheLowerPowers) {
    FPolyF fn(arFOf({1.0, -2.0, 0.5, 3.0}, 0));
    EXPECT_DOUBLE_EQ(fn.fRAtFD(1.7), 1.0 - 2.0 * 1.7 + 0.5 * 1.7 * 1.7 + 3.0 * 1.7 * 1.7 * 1.7);
    FPolyF fnFrom2(arFOf({1.5, -0.5}, 2));  // 1.5 x^2 - 0.5 x^3
    for (auto [x, f] : {std::pair{2.0, 2.0}, {-1.0, 2.0}, {0.0, 0.0}}) EXPECT_EQ(fnFrom2.fRAtFD(x), f) << x;
}

TEST(FPolyFTest, NeedsCoefficientsFromIndexZeroOrAbove) {
    const std::string szExpr = "_arFCoeff.iFirst() >= 0 && _arFCoeff.n() > 0";
    EXPECT_DEATH(FPolyF(arFOf({1.0, 2.0}, -1)), szAssert(szExpr));
    EXPECT_DEATH(FPolyF(A1Val<double>(1, 0)), szAssert(szExpr));
}

TEST(F1PwFTest, InterpolatesLinearlyAndExtrapolatesTheEndSegments) {
    F1PwF fn(arFOf({0.0, 1.0, 3.0}, 1), arFOf({1.0, 3.0, 2.0}, 1));
    for (auto [x, f] : {std::pair{0.0, 1.0}, {1.0, 3.0}, {3.0, 2.0}}) EXPECT_EQ(fn.fRAtFD(x), f) << x;
    // No clamping: beyond the last point the last segment's line continues,
    // before the first the first segment's.
    for (auto [x, f] : {std::pair{0.25, 1.5}, {2.0, 2.5}, {5.0, 1.0}, {-1.0, -1.0}})
        EXPECT_DOUBLE_EQ(fn.fRAtFD(x), f) << x;
}

TEST(F1PwFTest, DefinitionErrorsAreAssertions) {
    const double afD[] = {1.0, 2.0};
    EXPECT_DEATH(F1PwF(1, afD, afD), szAssert("iN > 1"));
    const std::string szZero = szAssert("0");
    EXPECT_DEATH(F1PwF(arFOf({1.0, 2.0, 3.0}, 1), arFOf({1.0, 2.0}, 1)), szZero);
    EXPECT_DEATH(F1PwF(arFOf({1.0, 2.0}, 0), arFOf({1.0, 2.0}, 0)), szZero);
    EXPECT_DEATH(F1PwF(arFOf({1.0, 2.0}, 1), arFOf({1.0, 2.0}, 2)), szZero);
    EXPECT_DEATH(F1PwF(arFOf({1.0, 1.0}, 1), arFOf({1.0, 2.0}, 1)), szZero);
    EXPECT_DEATH(F1PwF(arFOf({1.0, NAN}, 1), arFOf({1.0, 2.0}, 1)), szZero);
    EXPECT_DEATH(F1PwF(1, 0.0, 0.0, 1.0, 1.0), szZero);
}

TEST(F3PwFTest, NaturalSplineThroughThreePointsByHand) {
    // Points (0,0), (1,1), (2,0), natural ends: M0 = M2 = 0 and
    // M0 + 4 M1 + M2 = 6 (0 - 2 + 0), so M1 = -3; at x = 0.5:
    // 0.5*0 + 0.5*1 + (0.5^3 - 0.5) * (-3) / 6 = 0.6875.
    F3PwF fn(3, 0.0, 0.0, 1.0, 1.0, 2.0, 0.0);
    EXPECT_DOUBLE_EQ(fn.fRAtFD(0.5), 0.6875);
    EXPECT_EQ(fn.fRAtFD(1.0), 1.0);
    const double afD[] = {0.0, 1.0, 2.0}, afR[] = {0.0, 1.0, 0.0};  // the same table from arrays
    EXPECT_EQ(F3PwF(3, afD, afR).fRAtFD(0.5), fn.fRAtFD(0.5));
    EXPECT_EQ(F3PwF(arFOf({0.0, 1.0, 2.0}, 1), arFOf({0.0, 1.0, 0.0}, 1)).fRAtFD(1.5), fn.fRAtFD(0.5));
}

TEST(F3PwFTest, PrescribedEndSlopesReproduceACubic) {
    auto fCubic = [](double x) { return ((x - 2.0) * x + 0.5) * x + 1.0; };
    auto fSlope = [](double x) { return (3.0 * x - 4.0) * x + 0.5; };
    const A1Val<double> arFD = arFOf({0.0, 0.7, 1.5, 2.2, 3.0}, 1);
    A1Val<double> arFR(1, 5);
    for (Long i = 1; i <= 5; i++) arFR[i] = fCubic(arFD[i]);
    F3PwF fn(arFD, arFR, true, fSlope(0.0), true, fSlope(3.0));
    // Inside and, since the end pieces are the cubic itself, outside too.
    for (double x = -0.5; x <= 3.5; x += 0.05)
        EXPECT_NEAR(fn.fRAtFD(x), fCubic(x), 1e-12) << x;
}

TEST(F3PwFTest, OneSlopeOnlyMatchesTheFiniteDifferenceAtThatEnd) {
    const A1Val<double> arFD = arFOf({-1.0, 0.0, 1.5, 3.0}, 1);
    const A1Val<double> arFR = arFOf({1.0, 0.0, 2.0, 1.0}, 1);
    F3PwF fn(arFD, arFR, true, -3.0, false, 99.0);
    const double h = 1e-6;
    EXPECT_NEAR((fn.fRAtFD(-1.0 + h) - fn.fRAtFD(-1.0 - h)) / (2.0 * h), -3.0, 1e-6);
    // The other end is natural: zero second derivative.
    const double fPP = (fn.fRAtFD(3.0 + 1e-4) - 2.0 * fn.fRAtFD(3.0) + fn.fRAtFD(3.0 - 1e-4)) / 1e-8;
    EXPECT_NEAR(fPP, 0.0, 1e-5);
}

TEST(F3PwFTest, DefinitionErrorsAreAssertions) {
    EXPECT_DEATH(F3PwF(arFOf({1.0, 2.0, 3.0}, 1), arFOf({1.0, 2.0}, 1)),
                 szAssert("_arFD.n() == _arFR.n()"));
    EXPECT_DEATH(F3PwF(arFOf({1.0}, 1), arFOf({1.0}, 1)), szAssert("_arFD.n() > 1"));
    EXPECT_DEATH(F3PwF(arFOf({1.0, 2.0}, 0), arFOf({1.0, 2.0}, 0)), szAssert("0"));
    EXPECT_DEATH(F3PwF(3, 0.0, 0.0, 1.0, 1.0, 1.0, 0.0),
                 szAssert("arFD[ iChk ] < arFD[ iChk+1 ]"));
    EXPECT_DEATH(F3PwF(2, 2.0, 0.0, 1.0, 1.0), szAssert("arFD[ iChk ] < arFD[ iChk+1 ]"));
}

TEST(F1PwLogLogFTest, FollowsAPowerLawAndExtrapolatesIt) {
    F1PwLogLogF fn(2, 1.0, 1.0, 10.0, 100.0);  // x^2
    EXPECT_NEAR(fn.fRAtFD(100.0), 10000.0, 1e-9);
    EXPECT_NEAR(fn.fRAtFD(std::sqrt(10.0)), 10.0, 1e-12);
    EXPECT_NEAR(fn.fRAtFD(0.1), 0.01, 1e-16);
    const double afD[] = {1.0, 2.0, 8.0};
    const double afR[] = {3.0, 6.0, 3.0};  // 3 x, then 6 (x/2)^(-1/2)
    F1PwLogLogF fnKink(3, afD, afR);
    EXPECT_NEAR(fnKink.fRAtFD(4.0), 6.0 / std::sqrt(2.0), 1e-12);
    EXPECT_NEAR(fnKink.fRAtFD(1.5), 4.5, 1e-12);
    F1PwLogLogF fnA1Val(arFOf({1.0, 2.0, 8.0}, 1), arFOf({3.0, 6.0, 3.0}, 1));
    EXPECT_EQ(fnA1Val.fRAtFD(5.0), fnKink.fRAtFD(5.0));
}

TEST(F1PwLogLogFTest, NonPositiveValuesAndArgumentsAreAssertions) {
    EXPECT_DEATH(F1PwLogLogF(2, -1.0, 1.0, 2.0, 1.0), szAssert("_arFD[ i ] > 0.0"));
    EXPECT_DEATH(F1PwLogLogF(2, 1.0, 1.0, 2.0, 0.0), szAssert("_arFR[ i ] > 0.0"));
    EXPECT_DEATH(F1PwLogLogF(2, 2.0, 1.0, 1.0, 1.0), szAssert("0"));
    F1PwLogLogF fn(2, 1.0, 1.0, 10.0, 100.0);
    EXPECT_DEATH(fn.fRAtFD(0.0), szAssert("fD > 0.0"));
}

TEST(F1PwLogLogFTest, AbscissasWithEqualLogarithmsFailAtEvaluation) {
    // Distinct abscissas pass the definition check, but so close together
    // that their logarithms round to the same value: a zero-width interval.
    const double fD1 = 1e300;
    const double fD2 = std::nextafter(fD1, INFINITY);
    ASSERT_LT(fD1, fD2);
    ASSERT_EQ(std::log(fD1), std::log(fD2));
    F1PwLogLogF fn(2, fD1, 1.0, fD2, 2.0);
    EXPECT_DEATH(fn.fRAtFD(fD1), szAssert("fH != 0.0"));
}
