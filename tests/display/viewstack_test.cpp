// The camera history ring, the camera files and the drag maths.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <numbers>
#include <string>
#include <vector>

#include "display/viewstack.h"
#include "support/testutil.h"

using vttest::readFile;
using vttest::writeFile;

namespace {

constexpr double kPi = std::numbers::pi;

// A camera told apart by its eye x coordinate.
XfmCFmW3c xfmNumbered(double f) {
    return xfmCFmW3cFm(Pt3c(f, -100, 5), Dr3c(0, 1, 0), Dr3c(0, 0, 1), -0.1, 0.1, -0.05, 0.05, 1,
                       1000, 0);
}

void emptyTheStack() {
    while (!bEmptyXfmCFmWOnStack()) xfmCFmWPopFromStack();
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

// The look direction's angle in the horizontal plane.
double fRdnAzimuth(Dr3c const& dr) { return std::atan2(dr.fY, dr.fX); }

}  // namespace

class ViewStackTest : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initXfmCFmWStack();
        xfmCFmW = XfmCFmW3c();
        xfmPFmC = XfmPFmC3c();
    }
};

// ---- the history ring ------------------------------------------------------------------

TEST_F(ViewStackTest, HundredPushesKeepNinetyNineAndDropTheOldest) {
    emptyTheStack();
    for (int i = 0; i < 100; ++i) {
        XfmCFmW3c xfm = xfmNumbered(i);
        pushXfmCFmWToStack(xfm);
        EXPECT_EQ(iXfmCFmWStackHwm, iXfmCFmWStackTop);
    }
    std::vector<double> arF;
    while (!bEmptyXfmCFmWOnStack()) arF.push_back(xfmCFmWPopFromStack().ptEye.fX);
    ASSERT_EQ(arF.size(), 99u);
    for (std::size_t i = 0; i < arF.size(); ++i) EXPECT_EQ(arF[i], 99.0 - i);
}

// Pop keeps what it took for a re-push, in order; a push after a pop ends
// re-pushing; a re-push with nothing to re-push hands back the newest entry.
TEST_F(ViewStackTest, PopRePushAndPushAfterPop) {
    emptyTheStack();
    XfmCFmW3c a = xfmNumbered(1), b = xfmNumbered(2), c = xfmNumbered(3);
    pushXfmCFmWToStack(a);
    pushXfmCFmWToStack(b);
    const Long iTopAfterPush = iXfmCFmWStackTop;
    EXPECT_FALSE(bXfmCFmWStackRePushPossible());
    expectSameCamera(xfmCFmWPopFromStack(), b);
    EXPECT_EQ(xfmCFmWTopOfStack().ptEye.fX, 1.0);
    EXPECT_EQ(iXfmCFmWStackHwm, iTopAfterPush);  // the pop leaves the mark
    EXPECT_TRUE(bXfmCFmWStackRePushPossible());
    expectSameCamera(xfmCFmWRePushToStack(), b);
    EXPECT_EQ(iXfmCFmWStackTop, iTopAfterPush);
    EXPECT_FALSE(bXfmCFmWStackRePushPossible());
    xfmCFmWPopFromStack();
    xfmCFmWPopFromStack();
    EXPECT_TRUE(bEmptyXfmCFmWOnStack());
    EXPECT_EQ(xfmCFmWRePushToStack().ptEye.fX, 1.0);
    EXPECT_EQ(xfmCFmWRePushToStack().ptEye.fX, 2.0);
    xfmCFmWPopFromStack();
    pushXfmCFmWToStack(c);
    EXPECT_EQ(iXfmCFmWStackHwm, iXfmCFmWStackTop);
    EXPECT_FALSE(bXfmCFmWStackRePushPossible());
    const Long iTop = iXfmCFmWStackTop;
    EXPECT_EQ(xfmCFmWRePushToStack().ptEye.fX, 3.0);
    EXPECT_EQ(iXfmCFmWStackTop, iTop);
    EXPECT_EQ(xfmCFmWPopFromStack().ptEye.fX, 3.0);
    EXPECT_EQ(xfmCFmWPopFromStack().ptEye.fX, 1.0);
    EXPECT_TRUE(bEmptyXfmCFmWOnStack());
}

