// Scene drawing: the pieces computed without OpenGL (track colours, when
// the vehicle is shown along a track, the graticule rings, the body
// profile), and whole frames rendered offscreen and checked pixel by pixel
// against positions and colours worked out independently here.
#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "core/logerror.h"
#include "display/camera.h"
#include "display/display.h"
#include "display/offscreen.h"
#include "display/viewstack.h"
#include "sim/params.h"
#include "support/testutil.h"

using vttest::readFile;

namespace {

const double fPi = std::numbers::pi;

// ---- a stored run made by hand ----------------------------------------------------------

struct StoredRun {
    A1Val<double> arFTi{0};
    A1Val<void*> arPSt{0};
    std::vector<std::unique_ptr<Stvehicle3dof>> arPOwn;

    void add(double fTi, double fX, double fZ, double fMs, double fPitch = 0.0,
             double fThrust = 0.0) {
        auto pst = std::make_unique<Stvehicle3dof>();
        pst->fXf = fX;
        pst->fZf = fZ;
        pst->fMs = fMs;
        pst->fPitch = fPitch;
        pst->fFcThrustAct = fThrust;
        const Long n = arPSt.n() + 1;
        A1Val<double> arFTiNew(1, n);
        A1Val<void*> arPStNew(1, n);
        for (Long i = 1; i < n; ++i) {
            arFTiNew[i] = arFTi[i];
            arPStNew[i] = arPSt[i];
        }
        arFTiNew[n] = fTi;
        arPStNew[n] = pst.get();
        arFTi = arFTiNew;
        arPSt = arPStNew;
        arPOwn.push_back(std::move(pst));
    }
};

std::vector<Long> arIStPlotted(A1Val<double>& arFTi, Long n) {
    std::vector<Long> arI;
    visitIStPlotPath(arFTi, n, [&arI](Long i) { arI.push_back(i); });
    return arI;
}

// ---- frames read back from OpenGL -----------------------------------------------------

struct Rgb {
    int iR, iG, iB;
};

struct Frame {
    Long iPxDX = 0;
    Long iPxDY = 0;
    std::vector<unsigned char> arB;  // rows bottom-up, 3 bytes per pixel

    void read(Long dx, Long dy) {
        iPxDX = dx;
        iPxDY = dy;
        arB.assign(static_cast<size_t>(dx * dy * 3), 0);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, dx, dy, GL_RGB, GL_UNSIGNED_BYTE, arB.data());
    }
    bool bIn(Long iX, Long iY) const { return iX >= 0 && iY >= 0 && iX < iPxDX && iY < iPxDY; }
    // Pixel at column iX, row iY counted from the bottom.
    Rgb at(Long iX, Long iY) const {
        const size_t i = static_cast<size_t>((iY * iPxDX + iX) * 3);
        return {arB[i], arB[i + 1], arB[i + 2]};
    }
    // Is there a pixel within iPxR of (iX, iY) whose colour is within
    // iTol of rgb in every channel?
    bool bColourNear(Long iX, Long iY, Long iPxR, Rgb rgb, int iTol = 2) const {
        for (Long dy = -iPxR; dy <= iPxR; ++dy) {
            for (Long dx = -iPxR; dx <= iPxR; ++dx) {
                if (!bIn(iX + dx, iY + dy)) continue;
                const Rgb c = at(iX + dx, iY + dy);
                if (std::abs(c.iR - rgb.iR) <= iTol && std::abs(c.iG - rgb.iG) <= iTol &&
                    std::abs(c.iB - rgb.iB) <= iTol)
                    return true;
            }
        }
        return false;
    }
};

Rgb rgbFmClr(const ClrF& clr) {
    return {static_cast<int>(std::lround(clr.fR * 255.0)),
            static_cast<int>(std::lround(clr.fG * 255.0)),
            static_cast<int>(std::lround(clr.fB * 255.0))};
}

