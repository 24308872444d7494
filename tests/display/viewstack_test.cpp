// The camera history ring at its ends, the default camera and the view
// file's fallback to it.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "display/viewstack.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
ViewStack view;
XfmCFmW3c& xfmCFmW = view.xfmCFmW;
XfmPFmC3c& xfmPFmC = view.xfmPFmC;
Long& iXfmCFmWStackTop = view.iXfmCFmWStackTop;
Long& iXfmCFmWStackHwm = view.iXfmCFmWStackHwm;
}  // namespace

using vttest::writeFile;

namespace {

// A camera told apart by its eye x coordinate.
XfmCFmW3c xfmNumbered(double f) {
    return xfmCFmW3cFm(Pt3c(f, -100, 5), Dr3c(0, 1, 0), Dr3c(0, 0, 1), -0.1, 0.1, -0.05, 0.05, 1,
                       1000, 0);
}

void emptyTheStack() {
    while (!view.bEmptyXfmCFmWOnStack()) view.xfmCFmWPopFromStack();
}

Pane paneOf(Long iDX, Long iDY) {
    Pane pane;
    pane.iPxDX = iDX;
    pane.iPxDY = iDY;
    return pane;
}

void expectSameCamera(XfmCFmW3c const& a, XfmCFmW3c const& b) {
    EXPECT_TRUE(a.ptEye.fX == b.ptEye.fX && a.ptEye.fY == b.ptEye.fY && a.ptEye.fZ == b.ptEye.fZ &&
                a.drLook.fX == b.drLook.fX && a.drUp.fZ == b.drUp.fZ && a.fL == b.fL &&
                a.fT == b.fT && a.fF == b.fF && a.bOrtho == b.bOrtho);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) EXPECT_EQ(a.x4hCFmW.mxF[r][c], b.x4hCFmW.mxF[r][c]);
}

}  // namespace

class ViewStackTest : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        view.initXfmCFmWStack();
        xfmCFmW = XfmCFmW3c();
        xfmPFmC = XfmPFmC3c();
    }
};

// A pane with no width or no height (a window being made or shrunk away)
// leaves the camera and its history as they are.
TEST_F(ViewStackTest, EmptyPaneLeavesTheCameraAlone) {
    xfmCFmW = xfmNumbered(7.0);
    view.pushXfmCFmWToStack(xfmCFmW);
    for (const Pane& pane : {paneOf(0, 600), paneOf(800, 0), paneOf(-1, -1)}) {
        view.resizeViewForPane(pane);
        expectSameCamera(xfmCFmW, xfmNumbered(7.0));
        EXPECT_FALSE(view.bEmptyXfmCFmWOnStack());
    }
}

TEST_F(ViewStackTest, HundredPushesKeepNinetyNineAndDropTheOldest) {
    emptyTheStack();
    for (int i = 0; i < 100; ++i) {
        XfmCFmW3c xfm = xfmNumbered(i);
        view.pushXfmCFmWToStack(xfm);
        EXPECT_EQ(iXfmCFmWStackHwm, iXfmCFmWStackTop);
    }
    std::vector<double> arF;
    while (!view.bEmptyXfmCFmWOnStack()) arF.push_back(view.xfmCFmWPopFromStack().ptEye.fX);
    ASSERT_EQ(arF.size(), 99u);
    for (std::size_t i = 0; i < arF.size(); ++i) EXPECT_EQ(arF[i], 99.0 - i);
}

