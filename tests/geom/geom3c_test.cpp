// Directions, frames and angles: the assertion texts and the documented
// edges of angle reduction.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "geom/geom3c.h"

namespace {
constexpr double kPi = std::numbers::pi;
const char szNorm[] = "Assertion failed: fNorm != 0.0";
}  // namespace

TEST(Geom3cDeathTest, ZeroLengthAndParallelDirectionsFailTheNormAssertion) {
    EXPECT_DEATH(Dr3c(0.0, 0.0, 0.0), "Assertion failed: fNorm != 0.0, file .*geom3c.cpp");
    Dr3c dr(0, 0, 1);
    EXPECT_DEATH(drCrossDrDr(dr, dr), szNorm);
    EXPECT_DEATH(drCrossVcVc(Vc3c(1, 1, 0), Vc3c(-2, -2, 0)), szNorm);
    EXPECT_DEATH(rcb3cDrZYNew(dr, -dr), szNorm);
    Long iSign, iDeg, iMin;
    double fSec;
    EXPECT_DEATH(iSignIDegIMinFSecFromFRdn(&iSign, &iDeg, &iMin, &fSec, std::nan("")),
                 "Assertion failed: fDeg < 2147483647.0");
}

TEST(AngleTest, ReductionRangesAreHalfOpen) {
    EXPECT_EQ(fRdnMPPiFmFRdn(-kPi), kPi);
    EXPECT_NEAR(fRdnMPPiFmFRdn(3 * kPi / 2), -kPi / 2, 1e-15);
    EXPECT_EQ(fRdn02PiFmFRdn(0.0), 0.0);
    EXPECT_NEAR(fRdn02PiFmFRdn(-0.5), 2 * kPi - 0.5, 1e-15);
}
