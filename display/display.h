// Scene drawing: one frame of the 3-D view with fixed-function OpenGL.
//
// Two paint operations draw a whole frame into the OpenGL context that is
// current when they are called (the window's, or an offscreen one):
//   - displayStInPane: the coordinate triad, the ground and the vehicle in
//     one state;
//   - displayPathInPane: the triad, the ground and a stored run -- its track
//     coloured by the propellant left, with the vehicle drawn at the first
//     state and then once per second of flight time.
// Both clear the pane to clrFBk, load the camera's world-to-normalised
// matrix as the projection (the model-view matrix stays the identity, so
// the light is fixed in the world), set up light 0 and draw. They set every
// piece of OpenGL state they rely on, so whatever the context did before
// does not matter; they leave lighting off and the model-view matrix at the
// identity. OpenGL errors are reported to the log after the calls that may
// raise them (see display/glcheck.h); drawing never stops the program.
//
// The pieces (displayGround, displayVehicle, displayPath) draw into the
// current context with whatever projection is loaded.
//
// The scene settings below are fixed for the whole run. The ground is the
// program's ground polygons (arPArPPtVtxPgnGnd), read at every frame.
//
// Stored runs: sample times arFTiData and record pointers arPStvehicle are
// both indexed 1..n (n = arPStvehicle.n(), 0 for no run); the records stay
// the caller's.
#pragma once

#include <functional>

#include "core/array.h"
#include "display/camera.h"
#include "display/clr.h"
#include "geom/geom3c.h"
#include "sim/params.h"

// ---- display primitives -----------------------------------------------------------

// A lighting material: what a lit surface reflects of the light, and what
// it emits by itself.
class PmdspSf3cLighting {
public:
    ClrF clrFAmbient;
    ClrF clrFDiffuse;
    ClrF clrFSpecular;
    ClrF clrFEmission;
    float fShininess;  // specular exponent, 0..128

    // Makes this the material of front and back faces.
    void apply() const;
};

// Text drawn at a point of the world with a fixed 16-pixel-high monospace
// bitmap font, centred on the point and facing the viewer. Only the glyphs
// the scene needs exist ("X", "Y", "Z"); other characters leave a blank.
// Text at a point outside the view is not drawn at all.
class PmdspText {
public:
    static constexpr int iPxDXGlyph = 12;
    static constexpr int iPxDYGlyph = 16;

    // Draws sz in the current colour (lighting must be off).
    static void display(const Pt3c& pt, const char* sz);

    // The glyph of a character as iPxDYGlyph rows, top row first, each a
    // string of iPxDXGlyph characters ('#' set, '.' clear); null when the
    // font has no glyph for it.
    static const char* const* arSzGlyph(char ch);
};

// The coordinate triad at the world origin: three axes as wide lines, each
// shading from clrFNear at the origin to its own far colour at its tip, and
// a label 0.5 m beyond each tip.
class PmdspCoordtriad {
public:
    double fWidthAxis;
    double fLAxis1, fLAxis2, fLAxis3;  // lengths along x, y and z, m
    const char* szLabelAxis1;
    const char* szLabelAxis2;
    const char* szLabelAxis3;
    ClrF clrFNear;
    ClrF clrFFarAxis1, clrFFarAxis2, clrFFarAxis3;

    void display() const;
};

// ---- scene settings ------------------------------------------------------------------

extern const ClrF clrFBk;  // clear colour, (0.5, 0.25, 0.25)

extern const float arFAmbientLight[4];   // light 0: (0, 0, 0, 0)
extern const float arFDiffuseLight[4];   // (1, 1, 1, 1)
extern const float arFSpecularLight[4];  // (1, 1, 1, 1)
extern const float arFPositionLight[4];  // (0.1, -1, 0.5, 0): directional
extern const float arFAmbientLightModel[4];  // the light model's ambient colour

extern const ClrF clrFGraticuleGnd;  // (0.5, 0, 0)
extern const Long nRadGraticuleGnd;  // 4
extern const double arFRadGraticuleGnd[4];  // 10, 20, 30, 40 m

extern const ClrF clrFPathHiProp;  // (0, 1, 0): more than a quarter of the propellant left
extern const ClrF clrFPathLoProp;  // (1, 1, 0): between a twentieth and a quarter
extern const ClrF clrFPathEmpty;   // (1, 0, 0): a twentieth or less
extern const double fDTiPlotStPath;  // 1.0 s between vehicle drawings along a track

extern const ClrF clrFLegVehicle;       // (0, 0, 0)
extern const ClrF clrFThrustVcVehicle;  // (0.8, 0.8, 1.0)

// Vehicle dimensions, m: heights above the foot of the legs and radii about
// the thrust axis.
extern const double fH1Vehicle, fH2Vehicle, fH3Vehicle, fH4Vehicle, fH5Vehicle;
extern const double fRad0Vehicle, fRad1Vehicle, fRad2Vehicle, fRad3Vehicle, fRad4Vehicle;
extern const Long nLegVehicle;                          // 3
extern const double fRad1LegVehicle, fH1LegVehicle;     // leg top: 0.182 at 0.445
extern const double fRad2LegVehicle, fH2LegVehicle;     // leg foot: 0.412 at 0.0
// Length of the drawn thrust vector per newton of actual thrust, m/N (1 m
// per 500 N, so full thrust shows about 3 m below the vehicle).
extern const double fLThrustVcPerFcVehicle;