// Pop keeps what it took for a re-push, in order; a push after a pop ends
// re-pushing; a re-push with nothing to re-push hands back the newest entry.
TEST_F(ViewStackTest, PopRePushAndPushAfterPop) {
    emptyTheStack();
    XfmCFmW3c a = xfmNumbered(1), b = xfmNumbered(2), c = xfmNumbered(3);
    view.pushXfmCFmWToStack(a);
    view.pushXfmCFmWToStack(b);
    const Long iTopAfterPush = iXfmCFmWStackTop;
    EXPECT_FALSE(view.bXfmCFmWStackRePushPossible());
    expectSameCamera(view.xfmCFmWPopFromStack(), b);
    EXPECT_EQ(view.xfmCFmWTopOfStack().ptEye.fX, 1.0);
    EXPECT_EQ(iXfmCFmWStackHwm, iTopAfterPush);  // the pop leaves the mark
    EXPECT_TRUE(view.bXfmCFmWStackRePushPossible());
    expectSameCamera(view.xfmCFmWRePushToStack(), b);
    EXPECT_EQ(iXfmCFmWStackTop, iTopAfterPush);
    EXPECT_FALSE(view.bXfmCFmWStackRePushPossible());
    view.xfmCFmWPopFromStack();
    view.xfmCFmWPopFromStack();
    EXPECT_TRUE(view.bEmptyXfmCFmWOnStack());
    EXPECT_EQ(view.xfmCFmWRePushToStack().ptEye.fX, 1.0);
    EXPECT_EQ(view.xfmCFmWRePushToStack().ptEye.fX, 2.0);
    view.xfmCFmWPopFromStack();
    view.pushXfmCFmWToStack(c);
    EXPECT_EQ(iXfmCFmWStackHwm, iXfmCFmWStackTop);
    EXPECT_FALSE(view.bXfmCFmWStackRePushPossible());
    const Long iTop = iXfmCFmWStackTop;
    EXPECT_EQ(view.xfmCFmWRePushToStack().ptEye.fX, 3.0);
    EXPECT_EQ(iXfmCFmWStackTop, iTop);
    EXPECT_EQ(view.xfmCFmWPopFromStack().ptEye.fX, 3.0);
    EXPECT_EQ(view.xfmCFmWPopFromStack().ptEye.fX, 1.0);
    EXPECT_TRUE(view.bEmptyXfmCFmWOnStack());
}

TEST_F(ViewStackTest, EmptyStackReportsAreImpossibleStates) {
    emptyTheStack();
    EXPECT_DEATH(view.xfmCFmWPopFromStack(), "stack empty in xfmCFmWPopFromStack\\(\\)");
    EXPECT_DEATH(view.xfmCFmWTopOfStack(), "stack empty in xfmCFmWTopOfStack\\(\\)");
    // Empty with nothing popped since the last push.
    iXfmCFmWStackTop = view.iXfmCFmWStackFirst = iXfmCFmWStackHwm = 40;
    EXPECT_DEATH(view.xfmCFmWRePushToStack(), "nothing available in xfmCFmWRePushToStack\\(\\)");
}

