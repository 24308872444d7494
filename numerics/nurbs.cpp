// B-spline basis functions and curves (see nurbs.h).
#include "numerics/nurbs.h"

#include <memory>

#include "core/array.h"

namespace {

// Re-sizes a per-thread work vector; a new one is made only when the range
// changes, so evaluations of one curve reuse the same block.
Vd<double>* pvdfWork(std::unique_ptr<Vd<double>>& pvdf, Long lo, Long hi) {
    if (!pvdf || pvdf->lo != lo || pvdf->hi != hi) pvdf = std::make_unique<Vd<double>>(lo, hi);
    return pvdf.get();
}

Mdc<double>* pmdcfWork(std::unique_ptr<Mdc<double>>& pmdcf, Long loR, Long hiR, Long loC,
                       Long hiC) {
    if (!pmdcf || pmdcf->loR != loR || pmdcf->hiR != hiR || pmdcf->loC != loC ||
        pmdcf->hiC != hiC)
        pmdcf = std::make_unique<Mdc<double>>(loR, hiR, loC, hiC);
    return pmdcf.get();
}

// Control point i of the curve.
const Vd<double>& vdfPAt(A<unsigned char*>* papVdfP, Long i) {
    return *reinterpret_cast<Vd<double>*>((*papVdfP)[i]);
}

}  // namespace

Long iSpanInKnotvc(Long n, Long p, double u, Vd<double>* pvdfUKnot) {
    VT_ASSERT(pvdfUKnot->lo == 0 && pvdfUKnot->hi == n+p+1);
    const Vd<double>& vdfU = *pvdfUKnot;
    // The closing parameter value belongs to the last non-empty span, not to
    // the empty one past it. This tie-break comes before any other check.
    if (u == vdfU[n + 1]) return n;

    // Fewer knots than the degree needs.
    if (n + 1 < p) VT_ASSERT(0);
    // Outside [U[p], U[n+1]] (or NaN) there is no span to find, and the
    // search below would never end: stop here.
    VT_ASSERT(u >= (*pvdfUKnot)[p] && u <= (*pvdfUKnot)[n+1]);

    // U[low] <= u < U[high] holds from the start (checked above) and every
    // move keeps it, whatever the order of the knots in between; so the
    // bracket shrinks to one span and the search ends.
    Long iLow = p;
    Long iHigh = n + 1;
    Long iMid = (iLow + iHigh) / 2;
    while (u < vdfU[iMid] || u >= vdfU[iMid + 1]) {
        if (u < vdfU[iMid])
            iHigh = iMid;
        else
            iLow = iMid;
        iMid = (iLow + iHigh) / 2;
    }
    return iMid;
}

void vdfNBSpline(Long iSpan, double u, Long p, Vd<double>* pvdfUKnot, Vd<double>* pvdfN) {
    static thread_local A1Val<double> arFLeft(1, 0);
    static thread_local A1Val<double> arFRight(1, 0);
    arFLeft.reconstructIFirstILast(1, p);
    arFRight.reconstructIFirstILast(1, p);

    const Vd<double>& vdfU = *pvdfUKnot;
    Vd<double>& vdfN = *pvdfN;
    vdfN[0] = 1.0;
    for (Long j = 1; j <= p; j++) {
        arFLeft[j] = u - vdfU[iSpan + 1 - j];
        arFRight[j] = vdfU[iSpan + j] - u;
        double fSaved = 0.0;
        for (Long r = 0; r <= j - 1; r++) {
            const double fTemp = vdfN[r] / (arFRight[r + 1] + arFLeft[j - r]);
            vdfN[r] = fSaved + arFRight[r + 1] * fTemp;
            fSaved = arFLeft[j - r] * fTemp;
        }
        vdfN[j] = fSaved;
    }
}