TEST_F(ViewStackTest, EmptyStackReportsAreImpossibleStates) {
    emptyTheStack();
    EXPECT_DEATH(xfmCFmWPopFromStack(), "stack empty in xfmCFmWPopFromStack\\(\\)");
    EXPECT_DEATH(xfmCFmWTopOfStack(), "stack empty in xfmCFmWTopOfStack\\(\\)");
    // Empty with nothing popped since the last push.
    iXfmCFmWStackTop = iXfmCFmWStackFirst = iXfmCFmWStackHwm = 40;
    EXPECT_DEATH(xfmCFmWRePushToStack(), "nothing available in xfmCFmWRePushToStack\\(\\)");
}

// ---- camera files -------------------------------------------------------------------

TEST_F(ViewStackTest, ViewOutIsFourFixedWidthLines) {
    xfmCFmW = xfmCFmW3cFm(Pt3c(1.5, -178.25, 8.125), Dr3c(0, 1, 0), Dr3c(0, 0, 1), -0.125, 0.125,
                          -0.1, 0.1, 1.0, 10000.0, 0);
    writeViewOut("view.out");
    EXPECT_EQ(readFile("view.out"),
              "     1.50000   -178.25000      8.12500\n"
              "     0.00000      1.00000      0.00000\n"
              "     0.00000      0.00000      1.00000\n"
              "     0.25000      1.00000  10000.00000\n");
}