// Where a world point lands in the pane: its pixel column and row (from the
// bottom), through the camera's normalised coordinates and the viewport.
struct PxPos {
    Long iX, iY;
};
PxPos pxposFmPt(const XfmCFmW3c& xfm, const Pane& pane, const Pt3c& pt) {
    const Pt3c ptN = ptXgm3c(xfm.x4hCFmW, pt);
    return {static_cast<Long>(std::floor((ptN.fX + 1.0) / 2.0 * pane.iPxDX)),
            static_cast<Long>(std::floor((ptN.fY + 1.0) / 2.0 * pane.iPxDY))};
}

// The colour fixed-function lighting gives a flat surface with unit normal
// drN under the scene's light 0 and light-model ambient: eye coordinates are
// world coordinates here (the model-view matrix is the identity), the viewer
// is at infinity along +z, and every term is clamped at 1.
Rgb rgbLitFlat(const PmdspSf3cLighting& mat, const Dr3c& drN) {
    const Dr3c drL(arFPositionLight[0], arFPositionLight[1], arFPositionLight[2]);
    const Dr3c drH(drL.fX, drL.fY, drL.fZ + 1.0);
    const double fNL = std::max(0.0, drN.fX * drL.fX + drN.fY * drL.fY + drN.fZ * drL.fZ);
    const double fNH = std::max(0.0, drN.fX * drH.fX + drN.fY * drH.fY + drN.fZ * drH.fZ);
    const double fSpec = fNL > 0.0 ? std::pow(fNH, mat.fShininess) : 0.0;
    auto ch = [&](float fAmb, float fDif, float fSpc, float fEm, int i) {
        const double f = fEm + arFAmbientLightModel[i] * fAmb + arFAmbientLight[i] * fAmb +
                         fNL * arFDiffuseLight[i] * fDif + fSpec * arFSpecularLight[i] * fSpc;
        return static_cast<int>(std::lround(std::min(1.0, f) * 255.0));
    };
    return {ch(mat.clrFAmbient.fR, mat.clrFDiffuse.fR, mat.clrFSpecular.fR, mat.clrFEmission.fR, 0),
            ch(mat.clrFAmbient.fG, mat.clrFDiffuse.fG, mat.clrFSpecular.fG, mat.clrFEmission.fG, 1),
            ch(mat.clrFAmbient.fB, mat.clrFDiffuse.fB, mat.clrFSpecular.fB, mat.clrFEmission.fB,
               2)};
}

const Rgb rgbBk = {128, 64, 64};

}  // namespace

// ---- without OpenGL ----------------------------------------------------------------------

TEST(PathColourTest, ThresholdsAtAQuarterAndATwentiethOfThePropellant) {
    // Full 100 kg, empty 95 kg: mHi = 96.25, mLo = 95.25.
    Vehicle v;
    v.fMsGTO = 100.0;
    v.fMsEmpty = 95.0;
    // At mHi is not above it.
    for (const auto& [fMs, pclr] : {std::pair(100.0, &clrFPathHiProp), {96.26, &clrFPathHiProp},
                                    {96.25, &clrFPathLoProp}, {95.26, &clrFPathLoProp},
                                    {95.25, &clrFPathEmpty}, {90.0, &clrFPathEmpty}})
        EXPECT_EQ(&clrFPathAtFMs(&v, fMs), pclr) << fMs;
}

TEST(PathVehicleTimesTest, FirstStateThenOncePerSecondOfFlight) {
    StoredRun run;
    // Irregular times: 0 drawn; 1.1 is the first at or after 1.0; then
    // 2.2 (>= 2.1); 3.05 is short of 3.2.
    for (double fTi : {0.0, 0.6, 1.1, 1.5, 2.0, 2.2, 3.05}) run.add(fTi, 0.0, 0.0, 100.0);
    EXPECT_EQ(arIStPlotted(run.arFTi, run.arPSt.n()), (std::vector<Long>{1, 3, 6}));

    // Exact quarter-second samples from 0.5 s: every fourth state.
    StoredRun runQ;
    for (int i = 0; i < 17; ++i) runQ.add(0.5 + 0.25 * i, 0.0, 0.0, 100.0);
    EXPECT_EQ(arIStPlotted(runQ.arFTi, runQ.arPSt.n()), (std::vector<Long>{1, 5, 9, 13, 17}));
    // A time exactly at the next drawing time counts as reached.
    EXPECT_EQ(arIStPlotted(runQ.arFTi, 5), (std::vector<Long>{1, 5}));
    EXPECT_EQ(arIStPlotted(runQ.arFTi, 1), (std::vector<Long>{1}));
    EXPECT_TRUE(arIStPlotted(runQ.arFTi, 0).empty());
}

class GraticuleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { initParams(); }
};

TEST_F(GraticuleTest, ARingIsBrokenWhereItLeavesTheGround) {
    // One strip ending at x = 15: the ring of radius 20 keeps only the
    // segments whose two ends both have x <= 15.
    Pt3c arPt[4] = {{-1000.0, -1000.0, 0.0}, {15.0, -1000.0, 0.0}, {15.0, 1000.0, 0.0},
                    {-1000.0, 1000.0, 0.0}};
    A1Val<void*> arPVtx(1, 4);
    for (Long i = 1; i <= 4; ++i) arPVtx[i] = &arPt[i - 1];
    A1Val<void*> arPPgn(1, 1);
    arPPgn[1] = &arPVtx;

    const double fRad = 20.0;
    const Long k = std::lround(fRad * fPi);
    std::vector<bool> arBOn;
    for (Long j = 1; j <= k; ++j)
        arBOn.push_back(fRad * std::cos((j - 1) * fPi / (k - 1) - fPi / 2.0) < 15.0);
    Long nSegExpected = 0;
    for (Long j = 1; j < k; ++j) nSegExpected += (arBOn[j - 1] && arBOn[j]) ? 1 : 0;
    ASSERT_GT(nSegExpected, 0);
    ASSERT_LT(nSegExpected, k - 1);

    Long nSeg = 0;
    visitSegGraticuleGnd(fRad, &arPPgn, [&](const Pt3c& ptA, const Pt3c& ptB) {
        ++nSeg;
        EXPECT_LT(ptA.fX, 15.0);
        EXPECT_LT(ptB.fX, 15.0);
    });
    EXPECT_EQ(nSeg, nSegExpected);

    // No ground at all, and a ring too small to have two points: nothing.
    A1Val<void*> arPPgnNone(0);
    nSeg = 0;
    visitSegGraticuleGnd(fRad, &arPPgnNone, [&](const Pt3c&, const Pt3c&) { ++nSeg; });
    visitSegGraticuleGnd(0.3, &arPPgn, [&](const Pt3c&, const Pt3c&) { ++nSeg; });
    EXPECT_EQ(nSeg, 0);
}

// ---- whole frames, offscreen ----------------------------------------------------------

class SceneFrameTest : public InTempDir {
protected:
    static void SetUpTestSuite() { initParams(); }
    void SetUp() override {
        InTempDir::SetUp();
        pane.iPxDX = 1152;
        pane.iPxDY = 831;
        if (!offscreengl.bOpen(pane.iPxDX, pane.iPxDY))
            GTEST_SKIP() << "no offscreen OpenGL on this machine";
        xfmPFmCHere = xfmPFmC3cFm(pane);
        xfmCFmWHere = xfmCFmW3cDefaultFm(xfmPFmCHere);
        stInit = stvehicle3dof0;
    }
    void TearDown() override {
        offscreengl.close();
        InTempDir::TearDown();
    }
    Frame frameState(Stvehicle3dof st) {
        displayStInPane(&pane, &xfmCFmWHere, &xfmPFmCHere, &st);
        Frame frame;
        frame.read(pane.iPxDX, pane.iPxDY);
        return frame;
    }
    Frame framePath(StoredRun& run) {
        displayPathInPane(&pane, &xfmCFmWHere, &xfmPFmCHere, &vehicle, run.arFTi, run.arPSt);
        Frame frame;
        frame.read(pane.iPxDX, pane.iPxDY);
        return frame;
    }
    PxPos px(const Pt3c& pt) const { return pxposFmPt(xfmCFmWHere, pane, pt); }

    OffscreenGl offscreengl;
    Pane pane;
    XfmPFmC3c xfmPFmCHere;
    XfmCFmW3c xfmCFmWHere;
    Stvehicle3dof stInit;
};