void mdcfDerivsBSpline(Long iSpan, double u, Long p, Long nDeriv, Vd<double>* pvdfUKnot,
                       Mdc<double>* pmdcfDerivs) {
    static thread_local A1Val<double> arFLeft(1, 0);
    static thread_local A1Val<double> arFRight(1, 0);
    // ndu: basis values in the upper triangle (with the diagonal), knot
    // differences in the lower; a: two alternating rows of coefficients.
    static thread_local A2Val<double> a2FNdu;
    static thread_local A2Val<double> a2FA;
    arFLeft.reconstructIFirstILast(1, p);
    arFRight.reconstructIFirstILast(1, p);
    a2FNdu.reconstructIRCFirstILast(0, p, 0, p);
    a2FA.reconstructIRCFirstILast(0, 1, 0, p);

    const Vd<double>& vdfU = *pvdfUKnot;
    Mdc<double>& mdcfDerivs = *pmdcfDerivs;

    a2FNdu(0, 0) = 1.0;
    for (Long j = 1; j <= p; j++) {
        arFLeft[j] = u - vdfU[iSpan + 1 - j];
        arFRight[j] = vdfU[iSpan + j] - u;
        double fSaved = 0.0;
        for (Long r = 0; r <= j - 1; r++) {
            a2FNdu(j, r) = arFRight[r + 1] + arFLeft[j - r];
            const double fTemp = a2FNdu(r, j - 1) / a2FNdu(j, r);
            a2FNdu(r, j) = fSaved + arFRight[r + 1] * fTemp;
            fSaved = arFLeft[j - r] * fTemp;
        }
        a2FNdu(j, j) = fSaved;
    }

    for (Long j = 0; j <= p; j++) mdcfDerivs.at(0, j) = a2FNdu(j, p);

    for (Long r = 0; r <= p; r++) {
        Long s1 = 0;
        Long s2 = 1;
        a2FA(0, 0) = 1.0;
        for (Long k = 1; k <= nDeriv; k++) {
            double fD = 0.0;
            const Long rk = r - k;
            const Long pk = p - k;
            if (r >= k) {
                a2FA(s2, 0) = a2FA(s1, 0) / a2FNdu(pk + 1, rk);
                fD = a2FA(s2, 0) * a2FNdu(rk, pk);
            }
            const Long j1 = (rk >= -1) ? 1 : -rk;
            const Long j2 = (r - 1 <= pk) ? k - 1 : p - r;
            for (Long j = j1; j <= j2; j++) {
                a2FA(s2, j) = (a2FA(s1, j) - a2FA(s1, j - 1)) / a2FNdu(pk + 1, rk + j);
                fD += a2FA(s2, j) * a2FNdu(rk + j, pk);
            }
            if (r <= pk) {
                a2FA(s2, k) = -a2FA(s1, k - 1) / a2FNdu(pk + 1, r);
                fD += a2FA(s2, k) * a2FNdu(r, pk);
            }
            mdcfDerivs.at(k, r) = fD;
            const Long sSwap = s1;
            s1 = s2;
            s2 = sSwap;
        }
    }

    // The factors p! / (p - k)!; zero from order p + 1 on.
    double fFactor = p;
    for (Long k = 1; k <= nDeriv; k++) {
        for (Long j = 0; j <= p; j++) mdcfDerivs.at(k, j) *= fFactor;
        fFactor *= (p - k);
    }
}

void vdfXBSplineAtU(Long nDim, double u, Long n, Long p, Vd<double>* pvdfUKnot,
                    A<unsigned char*>* papVdfP, Vd<double>* pvdfX) {
    static thread_local std::unique_ptr<Vd<double>> pvdfNKeep;
    Vd<double>* pvdfN = pvdfWork(pvdfNKeep, 0, p);

    const Long iSpan = iSpanInKnotvc(n, p, u, pvdfUKnot);
    vdfNBSpline(iSpan, u, p, pvdfUKnot, pvdfN);
    VT_ASSERT(pvdfX->lo == 1);

    Vd<double>& vdfX = *pvdfX;
    for (Long iDim = 1; iDim <= nDim; iDim++) vdfX[iDim] = 0.0;
    for (Long i = 0; i <= p; i++) {
        const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + i);
        for (Long iDim = 1; iDim <= nDim; iDim++) vdfX[iDim] += (*pvdfN)[i] * vdfP[iDim];
    }
}

void mdcfDerivsBSplineAtU(Long nDim, Long n, Long p, Vd<double>* pvdfUKnot,
                          A<unsigned char*>* papVdfP, double u, Long d, Mdc<double>* pmdcfDerivs) {
    Mdc<double>& mdcfDerivs = *pmdcfDerivs;
    const Long du = d < p ? d : p;
    for (Long k = p + 1; k <= d; k++)
        for (Long iDim = 1; iDim <= nDim; iDim++) mdcfDerivs.at(iDim, k) = 0.0;

    const Long iSpan = iSpanInKnotvc(n, p, u, pvdfUKnot);

    // Deliberately the basis table is computed for every order up to n, the
    // last control-point index, not just up to d: the orders above p are zero
    // rows and only rows 0..du are used, so the result is the same; it costs
    // time on curves with many control points, and a curve with n < p and
    // d > n stops at the table's range check.
    static thread_local std::unique_ptr<Mdc<double>> pmdcfTableKeep;
    Mdc<double>* pmdcfTable = pmdcfWork(pmdcfTableKeep, 0, n, 0, p);
    mdcfDerivsBSpline(iSpan, u, p, n, pvdfUKnot, pmdcfTable);

    for (Long k = 0; k <= du; k++) {
        for (Long iDim = 1; iDim <= nDim; iDim++) mdcfDerivs.at(iDim, k) = 0.0;
        for (Long j = 0; j <= p; j++) {
            const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + j);
            for (Long iDim = 1; iDim <= nDim; iDim++)
                mdcfDerivs.at(iDim, k) += pmdcfTable->at(k, j) * vdfP[iDim];
        }
    }
}
