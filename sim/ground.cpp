// Ground polygons and terrain queries (see ground.h).
#include "sim/ground.h"

#include <cmath>
#include <numbers>

namespace {

Pt3c const& ptVtx(A1Val<void*>* parPPtVtx, Long iVtx) {
    return *static_cast<Pt3c const*>((*parPPtVtx)[iVtx]);
}

// Vertex i of a polygon, read through its pointer array's own base (A1Val's
// _pel0, element i at ppvVtx[i]) without ptVtx's range check. Only for an i
// that lies in the array's range by construction, where that check could
// never fail: the loops over a polygon's vertices below.
Pt3c const& ptVtxIn(void* const* ppvVtx, Long iVtx) {
    return *static_cast<Pt3c const*>(ppvVtx[iVtx]);
}

A1Val<void*>* parPPtVtxPgn(A1Val<void*>* parPArPPtVtxPgn, Long iPgn) {
    return static_cast<A1Val<void*>*>((*parPArPPtVtxPgn)[iPgn]);
}

// The winding-angle rule shared by the 2-D and 3-D tests. fnUV(i, &u, &v)
// gives vertex i (iFirst..iLast) in the two test coordinates; the point is
// (u0, v0). Each edge adds the signed angle it subtends at the point; a full
// turn (+-2 pi) is inside, 0 is outside, and the threshold sits at pi.
//
// Two shortcuts give the rule's own answer without its arctangents, which
// the ground queries would otherwise spend on every polygon in every
// derivative evaluation. Both are taken only when every vertex lies at a
// distance between 1e-75 and 1e75 from the point, so that every square,
// product and normalising length below is normal and finite and the usual
// rounding bounds hold; otherwise (and for anything not a number) the full
// rule runs.
//
// The rule sums, per edge, the angle between p = vi - P and q = vj - P as
// the computed differences give them. The exact angles of those vectors sum
// to 2 pi times their winding number, and each computed term lies within
// about 1e-15 of its exact angle (the normalised cross and dot products form
// a unit vector up to a few rounding errors) unless its computed sign is
// wrong, which can only happen when the cross product cancels.
//   - Outside the vertices' bounding box: all the vectors point into one
//     open half-plane, so the winding number is 0; an edge whose angle is
//     near a half turn then has cross-product terms of one sign (no
//     cancellation). The computed sum is a few ulps from 0: "outside".
//   - Every edge turning the same way by a clear margin (the computed cross
//     product beyond 1e-15, about four rounding errors, times |px*qy| +
//     |qx*py|): the exact cross products have that sign too, every angle
//     lies in (0, pi) (or (-pi, 0)), the winding number is at least 1 in
//     magnitude and the computed sum at least 2 pi less a few ulps: "inside".
template <class FnUV>
bool bInsideByWinding(double u0, double v0, Long iFirst, Long iLast, FnUV fnUV) {
    if (iLast < iFirst) return false;

    // The box, and whether every vertex is at a well-scaled distance.
    bool bScaled = true;
    double uMin = 0.0, uMax = 0.0, vMin = 0.0, vMax = 0.0;
    for (Long i = iFirst; i <= iLast && bScaled; i++) {
        double ui, vi;
        fnUV(i, &ui, &vi);
        if (i == iFirst) {
            uMin = uMax = ui;
            vMin = vMax = vi;
        } else {
            if (ui < uMin) uMin = ui;
            if (ui > uMax) uMax = ui;
            if (vi < vMin) vMin = vi;
            if (vi > vMax) vMax = vi;
        }
        const double px = ui - u0;
        const double py = vi - v0;
        const double fP2 = px * px + py * py;
        bScaled = fP2 >= 1e-150 && fP2 <= 1e150;
    }
    if (bScaled) {
        if (u0 < uMin || u0 > uMax || v0 < vMin || v0 > vMax) return false;
        // Every edge turning the same way by a clear margin?
        int iSignTurn = 0;
        for (Long i = iFirst; i <= iLast; i++) {
            const Long j = (i == iLast) ? iFirst : i + 1;
            double ui, vi, uj, vj;
            fnUV(i, &ui, &vi);
            fnUV(j, &uj, &vj);
            const double px = ui - u0;
            const double py = vi - v0;
            const double qx = uj - u0;
            const double qy = vj - v0;
            const double fCross = px * qy - qx * py;
            const double fScale = std::fabs(px * qy) + std::fabs(qx * py);
            const int iSign = (fCross > 1e-15 * fScale) ? 1 : (fCross < -1e-15 * fScale) ? -1 : 0;
            if (iSign == 0 || (iSignTurn != 0 && iSign != iSignTurn)) {
                iSignTurn = 0;
                break;
            }
            iSignTurn = iSign;
        }
        if (iSignTurn != 0) return true;
    }

    double fSumAngle = 0.0;
    for (Long i = iFirst; i <= iLast; i++) {
        const Long j = (i == iLast) ? iFirst : i + 1;
        double ui, vi, uj, vj;
        fnUV(i, &ui, &vi);
        fnUV(j, &uj, &vj);
        const double px = ui - u0;
        const double py = vi - v0;
        const double qx = uj - u0;
        const double qy = vj - v0;
        // A point on a vertex gives L = 0 and a not-a-number sum: outside.
        const double fL = std::sqrt((px * px + py * py) * (qx * qx + qy * qy));
        fSumAngle += std::atan2((px * qy - qx * py) / fL, (px * qx + py * qy) / fL);
    }
    return std::fabs(fSumAngle) >= std::numbers::pi;
}

}  // namespace

