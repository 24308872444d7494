// Scene drawing with fixed-function OpenGL.
#include "display/display.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "core/logerror.h"
#include "display/glcheck.h"
#include "display/glapi.h"
#include "sim/fltsim.h"
#include "sim/ground.h"

// ---- scene settings ------------------------------------------------------------------

const ClrF clrFBk(0.5f, 0.25f, 0.25f);

const float arFAmbientLight[4] = {0.0f, 0.0f, 0.0f, 0.0f};
const float arFDiffuseLight[4] = {1.0f, 1.0f, 1.0f, 1.0f};
const float arFSpecularLight[4] = {1.0f, 1.0f, 1.0f, 1.0f};
const float arFPositionLight[4] = {0.1f, -1.0f, 0.5f, 0.0f};
// Light 0 has no ambient part, so this alone lifts the faces turned away
// from the light out of black.
const float arFAmbientLightModel[4] = {0.3f, 0.3f, 0.3f, 1.0f};

const ClrF clrFGraticuleGnd(0.5f, 0.0f, 0.0f);
const Long nRadGraticuleGnd = 4;
const double arFRadGraticuleGnd[4] = {10.0, 20.0, 30.0, 40.0};

const ClrF clrFPathHiProp(0.0f, 1.0f, 0.0f);
const ClrF clrFPathLoProp(1.0f, 1.0f, 0.0f);
const ClrF clrFPathEmpty(1.0f, 0.0f, 0.0f);
const double fDTiPlotStPath = 1.0;

const ClrF clrFPlanPath(0.85f, 0.92f, 1.0f);
const ClrF clrFLegVehicle(0.0f, 0.0f, 0.0f);
const ClrF clrFThrustVcVehicle(0.8f, 0.8f, 1.0f);

const double fH1Vehicle = 0.2;
const double fH2Vehicle = 0.395;
const double fH3Vehicle = 0.495;
const double fH4Vehicle = 0.545;
const double fH5Vehicle = 0.62;
const double fRad0Vehicle = 0.0;
const double fRad1Vehicle = 0.075;
const double fRad2Vehicle = 0.15;
const double fRad3Vehicle = 0.4;
const double fRad4Vehicle = 0.5;
const Long nLegVehicle = 3;
const double fRad1LegVehicle = 0.182;
const double fH1LegVehicle = 0.445;
const double fRad2LegVehicle = 0.412;
const double fH2LegVehicle = 0.0;
const double fLThrustVcPerFcVehicle = 1.0 / 500.0;

namespace {

constexpr ClrF clrFNone(0.0f, 0.0f, 0.0f);

// The ground's material is set; the vehicle's are ours: a light metal skirt,
// a darker bottom and skirt top, a gold-foil dome with a white cap, all of
// them well apart from the reddish ground and from the track colours.
const PmdspSf3cLighting pmdspSfGnd = {ClrF(0.6f, 0.165f, 0.12f), ClrF(0.6f, 0.165f, 0.12f),
                                      ClrF(1.0f, 1.0f, 1.0f), clrFNone, 5.0f};
const PmdspSf3cLighting pmdspSfVehicleBot = {ClrF(0.3f, 0.3f, 0.33f), ClrF(0.3f, 0.3f, 0.33f),
                                             ClrF(0.3f, 0.3f, 0.3f), clrFNone, 10.0f};
const PmdspSf3cLighting pmdspSfVehicleSkirtVert = {
    ClrF(0.85f, 0.86f, 0.9f), ClrF(0.85f, 0.86f, 0.9f), ClrF(0.6f, 0.6f, 0.6f), clrFNone, 30.0f};
const PmdspSf3cLighting pmdspSfVehicleSkirtSlant = {
    ClrF(0.75f, 0.76f, 0.82f), ClrF(0.75f, 0.76f, 0.82f), ClrF(0.6f, 0.6f, 0.6f), clrFNone,
    30.0f};
const PmdspSf3cLighting pmdspSfVehicleSkirtTop = {
    ClrF(0.45f, 0.46f, 0.52f), ClrF(0.45f, 0.46f, 0.52f), ClrF(0.4f, 0.4f, 0.4f), clrFNone,
    20.0f};
const PmdspSf3cLighting pmdspSfVehicleDomeVert = {
    ClrF(0.95f, 0.72f, 0.2f), ClrF(0.95f, 0.72f, 0.2f), ClrF(1.0f, 0.9f, 0.5f), clrFNone, 40.0f};
const PmdspSf3cLighting pmdspSfVehicleDomeSlant = {
    ClrF(0.9f, 0.66f, 0.15f), ClrF(0.9f, 0.66f, 0.15f), ClrF(1.0f, 0.9f, 0.5f), clrFNone, 40.0f};
const PmdspSf3cLighting pmdspSfVehicleDomeTop = {
    ClrF(0.95f, 0.95f, 0.95f), ClrF(0.95f, 0.95f, 0.95f), ClrF(0.8f, 0.8f, 0.8f), clrFNone,
    40.0f};

}  // namespace