TEST_F(SceneFrameTest, InitialStateShowsBackgroundAboveAndLitGroundBelow) {
    openLogFile();
    const Frame frame = frameState(stInit);
    closeLogFile();
    // Nothing drawn in the top corners: the clear colour.
    EXPECT_TRUE(frame.bColourNear(2, pane.iPxDY - 3, 0, rgbBk, 1));
    EXPECT_TRUE(frame.bColourNear(pane.iPxDX - 3, pane.iPxDY - 3, 0, rgbBk, 1));
    // On the level pad, left of the triad: the ground material lit by
    // light 0 with the upward normal.
    const Rgb rgbPad = rgbLitFlat(*ppmdspSfGnd, Dr3c(0.0, 0.0, 1.0));
    const PxPos pxPad = px(Pt3c(-4.0, 10.0, 0.0));
    ASSERT_TRUE(frame.bIn(pxPad.iX, pxPad.iY));
    EXPECT_TRUE(frame.bColourNear(pxPad.iX, pxPad.iY, 0, rgbPad, 2))
        << frame.at(pxPad.iX, pxPad.iY).iR << " " << frame.at(pxPad.iX, pxPad.iY).iG << " "
        << frame.at(pxPad.iX, pxPad.iY).iB;
    // On the valley floor the same (it is level too), on the 20 degree
    // slope the colour of its own normal.
    const PxPos pxValley = px(Pt3c(14.5, 20.0, -5.911761874129619));
    EXPECT_TRUE(frame.bColourNear(pxValley.iX, pxValley.iY, 0, rgbPad, 2));
    const double fA = 20.0 * fPi / 180.0;
    const Rgb rgbSlope = rgbLitFlat(*ppmdspSfGnd, Dr3c(std::sin(fA), 0.0, std::cos(fA)));
    const PxPos pxSlope = px(Pt3c(4.0, 25.0, -3.0 * std::tan(fA)));
    EXPECT_TRUE(frame.bColourNear(pxSlope.iX, pxSlope.iY, 0, rgbSlope, 2));
    // A frame raises no OpenGL error.
    EXPECT_EQ(readFile("fe.log").find("location ="), std::string::npos) << readFile("fe.log");
}

TEST_F(SceneFrameTest, GraticuleAndTriadLabelsAreDrawn) {
    const Frame frame = frameState(stInit);
    // A vertex of the 10 m ring at +60 degrees, on the 20 degree slope.
    const double fA = fPi / 3.0;
    const double fX = 10.0 * std::cos(fA);
    const double fY = 10.0 * std::sin(fA);
    const PxPos pxRing = px(Pt3c(fX, fY, -(fX - 1.0) * std::tan(20.0 * fPi / 180.0)));
    EXPECT_TRUE(frame.bColourNear(pxRing.iX, pxRing.iY, 1, rgbFmClr(clrFGraticuleGnd), 1));

    // The "X" label: its glyph, pixel for pixel, centred 0.5 m beyond the
    // tip of the x axis, in the axis' far colour.
    const PxPos pxLabel = px(Pt3c(16.5, 0.0, 0.0));
    const Rgb rgbLabel = rgbFmClr(pmdspCoordtriadScene.clrFFarAxis1);
    const char* const* arSz = PmdspText::arSzGlyph('X');
    bool bFound = false;
    for (Long iDY = -2; iDY <= 2 && !bFound; ++iDY) {
        for (Long iDX = -2; iDX <= 2 && !bFound; ++iDX) {
            bool bAll = true;
            for (int iRow = 0; iRow < 16 && bAll; ++iRow) {
                for (int iCol = 0; iCol < 12 && bAll; ++iCol) {
                    const Long iX = pxLabel.iX - 6 + iCol + iDX;
                    const Long iY = pxLabel.iY + 7 - iRow + iDY;
                    const bool bSet = arSz[iRow][iCol] == '#';
                    if (bSet != frame.bColourNear(iX, iY, 0, rgbLabel, 1)) bAll = false;
                }
            }
            bFound = bAll;
        }
    }
    EXPECT_TRUE(bFound) << "no X glyph near pixel " << pxLabel.iX << ", " << pxLabel.iY;
}

