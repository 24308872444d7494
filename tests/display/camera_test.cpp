// Camera and pane transforms: projection cases, the full world-to-view
// chain against a hand computation, parameter checks and aspect matching.
#include <gtest/gtest.h>

#include <cmath>

#include "display/camera.h"

namespace {

void expectPtNear(Pt3c const& pt, double x, double y, double z, double fTol) {
    EXPECT_NEAR(pt.fX, x, fTol);
    EXPECT_NEAR(pt.fY, y, fTol);
    EXPECT_NEAR(pt.fZ, z, fTol);
}

// Eye at the origin looking along -Z with up +Y: the camera frame is the
// world frame, so x4hCFmW is the projection alone.
XfmCFmW3c xfmAtOrigin(double fL, double fR, double fB, double fT, double fN, double fF,
                      unsigned char bOrtho) {
    return xfmCFmW3cFm(Pt3c(0, 0, 0), Dr3c(0, 0, -1), Dr3c(0, 1, 0), fL, fR, fB, fT, fN, fF,
                       bOrtho);
}

}  // namespace

// ---- projection cases ------------------------------------------------------------------

TEST(CameraTest, OffCentreWindowsCornersAreTheViewsCorners) {
    const double l = -0.3, r = 0.5, b = -0.2, t = 0.1, n = 2, f = 50;
    for (unsigned char bOrtho : {0, 1}) {
        XfmCFmW3c xfm = xfmAtOrigin(l, r, b, t, n, f, bOrtho);
        expectPtNear(ptXgm3c(xfm.x4hCFmW, Pt3c(l, b, -n)), -1, -1, -1, 1e-14);
        expectPtNear(ptXgm3c(xfm.x4hCFmW, Pt3c(r, t, -n)), 1, 1, -1, 1e-14);
        // At the far plane: the same corner seen through the window (perspective)
        // or straight behind it (orthographic).
        const double k = bOrtho ? 1.0 : f / n;
        expectPtNear(ptXgm3c(xfm.x4hCFmW, Pt3c(k * r, k * b, -f)), 1, -1, 1, 1e-12);
        // The inverse takes the view corner back to the world.
        ASSERT_TRUE(xfm.x4hCFmW.bInv);
        expectPtNear(ptXgm3c(x4hInv(xfm.x4hCFmW), Pt3c(1, -1, 1)), k * r, k * b, -f, 1e-10);
    }
}

TEST(CameraTest, GeneralCameraAgainstAHandComputation) {
    // An eye somewhere, looking somewhere, with an up that is not
    // perpendicular to the look.
    Pt3c ptEye(3, -40, 7);
    Dr3c drLook(-0.2, 1.0, -0.1);
    Dr3c drUp(0.1, 0.05, 1.0);
    const double w = 0.25, h = 0.15, n = 1, f = 1000;
    XfmCFmW3c xfm =
        xfmCFmW3cFm(ptEye, drLook, drUp, -w / 2, w / 2, -h / 2, h / 2, n, f, 0);
    // The camera's own axes, built here from their definitions.
    Vc3c vcZ = -Vc3c(drLook);
    Vc3c vcX = vcCrossVcVc(Vc3c(drUp), vcZ);
    vcX = (1.0 / fLenVc(vcX)) * vcX;
    Vc3c vcY = vcCrossVcVc(vcZ, vcX);
    for (double d : {2.0, 40.0, 700.0}) {
        for (double a : {-0.05, 0.0, 0.1}) {
            for (double b : {-0.03, 0.07}) {
                // A point d along the look, offset a*d right and b*d up.
                Pt3c pt = ptEye + d * drLook + (a * d) * vcX + (b * d) * vcY;
                Pt3c ptV = ptXgm3c(xfm.x4hCFmW, pt);
                EXPECT_NEAR(ptV.fX, 2 * n / w * a, 1e-12);
                EXPECT_NEAR(ptV.fY, 2 * n / h * b, 1e-12);
                EXPECT_NEAR(ptV.fZ, (f + n) / (f - n) - 2 * f * n / ((f - n) * d), 1e-12);
            }
        }
    }
}

// ---- parameter checks --------------------------------------------------------------------

TEST(CameraTest, NearZeroIsAccepted) {
    XfmCFmW3c xo = xfmAtOrigin(-1, 1, -1, 1, 0, 10, 1);
    EXPECT_TRUE(xo.x4hCFmW.bInv);
    EXPECT_NEAR(ptXgm3c(xo.x4hCFmW, Pt3c(0, 0, 0)).fZ, -1, 1e-15);
    // Perspective with a zero near distance: a singular projection, usable
    // forwards, without an inverse.
    XfmCFmW3c xp = xfmAtOrigin(-1, 1, -1, 1, 0, 10, 0);
    EXPECT_FALSE(xp.x4hCFmW.bInv);
}

TEST(CameraDeathTest, InvalidParametersAreImpossibleStates) {
    const char* szRe = "invalid parameter in xfmCFmW3cFm\\(\\)";
    EXPECT_DEATH(xfmAtOrigin(1, 1, -1, 1, 1, 10, 0), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, 1, 1, -1, 1, 10, 0), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, 1, -1, 1, -0.5, 10, 0), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, 1, -1, 1, 2, 1, 1), szRe);
    EXPECT_DEATH(xfmAtOrigin(-1, NAN, -1, 1, 1, 10, 0), szRe);
}

TEST(CameraDeathTest, LookParallelToUp) {
    EXPECT_DEATH(xfmCFmW3cFm(Pt3c(), Dr3c(0, 0, -1), Dr3c(0, 0, 2), -1, 1, -1, 1, 1, 10, 0),
                 "Assertion failed: fNorm != 0.0");
}

// ---- pane transforms and aspect matching -----------------------------------------------------

TEST(PaneTest, WidenOrNarrowToThePaneAspect) {
    // A square window, off centre (x from 0 to 0.2), on a wide pane and on a
    // tall pane: width, height and centre of the matched window.
    const XfmCFmW3c x =
        xfmCFmW3cFm(Pt3c(), Dr3c(0, 1, 0), Dr3c(0, 0, 1), 0.0, 0.2, -0.1, 0.1, 1, 10, 0);
    const XfmPFmC3c xpWide = xfmPFmC3cFm(0, 0, 400, 200), xpTall = xfmPFmC3cFm(0, 0, 200, 400);
    const struct {
        XfmCFmW3c xfm;
        double fDX, fDY;
    } acase[] = {{xfmCFmW3cMatchArAtLeast(x, xpWide), 0.4, 0.2},
                 {xfmCFmW3cMatchArAtLeast(x, xpTall), 0.2, 0.4},
                 {xfmCFmW3cMatchArAtMost(x, xpWide), 0.2, 0.1},
                 {xfmCFmW3cMatchArAtMost(x, xpTall), 0.1, 0.2},
                 {xfmCFmW3cMatchArAtLeast(xfmCFmW3cMatchArAtLeast(x, xpWide), xpWide), 0.4, 0.2}};
    for (const auto& c : acase) {
        EXPECT_DOUBLE_EQ(c.xfm.fR - c.xfm.fL, c.fDX);
        EXPECT_DOUBLE_EQ(c.xfm.fT - c.xfm.fB, c.fDY);
        EXPECT_DOUBLE_EQ(0.5 * (c.xfm.fL + c.xfm.fR), 0.1);
        EXPECT_NEAR(0.5 * (c.xfm.fB + c.xfm.fT), 0.0, 1e-17);
    }
    EXPECT_EQ(x.fR - x.fL, 0.2);  // the argument is not changed
}