const PmdspSf3cLighting* const ppmdspSfGnd = &pmdspSfGnd;
const PmdspSf3cLighting* const ppmdspSfVehicleBot = &pmdspSfVehicleBot;
const PmdspSf3cLighting* const ppmdspSfVehicleSkirtVert = &pmdspSfVehicleSkirtVert;
const PmdspSf3cLighting* const ppmdspSfVehicleSkirtSlant = &pmdspSfVehicleSkirtSlant;
const PmdspSf3cLighting* const ppmdspSfVehicleSkirtTop = &pmdspSfVehicleSkirtTop;
const PmdspSf3cLighting* const ppmdspSfVehicleDomeVert = &pmdspSfVehicleDomeVert;
const PmdspSf3cLighting* const ppmdspSfVehicleDomeSlant = &pmdspSfVehicleDomeSlant;
const PmdspSf3cLighting* const ppmdspSfVehicleDomeTop = &pmdspSfVehicleDomeTop;

const PmdspCoordtriad pmdspCoordtriadScene = {
    3.0,  16.0, 16.0, 6.0, "X", "Y", "Z", ClrF(1.0f, 1.0f, 1.0f), ClrF(1.0f, 0.55f, 0.1f),
    ClrF(0.35f, 0.8f, 1.0f), ClrF(0.75f, 0.55f, 1.0f)};

// The body profile, anticlockwise in (radius, height): bottom disc out to
// the skirt, up the skirt and its slant, in across the skirt top, up the
// dome and its slant, in across the dome top to the axis.
const SfRevVehicle arSfRevVehicle[nSfRevVehicle] = {
    {fRad0Vehicle, fH1Vehicle, fRad4Vehicle, fH1Vehicle, &pmdspSfVehicleBot},
    {fRad4Vehicle, fH1Vehicle, fRad4Vehicle, fH2Vehicle, &pmdspSfVehicleSkirtVert},
    {fRad4Vehicle, fH2Vehicle, fRad3Vehicle, fH3Vehicle, &pmdspSfVehicleSkirtSlant},
    {fRad3Vehicle, fH3Vehicle, fRad2Vehicle, fH3Vehicle, &pmdspSfVehicleSkirtTop},
    {fRad2Vehicle, fH3Vehicle, fRad2Vehicle, fH4Vehicle, &pmdspSfVehicleDomeVert},
    {fRad2Vehicle, fH4Vehicle, fRad1Vehicle, fH5Vehicle, &pmdspSfVehicleDomeSlant},
    {fRad1Vehicle, fH5Vehicle, fRad0Vehicle, fH5Vehicle, &pmdspSfVehicleDomeTop},
};

// ---- display primitives -----------------------------------------------------------

void PmdspSf3cLighting::apply() const {
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, clrFAmbient.arF());
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, clrFDiffuse.arF());
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, clrFSpecular.arF());
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, clrFEmission.arF());
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, fShininess);
}