TEST_F(ViewStackTest, MissingViewInGivesTheDefaultCameraQuietly) {
    Pane pane = paneOf(1152, 700);
    testing::internal::CaptureStderr();
    readViewInOrDefault("view.in", pane);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    Dr3c drLook(-20.0, 150.0, -8.0);
    EXPECT_NEAR(fLenVc(Vc3c(xfmCFmW.drLook) - Vc3c(drLook)), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(xfmCFmW.fR - xfmCFmW.fL, 0.25);
    EXPECT_DOUBLE_EQ(xfmCFmW.fT - xfmCFmW.fB, 0.25 * 700.0 / 1152.0);
    EXPECT_TRUE(xfmCFmW.drUp.fZ == 1.0 && xfmCFmW.fN == 1.0 && xfmCFmW.fF == 10000.0 &&
                !xfmCFmW.bOrtho);
    // The eye is 180 m back along the look from the aim point (15, 0, 1).
    EXPECT_NEAR(fDistPtPt(xfmCFmW.ptEye, Pt3c(15.0, 0.0, 1.0) - 180.0 * Vc3c(drLook)), 0.0, 1e-12);
    expectSameCamera(xfmCFmWTopOfStack(), xfmCFmW);
}

TEST_F(ViewStackTest, DefaultCameraFramesTheScene) {
    // The pad's far edge, the valley floor, the far plain and the top of a
    // 10 m hop all fall inside the view on a typical pane, and the scene
    // spans most of its width.
    XfmCFmW3c xfm = xfmCFmW3cDefaultFm(xfmPFmC3cFm(0, 0, 1152, 700));
    double fXMin = 1e9, fXMax = -1e9;
    for (Pt3c pt : {Pt3c(-5, 0, 0), Pt3c(1, 0, 0), Pt3c(14.5, 0, -5.9), Pt3c(27.2, 0, 0),
                    Pt3c(35, 0, 0), Pt3c(14, 0, 10), Pt3c(0, 0, 10)}) {
        Pt3c ptV = ptXgm3c(xfm.x4hCFmW, pt);
        for (double f : {ptV.fX, ptV.fY, ptV.fZ}) EXPECT_LT(std::fabs(f), 1.0);
        fXMin = std::min(fXMin, ptV.fX);
        fXMax = std::max(fXMax, ptV.fX);
    }
    EXPECT_GT(fXMax - fXMin, 1.2);  // more than 60 % of the width
}

TEST_F(ViewStackTest, HostileViewInFallsBackToTheDefault) {
    const char* arSz[] = {
        "",
        "garbage\n",
        "1 2 3\n4 5 6\n7 8 9\n",                                  // three lines only
        "1 2 3\n0 1 0\n0 0 1\n0.25 1\n",                          // eleven numbers
        "1,2,3\n0,1,0\n0,0,1\n0.25,1,100\n",                      // wrong separators
        "nan 2 3\n0 1 0\n0 0 1\n0.25 1 100\n",                    // not a number
        "1 2 3\n0 1 0\n0 0 1\n0.25 1 inf\n",                      // infinite far
        "1 2 3\n0 1 0\n0 0 1\n0.25 1 1e999\n",                    // overflows to infinity
        "1e300 2 3\n0 1 0\n0 0 1\n0.25 1 100\n",                  // far outside any scene
        "1 2 3\n0 0 0\n0 0 1\n0.25 1 100\n",                      // zero look
        "1 2 3\n0 1 0\n0 0 0\n0.25 1 100\n",                      // zero up
        "1 2 3\n1e-320 0 0\n0 0 1\n0.25 1 100\n",                 // look underflows
        "1 2 3\n0 0 -1\n0 0 2\n0.25 1 100\n",                     // look along up
        "1 2 3\n0 1 1e-12\n0 -1 0\n0.25 1 100\n",                 // nearly along up
        "1 2 3\n0 1 0\n0 0 1\n0 1 100\n",                         // zero width
        "1 2 3\n0 1 0\n0 0 1\n-0.25 1 100\n",                     // negative width
        "1 2 3\n0 1 0\n0 0 1\n1e-320 1 100\n",                    // width underflows
        "1 2 3\n0 1 0\n0 0 1\n0.25 -1 100\n",                     // negative near
        "1 2 3\n0 1 0\n0 0 1\n0.25 100 100\n",                    // near equal to far
        "1 2 3\n0 1 0\n0 0 1\n0.25 100 1\n",                      // near beyond far
        "1 2 3\n0 1 0\n0 0 1\n0.25 0 1e-300\n",                   // far too close to near
        "\x01\x02\xff\xfe binary \x00 junk",
    };
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfmDefault = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    int iCase = 0;
    for (const char* sz : arSz) {
        writeFile("view.in", sz);
        xfmCFmW = XfmCFmW3c();
        testing::internal::CaptureStderr();
        readViewInOrDefault("view.in", pane);
        std::string szErr = testing::internal::GetCapturedStderr();
        SCOPED_TRACE("case " + std::to_string(iCase++));
        EXPECT_EQ(szErr.rfind("view.in: ", 0), 0u) << szErr;
        EXPECT_NE(szErr.find("; using the default camera\n"), std::string::npos) << szErr;
        expectSameCamera(xfmCFmW, xfmDefault);
    }
    // A directory in place of the file.
    std::filesystem::remove("view.in");
    std::filesystem::create_directory("view.in");
    xfmCFmW = XfmCFmW3c();
    testing::internal::CaptureStderr();
    readViewInOrDefault("view.in", pane);
    testing::internal::GetCapturedStderr();
    expectSameCamera(xfmCFmW, xfmDefault);
}

TEST_F(ViewStackTest, AcceptedEdgesOfViewIn) {
    // Near 0 and a look that is not normalised are fine; trailing text is
    // ignored.
    writeFile("view.in", "1 -50 3\n0 2 0\n0 0 5\n0.5 0 100\nextra words\n");
    Pane pane = paneOf(400, 400);
    testing::internal::CaptureStderr();
    readViewInOrDefault("view.in", pane);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(xfmCFmW.ptEye.fY, -50.0);
    EXPECT_EQ(xfmCFmW.drLook.fY, 1.0);
    EXPECT_EQ(xfmCFmW.fN, 0.0);
    EXPECT_DOUBLE_EQ(xfmCFmW.fT - xfmCFmW.fB, 0.5);
    // A collapsed pane is taken as one pixel for the aspect.
    readViewInOrDefault("view.in", paneOf(0, 0));
    EXPECT_DOUBLE_EQ(xfmCFmW.fT - xfmCFmW.fB, 0.5);
    EXPECT_EQ(xfmPFmC.fDX, 0.0f);
}

TEST_F(ViewStackTest, ResizeWidensTheWindowAndLeavesOneEntry) {
    readViewInOrDefault("view.in", paneOf(800, 600));
    XfmCFmW3c xfm0 = xfmCFmW;
    Pane pane = paneOf(1200, 600);
    pane.iPxXL = 10;
    resizeViewForPane(pane);
    EXPECT_EQ(xfmPFmC.fDX, 1200.0f);
    EXPECT_EQ(xfmPFmC.fXMin, 10.0f);
    // Wider pane: the window grows sideways, keeps its height.
    EXPECT_DOUBLE_EQ(xfmCFmW.fT - xfmCFmW.fB, xfm0.fT - xfm0.fB);
    EXPECT_DOUBLE_EQ(xfmCFmW.fR - xfmCFmW.fL, 2.0 * (xfm0.fT - xfm0.fB));
    EXPECT_EQ(xfmCFmW.ptEye.fX, xfm0.ptEye.fX);
    expectSameCamera(xfmCFmWPopFromStack(), xfmCFmW);
    EXPECT_TRUE(bEmptyXfmCFmWOnStack());
    // A collapsed pane changes nothing.
    XfmCFmW3c xfm1 = xfmCFmW;
    resizeViewForPane(paneOf(1200, 0));
    expectSameCamera(xfmCFmW, xfm1);
    EXPECT_EQ(xfmPFmC.fDX, 1200.0f);
    EXPECT_TRUE(bEmptyXfmCFmWOnStack());
}

// ---- mouse navigation ---------------------------------------------------------------

TEST(ViewDragTest, LookAtPointIsOnTheGroundOrFarAhead) {
    XfmCFmW3c xfm = xfmCFmW3cDefaultFm(xfmPFmC3cFm(0, 0, 800, 600));
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm);
    EXPECT_NEAR(ptC.fZ, 0.0, 1e-12);
    // On the look ray, in front of the eye.
    Vc3c vc = ptC - xfm.ptEye;
    EXPECT_NEAR(fDotVcDr(vc, xfm.drLook), fLenVc(vc), 1e-9);
    // Looking up: 180 m along the look.
    XfmCFmW3c xUp = xfmCFmW3cFm(Pt3c(0, 0, 2), Dr3c(0, 1, 0.5), Dr3c(0, 0, 1), -0.1, 0.1, -0.1,
                                0.1, 1, 1000, 0);
    Pt3c ptUp = ptLookAtFmXfmCFmW3c(xUp);
    EXPECT_NEAR(fDistPtPt(ptUp, xUp.ptEye), 180.0, 1e-12);
    // Ground beyond the far distance: also 180 m.
    XfmCFmW3c xFar = xfmCFmW3cFm(Pt3c(0, 0, 50), Dr3c(0, 1, -0.01), Dr3c(0, 0, 1), -0.1, 0.1,
                                 -0.1, 0.1, 1, 1000, 0);
    EXPECT_NEAR(fDistPtPt(ptLookAtFmXfmCFmW3c(xFar), xFar.ptEye), 180.0, 1e-12);
}