// Materials of the ground and of the vehicle's body surfaces.
extern const PmdspSf3cLighting* const ppmdspSfGnd;
extern const PmdspSf3cLighting* const ppmdspSfVehicleBot;
extern const PmdspSf3cLighting* const ppmdspSfVehicleSkirtVert;
extern const PmdspSf3cLighting* const ppmdspSfVehicleSkirtSlant;
extern const PmdspSf3cLighting* const ppmdspSfVehicleSkirtTop;
extern const PmdspSf3cLighting* const ppmdspSfVehicleDomeVert;
extern const PmdspSf3cLighting* const ppmdspSfVehicleDomeSlant;
extern const PmdspSf3cLighting* const ppmdspSfVehicleDomeTop;

// The triad of the scene: width 3, lengths 16, 16 and 6 m, labels "X", "Y",
// "Z".
extern const PmdspCoordtriad pmdspCoordtriadScene;

// ---- the vehicle's body ------------------------------------------------------------------

// One surface of revolution of the body: the profile segment from radius
// fRadA at height fHA to radius fRadB at height fHB, turned about the body z
// axis. The profile runs anticlockwise in (radius, height), so the outward
// normal of the segment is (fHB - fHA, -(fRadB - fRadA)), normalised.
struct SfRevVehicle {
    double fRadA, fHA;
    double fRadB, fHB;
    const PmdspSf3cLighting* ppmdsp;
};

// The seven surfaces, from the bottom disc round to the dome top: bottom,
// vertical skirt, slanted skirt, skirt top, vertical dome, slanted dome,
// dome top. Together they close the body.
constexpr Long nSfRevVehicle = 7;
extern const SfRevVehicle arSfRevVehicle[nSfRevVehicle];

// Number of facets round the body.
constexpr Long nFacetVehicle = 16;

// ---- pieces of the scene that tests and tools can ask for -------------------------------

// The track colour for a mass: thresholds mHi = mE + 0.25*mP and mLo = mE +
// 0.05*mP with mE = fMsEmpty and mP = fMsGTO - fMsEmpty; above mHi
// clrFPathHiProp, else above mLo clrFPathLoProp, else clrFPathEmpty.
const ClrF& clrFPathAtFMs(const Vehicle* pvehicle, double fMs);

// Calls fn(i) for each state i of 1..n at which the track shows the
// vehicle: state 1, then each state whose time arFTiData[i] has reached the
// previous drawn state's time + fDTiPlotStPath. Nothing for n = 0.
void visitIStPlotPath(A1Val<double>& arFTiData, Long n, const std::function<void(Long)>& fn);

// Calls fn(ptA, ptB) for each drawn segment of the graticule ring of radius
// fRad: k = round(fRad*pi) points on the half circle x >= 0 from -90 to +90
// degrees, each put on the ground with bPtOnGndAtXY; a segment is drawn only
// when both its ends lie over ground. Rings smaller than a metre (k < 2)
// have no segment.
void visitSegGraticuleGnd(double fRad, A1Val<void*>* parPArPPtVtxPgnGnd,
                          const std::function<void(const Pt3c&, const Pt3c&)>& fn);

// The projection matrix OpenGL is given for a camera: x4hCFmW column by
// column (arF[4*(c-1) + (r-1)] = mxF[r][c]).
void arFGlFmX4h(double arF[16], const X4h& x4h);

// ---- drawing ---------------------------------------------------------------------------

// A frame of the scene over the ground parPArPPtVtxPgnGnd (a scenario's):
// the vehicle in one state, or a stored run's track.
void displayStInPane(Pane* ppane, XfmCFmW3c* pxfmCFmW, XfmPFmC3c* pxfmPFmC,
                     A1Val<void*>* parPArPPtVtxPgnGnd, Stvehicle3dof* pstvehicle3dof);
void displayPathInPane(Pane* ppane, XfmCFmW3c* pxfmCFmW, XfmPFmC3c* pxfmPFmC,
                       A1Val<void*>* parPArPPtVtxPgnGnd, Vehicle* pvehicle,
                       A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);

// The ground polygons, lit, with polygon offset, and the graticule rings.
void displayGround(A1Val<void*>* parPArPPtVtxPgnGnd);
// The vehicle in a state: lit body, legs, thrust vector, placed by
// xgmFFmB_Fm_PStvehicle3dof.
void displayVehicle(Stvehicle3dof* pstvehicle3dof);
// The vehicle in n states at once (arPSt[0..n-1], the caller's records):
// the same picture as displayVehicle for each, drawn in eight batches.
void displayVehicles(Stvehicle3dof* const* arPSt, Long n);
// The track of a stored run and the vehicle along it; nothing for n = 0.
void displayPath(Vehicle* pvehicle, A1Val<double>& arFTiData, A1Val<void*>& arPStvehicle);

// The planned path, an overlay the window may add to a finished frame (View
// > Show plan path; off by default, so the scene and its capture are the ones
// above): the points (arFX[i], 0, arFZ[i]), i = 0 .. n-1, joined by a
// one-pixel line in clrFPlanPath, dashed (8 pixels on, 8 off), depth-tested
// with the frame's depth buffer so the ground hides what lies behind it.
// Draws with the projection the frame loaded; nothing for n < 2.
extern const ClrF clrFPlanPath;  // (0.85, 0.92, 1.0): a pale blue-white
void displayPlanPath(const double* arFX, const double* arFZ, Long n);