namespace {

// Our own label font: 12 x 16 pixels, strokes two pixels wide.
const char* const arSzGlyphX[PmdspText::iPxDYGlyph] = {
    "##........##", "##........##", ".##......##.", ".##......##.",
    "..##....##..", "...##..##...", "....####....", ".....##.....",
    ".....##.....", "....####....", "...##..##...", "..##....##..",
    ".##......##.", ".##......##.", "##........##", "##........##"};
const char* const arSzGlyphY[PmdspText::iPxDYGlyph] = {
    "##........##", "##........##", ".##......##.", ".##......##.",
    "..##....##..", "...##..##...", "....####....", ".....##.....",
    ".....##.....", ".....##.....", ".....##.....", ".....##.....",
    ".....##.....", ".....##.....", ".....##.....", ".....##....."};
const char* const arSzGlyphZ[PmdspText::iPxDYGlyph] = {
    "############", "############", "..........##", ".........##.",
    "........##..", ".......##...", "......##....", ".....##.....",
    "....##......", "...##.......", "..##........", ".##.........",
    "##..........", "##..........", "############", "############"};

// A glyph as glBitmap wants it: rows bottom-up, most significant bit
// leftmost, each row padded to 4 bytes (the default unpack alignment).
constexpr int nBytRowGlyph = 4;
using GlyphBits = std::array<unsigned char, PmdspText::iPxDYGlyph * nBytRowGlyph>;

GlyphBits glyphbitsFmArSz(const char* const* arSz) {
    GlyphBits bits{};
    for (int iRow = 0; iRow < PmdspText::iPxDYGlyph; ++iRow) {
        const char* sz = arSz[PmdspText::iPxDYGlyph - 1 - iRow];
        for (int iCol = 0; iCol < PmdspText::iPxDXGlyph; ++iCol) {
            if (sz[iCol] == '#')
                bits[static_cast<size_t>(iRow * nBytRowGlyph + iCol / 8)] |=
                    static_cast<unsigned char>(0x80u >> (iCol % 8));
        }
    }
    return bits;
}

const GlyphBits* pglyphbitsOfCh(char ch) {
    static const GlyphBits glyphbitsX = glyphbitsFmArSz(arSzGlyphX);
    static const GlyphBits glyphbitsY = glyphbitsFmArSz(arSzGlyphY);
    static const GlyphBits glyphbitsZ = glyphbitsFmArSz(arSzGlyphZ);
    static const GlyphBits glyphbitsBlank{};
    switch (ch) {
        case 'X': return &glyphbitsX;
        case 'Y': return &glyphbitsY;
        case 'Z': return &glyphbitsZ;
        default: return &glyphbitsBlank;
    }
}

}  // namespace

const char* const* PmdspText::arSzGlyph(char ch) {
    switch (ch) {
        case 'X': return arSzGlyphX;
        case 'Y': return arSzGlyphY;
        case 'Z': return arSzGlyphZ;
        default: return nullptr;
    }
}

void PmdspText::display(const Pt3c& pt, const char* sz) {
    const int nCh = static_cast<int>(std::strlen(sz));
    // The pixel-store settings are the defaults, but the caller's context
    // may have others; they are put back afterwards.
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_ALIGNMENT, nBytRowGlyph);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_LSB_FIRST, GL_FALSE);
    glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
    glRasterPos3d(pt.fX, pt.fY, pt.fZ);
    // Every glyph is offset by half the text's width and height, and the
    // raster position steps one glyph width after each, so the text is
    // centred on the point.
    const float fXOrig = static_cast<float>(nCh * iPxDXGlyph) / 2.0f;
    const float fYOrig = static_cast<float>(iPxDYGlyph) / 2.0f;
    for (int iCh = 0; iCh < nCh; ++iCh) {
        glBitmap(iPxDXGlyph, iPxDYGlyph, fXOrig, fYOrig, static_cast<float>(iPxDXGlyph), 0.0f,
                 pglyphbitsOfCh(sz[iCh])->data());
    }
    glPopClientAttrib();
    checkGlErrorSzLocation("glBitmap()");
}