TEST_F(SceneFrameTest, AnEmptyRunDrawsOnlyTheGroundAndTheTriad) {
    Stvehicle3dof stFar = stInit;
    stFar.fXf = 1.0e5;
    stFar.fZf = 1.0e5;
    const Frame frameGround = frameState(stFar);
    StoredRun run;
    const Frame frameEmpty = framePath(run);
    EXPECT_EQ(frameEmpty.arB, frameGround.arB);
}

TEST_F(SceneFrameTest, VehiclesDrawnTogetherLookAsDrawnOneByOne) {
    // Three vehicles in different places and attitudes: the batch must not
    // join them with stray triangles or lose any of them.
    Stvehicle3dof arSt[3] = {stInit, stInit, stInit};
    const double aarF[3][3] = {{2.0, 3.0, 0.4}, {9.0, 8.0, -0.7}, {20.0, 1.0, 1.2}};  // x, z, pitch
    for (int i = 0; i < 3; ++i) {
        arSt[i].fXf = aarF[i][0];
        arSt[i].fZf = aarF[i][1];
        arSt[i].fPitch = aarF[i][2];
        arSt[i].fFcThrustAct = 400.0 * (i + 1);
    }
    Stvehicle3dof stFar = stInit;
    stFar.fXf = 1.0e5;
    stFar.fZf = 1.0e5;
    const Frame frameGround = frameState(stFar);

    displayStInPane(&pane, &xfmCFmWHere, &xfmPFmCHere, &stFar);
    for (Stvehicle3dof& st : arSt) displayVehicle(&st);
    Frame frameOneByOne;
    frameOneByOne.read(pane.iPxDX, pane.iPxDY);

    displayStInPane(&pane, &xfmCFmWHere, &xfmPFmCHere, &stFar);
    Stvehicle3dof* arPSt[3] = {&arSt[0], &arSt[1], &arSt[2]};
    displayVehicles(arPSt, 3);
    Frame frameTogether;
    frameTogether.read(pane.iPxDX, pane.iPxDY);

    EXPECT_NE(frameOneByOne.arB, frameGround.arB);
    EXPECT_EQ(frameTogether.arB, frameOneByOne.arB);
}

TEST_F(SceneFrameTest, TrackIsColouredByThePropellantLeft) {
    // A straight climb to (20, 10) over 5 s, 100 states: full at first,
    // then between a twentieth and a quarter left, then less.
    StoredRun run;
    for (int i = 1; i <= 100; ++i) {
        const double fMs = i <= 33 ? 99.0 : (i <= 66 ? 96.0 : 95.1);
        run.add(0.05 * (i - 1), 0.2 * i, 0.1 * i, fMs);
    }
    const Frame frame = framePath(run);
    const Rgb rgbHi = rgbFmClr(clrFPathHiProp);
    const Rgb rgbLo = rgbFmClr(clrFPathLoProp);
    const Rgb rgbEmpty = rgbFmClr(clrFPathEmpty);
    // Vehicles are drawn at states 1, 21, 41, 61, 81; look between them.
    for (int i : {8, 12, 28, 31, 48, 52, 55, 70, 75, 90, 95, 100}) {
        const PxPos pxp = px(Pt3c(0.2 * i, 0.0, 0.1 * i));
        const Rgb rgb = i < 33 ? rgbHi : (i < 66 ? rgbLo : rgbEmpty);
        EXPECT_TRUE(frame.bColourNear(pxp.iX, pxp.iY, 2, rgb)) << i;
        if (i < 33 || i > 66) {
            EXPECT_FALSE(frame.bColourNear(pxp.iX, pxp.iY, 2, i < 33 ? rgbEmpty : rgbHi)) << i;
        }
    }
    // The vehicle stands at the drawing states (its legs are black) and not
    // half-way between them.
    const Rgb rgbLeg = rgbFmClr(clrFLegVehicle);
    for (int i : {21, 41, 61, 81}) {
        const PxPos pxp = px(Pt3c(0.2 * i, 0.0, 0.1 * i + 0.1));
        EXPECT_TRUE(frame.bColourNear(pxp.iX, pxp.iY, 12, rgbLeg, 10)) << i;
    }
    for (int i : {31, 51, 71}) {
        const PxPos pxp = px(Pt3c(0.2 * i, 0.0, 0.1 * i + 0.1));
        EXPECT_FALSE(frame.bColourNear(pxp.iX, pxp.iY, 6, rgbLeg, 10)) << i;
    }
}