// Newell's sums over the polygon's edges, and d from the vertices' mean.
// Nothing is kept between calls: a caller that asks for the planes of an
// unchanged ground many times takes them once, with bPlnsGndFm.
void plnEqnPgn(double* pa, double* pb, double* pc, double* pd, A1Val<void*>* parPPtVtx) {
    const Long iFirst = parPPtVtx->iFirst();
    const Long iLast = parPPtVtx->iLast();
    void* const* ppvVtx = parPPtVtx->_pel0;
    double a = 0.0, b = 0.0, c = 0.0;
    double xSum = 0.0, ySum = 0.0, zSum = 0.0;
    for (Long i = iFirst; i <= iLast; i++) {
        const Long j = (i == iLast) ? iFirst : i + 1;
        Pt3c const& pti = ptVtxIn(ppvVtx, i);
        Pt3c const& ptj = ptVtxIn(ppvVtx, j);
        a += (pti.fY - ptj.fY) * (pti.fZ + ptj.fZ);
        b += (pti.fZ - ptj.fZ) * (pti.fX + ptj.fX);
        c += (pti.fX - ptj.fX) * (pti.fY + ptj.fY);
        xSum += pti.fX;
        ySum += pti.fY;
        zSum += pti.fZ;
    }
    const double nVtx = static_cast<double>(parPPtVtx->n());
    const double xMean = xSum / nVtx;
    const double yMean = ySum / nVtx;
    const double zMean = zSum / nVtx;
    *pa = a;
    *pb = b;
    *pc = c;
    *pd = -(a * xMean + b * yMean + c * zMean);
}

Dr3c dr3cPgnNormal(A1Val<void*>* parPPtVtx) {
    double a, b, c, d;
    plnEqnPgn(&a, &b, &c, &d, parPPtVtx);
    return Dr3c(a, b, c);
}

void ptAtFootOfPerp(double* px, double* py, double* pz, double x, double y, double z, double a,
                    double b, double c, double d) {
    const double u = -(a * x + b * y + c * z + d) / (a * a + b * b + c * c);
    *px = x + u * a;
    *py = y + u * b;
    *pz = z + u * c;
}

bool bPt2dInsidePgn(double x, double y, A1Val<double>* parX, A1Val<double>* parY) {
    return bInsideByWinding(x, y, parX->iFirst(), parX->iLast(),
                            [parX, parY](Long i, double* pu, double* pv) {
                                *pu = (*parX)[i];
                                *pv = (*parY)[i];
                            });
}

bool bPt3dInsidePgn(double x, double y, double z, double a, double b, double c, double d,
                    A1Val<void*>* parPPtVtx) {
    (void)d;
    const Long iFirst = parPPtVtx->iFirst();
    const Long iLast = parPPtVtx->iLast();
    void* const* ppvVtx = parPPtVtx->_pel0;
    const double fAbsA = std::fabs(a);
    const double fAbsB = std::fabs(b);
    const double fAbsC = std::fabs(c);
    if (fAbsA >= fAbsB && fAbsA >= fAbsC) {
        return bInsideByWinding(y, z, iFirst, iLast, [ppvVtx](Long i, double* pu, double* pv) {
            Pt3c const& pt = ptVtxIn(ppvVtx, i);
            *pu = pt.fY;
            *pv = pt.fZ;
        });
    }
    if (fAbsB >= fAbsC && fAbsB >= fAbsA) {
        return bInsideByWinding(z, x, iFirst, iLast, [ppvVtx](Long i, double* pu, double* pv) {
            Pt3c const& pt = ptVtxIn(ppvVtx, i);
            *pu = pt.fZ;
            *pv = pt.fX;
        });
    }
    // Only a not-a-number normal fails all three comparisons.
    VT_ASSERT(fAbsC >= fAbsA && fAbsC >= fAbsB);
    return bInsideByWinding(x, y, iFirst, iLast, [ppvVtx](Long i, double* pu, double* pv) {
        Pt3c const& pt = ptVtxIn(ppvVtx, i);
        *pu = pt.fX;
        *pv = pt.fY;
    });
}