void PmdspCoordtriad::display() const {
    glDisable(GL_LIGHTING);
    glLineWidth(static_cast<float>(fWidthAxis));
    glBegin(GL_LINES);
    glColor3fv(clrFNear.arF());
    glVertex3d(0.0, 0.0, 0.0);
    glColor3fv(clrFFarAxis1.arF());
    glVertex3d(fLAxis1, 0.0, 0.0);
    glColor3fv(clrFNear.arF());
    glVertex3d(0.0, 0.0, 0.0);
    glColor3fv(clrFFarAxis2.arF());
    glVertex3d(0.0, fLAxis2, 0.0);
    glColor3fv(clrFNear.arF());
    glVertex3d(0.0, 0.0, 0.0);
    glColor3fv(clrFFarAxis3.arF());
    glVertex3d(0.0, 0.0, fLAxis3);
    glEnd();
    checkGlErrorSzLocation("glEnd()");

    const double fDLLabel = 0.5;  // labels sit this far beyond the tips
    glColor3fv(clrFFarAxis1.arF());
    PmdspText::display(Pt3c(fLAxis1 + fDLLabel, 0.0, 0.0), szLabelAxis1);
    glColor3fv(clrFFarAxis2.arF());
    PmdspText::display(Pt3c(0.0, fLAxis2 + fDLLabel, 0.0), szLabelAxis2);
    glColor3fv(clrFFarAxis3.arF());
    PmdspText::display(Pt3c(0.0, 0.0, fLAxis3 + fDLLabel), szLabelAxis3);
}

// ---- pieces of the scene -----------------------------------------------------------------

const ClrF& clrFPathAtFMs(const Vehicle* pvehicle, double fMs) {
    const double mE = pvehicle->fMsEmpty;
    const double mP = pvehicle->fMsGTO - pvehicle->fMsEmpty;
    const double mHi = mE + 0.25 * mP;
    const double mLo = mE + 0.05 * mP;
    if (fMs > mHi) return clrFPathHiProp;
    if (fMs > mLo) return clrFPathLoProp;
    return clrFPathEmpty;
}

void visitIStPlotPath(A1Val<double>& arFTiData, Long n, const std::function<void(Long)>& fn) {
    if (n <= 0) return;
    fn(1);
    double fTiNext = arFTiData[1] + fDTiPlotStPath;
    for (Long i = 2; i <= n; ++i) {
        if (arFTiData[i] >= fTiNext) {
            fn(i);
            fTiNext = arFTiData[i] + fDTiPlotStPath;
        }
    }
}

void visitSegGraticuleGnd(double fRad, A1Val<void*>* parPArPPtVtxPgnGnd,
                          const std::function<void(const Pt3c&, const Pt3c&)>& fn) {
    const double fPi = std::numbers::pi;
    const Long k = static_cast<Long>(std::lround(fRad * fPi));
    if (k < 2) return;
    // Each point is looked up once and kept for the segment that follows it.
    Pt3c ptPrev;
    bool bPrevOnGnd = false;
    for (Long j = 1; j <= k; ++j) {
        const double a = (j - 1) * fPi / (k - 1) - fPi / 2.0;
        const double x = fRad * std::cos(a);
        const double y = fRad * std::sin(a);
        Pt3c pt;
        const bool bOnGnd = bPtOnGndAtXY(&pt.fX, &pt.fY, &pt.fZ, x, y, parPArPPtVtxPgnGnd);
        if (j > 1 && bPrevOnGnd && bOnGnd) fn(ptPrev, pt);
        ptPrev = pt;
        bPrevOnGnd = bOnGnd;
    }
}

void arFGlFmX4h(double arF[16], const X4h& x4h) {
    for (int c = 1; c <= 4; ++c) {
        for (int r = 1; r <= 4; ++r) arF[4 * (c - 1) + (r - 1)] = x4h.mxF[r][c];
    }
}

namespace {

// The body's vertices and normals, built once on first use: for each
// surface a quad strip of nFacetVehicle + 1 pairs, pair j at the angle
// 2*pi*j/nFacetVehicle, the first vertex of a pair on the profile segment's
// start and the second on its end; and the legs' ends.
struct MeshVehicle {
    struct Vtx {
        float arFN[3];
        float arFPt[3];
    };
    static constexpr int nVtxSf = 2 * (nFacetVehicle + 1);
    Vtx arVtx[nSfRevVehicle][nVtxSf];
    float arFLegTop[nLegVehicle][3];
    float arFLegFoot[nLegVehicle][3];