TEST_F(ViewStackTest, MissingViewInGivesTheDefaultCameraAndAGoodOneItsOwnQuietly) {
    Pane pane = paneOf(1152, 700);
    testing::internal::CaptureStderr();
    view.readViewInOrDefault("view.in", pane);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    Dr3c drLook(-20.0, 150.0, -8.0);
    EXPECT_NEAR(fLenVc(Vc3c(xfmCFmW.drLook) - Vc3c(drLook)), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(xfmCFmW.fR - xfmCFmW.fL, 0.25);
    EXPECT_DOUBLE_EQ(xfmCFmW.fT - xfmCFmW.fB, 0.25 * 700.0 / 1152.0);
    EXPECT_TRUE(xfmCFmW.drUp.fZ == 1.0 && xfmCFmW.fN == 1.0 && xfmCFmW.fF == 10000.0 &&
                !xfmCFmW.bOrtho);
    // The eye is 180 m back along the look from the aim point (15, 0, 1).
    EXPECT_NEAR(fDistPtPt(xfmCFmW.ptEye, Pt3c(15.0, 0.0, 1.0) - 180.0 * Vc3c(drLook)), 0.0, 1e-12);
    expectSameCamera(view.xfmCFmWTopOfStack(), xfmCFmW);
    writeFile("view.in", "1 2 3\n0 0 -1\n0 2 0\n0.5 1 100\n");  // looking down, north up
    testing::internal::CaptureStderr();
    view.readViewInOrDefault("view.in", pane);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(xfmCFmW.drUp.fY == 1.0 && xfmCFmW.drLook.fZ == -1.0 && xfmCFmW.fR - xfmCFmW.fL == 0.5);
}

TEST_F(ViewStackTest, HostileViewInFallsBackToTheDefault) {
    const std::pair<const char*, const char*> arSz[] = {
        {"", "not four lines"},
        {"1 2 3\n4 5 6\n7 8 9\n", "not four lines"},
        {"nan 2 3\n0 1 0\n0 0 1\n0.25 1 100\n", "not finite"},
        {"1 2 3\n0 0 0\n0 0 1\n0.25 1 100\n", "zero length"},
        {"1 2 3\n0 1 0\n0 0 0\n0.25 1 100\n", "zero length"},
        {"1 2 3\n0 0 -1\n0 0 2\n0.25 1 100\n", "the same line"},
        {"1 2 3\n0 1 0\n0 0 1\n0 1 100\n", "out of range"},
        {"1 2 3\n0 1 0\n0 0 1\n0.25 100 1\n", "out of range"},
    };
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfmDefault = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    int iCase = 0;
    for (auto [sz, szProblem] : arSz) {
        writeFile("view.in", sz);
        xfmCFmW = XfmCFmW3c();
        testing::internal::CaptureStderr();
        view.readViewInOrDefault("view.in", pane);
        std::string szErr = testing::internal::GetCapturedStderr();
        SCOPED_TRACE("case " + std::to_string(iCase++));
        EXPECT_EQ(szErr.rfind("view.in: ", 0), 0u) << szErr;
        EXPECT_NE(szErr.find(szProblem), std::string::npos) << szErr;
        EXPECT_NE(szErr.find("; using the default camera\n"), std::string::npos) << szErr;
        expectSameCamera(xfmCFmW, xfmDefault);
    }
}

// Turning drags against closed-form eye positions: the look keeps its aim at
// the look-at point C and the eye its distance d, the look's azimuth moves by
// -180 degrees times the drag's share of the pane width (dragging right
// swings the near side to the right), its angle from the vertical grows by
// 180 degrees times the downward drag's share, within 1..179 degrees. The
// whole width mirrors the eye through the vertical at C.
TEST(ViewDragTest, TurnsAboutTheLookAtPoint) {
    const Pt3c ptC(10, 5, 0), ptEye(-20, -55, 40);  // d = sqrt(900 + 3600 + 1600)
    const double fD = fDistPtPt(ptEye, ptC);
    const XfmCFmW3c xfm0 = xfmCFmW3cFm(ptEye, Dr3c(ptC - ptEye), Dr3c(0, 0, 1), -0.1, 0.1, -0.075,
                                       0.075, 1, 1000, 0);
    const double fPhi0 = std::atan2(60.0, 30.0), fTh0 = std::acos(-40.0 / fD);
    const double fDeg = std::numbers::pi / 180;
    const struct { Long iPxDX, iPxDY; double fPhi, fTh; } a[] = {
        {800, 0, fPhi0 - 180 * fDeg, fTh0},  {400, 0, fPhi0 - 90 * fDeg, fTh0},
        {-200, 0, fPhi0 + 45 * fDeg, fTh0},  {0, 100, fPhi0, fTh0 + 22.5 * fDeg},
        {-400, -50, fPhi0 + 90 * fDeg, fTh0 - 11.25 * fDeg},
        {0, 800, fPhi0, 179 * fDeg},         {0, -800, fPhi0, fDeg}};
    for (const auto& c : a) {
        const XfmCFmW3c xfm = xfmCFmWTurnedByDrag(xfm0, c.iPxDX, c.iPxDY, paneOf(800, 600));
        const Vc3c vcLook(std::sin(c.fTh) * std::cos(c.fPhi), std::sin(c.fTh) * std::sin(c.fPhi),
                          std::cos(c.fTh));
        EXPECT_LT(fDistPtPt(xfm.ptEye, ptC - fD * vcLook), 1e-9 * fD) << c.iPxDX << " " << c.iPxDY;
        EXPECT_LT(fLenVc(Vc3c(xfm.drLook) - vcLook), 1e-12) << c.iPxDX << " " << c.iPxDY;
    }
    // Zooming stops at twice the near distance, and at half the far one.
    EXPECT_NEAR(fDistPtPt(xfmCFmWZoomedByDrag(xfm0, -6000, paneOf(800, 600)).ptEye, ptC), 2, 1e-9);
    EXPECT_NEAR(fDistPtPt(xfmCFmWZoomedByDrag(xfm0, 6000, paneOf(800, 600)).ptEye, ptC), 500, 1e-6);
    // The window's top and right edges, at the look-at point's distance,
    // project to the edges of the normalised view (y = 1, x = 1).
    const Vc3c vcLook(xfm0.drLook), vcUp = Vc3c(0, 0, 1) - fDotVcVc(Vc3c(0, 0, 1), vcLook) * vcLook;
    const Vc3c vcUpCam = (1.0 / fLenVc(vcUp)) * vcUp, vcRight = vcCrossVcVc(vcLook, vcUpCam);
    const Pt3c ptTop = ptXgm3c(xfm0.x4hCFmW, ptC + (0.075 * fD) * vcUpCam);
    const Pt3c ptRight = ptXgm3c(xfm0.x4hCFmW, ptC + (0.1 * fD) * vcRight);
    EXPECT_NEAR(ptTop.fY, 1.0, 1e-9);
    EXPECT_NEAR(ptTop.fX, 0.0, 1e-9);
    EXPECT_NEAR(ptRight.fX, 1.0, 1e-9);
}
