// Camera parameter checks: the view volume against the normalised cube;
// invalid windows and distances are impossible states; a zero near distance
// is accepted. The track's colour by the propellant left.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "display/camera.h"
#include "display/display.h"
#include "support/scenario.h"

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

// The view volume's corners go to the normalised cube's, near ones to depth
// -1 and far ones to +1, for a window off centre and a near plane away from
// 1 (camera and world coordinates coincide at the origin looking down -z).
TEST(CameraTest, ViewVolumeCornersGoToTheCubeCorners) {
    const double fL = -0.3, fR = 0.5, fB = -0.2, fT = 0.4, fN = 2.5, fF = 40.0;
    for (unsigned char bOrtho : {0, 1})
        for (int k = 0; k < 8; ++k) {
            const double fD = (k & 4) ? fF : fN, fScale = bOrtho ? 1.0 : fD / fN;
            const double fX = ((k & 1) ? fR : fL) * fScale, fY = ((k & 2) ? fT : fB) * fScale;
            const Pt3c pt =
                ptXgm3c(xfmAtOrigin(fL, fR, fB, fT, fN, fF, bOrtho).x4hCFmW, Pt3c(fX, fY, -fD));
            EXPECT_NEAR(pt.fX, (k & 1) ? 1.0 : -1.0, 1e-12) << +bOrtho << k;
            EXPECT_NEAR(pt.fY, (k & 2) ? 1.0 : -1.0, 1e-12) << +bOrtho << k;
            EXPECT_NEAR(pt.fZ, (k & 4) ? 1.0 : -1.0, 1e-12) << +bOrtho << k;
        }
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

// Green while more than a quarter of the propellant is left, yellow down to a
// twentieth, red at or below it; each threshold and the doubles either side.
TEST(TrackColour, ByThePropellantLeft) {
    Vehicle const& v = scenarioTest().vehicle;
    const double mP = v.fMsGTO - v.fMsEmpty;
    const struct { double fMs; float afRgb[3]; } acase[] = {
        {v.fMsGTO, {0, 1, 0}},
        {std::nextafter(v.fMsEmpty + mP / 4, 1e9), {0, 1, 0}},
        {v.fMsEmpty + mP / 4, {1, 1, 0}},
        {std::nextafter(v.fMsEmpty + mP / 20, 1e9), {1, 1, 0}},
        {v.fMsEmpty + mP / 20, {1, 0, 0}},
        {v.fMsEmpty, {1, 0, 0}}};
    for (auto const& c : acase) {
        ClrF const& clr = clrFPathAtFMs(&v, c.fMs);
        EXPECT_EQ(std::vector<float>(clr.arF(), clr.arF() + 3),
                  std::vector<float>(c.afRgb, c.afRgb + 3)) << c.fMs;
    }
}
