// Camera parameter checks: invalid windows and distances are impossible
// states; a zero near distance is accepted.
#include <gtest/gtest.h>

#include <cmath>

#include "display/camera.h"

namespace {

XfmCFmW3c xfmAtOrigin(double fL, double fR, double fB, double fT, double fN, double fF,
                      unsigned char bOrtho) {
    return xfmCFmW3cFm(Pt3c(0, 0, 0), Dr3c(0, 0, -1), Dr3c(0, 1, 0), fL, fR, fB, fT, fN, fF,
                       bOrtho);
}

}  // namespace

TEST(CameraTest, NearZeroIsAcceptedPerspectiveThenHasNoInverse) {
    EXPECT_TRUE(xfmAtOrigin(-1, 1, -1, 1, 0, 10, 1).x4hCFmW.bInv);
    EXPECT_FALSE(xfmAtOrigin(-1, 1, -1, 1, 0, 10, 0).x4hCFmW.bInv);
}

TEST(CameraDeathTest, InvalidParametersAreImpossibleStates) {
    const char* szRe = "invalid parameter in xfmCFmW3cFm\\(\\)";
    EXPECT_DEATH(xfmAtOrigin(1, 1, -1, 1, 1, 10, 0), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, 1, -1, 1, -0.5, 10, 0), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, 1, -1, 1, 2, 1, 1), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, NAN, -1, 1, 1, 10, 0), szRe);
    EXPECT_DEATH(xfmCFmW3cFm(Pt3c(), Dr3c(0, 0, -1), Dr3c(0, 0, 2), -1, 1, -1, 1, 1, 10, 0),
                 "Assertion failed: fNorm != 0.0");
}