    MeshVehicle() {
        const double fPi = std::numbers::pi;
        for (Long iSf = 0; iSf < nSfRevVehicle; ++iSf) {
            const SfRevVehicle& sf = arSfRevVehicle[iSf];
            const double fDRad = sf.fRadB - sf.fRadA;
            const double fDH = sf.fHB - sf.fHA;
            const double fL = std::sqrt(fDRad * fDRad + fDH * fDH);
            const double fNRad = fDH / fL;
            const double fNH = -fDRad / fL;
            for (int j = 0; j <= nFacetVehicle; ++j) {
                // The last pair repeats the first exactly, so the strip
                // closes without a crack.
                const double a = (j == nFacetVehicle) ? 0.0 : 2.0 * fPi * j / nFacetVehicle;
                const double fCos = std::cos(a);
                const double fSin = std::sin(a);
                for (int iEnd = 0; iEnd < 2; ++iEnd) {
                    const double fRad = iEnd == 0 ? sf.fRadA : sf.fRadB;
                    const double fH = iEnd == 0 ? sf.fHA : sf.fHB;
                    Vtx& vtx = arVtx[iSf][2 * j + iEnd];
                    vtx.arFN[0] = static_cast<float>(fNRad * fCos);
                    vtx.arFN[1] = static_cast<float>(fNRad * fSin);
                    vtx.arFN[2] = static_cast<float>(fNH);
                    vtx.arFPt[0] = static_cast<float>(fRad * fCos);
                    vtx.arFPt[1] = static_cast<float>(fRad * fSin);
                    vtx.arFPt[2] = static_cast<float>(fH);
                }
            }
        }
        // One leg towards body -y, the others 120 degrees on either side, so
        // that seen across the flight plane the legs stand symmetrically.
        for (Long iLeg = 0; iLeg < nLegVehicle; ++iLeg) {
            const double a = -fPi / 2.0 + 2.0 * fPi * iLeg / nLegVehicle;
            arFLegTop[iLeg][0] = static_cast<float>(fRad1LegVehicle * std::cos(a));
            arFLegTop[iLeg][1] = static_cast<float>(fRad1LegVehicle * std::sin(a));
            arFLegTop[iLeg][2] = static_cast<float>(fH1LegVehicle);
            arFLegFoot[iLeg][0] = static_cast<float>(fRad2LegVehicle * std::cos(a));
            arFLegFoot[iLeg][1] = static_cast<float>(fRad2LegVehicle * std::sin(a));
            arFLegFoot[iLeg][2] = static_cast<float>(fH2LegVehicle);
        }
    }
};

const MeshVehicle& meshVehicle() {
    static const MeshVehicle mesh;
    return mesh;
}

// Steps 3 to 5 of a frame: depth test, viewport, clear, projection, light.
void beginFrame(Pane* ppane, XfmCFmW3c* pxfmCFmW) {
    // The context may come from someone else (the window toolkit) or from
    // an earlier frame: switch off what could spoil this one.
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_STENCIL_TEST);
    glDisable(GL_ALPHA_TEST);
    glDisable(GL_FOG);
    glDisable(GL_COLOR_MATERIAL);
    glDisable(GL_LIGHTING);
    glDisable(GL_POLYGON_OFFSET_FILL);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    checkGlErrorSzLocation("glPolygonMode()");