TEST_F(SceneFrameTest, FrameDoesNotDependOnStateLeftInTheContext) {
    StoredRun run;
    for (int i = 1; i <= 40; ++i) run.add(0.05 * (i - 1), 0.3 * i, 0.2 * i, 99.0, 0.1, 900.0);
    const Frame frameClean = framePath(run);
    // What a window toolkit or an earlier frame might leave behind.
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT_AND_BACK);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 10, 10);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
    glDepthMask(GL_FALSE);
    glEnable(GL_LIGHTING);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 8);
    glMatrixMode(GL_TEXTURE);
    glColor3f(0.3f, 0.3f, 0.3f);
    const Frame frameAgain = framePath(run);
    EXPECT_EQ(frameAgain.arB, frameClean.arB);
}

class VehiclePlacementTest : public InTempDir {
protected:
    static void SetUpTestSuite() { initParams(); }
    void SetUp() override {
        InTempDir::SetUp();
        pane.iPxDX = 240;
        pane.iPxDY = 240;
        if (!offscreengl.bOpen(pane.iPxDX, pane.iPxDY))
            GTEST_SKIP() << "no offscreen OpenGL on this machine";
        xfmPFmCHere = xfmPFmC3cFm(pane);
        // Orthographic, looking along +y at the plane y = 0, 6 m x 6 m
        // around (2, 3): 40 pixels per metre.
        xfmCFmWHere = xfmCFmW3cFm(Pt3c(2.0, -50.0, 3.0), Dr3c(0.0, 1.0, 0.0),
                                  Dr3c(0.0, 0.0, 1.0), -3.0, 3.0, -3.0, 3.0, 1.0, 100.0, 1);
    }
    void TearDown() override {
        offscreengl.close();
        InTempDir::TearDown();
    }
    Frame frame(double fPitch, double fThrust) {
        Stvehicle3dof st = stvehicle3dof0;
        st.fXf = 2.0;
        st.fZf = 3.0;
        st.fPitch = fPitch;
        st.fFcThrustAct = fThrust;
        displayStInPane(&pane, &xfmCFmWHere, &xfmPFmCHere, &st);
        Frame frame;
        frame.read(pane.iPxDX, pane.iPxDY);
        return frame;
    }
    // A point given along the body's thrust axis and across it (in the
    // flight plane), with the body z axis along (-sin p, 0, cos p).
    PxPos pxBody(double fPitch, double fAcross, double fAlong) const {
        const double fX = 2.0 + fAlong * -std::sin(fPitch) + fAcross * std::cos(fPitch);
        const double fZ = 3.0 + fAlong * std::cos(fPitch) + fAcross * std::sin(fPitch);
        return pxposFmPt(xfmCFmWHere, pane, Pt3c(fX, 0.0, fZ));
    }

    OffscreenGl offscreengl;
    Pane pane;
    XfmPFmC3c xfmPFmCHere;
    XfmCFmW3c xfmCFmWHere;
};