namespace {

// The contact query over the ground's polygons, each plane given by
// fnPln(iPgn, &a, &b, &c, &d).
template <class FnPln>
bool bPtAtOrBelowGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd, double* pdxNGnd,
                     double* pdyNGnd, double* pdzNGnd, double x, double y, double z,
                     A1Val<void*>* parPArPPtVtxPgnGnd, FnPln fnPln) {
    for (Long iPgn = parPArPPtVtxPgnGnd->iFirst(); iPgn <= parPArPPtVtxPgnGnd->iLast(); iPgn++) {
        double a, b, c, d;
        fnPln(iPgn, &a, &b, &c, &d);
        const double fPlnEqnAtPt = a * x + b * y + c * z + d;
        if (fPlnEqnAtPt <= 0.0) {
            double xFoot, yFoot, zFoot;
            ptAtFootOfPerp(&xFoot, &yFoot, &zFoot, x, y, z, a, b, c, d);
            if (bPt3dInsidePgn(xFoot, yFoot, zFoot, a, b, c, d,
                               parPPtVtxPgn(parPArPPtVtxPgnGnd, iPgn))) {
                const Dr3c drNGnd(a, b, c);
                *pxAtGnd = xFoot;
                *pyAtGnd = yFoot;
                *pzAtGnd = zFoot;
                *pdxNGnd = drNGnd.fX;
                *pdyNGnd = drNGnd.fY;
                *pdzNGnd = drNGnd.fZ;
                return true;
            }
        }
    }
    return false;
}

}  // namespace

bool bPtAtOrBelowPArPArPPtVtxPgnGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd,
                                    double* pdxNGnd, double* pdyNGnd, double* pdzNGnd, double x,
                                    double y, double z, A1Val<void*>* parPArPPtVtxPgnGnd) {
    return bPtAtOrBelowGnd(
        pxAtGnd, pyAtGnd, pzAtGnd, pdxNGnd, pdyNGnd, pdzNGnd, x, y, z, parPArPPtVtxPgnGnd,
        [parPArPPtVtxPgnGnd](Long iPgn, double* pa, double* pb, double* pc, double* pd) {
            plnEqnPgn(pa, pb, pc, pd, parPPtVtxPgn(parPArPPtVtxPgnGnd, iPgn));
        });
}

namespace {

using ground_detail::fCoordBoxMax;
using ground_detail::fNormSqFlatMin;

// The box of polygon k's vertices in its test coordinates, and whether the
// polygon is that box's four corners in order.
void boxOfPgn(PlnsGnd* pplns, Long k) {
    const Long nVtx = pplns->anVtx[k];
    const double* afU = pplns->aafU[k];
    const double* afV = pplns->aafV[k];
    bool bBox = nVtx >= 1;
    double uMin = 0.0, uMax = 0.0, vMin = 0.0, vMax = 0.0;
    for (Long i = 0; i < nVtx && bBox; i++) {
        bBox = std::fabs(afU[i]) <= fCoordBoxMax && std::fabs(afV[i]) <= fCoordBoxMax;
        if (i == 0 || afU[i] < uMin) uMin = afU[i];
        if (i == 0 || afU[i] > uMax) uMax = afU[i];
        if (i == 0 || afV[i] < vMin) vMin = afV[i];
        if (i == 0 || afV[i] > vMax) vMax = afV[i];
    }
    pplns->abBox[k] = bBox;
    double* afBox = pplns->aafBox[k];
    afBox[0] = uMin;
    afBox[1] = uMax;
    afBox[2] = vMin;
    afBox[3] = vMax;
    // Four distinct corners, each edge along u or along v: the corners in
    // order around the box, one way or the other.
    bool bRect = bBox && nVtx == 4 && uMin < uMax && vMin < vMax;
    int iCornersSeen = 0;
    for (Long i = 0; i < nVtx && bRect; i++) {
        const Long j = (i + 1) % nVtx;
        const bool bUAtEnd = afU[i] == uMin || afU[i] == uMax;
        const bool bVAtEnd = afV[i] == vMin || afV[i] == vMax;
        const bool bAlongU = afV[i] == afV[j] && afU[i] != afU[j];
        const bool bAlongV = afU[i] == afU[j] && afV[i] != afV[j];
        bRect = bUAtEnd && bVAtEnd && (bAlongU || bAlongV);
        iCornersSeen |= 1 << ((afU[i] == uMax ? 1 : 0) + (afV[i] == vMax ? 2 : 0));
    }
    pplns->abRect[k] = bRect && iCornersSeen == 15;
}

}  // namespace

