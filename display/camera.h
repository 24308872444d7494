// Camera and pane transforms: how a world point reaches a pixel.
//
// XfmCFmW3c (camera from world) is a camera -- eye point, look and up
// directions, a view volume, perspective or orthographic -- together with
// one X4h that takes world coordinates straight to normalised view
// coordinates, each axis running from -1 to 1 over the view volume (depth
// -1 at the near plane, +1 at the far plane). The camera looks along its own
// negative Z axis. XfmPFmC3c (pane from camera) holds the pixel rectangle
// those normalised coordinates are spread over; the drawing code hands it to
// the graphics library's viewport, which flips y (pixel rows grow
// downwards, normalised y upwards).
//
// Plain C++ on the geometry library: no graphics or window code here.
// Records are values; nothing is handed out on the heap.
#pragma once

#include "core/types.h"
#include "geom/geom3c.h"
#include "geom/geom4h.h"

// A pixel rectangle of the window: width, height, left and top, in pixels.
struct Pane {
    Long iPxDX = 0;
    Long iPxDY = 0;
    Long iPxXL = 0;
    Long iPxYT = 0;
};

class XfmCFmW3c {
public:
    // An unset record: eye at the origin, both directions (1, 0, 0), all
    // bounds 0, perspective, and a zero transform without inverse.
    XfmCFmW3c();

    Pt3c ptEye;   // eye point, world coordinates
    Dr3c drLook;  // viewing direction
    Dr3c drUp;    // up (need not be perpendicular to drLook)
    double fL;    // view window at the near plane: left, right,
    double fR;
    double fB;  // bottom, top
    double fT;
    double fN;  // near and far distances along drLook
    double fF;
    bool bOrtho;  // orthographic rather than perspective
    X4h x4hCFmW;  // world -> normalised view coordinates
};

class XfmPFmC3c {
public:
    XfmPFmC3c() : fXMin(0.0f), fYMin(0.0f), fDX(0.0f), fDY(0.0f) {}

    float fXMin;  // left pixel
    float fYMin;  // top pixel
    float fDX;    // width in pixels
    float fDY;    // height in pixels
};

// Builds the camera: x4hCFmW = P * R * T, with T = x4hTrans(eye) (the eye
// subtracted), R = x4hRotDrZYNew(-drLook, drUp) (camera Z opposite to the
// look, camera Y in the plane of that axis and drUp) and P the perspective
// or orthographic projection of the window [fL, fR] x [fB, fT] at the near
// plane and depths fN..fF. P is inverted by elimination; a singular P (a
// perspective camera with fN = 0) leaves x4hCFmW.bInv false.
// Requires fR - fL > 0, fT - fB > 0, fN >= 0 and fF >= fN, otherwise
// cantHappen("invalid parameter in xfmCFmW3cFm()") ends the program. fF equal
// to fN passes this check but makes the depth row divide by zero (infinite
// or NaN elements). drLook parallel to drUp fails the assertion
// "fNorm != 0.0".
XfmCFmW3c xfmCFmW3cFm(Pt3c ptEye, Dr3c drLook, Dr3c drUp, double fL, double fR, double fB,
                      double fT, double fN, double fF, unsigned char bOrtho);

// Stores the four values as float.
XfmPFmC3c xfmPFmC3cFm(double fXMin, double fYMin, double fDX, double fDY);
// From a pane: left, top, width, height.
XfmPFmC3c xfmPFmC3cFm(Pane const& pane);

// Cameras whose view window has the pane's aspect ratio (height / width =
// fDY / fDX of the pane), centred on the look axis:
//   MatchArFDX: the window is fDX wide (fL = -fDX/2, fR = fDX/2) and
//               fDX * (pane fDY / pane fDX) high;
//   MatchArFDY: the window is fDY high and fDY * (pane fDX / pane fDY) wide.
// The pane must have a positive width and height; otherwise the bounds are
// invalid and xfmCFmW3cFm ends the program.
XfmCFmW3c xfmCFmW3cMatchArFDX(XfmPFmC3c const& xfmPFmC, Pt3c ptEye, Dr3c drLook, Dr3c drUp,
                              double fDX, double fN, double fF, unsigned char bOrtho);
XfmCFmW3c xfmCFmW3cMatchArFDY(XfmPFmC3c const& xfmPFmC, Pt3c ptEye, Dr3c drLook, Dr3c drUp,
                              double fDY, double fN, double fF, unsigned char bOrtho);
// The same camera with its existing window widened (AtLeast: everything
// seen before is still seen) or narrowed (AtMost: nothing outside the old
// window comes into view) in one direction until it has the pane's aspect
// ratio, about the window's centre. The arguments are not changed; the new
// record is returned.
XfmCFmW3c xfmCFmW3cMatchArAtLeast(XfmCFmW3c const& xfmCFmW, XfmPFmC3c const& xfmPFmC);
XfmCFmW3c xfmCFmW3cMatchArAtMost(XfmCFmW3c const& xfmCFmW, XfmPFmC3c const& xfmPFmC);