    glEnable(GL_DEPTH_TEST);
    // The pane's corner is taken as its lower-left pixel in the drawable;
    // the program's panes fill their drawable, so it is (0, 0).
    glViewport(ppane->iPxXL, ppane->iPxYT, ppane->iPxDX, ppane->iPxDY);
    glClearColor(clrFBk.fR, clrFBk.fG, clrFBk.fB, 1.0f);
    glClearDepth(1.0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    checkGlErrorSzLocation("glClear()");

    double arF[16];
    arFGlFmX4h(arF, pxfmCFmW->x4hCFmW);
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(arF);
    checkGlErrorSzLocation("glLoadMatrixd()");

    glLightfv(GL_LIGHT0, GL_AMBIENT, arFAmbientLight);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, arFDiffuseLight);
    glLightfv(GL_LIGHT0, GL_SPECULAR, arFSpecularLight);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glLightfv(GL_LIGHT0, GL_POSITION, arFPositionLight);
    glLightf(GL_LIGHT0, GL_SPOT_CUTOFF, 180.0f);
    glEnable(GL_LIGHT0);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, arFAmbientLightModel);
    glShadeModel(GL_SMOOTH);
    glDepthFunc(GL_LESS);
    checkGlErrorSzLocation("glLightfv()");
}

// Step 7: the frame is handed on.
void endFrame() {
    glFlush();
    checkGlErrorSzLocation("glFlush()");
}

}  // namespace

// ---- drawing ---------------------------------------------------------------------------

void displayGround(A1Val<void*>* parPArPPtVtxPgnGnd) {
    A1Val<void*>& arPPgn = *parPArPPtVtxPgnGnd;

    // The strips, lit, pushed back a little in depth so that the graticule
    // and the triad drawn on them win.
    glEnable(GL_LIGHTING);
    ppmdspSfGnd->apply();
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(1.0f, 1.0f);
    for (Long iPgn = arPPgn.iFirst(); iPgn <= arPPgn.iLast(); ++iPgn) {
        auto* parPPtVtx = static_cast<A1Val<void*>*>(arPPgn[iPgn]);
        const Dr3c drN = dr3cPgnNormal(parPPtVtx);
        glBegin(GL_POLYGON);
        glNormal3d(drN.fX, drN.fY, drN.fZ);
        for (Long iVtx = parPPtVtx->iFirst(); iVtx <= parPPtVtx->iLast(); ++iVtx) {
            const auto* ppt = static_cast<const Pt3c*>((*parPPtVtx)[iVtx]);
            glVertex3d(ppt->fX, ppt->fY, ppt->fZ);
        }
        glEnd();
        checkGlErrorSzLocation("glEnd()");
    }
    glDisable(GL_POLYGON_OFFSET_FILL);
    glDisable(GL_LIGHTING);

    glLineWidth(1.0f);
    glColor3fv(clrFGraticuleGnd.arF());
    glBegin(GL_LINES);
    for (Long iRad = 0; iRad < nRadGraticuleGnd; ++iRad) {
        visitSegGraticuleGnd(arFRadGraticuleGnd[iRad], &arPPgn,
                             [](const Pt3c& ptA, const Pt3c& ptB) {
                                 glVertex3d(ptA.fX, ptA.fY, ptA.fZ);
                                 glVertex3d(ptB.fX, ptB.fY, ptB.fZ);
                             });
    }
    glEnd();
    checkGlErrorSzLocation("glEnd()");
}

namespace {

// Work buffers of one vehicle drawing.
struct BatchVehicle {
    std::vector<double> arFPlace;  // per vehicle the rows 1..3 of its placement, 12 values
    std::vector<float> arFSf;      // normal and point per vertex
    std::vector<float> arFLine;    // colour and point per vertex
    std::vector<Stvehicle3dof*> arPStPlot;
};

void pushPlaced(std::vector<float>& arF, const double* arFPlace, const float* arFA,
                const float* arFPt, bool bRotateOnlyA) {
    // arFA is a normal (rotated only) or a colour (kept); arFPt is a point
    // of the body, placed.
    for (int r = 0; r < 3; ++r) {
        const double* m = arFPlace + 4 * r;
        arF.push_back(bRotateOnlyA
                          ? static_cast<float>(m[0] * arFA[0] + m[1] * arFA[1] + m[2] * arFA[2])
                          : arFA[r]);
    }
    for (int r = 0; r < 3; ++r) {
        const double* m = arFPlace + 4 * r;
        arF.push_back(static_cast<float>(m[0] * arFPt[0] + m[1] * arFPt[1] + m[2] * arFPt[2] + m[3]));
    }
}

}  // namespace