bool bPlnsGndFm(PlnsGnd* pplns, A1Val<void*>* parPArPPtVtxPgnGnd) {
    pplns->parPArPPtVtxPgnGnd = parPArPPtVtxPgnGnd;
    pplns->nPgn = parPArPPtVtxPgnGnd->n();
    if (pplns->nPgn > PlnsGnd::nPgnMax) return false;
    for (auto& afCoef : pplns->aafPlnByCoef)
        for (double& fCoef : afCoef) fCoef = 0.0;
    for (Long k = 0; k < pplns->nPgn; k++) {
        A1Val<void*>* parPPtVtx = parPPtVtxPgn(parPArPPtVtxPgnGnd, parPArPPtVtxPgnGnd->iFirst() + k);
        double* afPln = pplns->aafPln[k];
        plnEqnPgn(&afPln[0], &afPln[1], &afPln[2], &afPln[3], parPPtVtx);
        const double a = afPln[0], b = afPln[1], c = afPln[2];
        for (int iCoef = 0; iCoef < 4; iCoef++) pplns->aafPlnByCoef[iCoef][k] = afPln[iCoef];
        pplns->afNormSq[k] = a * a + b * b + c * c;
        // Dr3c's own arithmetic, done where it cannot fail.
        const double fNorm = std::sqrt(a * a + b * b + c * c);
        pplns->abNrm[k] = fNorm != 0.0;
        if (pplns->abNrm[k]) {
            const Dr3c drNrm(a, b, c);
            pplns->aafNrm[k][0] = drNrm.fX;
            pplns->aafNrm[k][1] = drNrm.fY;
            pplns->aafNrm[k][2] = drNrm.fZ;
        }
        // bPt3dInsidePgn's choice of coordinates, made here once.
        const double fAbsA = std::fabs(a);
        const double fAbsB = std::fabs(b);
        const double fAbsC = std::fabs(c);
        int iAxes = -1;
        if (fAbsA >= fAbsB && fAbsA >= fAbsC)
            iAxes = 0;
        else if (fAbsB >= fAbsC && fAbsB >= fAbsA)
            iAxes = 1;
        else if (fAbsC >= fAbsA && fAbsC >= fAbsB)
            iAxes = 2;
        const Long nVtx = parPPtVtx->n();
        if (nVtx > PlnsGnd::nVtxMax) iAxes = -1;
        pplns->aiAxes[k] = iAxes;
        pplns->anVtx[k] = nVtx;
        pplns->abBox[k] = false;
        pplns->abRect[k] = false;
        pplns->abFlatBox[k] = false;
        if (iAxes < 0) continue;
        for (Long i = 0; i < nVtx; i++) {
            Pt3c const& pt = ptVtx(parPPtVtx, parPPtVtx->iFirst() + i);
            const double afXyz[3] = {pt.fX, pt.fY, pt.fZ};
            // (y, z), (z, x), (x, y).
            pplns->aafU[k][i] = afXyz[(iAxes + 1) % 3];
            pplns->aafV[k][i] = afXyz[(iAxes + 2) % 3];
        }
        boxOfPgn(pplns, k);
        pplns->abFlatBox[k] = a == 0.0 && b == 0.0 && iAxes == 2 && pplns->abBox[k] &&
                              pplns->afNormSq[k] >= fNormSqFlatMin;
    }
    return true;
}

bool ground_detail::bInsideByWindingOfPlns(PlnsGnd const& plns, Long k, double u0, double v0) {
    const double* afU = plns.aafU[k];
    const double* afV = plns.aafV[k];
    return bInsideByWinding(u0, v0, 0, plns.anVtx[k] - 1,
                            [afU, afV](Long i, double* pu, double* pv) {
                                *pu = afU[i];
                                *pv = afV[i];
                            });
}