TEST_F(VehiclePlacementTest, UprightVehicleWithThrustBelowIt) {
    const Frame fr = frame(0.0, 1000.0);
    const Rgb rgbThrust = rgbFmClr(clrFThrustVcVehicle);
    // 1000 N is 2 m of thrust vector below the bottom at 0.2 m.
    for (double fAlong : {0.0, -0.8, -1.6}) {
        const PxPos p = pxBody(0.0, 0.0, fAlong);
        EXPECT_TRUE(fr.bColourNear(p.iX, p.iY, 1, rgbThrust, 1)) << fAlong;
    }
    const PxPos pEnd = pxBody(0.0, 0.0, -2.0);
    EXPECT_FALSE(fr.bColourNear(pEnd.iX, pEnd.iY - 4, 3, rgbThrust, 1));
    // Body from 0.2 to 0.62 m on the axis and 0.5 m either side of it.
    for (double fAlong : {0.25, 0.45, 0.58}) {
        const PxPos p = pxBody(0.0, 0.0, fAlong);
        EXPECT_FALSE(fr.bColourNear(p.iX, p.iY, 0, rgbBk, 3)) << fAlong;
    }
    EXPECT_FALSE(fr.bColourNear(pxBody(0.0, 0.45, 0.3).iX, pxBody(0.0, 0.45, 0.3).iY, 0, rgbBk, 3));
    EXPECT_TRUE(fr.bColourNear(pxBody(0.0, 0.0, 0.7).iX, pxBody(0.0, 0.0, 0.7).iY, 0, rgbBk, 1));
    EXPECT_TRUE(fr.bColourNear(pxBody(0.0, 0.6, 0.3).iX, pxBody(0.0, 0.6, 0.3).iY, 0, rgbBk, 1));
    // Legs, black, below the body on both sides: at 0.1 m up a leg is
    // 0.3603 m out, seen at 0.3603 * cos 30 degrees across.
    const Rgb rgbLeg = rgbFmClr(clrFLegVehicle);
    const double fAcross = (0.412 - 0.1 / 0.445 * (0.412 - 0.182)) * std::cos(fPi / 6.0);
    for (double fSide : {-1.0, 1.0}) {
        const PxPos p = pxBody(0.0, fSide * fAcross, 0.1);
        EXPECT_TRUE(fr.bColourNear(p.iX, p.iY, 1, rgbLeg, 1)) << fSide;
    }
}

TEST_F(VehiclePlacementTest, PitchTiltsTheThrustAxisTowardsMinusX) {
    const double fPitch = 0.5;
    const Frame fr = frame(fPitch, 1000.0);
    const Rgb rgbThrust = rgbFmClr(clrFThrustVcVehicle);
    // The exhaust points along -body z, i.e. down and towards +x.
    const PxPos p = pxBody(fPitch, 0.0, -1.0);
    EXPECT_TRUE(fr.bColourNear(p.iX, p.iY, 1, rgbThrust, 1));
    const PxPos pMirror = pxBody(-fPitch, 0.0, -1.0);
    EXPECT_FALSE(fr.bColourNear(pMirror.iX, pMirror.iY, 3, rgbThrust, 1));
    // The dome top is up and towards -x.
    const PxPos pDome = pxBody(fPitch, 0.0, 0.58);
    EXPECT_FALSE(fr.bColourNear(pDome.iX, pDome.iY, 0, rgbBk, 3));
    // No thrust, no vector.
    const Frame frOff = frame(fPitch, 0.0);
    EXPECT_FALSE(frOff.bColourNear(p.iX, p.iY, 3, rgbThrust, 1));
}

TEST_F(VehiclePlacementTest, ThreeLegsSpreadAtAThirdOfATurn) {
    // Zoomed to 1 m across (240 pixels per metre) around the feet: 2 cm above
    // them two legs are seen at cos 30 deg of their radius either side, the
    // third on the axis; nothing at the full radius either side.
    xfmCFmWHere = xfmCFmW3cFm(Pt3c(2.0, -50.0, 3.0), Dr3c(0.0, 1.0, 0.0), Dr3c(0.0, 0.0, 1.0),
                              -0.5, 0.5, -0.5, 0.5, 1.0, 100.0, 1);
    const Frame fr = frame(0.0, 0.0);
    const Rgb rgbLeg = rgbFmClr(clrFLegVehicle);
    const double fOut = 0.412 - 0.02 / 0.445 * (0.412 - 0.182);
    for (double fAcross : {-fOut * std::cos(fPi / 6.0), 0.0, fOut * std::cos(fPi / 6.0)}) {
        const PxPos p = pxBody(0.0, fAcross, 0.02);
        EXPECT_TRUE(fr.bColourNear(p.iX, p.iY, 2, rgbLeg, 1)) << fAcross;
    }
    for (double fAcross : {-fOut, fOut}) {
        const PxPos p = pxBody(0.0, fAcross, 0.02);
        EXPECT_FALSE(fr.bColourNear(p.iX, p.iY, 2, rgbLeg, 1)) << fAcross;
    }
}