void displayVehicles(Stvehicle3dof* const* arPSt, Long n) {
    if (n <= 0) return;
    const MeshVehicle& mesh = meshVehicle();
    BatchVehicle batch;

    batch.arFPlace.resize(static_cast<size_t>(12 * n));
    for (Long v = 0; v < n; ++v) {
        const X4h x4hFFmB = xgmFFmB_Fm_PStvehicle3dof(arPSt[v]);
        for (int r = 1; r <= 3; ++r) {
            for (int c = 1; c <= 4; ++c)
                batch.arFPlace[static_cast<size_t>(12 * v + 4 * (r - 1) + (c - 1))] =
                    x4hFFmB.mxF[r][c];
        }
    }

    // Client-side arrays: no buffer object may be bound while they are in
    // use, and the caller's array settings come back afterwards.
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_EDGE_FLAG_ARRAY);
    glDisableClientState(GL_INDEX_ARRAY);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    const GLsizei nBytVtx = 6 * sizeof(float);

    // One triangle strip per body surface for all the vehicles: each
    // vehicle's quad strip is a triangle strip of even length, and two
    // repeated vertices join it to the next one with empty triangles. So the
    // whole batch costs seven draws, however many vehicles it holds.
    glEnable(GL_LIGHTING);
    batch.arFSf.reserve(static_cast<size_t>(6 * n * (MeshVehicle::nVtxSf + 2)));
    for (Long iSf = 0; iSf < nSfRevVehicle; ++iSf) {
        batch.arFSf.clear();
        const MeshVehicle::Vtx* arVtx = mesh.arVtx[iSf];
        const int nVtx = MeshVehicle::nVtxSf;
        for (Long v = 0; v < n; ++v) {
            const double* arFPlace = &batch.arFPlace[static_cast<size_t>(12 * v)];
            if (v > 0) {
                const double* arFPlacePrev = &batch.arFPlace[static_cast<size_t>(12 * (v - 1))];
                pushPlaced(batch.arFSf, arFPlacePrev, arVtx[nVtx - 1].arFN,
                           arVtx[nVtx - 1].arFPt, true);
                pushPlaced(batch.arFSf, arFPlace, arVtx[0].arFN, arVtx[0].arFPt, true);
            }
            for (int k = 0; k < nVtx; ++k)
                pushPlaced(batch.arFSf, arFPlace, arVtx[k].arFN, arVtx[k].arFPt, true);
        }
        arSfRevVehicle[iSf].ppmdsp->apply();
        glNormalPointer(GL_FLOAT, nBytVtx, batch.arFSf.data());
        glVertexPointer(3, GL_FLOAT, nBytVtx, batch.arFSf.data() + 3);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, static_cast<GLsizei>(batch.arFSf.size() / 6));
        checkGlErrorSzLocation("glDrawArrays()");
    }
    glDisable(GL_LIGHTING);
    glDisableClientState(GL_NORMAL_ARRAY);

    // Legs, and the thrust vector: it leaves the engine at the centre of the
    // bottom and points along the exhaust, its length showing the actual
    // thrust.
    batch.arFLine.clear();
    batch.arFLine.reserve(static_cast<size_t>(6 * n * (2 * nLegVehicle + 2)));
    for (Long v = 0; v < n; ++v) {
        const double* arFPlace = &batch.arFPlace[static_cast<size_t>(12 * v)];
        for (Long iLeg = 0; iLeg < nLegVehicle; ++iLeg) {
            pushPlaced(batch.arFLine, arFPlace, clrFLegVehicle.arF(), mesh.arFLegTop[iLeg], false);
            pushPlaced(batch.arFLine, arFPlace, clrFLegVehicle.arF(), mesh.arFLegFoot[iLeg],
                       false);
        }
        const double fLThrust = arPSt[v]->fFcThrustAct * fLThrustVcPerFcVehicle;
        if (fLThrust > 0.0) {
            const float arFEngine[3] = {0.0f, 0.0f, static_cast<float>(fH1Vehicle)};
            const float arFEnd[3] = {0.0f, 0.0f, static_cast<float>(fH1Vehicle - fLThrust)};
            pushPlaced(batch.arFLine, arFPlace, clrFThrustVcVehicle.arF(), arFEngine, false);
            pushPlaced(batch.arFLine, arFPlace, clrFThrustVcVehicle.arF(), arFEnd, false);
        }
    }
    glEnableClientState(GL_COLOR_ARRAY);
    glColorPointer(3, GL_FLOAT, nBytVtx, batch.arFLine.data());
    glVertexPointer(3, GL_FLOAT, nBytVtx, batch.arFLine.data() + 3);
    glLineWidth(2.0f);
    glDrawArrays(GL_LINES, 0, static_cast<GLsizei>(batch.arFLine.size() / 6));
    checkGlErrorSzLocation("glDrawArrays()");

    glPopClientAttrib();
    checkGlErrorSzLocation("glPopClientAttrib()");
}