bool ground_detail::bPt3dInsidePgnOfPlns(PlnsGnd const& plns, Long k, double x, double y,
                                         double z) {
    A1Val<void*>* parPArPPtVtxPgnGnd = plns.parPArPPtVtxPgnGnd;
    const double* afPln = plns.aafPln[k];
    return bPt3dInsidePgn(x, y, z, afPln[0], afPln[1], afPln[2], afPln[3],
                          parPPtVtxPgn(parPArPPtVtxPgnGnd, parPArPPtVtxPgnGnd->iFirst() + k));
}

bool bPtAtOrBelowPlnsGnd(double* pxAtGnd, double* pyAtGnd, double* pzAtGnd, double* pdxNGnd,
                         double* pdyNGnd, double* pdzNGnd, double x, double y, double z,
                         PlnsGnd const& plns) {
    const Long k = iPgnAtOrBelowPlnsGnd(pxAtGnd, pyAtGnd, pzAtGnd, x, y, z, plns);
    if (k < 0) return false;
    if (plns.abNrm[k]) {
        *pdxNGnd = plns.aafNrm[k][0];
        *pdyNGnd = plns.aafNrm[k][1];
        *pdzNGnd = plns.aafNrm[k][2];
    } else {
        const Dr3c drNGnd(plns.aafPln[k][0], plns.aafPln[k][1], plns.aafPln[k][2]);
        *pdxNGnd = drNGnd.fX;
        *pdyNGnd = drNGnd.fY;
        *pdzNGnd = drNGnd.fZ;
    }
    return true;
}

namespace {

// The ground height query with the plane of polygon iPgn given by
// fnPln(iPgn, parPPtVtx, &a, &b, &c, &d).
template <class FnPln>
bool bPtOnGndAtXYBy(double* pxGnd, double* pyGnd, double* pzGnd, double x, double y,
                    A1Val<void*>* parPArPPtVtxPgnGnd, FnPln fnPln) {
    for (Long iPgn = parPArPPtVtxPgnGnd->iFirst(); iPgn <= parPArPPtVtxPgnGnd->iLast(); iPgn++) {
        A1Val<void*>* parPPtVtx = parPPtVtxPgn(parPArPPtVtxPgnGnd, iPgn);
        void* const* ppvVtx = parPPtVtx->_pel0;
        const bool bInside = bInsideByWinding(x, y, parPPtVtx->iFirst(), parPPtVtx->iLast(),
                                              [ppvVtx](Long i, double* pu, double* pv) {
                                                  Pt3c const& pt = ptVtxIn(ppvVtx, i);
                                                  *pu = pt.fX;
                                                  *pv = pt.fY;
                                              });
        if (bInside) {
            double a, b, c, d;
            fnPln(iPgn, parPPtVtx, &a, &b, &c, &d);
            *pxGnd = x;
            *pyGnd = y;
            *pzGnd = -(a * x + b * y + d) / c;
            return true;
        }
    }
    return false;
}

}  // namespace

bool bPtOnGndAtXY(double* pxGnd, double* pyGnd, double* pzGnd, double x, double y,
                  A1Val<void*>* parPArPPtVtxPgnGnd) {
    return bPtOnGndAtXYBy(pxGnd, pyGnd, pzGnd, x, y, parPArPPtVtxPgnGnd,
                          [](Long, A1Val<void*>* parPPtVtx, double* pa, double* pb, double* pc,
                             double* pd) { plnEqnPgn(pa, pb, pc, pd, parPPtVtx); });
}

bool bPtOnGndAtXY(double* pxGnd, double* pyGnd, double* pzGnd, double x, double y,
                  PlnsGnd const& plns) {
    A1Val<void*>* parPArPPtVtxPgnGnd = plns.parPArPPtVtxPgnGnd;
    VT_ASSERT(parPArPPtVtxPgnGnd->n() == plns.nPgn && plns.nPgn <= PlnsGnd::nPgnMax);
    const Long iPgnFirst = parPArPPtVtxPgnGnd->iFirst();
    return bPtOnGndAtXYBy(pxGnd, pyGnd, pzGnd, x, y, parPArPPtVtxPgnGnd,
                          [&plns, iPgnFirst](Long iPgn, A1Val<void*>*, double* pa, double* pb,
                                             double* pc, double* pd) {
                              const double* afPln = plns.aafPln[iPgn - iPgnFirst];
                              *pa = afPln[0];
                              *pb = afPln[1];
                              *pc = afPln[2];
                              *pd = afPln[3];
                          });
}
