// Ground polygons and terrain queries.
//
// The ground is a list of flat polygons in 3-D: an A1Val<void*> over 1..nPgn
// whose elements point to polygons, each an A1Val<void*> over 1..nVtx whose
// elements point to Pt3c vertices in order around the polygon (the program's
// own ground is arPArPPtVtxPgnGnd, sim/params.h). Nothing here allocates or
// frees polygons; callers keep ownership.
//
// A plane is a*x + b*y + c*z + d = 0 with (a, b, c) not normalised. For
// polygons wound like the program's ground, c > 0 (the normal points up), so
// a negative value of a*x + b*y + c*z + d means below the plane.
//
// The two queries the rest of the program asks:
//   - bPtAtOrBelowPArPArPPtVtxPgnGnd: is a point at or below the ground, and
//     if so, where is the ground point under it and what is its normal
//     (the vehicle dynamics);
//   - bPtOnGndAtXY: the ground height at (x, y) (display and placement).
// Both try the polygons in index order and the first that qualifies wins;
// when none does they return false and leave every output unwritten.
#pragma once

#include "core/array.h"
#include "geom/geom3c.h"

// Plane of a polygon by Newell's method: over the edges i -> i+1 (and the
// last back to the first), a = sum (yi - yj)(zi + zj), b = sum (zi - zj)(xi
// + xj), c = sum (xi - xj)(yi + yj); d = -(a*xm + b*ym + c*zm) with (xm, ym,
// zm) the mean of the vertices. No guard: a polygon with no vertices gives
// a not-a-number d. Computed afresh on every call; for many queries of an
// unchanged ground, take the planes once with bPlnsGndFm (below).
void plnEqnPgn(double* pa, double* pb, double* pc, double* pd, A1Val<void*>* parPPtVtx);

// Unit normal of a polygon: the Newell sums above, normalised (a degenerate
// polygon fails the direction's "fNorm != 0.0" assertion).
Dr3c dr3cPgnNormal(A1Val<void*>* parPPtVtx);

// Foot of the perpendicular from (x, y, z) to the plane (a, b, c, d).
void ptAtFootOfPerp(double* px, double* py, double* pz, double x, double y, double z, double a,
                    double b, double c, double d);

// 2-D point-in-polygon by winding angle: the polygon's vertices are
// (parX[i], parY[i]) over the arrays' common index range. Inside when the
// summed turning angle is at least pi in magnitude. A polygon with no
// vertices, and a point exactly on a vertex (the sum is then not a number),
// are outside. A point exactly on an edge may go either way.
bool bPt2dInsidePgn(double x, double y, A1Val<double>* parX, A1Val<double>* parY);

// Point (lying in the polygon's plane (a, b, c, d)) inside the polygon: the
// 2-D rule in the two coordinates other than the one along which the normal
// is largest, ties going to x, then y, then z. A not-a-number normal is an
// assertion failure.
bool bPt3dInsidePgn(double x, double y, double z, double a, double b, double c, double d,
                    A1Val<void*>* parPPtVtx);

// Ground contact: for each polygon in index order, if (x, y, z) is on or
// below its plane and the foot of the perpendicular lies inside it, writes
// the foot and the plane's unit normal and returns true.
bool bPtAtOrBelowPArPArPPtVtxPgnGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd,
                                    double* pdxNGnd, double* pdyNGnd, double* pdzNGnd, double x,
                                    double y, double z, A1Val<void*>* parPArPPtVtxPgnGnd);

// The planes of a ground's polygons, computed once by plnEqnPgn for a caller
// that asks many contact queries of a ground that does not change meanwhile
// (the vehicle model, once per flight), with what the contact query derives
// from them alone: each plane's unit normal and, for polygons of up to
// nVtxMax vertices, the vertices in the two coordinates of the inside test
// (bPt3dInsidePgn's choice, which depends on the plane only).
struct PlnsGnd {
    static constexpr Long nPgnMax = 16;
    static constexpr Long nVtxMax = 8;
    A1Val<void*>* parPArPPtVtxPgnGnd;  // the ground they were computed for
    Long nPgn;                         // its number of polygons
    double aafPln[nPgnMax][4];         // a, b, c, d of each, in index order
    // Dr3c(a, b, c) of each, where abNrm says its length is not zero (the
    // others are normalised at the query, failing there as they always did).
    bool abNrm[nPgnMax];
    double aafNrm[nPgnMax][3];
    // The inside test's coordinates: 0 (y, z), 1 (z, x), 2 (x, y), or -1 to
    // test through the polygon itself (more than nVtxMax vertices, or a
    // normal that is not a number); then the vertices in order.
    int aiAxes[nPgnMax];
    Long anVtx[nPgnMax];
    double aafU[nPgnMax][nVtxMax];
    double aafV[nPgnMax][nVtxMax];
    // The vertices' box in those coordinates (u min, u max, v min, v max),
    // when every coordinate is within 1e70 in magnitude (abBox), and whether
    // the polygon is that box, its four corners in order around it (abRect):
    // the query then answers a point well clear of the box's edges from the
    // box alone (see iPgnAtOrBelowPlnsGnd).
    bool abBox[nPgnMax];
    bool abRect[nPgnMax];
    double aafBox[nPgnMax][4];
    // a, b, c, d again, one array each (zero past nPgn), and a*a + b*b + c*c
    // of each plane, for the query's loops over all polygons at once.
    double aafPlnByCoef[4][nPgnMax];
    double afNormSq[nPgnMax];
};

// Computes the planes of every polygon of the ground into *pplns. False
// (and *pplns unusable) for a ground of more than PlnsGnd::nPgnMax polygons.
bool bPlnsGndFm(PlnsGnd* pplns, A1Val<void*>* parPArPPtVtxPgnGnd);

// The contact query with the planes taken from plns, which must have been
// computed for this ground as it is now; the answer is then exactly that of
// bPtAtOrBelowPArPArPPtVtxPgnGnd.
bool bPtAtOrBelowPlnsGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd, double* pdxNGnd,
                         double* pdyNGnd, double* pdzNGnd, double x, double y, double z,
                         PlnsGnd const& plns);

// The same query answering with the polygon found: its position in the
// ground (0 for the first), or -1 for none. Its normal is that of
// bPtAtOrBelowPlnsGnd, Dr3c of the plane's a, b, c.
Long iPgnAtOrBelowPlnsGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd, double x, double y,
                          double z, PlnsGnd const& plns);

// Ground height: the first polygon whose projection onto x-y contains
// (x, y) gives (x, y, -(a*x + b*y + d)/c). A vertical polygon (c = 0) is not
// guarded against.
bool bPtOnGndAtXY(double* pxGnd, double* pyGnd, double* pzGnd, double x, double y,
                  A1Val<void*>* parPArPPtVtxPgnGnd);

// The same query with the planes taken from plns, which must have been
// computed for the ground as it is now: the same answer, bit for bit, without
// forming a plane on each call. For a caller that asks the height of one
// ground many times (the hop design's clearance, the terrain line of the
// view).
bool bPtOnGndAtXY(double* pxGnd, double* pyGnd, double* pzGnd, double x, double y,
                  PlnsGnd const& plns);
