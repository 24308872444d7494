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

#include <bit>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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
    // Flat (a = b = 0 exactly), tested in (x, y) with a box, and with
    // a*a + b*b + c*c at least 1e-8: the foot's x and y are then the point's
    // own, and the query tries the box on them before the foot.
    bool abFlatBox[nPgnMax];
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
// bPtAtOrBelowPlnsGnd, Dr3c of the plane's a, b, c. Defined in line at the
// end of this header: the flight asks it in every derivative evaluation.
inline Long iPgnAtOrBelowPlnsGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd, double x,
                                 double y, double z, PlnsGnd const& plns);

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

// ---- the contact query with the planes taken once ---------------------------------

namespace ground_detail {

// Bounds of the box shortcut: a clear margin from the box's edges, and the
// magnitude within which every coordinate must lie.
inline constexpr double fMarginBox = 1e-6;
inline constexpr double fCoordBoxMax = 1e70;
// Bounds of the flat polygons' shortcut (see iPgnAtOrBelowPlnsGnd).
inline constexpr double fNormSqFlatMin = 1e-8;
inline constexpr double fEqFlatMax = 1e300;

// The winding rule for polygon k of plns at (u0, v0), in its test
// coordinates; and bPt3dInsidePgn for polygon k (ground.cpp).
bool bInsideByWindingOfPlns(PlnsGnd const& plns, Long k, double u0, double v0);
bool bPt3dInsidePgnOfPlns(PlnsGnd const& plns, Long k, double x, double y, double z);

// The winding rule's answer for polygon k of plns at (u0, v0), from the box
// alone where it can be had.
//
// Outside: when the point is more than fMarginBox beyond an edge of the box
// (say uMin - u0 > 1e-6, computed), every vertex is at least about 1e-6 from
// it along that axis and at most about 4e70 from it (all coordinates within
// 1e70), so each squared distance lies between 1e-12 and 1e142: the rule's
// scaling check holds for every vertex, and its box test answers "outside".
//
// Inside: when the polygon is the box's four corners in order and the point
// lies more than fMarginBox inside every edge, the scaling check holds as
// above and the box test passes. For each edge p = vi - P, q = vj - P share
// one coordinate (an edge along u: py = qy != 0) while the other has opposite
// signs (px < 0 < qx or the reverse), so px*qy and qx*py have opposite signs
// (or, along v, the same argument with the roles exchanged): the computed
// cross product px*qy - qx*py adds two magnitudes of one sign, which is
// exactly the computed |px*qy| + |qx*py| with that sign. It is therefore
// beyond 1e-15 times that scale, with the sign of the exact cross product,
// which is the same for all four edges of a box gone round one way. The
// rule's "every edge turning the same way" answers "inside".
//
// Otherwise (near an edge, far away, not a number) the rule runs.
[[gnu::always_inline]] inline bool bInsidePgnOfPlns(PlnsGnd const& plns, Long k, double u0,
                                                  double v0) {
    if (plns.abBox[k] && std::fabs(u0) <= fCoordBoxMax && std::fabs(v0) <= fCoordBoxMax) {
        const double* afBox = plns.aafBox[k];
        if (afBox[0] - u0 > fMarginBox || u0 - afBox[1] > fMarginBox ||
            afBox[2] - v0 > fMarginBox || v0 - afBox[3] > fMarginBox)
            return false;
        if (plns.abRect[k] && u0 - afBox[0] > fMarginBox && afBox[1] - u0 > fMarginBox &&
            v0 - afBox[2] > fMarginBox && afBox[3] - v0 > fMarginBox)
            return true;
    }
    return bInsideByWindingOfPlns(plns, k, u0, v0);
}

}  // namespace ground_detail