void displayVehicle(Stvehicle3dof* pstvehicle3dof) { displayVehicles(&pstvehicle3dof, 1); }

void displayPath(Vehicle* pvehicle, A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle) {
    const Long n = arPStvehicle.n();
    if (n == 0) return;

    glDisable(GL_LIGHTING);
    glLineWidth(2.0f);
    glBegin(GL_LINE_STRIP);
    for (Long i = 1; i <= n; ++i) {
        const auto* pst = static_cast<const Stvehicle3dof*>(arPStvehicle[i]);
        glColor3fv(clrFPathAtFMs(pvehicle, pst->fMs).arF());
        glVertex3d(pst->fXf, 0.0, pst->fZf);
    }
    glEnd();
    checkGlErrorSzLocation("glEnd()");

    std::vector<Stvehicle3dof*> arPStPlot;
    visitIStPlotPath(arFTiData, n, [&arPStvehicle, &arPStPlot](Long i) {
        arPStPlot.push_back(static_cast<Stvehicle3dof*>(arPStvehicle[i]));
    });
    displayVehicles(arPStPlot.data(), static_cast<Long>(arPStPlot.size()));
}

void displayPlanPath(const double* arFX, const double* arFZ, Long n) {
    if (n < 2) return;
    glDisable(GL_LIGHTING);
    glEnable(GL_DEPTH_TEST);
    // On the ground at its ends, the path lies in the ground's own depth.
    glDepthFunc(GL_LEQUAL);
    glLineWidth(1.0f);
    glLineStipple(1, 0x00ff);  // pattern bits, low first: 8 on, 8 off at factor 1
    glEnable(GL_LINE_STIPPLE);
    glColor3fv(clrFPlanPath.arF());
    glBegin(GL_LINE_STRIP);
    for (Long i = 0; i < n; ++i) glVertex3d(arFX[i], 0.0, arFZ[i]);
    glEnd();
    glDisable(GL_LINE_STIPPLE);
    glDepthFunc(GL_LESS);
    glFlush();
    checkGlErrorSzLocation("glEnd()");
}

void displayStInPane(Pane* ppane, XfmCFmW3c* pxfmCFmW, XfmPFmC3c* pxfmPFmC,
                     A1Val<void*>* parPArPPtVtxPgnGnd, Stvehicle3dof* pstvehicle3dof) {
    // The pane transform is carried by the viewport.
    (void)pxfmPFmC;
    beginFrame(ppane, pxfmCFmW);
    pmdspCoordtriadScene.display();
    displayGround(parPArPPtVtxPgnGnd);
    displayVehicle(pstvehicle3dof);
    endFrame();
}

void displayPathInPane(Pane* ppane, XfmCFmW3c* pxfmCFmW, XfmPFmC3c* pxfmPFmC,
                       A1Val<void*>* parPArPPtVtxPgnGnd, Vehicle* pvehicle,
                       A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle) {
    (void)pxfmPFmC;
    beginFrame(ppane, pxfmCFmW);
    pmdspCoordtriadScene.display();
    displayGround(parPArPPtVtxPgnGnd);
    displayPath(pvehicle, arFTiData, arPStvehicle);
    endFrame();
}