TEST(ViewDragTest, TurnKeepsTheLookAtPointAndTheDistance) {
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfm0 = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm0);
    double fDist = fDistPtPt(ptC, xfm0.ptEye);
    for (Long dx : {-300, 0, 37, 400}) {
        for (Long dy : {-100, 0, 55}) {
            XfmCFmW3c x = xfmCFmWTurnedByDrag(xfm0, dx, dy, pane);
            EXPECT_NEAR(fDistPtPt(x.ptEye, ptC), fDist, 1e-9);
            EXPECT_NEAR(fDistPtPt(x.ptEye + fDist * x.drLook, ptC), 0.0, 1e-9);
            // The look-at point stays in the middle of the view.
            Pt3c ptV = ptXgm3c(x.x4hCFmW, ptC);
            EXPECT_NEAR(ptV.fX, 0.0, 1e-9);
            EXPECT_NEAR(ptV.fY, 0.0, 1e-9);
            EXPECT_DOUBLE_EQ(x.fR - x.fL, xfm0.fR - xfm0.fL);
            EXPECT_DOUBLE_EQ(x.fT - x.fB, (x.fR - x.fL) * 600.0 / 800.0);
            EXPECT_TRUE(x.fN == xfm0.fN && x.fF == xfm0.fF);
        }
    }
}

TEST(ViewDragTest, SidewaysDragTurnsAboutTheVertical) {
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfm0 = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    // A quarter of the width turns by 45 degrees; dragging right turns the
    // look clockwise seen from above.
    XfmCFmW3c x = xfmCFmWTurnedByDrag(xfm0, 200, 0, pane);
    EXPECT_NEAR(fRdnMPPiFmFRdn(fRdnAzimuth(x.drLook) - fRdnAzimuth(xfm0.drLook)), -kPi / 4, 1e-12);
    EXPECT_NEAR(x.drLook.fZ, xfm0.drLook.fZ, 1e-15);
    EXPECT_NEAR(x.ptEye.fZ, xfm0.ptEye.fZ, 1e-9);
    // The whole width is a half turn.
    XfmCFmW3c xHalf = xfmCFmWTurnedByDrag(xfm0, 800, 0, pane);
    EXPECT_NEAR(xHalf.drLook.fX, -xfm0.drLook.fX, 1e-12);
    EXPECT_NEAR(xHalf.drLook.fY, -xfm0.drLook.fY, 1e-12);
    // Dragging right swings a point between the eye and the look-at point
    // to the right.
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm0);
    Pt3c ptNear = ptC - 20.0 * Vc3c(xfm0.drLook.fX, xfm0.drLook.fY, 0.0);
    double fX0 = ptXgm3c(xfm0.x4hCFmW, ptNear).fX;
    double fX1 = ptXgm3c(xfmCFmWTurnedByDrag(xfm0, 20, 0, pane).x4hCFmW, ptNear).fX;
    EXPECT_GT(fX1, fX0);
}

