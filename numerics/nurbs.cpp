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

namespace {

// mdcfDerivsBSpline for a degree of at most pFixedMax and orders up to the
// degree, with its work arrays on the stack: every index used then lies in
// the work arrays' ranges (ndu 0..p by 0..p, a 0..1 by 0..p), so the range
// checks of the general code below could never fire, and the arithmetic is
// the same, operation for operation.
constexpr Long pFixedMax = 15;

void mdcfDerivsBSplineFixed(Long iSpan, double u, Long p, Long nDeriv, Vd<double>* pvdfUKnot,
                            Mdc<double>* pmdcfDerivs) {
    double afLeft[pFixedMax + 1], afRight[pFixedMax + 1];
    double aafNdu[pFixedMax + 1][pFixedMax + 1];
    double aafA[2][pFixedMax + 1];
    const Vd<double>& vdfU = *pvdfUKnot;
    // The caller has checked that the table covers rows 0..nDeriv and
    // columns 0..p: its elements are written directly.
    Mdc<double>& mdcfDerivs = *pmdcfDerivs;
    const Long nRTable = mdcfDerivs.nR();
    double* pfTable = mdcfDerivs.pdata;
    const Long loR = mdcfDerivs.loR, loC = mdcfDerivs.loC;
    auto fDeriv = [pfTable, nRTable, loR, loC](Long k, Long j) -> double& {
        return pfTable[(j - loC) * nRTable + (k - loR)];
    };

    aafNdu[0][0] = 1.0;
    for (Long j = 1; j <= p; j++) {
        afLeft[j] = u - vdfU[iSpan + 1 - j];
        afRight[j] = vdfU[iSpan + j] - u;
        double fSaved = 0.0;
        for (Long r = 0; r <= j - 1; r++) {
            aafNdu[j][r] = afRight[r + 1] + afLeft[j - r];
            const double fTemp = aafNdu[r][j - 1] / aafNdu[j][r];
            aafNdu[r][j] = fSaved + afRight[r + 1] * fTemp;
            fSaved = afLeft[j - r] * fTemp;
        }
        aafNdu[j][j] = fSaved;
    }

    for (Long j = 0; j <= p; j++) fDeriv(0, j) = aafNdu[j][p];

    // The factors p! / (p - k)!, as the general code forms them.
    double afFactor[pFixedMax + 1];
    double fFactor = p;
    for (Long k = 1; k <= nDeriv; k++) {
        afFactor[k] = fFactor;
        fFactor *= (p - k);
    }
    for (Long r = 0; r <= p; r++) {
        Long s1 = 0;
        Long s2 = 1;
        aafA[0][0] = 1.0;
        for (Long k = 1; k <= nDeriv; k++) {
            double fD = 0.0;
            const Long rk = r - k;
            const Long pk = p - k;
            if (r >= k) {
                aafA[s2][0] = aafA[s1][0] / aafNdu[pk + 1][rk];
                fD = aafA[s2][0] * aafNdu[rk][pk];
            }
            const Long j1 = (rk >= -1) ? 1 : -rk;
            const Long j2 = (r - 1 <= pk) ? k - 1 : p - r;
            for (Long j = j1; j <= j2; j++) {
                aafA[s2][j] = (aafA[s1][j] - aafA[s1][j - 1]) / aafNdu[pk + 1][rk + j];
                fD += aafA[s2][j] * aafNdu[rk + j][pk];
            }
            if (r <= pk) {
                aafA[s2][k] = -aafA[s1][k - 1] / aafNdu[pk + 1][r];
                fD += aafA[s2][k] * aafNdu[r][pk];
            }
            // The general code stores fD and multiplies it by the factor
            // afterwards: the same product.
            fDeriv(k, r) = fD * afFactor[k];
            const Long sSwap = s1;
            s1 = s2;
            s2 = sSwap;
        }
    }
}

}  // namespace

void mdcfDerivsBSpline(Long iSpan, double u, Long p, Long nDeriv, Vd<double>* pvdfUKnot,
                       Mdc<double>* pmdcfDerivs) {
    Mdc<double> const& mdcfOut = *pmdcfDerivs;
    if (p >= 0 && p <= pFixedMax && nDeriv >= 0 && nDeriv <= p && mdcfOut.loR <= 0 &&
        mdcfOut.hiR >= nDeriv && mdcfOut.loC <= 0 && mdcfOut.hiC >= p) {
        mdcfDerivsBSplineFixed(iSpan, u, p, nDeriv, pvdfUKnot, pmdcfDerivs);
        return;
    }
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

    // The table has a row for every order up to n, the last control-point
    // index, and only rows 0..du are used; a curve with n < p and d > n stops
    // at the table's range check. Rows are computed up to min(du, n) only:
    // mdcfDerivsBSpline makes row k from rows below it and the factor
    // p!/(p-k)!, so rows 0..du come out the same whatever order it goes on
    // to, and the rows above are never read.
    static thread_local std::unique_ptr<Mdc<double>> pmdcfTableKeep;
    Mdc<double>* pmdcfTable = pmdcfWork(pmdcfTableKeep, 0, n, 0, p);
    mdcfDerivsBSpline(iSpan, u, p, du < n ? du : n, pvdfUKnot, pmdcfTable);

    // Where both tables are known to cover every element used, they are
    // read and written directly; the sums are the same.
    // The control points are read once, in the order of the first pass
    // below (so a short one stops the program at the same read).
    constexpr Long pKeptMax = 15;
    constexpr Long nDimKeptMax = 4;
    if (du >= 0 && du <= n && p >= 0 && p <= pKeptMax && nDim >= 0 && nDim <= nDimKeptMax &&
        mdcfDerivs.loR <= 1 && mdcfDerivs.hiR >= nDim && mdcfDerivs.loC <= 0 &&
        mdcfDerivs.hiC >= du) {
        double aafP[pKeptMax + 1][nDimKeptMax];
        for (Long j = 0; j <= p; j++) {
            const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + j);
            for (Long iDim = 1; iDim <= nDim; iDim++) aafP[j][iDim - 1] = vdfP[iDim];
        }
        const Long nROut = mdcfDerivs.nR();
        const double* pfTable = pmdcfTable->pdata;  // rows 0..n, columns 0..p
        const Long nRTable = pmdcfTable->nR();
        for (Long k = 0; k <= du; k++) {
            // Column k of the result; row iDim at pfOutK[iDim - 1].
            double* pfOutK = mdcfDerivs.pdata + (k - mdcfDerivs.loC) * nROut + (1 - mdcfDerivs.loR);
            for (Long iDim = 1; iDim <= nDim; iDim++) pfOutK[iDim - 1] = 0.0;
            for (Long j = 0; j <= p; j++) {
                const double fBasis = pfTable[j * nRTable + k];
                for (Long iDim = 1; iDim <= nDim; iDim++)
                    pfOutK[iDim - 1] += fBasis * aafP[j][iDim - 1];
            }
        }
        return;
    }
    for (Long k = 0; k <= du; k++) {
        for (Long iDim = 1; iDim <= nDim; iDim++) mdcfDerivs.at(iDim, k) = 0.0;
        for (Long j = 0; j <= p; j++) {
            const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + j);
            for (Long iDim = 1; iDim <= nDim; iDim++)
                mdcfDerivs.at(iDim, k) += pmdcfTable->at(k, j) * vdfP[iDim];
        }
    }
}