[[gnu::always_inline]] inline Long iPgnAtOrBelowPlnsGnd(double* pxAtGnd, double* pyAtGnd,
                                                      double* pzAtGnd, double x, double y,
                                                      double z, PlnsGnd const& plns) {
    using namespace ground_detail;
    VT_ASSERT(plns.parPArPPtVtxPgnGnd->n() == plns.nPgn && plns.nPgn <= PlnsGnd::nPgnMax);
    // bPtAtOrBelowGnd's loop with the planes and the inside test's vertices
    // read from plns: the same numbers in the same order, so the same answer.
    // The plane equation at the point is evaluated for every polygon first,
    // with no early exit (so the loop runs on vectors; each value is the
    // same expression as before), and only polygons with the point on or
    // below their plane are visited, in index order.
    double afPlnEqnAtPt[PlnsGnd::nPgnMax];
    unsigned iPgnsBelow = 0;
    const double* afA = plns.aafPlnByCoef[0];
    const double* afB = plns.aafPlnByCoef[1];
    const double* afC = plns.aafPlnByCoef[2];
    const double* afD = plns.aafPlnByCoef[3];
#ifdef __SSE2__
    // Two polygons at a time (the arrays are zero past nPgn): each lane
    // multiplies and adds as the scalar expression does, in the same order.
    const __m128d x2 = _mm_set1_pd(x), y2 = _mm_set1_pd(y), z2 = _mm_set1_pd(z);
    for (Long k = 0; k < plns.nPgn; k += 2) {
        const __m128d fEq2 = _mm_add_pd(
            _mm_add_pd(_mm_add_pd(_mm_mul_pd(_mm_loadu_pd(afA + k), x2),
                                  _mm_mul_pd(_mm_loadu_pd(afB + k), y2)),
                       _mm_mul_pd(_mm_loadu_pd(afC + k), z2)),
            _mm_loadu_pd(afD + k));
        _mm_storeu_pd(afPlnEqnAtPt + k, fEq2);
        iPgnsBelow |= static_cast<unsigned>(_mm_movemask_pd(_mm_cmple_pd(fEq2, _mm_setzero_pd())))
                      << k;
    }
    iPgnsBelow &= (1u << plns.nPgn) - 1u;
#else
    for (Long k = 0; k < plns.nPgn; k++) {
        afPlnEqnAtPt[k] = afA[k] * x + afB[k] * y + afC[k] * z + afD[k];
        iPgnsBelow |= static_cast<unsigned>(afPlnEqnAtPt[k] <= 0.0) << k;
    }
#endif
    // A flat polygon's foot well outside its box is refused before the foot
    // is formed. With a = b = 0, |plane equation| <= 1e300 and a*a + b*b +
    // c*c >= 1e-8, the foot's factor u = -eq / (a*a + b*b + c*c) is at most
    // 1e308 in magnitude, finite, so u * a and u * b are zeros, and x + (+-0)
    // is x (a zero sum only changes its sign, which no comparison sees): the
    // foot's x and y compare as the point's, and those are the coordinates
    // the inside test takes for such a polygon (iAxes 2). With |x|, |y| <=
    // 1e70 the box test of bInsidePgnOfPlns then runs on the same values
    // and answers "outside" where it is asked here.
    const bool bXYBoxed = std::fabs(x) <= fCoordBoxMax && std::fabs(y) <= fCoordBoxMax;
    while (iPgnsBelow != 0) {
        const Long k = std::countr_zero(iPgnsBelow);
        iPgnsBelow &= iPgnsBelow - 1;
        if (plns.abFlatBox[k] && bXYBoxed && std::fabs(afPlnEqnAtPt[k]) <= fEqFlatMax) {
            const double* afBox = plns.aafBox[k];
            if (afBox[0] - x > fMarginBox || x - afBox[1] > fMarginBox ||
                afBox[2] - y > fMarginBox || y - afBox[3] > fMarginBox)
                continue;
        }
        const double* afPln = plns.aafPln[k];
        const double a = afPln[0], b = afPln[1], c = afPln[2];
        // ptAtFootOfPerp with its two sums taken from above.
        const double u = -afPlnEqnAtPt[k] / plns.afNormSq[k];
        const double xFoot = x + u * a;
        const double yFoot = y + u * b;
        const double zFoot = z + u * c;
        const int iAxes = plns.aiAxes[k];
        bool bInside;
        if (iAxes < 0) {
            bInside = bPt3dInsidePgnOfPlns(plns, k, xFoot, yFoot, zFoot);
        } else {
            // The coordinates (iAxes + 1) % 3 and (iAxes + 2) % 3 of the
            // foot, picked without an array (which would go through memory).
            const double u0 = iAxes == 0 ? yFoot : iAxes == 1 ? zFoot : xFoot;
            const double v0 = iAxes == 0 ? zFoot : iAxes == 1 ? xFoot : yFoot;
            bInside = bInsidePgnOfPlns(plns, k, u0, v0);
        }
        if (bInside) {
            *pxAtGnd = xFoot;
            *pyAtGnd = yFoot;
            *pzAtGnd = zFoot;
            return k;
        }
    }
    return -1;
}