TEST(ViewDragTest, VerticalDragTiltsAndStopsShortOfTheUpDirection) {
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfm0 = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    double fRdn0 = fRdnBetweenDr12(xfm0.drLook, xfm0.drUp);
    // Dragging down by a tenth of the width: 18 degrees more steeply down,
    // the eye rises, the azimuth stays.
    XfmCFmW3c x = xfmCFmWTurnedByDrag(xfm0, 0, 80, pane);
    EXPECT_NEAR(fRdnBetweenDr12(x.drLook, x.drUp), fRdn0 + kPi / 10, 1e-12);
    EXPECT_GT(x.ptEye.fZ, xfm0.ptEye.fZ + 10.0);
    EXPECT_NEAR(fRdnAzimuth(x.drLook), fRdnAzimuth(xfm0.drLook), 1e-12);
    // Far down and far up: one degree short of straight down and straight up.
    XfmCFmW3c xDown = xfmCFmWTurnedByDrag(xfm0, 0, 100000, pane);
    EXPECT_NEAR(fRdnBetweenDr12(xDown.drLook, xDown.drUp), kPi - kPi / 180, 1e-12);
    XfmCFmW3c xUp = xfmCFmWTurnedByDrag(xfm0, 0, -100000, pane);
    EXPECT_NEAR(fRdnBetweenDr12(xUp.drLook, xUp.drUp), kPi / 180, 1e-12);
    // Turning further from a clamped camera still works.
    XfmCFmW3c xMore = xfmCFmWTurnedByDrag(xDown, 123, 5000, pane);
    EXPECT_NEAR(fRdnBetweenDr12(xMore.drLook, xMore.drUp), kPi - kPi / 180, 1e-12);
    // A collapsed pane does not break the arithmetic.
    XfmCFmW3c xZero = xfmCFmWTurnedByDrag(xfm0, 1, 1, paneOf(0, 0));
    EXPECT_TRUE(std::isfinite(xZero.x4hCFmW.mxF[1][1]));
}

TEST(ViewDragTest, ZoomNeverReachesOrPassesTheLookAtPoint) {
    Pane pane = paneOf(800, 600);
    XfmCFmW3c xfm0 = xfmCFmW3cDefaultFm(xfmPFmC3cFm(pane));
    Pt3c ptC = ptLookAtFmXfmCFmW3c(xfm0);
    XfmCFmW3c xIn = xfmCFmWZoomedByDrag(xfm0, -1000000, pane);
    double fDistIn = fDistPtPt(xIn.ptEye, ptC);
    EXPECT_NEAR(fDistIn, 2.0 * xfm0.fN, 1e-9);
    EXPECT_GT(fDotVcDr(ptC - xIn.ptEye, xIn.drLook), 0.0);  // still in front
    // Dragging on up from there stays put.
    XfmCFmW3c xIn2 = xfmCFmWZoomedByDrag(xIn, -1000, pane);
    EXPECT_NEAR(fDistPtPt(xIn2.ptEye, ptC), fDistIn, 1e-9);
    // Going away stops at half the far distance.
    XfmCFmW3c xOut = xfmCFmWZoomedByDrag(xfm0, 1000000, pane);
    EXPECT_NEAR(fDistPtPt(xOut.ptEye, ptLookAtFmXfmCFmW3c(xfm0)), 0.5 * xfm0.fF, 1e-6);
    EXPECT_TRUE(std::isfinite(xOut.x4hCFmW.mxF[1][4]));
    // A collapsed pane does not break the arithmetic.
    XfmCFmW3c xZero = xfmCFmWZoomedByDrag(xfm0, -1, paneOf(0, 0));
    EXPECT_TRUE(std::isfinite(xZero.x4hCFmW.mxF[1][1]));
}
