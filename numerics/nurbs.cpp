// B-spline basis functions and curves (see nurbs.h).
#include "numerics/nurbs.h"

#include <memory>

#include "core/array.h"

namespace {

// Degrees up to pFixedMax are evaluated with their work arrays on the stack;
// any other degree takes them from the heap, as range-checked arrays. No work
// array outlives its call.
constexpr Long pFixedMax = 15;

// Control point i of the curve.
const Vd<double>& vdfPAt(A<unsigned char*>* papVdfP, Long i) {
    return *reinterpret_cast<Vd<double>*>((*papVdfP)[i]);
}

// The basis recurrence of vdfNBSpline into N[0..p], with the knot
// differences in left[1..p] and right[1..p]: plain arrays of at least p + 1
// elements, or range-checked ones. Every index used lies in those ranges.
template <class ArN, class ArW>
void basisInto(Long iSpan, double u, Long p, const Vd<double>& vdfU, ArN& N, ArW& left,
               ArW& right) {
    N[0] = 1.0;
    for (Long j = 1; j <= p; j++) {
        left[j] = u - vdfU[iSpan + 1 - j];
        right[j] = vdfU[iSpan + j] - u;
        double fSaved = 0.0;
        for (Long r = 0; r <= j - 1; r++) {
            const double fTemp = N[r] / (right[r + 1] + left[j - r]);
            N[r] = fSaved + right[r + 1] * fTemp;
            fSaved = left[j - r] * fTemp;
        }
        N[j] = fSaved;
    }
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
    if (p >= 0 && p <= pFixedMax) {
        double afLeft[pFixedMax + 1], afRight[pFixedMax + 1];
        basisInto(iSpan, u, p, *pvdfUKnot, *pvdfN, afLeft, afRight);
        return;
    }
    // A negative degree stops at the re-sizing's assertion, before anything
    // is written.
    A1Val<double> arFLeft(1, 0);
    A1Val<double> arFRight(1, 0);
    arFLeft.reconstructIFirstILast(1, p);
    arFRight.reconstructIFirstILast(1, p);
    basisInto(iSpan, u, p, *pvdfUKnot, *pvdfN, arFLeft, arFRight);
}

namespace {

// mdcfDerivsBSpline for a degree of at most pFixedMax and orders up to the
// degree, with its work arrays on the stack: every index used then lies in
// the work arrays' ranges (ndu 0..p by 0..p, a 0..1 by 0..p for each r), so
// the range checks of the general code below could never fire, and the
// arithmetic is the same, operation for operation. Entry (k, j) of the result is written
// to pfTable[j * nRTable + k], for k = 0..nDeriv and j = 0..p.
void derivsBSplineFixed(Long iSpan, double u, Long p, Long nDeriv, const Vd<double>& vdfU,
                        double* pfTable, Long nRTable) {
    double afLeft[pFixedMax + 1], afRight[pFixedMax + 1];
    double aafNdu[pFixedMax + 1][pFixedMax + 1];
    auto fDeriv = [pfTable, nRTable](Long k, Long j) -> double& {
        return pfTable[j * nRTable + k];
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
    // The orders go outermost and the basis functions r inside, each r with
    // its own two rows of coefficients: every (k, r) entry is the same
    // sequence of operations on the same numbers as with r outermost (the
    // rows of one r are read and written only by that r, and they alternate
    // the same way for every r), but the p + 1 chains of divisions of one
    // order no longer wait for one another.
    double aaafA[pFixedMax + 1][2][pFixedMax + 1];
    for (Long r = 0; r <= p; r++) aaafA[r][0][0] = 1.0;
    Long s1 = 0;
    Long s2 = 1;
    for (Long k = 1; k <= nDeriv; k++) {
        const Long pk = p - k;
        for (Long r = 0; r <= p; r++) {
            double(*aafA)[pFixedMax + 1] = aaafA[r];
            double fD = 0.0;
            const Long rk = r - k;
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
        }
        const Long sSwap = s1;
        s1 = s2;
        s2 = sSwap;
    }
}

}  // namespace

void mdcfDerivsBSpline(Long iSpan, double u, Long p, Long nDeriv, Vd<double>* pvdfUKnot,
                       Mdc<double>* pmdcfDerivs) {
    Mdc<double>& mdcfDerivs = *pmdcfDerivs;
    if (p >= 0 && p <= pFixedMax && nDeriv >= 0 && nDeriv <= p && mdcfDerivs.loR <= 0 &&
        mdcfDerivs.hiR >= nDeriv && mdcfDerivs.loC <= 0 && mdcfDerivs.hiC >= p) {
        // The table covers rows 0..nDeriv and columns 0..p: its elements are
        // written directly, from element (0, 0) on.
        const Long nRTable = mdcfDerivs.nR();
        derivsBSplineFixed(iSpan, u, p, nDeriv, *pvdfUKnot,
                           mdcfDerivs.pdata + (0 - mdcfDerivs.loC) * nRTable + (0 - mdcfDerivs.loR),
                           nRTable);
        return;
    }
    A1Val<double> arFLeft(1, 0);
    A1Val<double> arFRight(1, 0);
    // ndu: basis values in the upper triangle (with the diagonal), knot
    // differences in the lower; a: two alternating rows of coefficients.
    A2Val<double> a2FNdu;
    A2Val<double> a2FA;
    arFLeft.reconstructIFirstILast(1, p);
    arFRight.reconstructIFirstILast(1, p);
    a2FNdu.reconstructIRCFirstILast(0, p, 0, p);
    a2FA.reconstructIRCFirstILast(0, 1, 0, p);

    const Vd<double>& vdfU = *pvdfUKnot;

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
    // The basis values: on the stack for the usual degrees; otherwise in a
    // vector over 0..p, made before the span search as it always was (a
    // degree below -1 stops at its range assertion).
    const bool bFixed = p >= 0 && p <= pFixedMax;
    double afN[pFixedMax + 1];
    std::unique_ptr<Vd<double>> pvdfN;
    if (!bFixed) pvdfN = std::make_unique<Vd<double>>(0, p);

    const Long iSpan = iSpanInKnotvc(n, p, u, pvdfUKnot);
    const double* pfN = afN;
    if (bFixed) {
        double afLeft[pFixedMax + 1], afRight[pFixedMax + 1];
        basisInto(iSpan, u, p, *pvdfUKnot, afN, afLeft, afRight);
    } else {
        vdfNBSpline(iSpan, u, p, pvdfUKnot, pvdfN.get());
        pfN = pvdfN->pdata;
    }
    VT_ASSERT(pvdfX->lo == 1);

    Vd<double>& vdfX = *pvdfX;
    for (Long iDim = 1; iDim <= nDim; iDim++) vdfX[iDim] = 0.0;
    for (Long i = 0; i <= p; i++) {
        const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + i);
        for (Long iDim = 1; iDim <= nDim; iDim++) vdfX[iDim] += pfN[i] * vdfP[iDim];
    }
}

void mdcfDerivsBSplineAtU(Long nDim, Long n, Long p, Vd<double>* pvdfUKnot,
                          A<unsigned char*>* papVdfP, double u, Long d, Mdc<double>* pmdcfDerivs) {
    Mdc<double>& mdcfDerivs = *pmdcfDerivs;
    const Long du = d < p ? d : p;
    for (Long k = p + 1; k <= d; k++)
        for (Long iDim = 1; iDim <= nDim; iDim++) mdcfDerivs.at(iDim, k) = 0.0;

    const Long iSpan = iSpanInKnotvc(n, p, u, pvdfUKnot);

    // The basis table has a row for every order up to n, the last
    // control-point index, and only rows 0..du are used; a curve with n < p
    // and d > n stops at the table's range check. Rows are computed up to
    // min(du, n) only: row k is made from the rows below it and the factor
    // p!/(p-k)!, so rows 0..du come out the same whatever order the
    // computation goes on to, and the rows above are never read.
    //
    // Where the basis table and the result are known to cover every element
    // used (then du <= n, so rows 0..du are the ones computed), the table is
    // kept on the stack, rows 0..du only, and both are read and written
    // directly; the sums are the same. The control points are read once, in
    // the order of the general loop below (so a short one stops the program
    // at the same read).
    constexpr Long nDimKeptMax = 4;
    if (du >= 0 && du <= n && p >= 0 && p <= pFixedMax && nDim >= 0 && nDim <= nDimKeptMax &&
        mdcfDerivs.loR <= 1 && mdcfDerivs.hiR >= nDim && mdcfDerivs.loC <= 0 &&
        mdcfDerivs.hiC >= du) {
        double afTable[(pFixedMax + 1) * (pFixedMax + 1)];  // rows 0..du, columns 0..p
        const Long nRTable = du + 1;
        derivsBSplineFixed(iSpan, u, p, du, *pvdfUKnot, afTable, nRTable);
        double aafP[pFixedMax + 1][nDimKeptMax];
        for (Long j = 0; j <= p; j++) {
            const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + j);
            for (Long iDim = 1; iDim <= nDim; iDim++) aafP[j][iDim - 1] = vdfP[iDim];
        }
        const Long nROut = mdcfDerivs.nR();
        for (Long k = 0; k <= du; k++) {
            // Column k of the result; row iDim at pfOutK[iDim - 1].
            double* pfOutK = mdcfDerivs.pdata + (k - mdcfDerivs.loC) * nROut + (1 - mdcfDerivs.loR);
            for (Long iDim = 1; iDim <= nDim; iDim++) pfOutK[iDim - 1] = 0.0;
            for (Long j = 0; j <= p; j++) {
                const double fBasis = afTable[j * nRTable + k];
                for (Long iDim = 1; iDim <= nDim; iDim++)
                    pfOutK[iDim - 1] += fBasis * aafP[j][iDim - 1];
            }
        }
        return;
    }
    Mdc<double> mdcfTable(0, n, 0, p);
    mdcfDerivsBSpline(iSpan, u, p, du < n ? du : n, pvdfUKnot, &mdcfTable);
    for (Long k = 0; k <= du; k++) {
        for (Long iDim = 1; iDim <= nDim; iDim++) mdcfDerivs.at(iDim, k) = 0.0;
        for (Long j = 0; j <= p; j++) {
            const Vd<double>& vdfP = vdfPAt(papVdfP, iSpan - p + j);
            for (Long iDim = 1; iDim <= nDim; iDim++)
                mdcfDerivs.at(iDim, k) += mdcfTable.at(k, j) * vdfP[iDim];
        }
    }
}
