// Waypoint file, B-spline fit and path analysis (see wptfpln.h).
#include "plan/wptfpln.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "core/lapackld.h"
#include "core/logerror.h"
#include "numerics/nurbs.h"
#include "plan/thrusters.h"
#include "sim/params.h"

namespace {

// ---- waypoint file -------------------------------------------------------------

constexpr int nChLineBuf = 4096;

// The numbers of the line, newest first; the head carries the running count.
struct NodeParam {
    double f;
    NodeParam* pnodeNext;
};
struct ListParam {
    Long nParam = 0;
    NodeParam* pnodeFirst = nullptr;
    ~ListParam() {
        while (pnodeFirst != nullptr) {
            NodeParam* pnode = pnodeFirst;
            pnodeFirst = pnode->pnodeNext;
            delete pnode;
        }
    }
    void push(double f) {
        pnodeFirst = new NodeParam{f, pnodeFirst};
        nParam++;
    }
};

struct FileCloser {
    void operator()(std::FILE* pfile) const { std::fclose(pfile); }
};
using UPFile = std::unique_ptr<std::FILE, FileCloser>;

// Fatal messages are used as format strings by the error reporter, so a '%'
// in a file name must not reach it.
[[noreturn]] void fatalErrorSzFile(const char* szWhat, const char* szFile) {
    char szMsg[512];
    std::snprintf(szMsg, sizeof szMsg, "pvdfParamTraj1FromFile() %s %s", szWhat, szFile);
    for (char* pch = szMsg; *pch != '\0'; pch++)
        if (*pch == '%') *pch = '?';
    fatalErrorSzMsg(szMsg);
}

// ---- ownership of the fit's temporaries ------------------------------------------

struct PaPVdfDeleter {
    void operator()(A<unsigned char*>* pa) const { deletePaPVdf(pa); }
};
using UPaPVdf = std::unique_ptr<A<unsigned char*>, PaPVdfDeleter>;
using UPVdf = std::unique_ptr<Vd<double>>;

}  // namespace

// ---- helpers -------------------------------------------------------------------

// The vectors of an array are made in one block, one allocation instead of
// two per vector (the analysis makes five arrays of a vector per sample for
// every plan): the Vd objects of elements lo..hi in order, then their
// elements, nDim doubles each, zeroed as Vd's own constructor zeroes them.
// Each vector adopts its share of the block. Element lo's vector is the
// block's start; the vectors are never replaced or moved, only read and
// written in place.
A<unsigned char*>* paPVdfNew(Long lo, Long hi, Long nDim) {
    auto* pa = new A<unsigned char*>(lo, hi);
    const Long n = pa->n();
    if (n == 0) return pa;
    VT_ASSERT(nDim >= 0);
    const std::size_t nVd = static_cast<std::size_t>(n);
    const std::size_t nEl = nVd * static_cast<std::size_t>(nDim);
    static_assert(sizeof(Vd<double>) % alignof(double) == 0);
    auto* pbBlock =
        static_cast<unsigned char*>(::operator new(nVd * sizeof(Vd<double>) + nEl * sizeof(double)));
    auto* pfEl = reinterpret_cast<double*>(pbBlock + nVd * sizeof(Vd<double>));
    std::fill(pfEl, pfEl + nEl, 0.0);
    for (Long i = lo; i <= hi; i++) {
        const std::size_t k = static_cast<std::size_t>(i - lo);
        auto* pvdf = new (pbBlock + k * sizeof(Vd<double>))
            Vd<double>(1, nDim, pfEl + k * static_cast<std::size_t>(nDim));
        (*pa)[i] = reinterpret_cast<unsigned char*>(pvdf);
    }
    return pa;
}

void deletePaPVdf(A<unsigned char*>* pa) {
    if (pa == nullptr) return;
    if (pa->n() > 0) {
        unsigned char* pbBlock = (*pa)[pa->lo()];
        for (Long i = pa->lo(); i <= pa->hi(); i++) {
            Vd<double>* pvdf = pvdfAt(pa, i);
            pvdf->pdata = nullptr;  // the block holds the elements
            pvdf->~Vd();
        }
        ::operator delete(pbBlock);
    }
    delete pa;
}

// ---- waypoint file -------------------------------------------------------------

Vd<double>* pvdfParamTraj1FromFile(const char* szFile) {
    UPFile pfile(std::fopen(szFile, "r"));
    if (!pfile) fatalErrorSzFile("can't open", szFile);

    char szLineBuf[nChLineBuf];
    if (std::fgets(szLineBuf, nChLineBuf, pfile.get()) == nullptr)
        fatalErrorSzMsg("pvdfParamTraj1FromFile() read error");
    // The newline counts, and a line that fills the buffer is refused even
    // though it might have fitted exactly: the limit is one character short
    // of the buffer on purpose, so a line is never silently cut.
    const Long nCh = static_cast<Long>(std::strlen(szLineBuf));
    if (nCh == nChLineBuf - 1) fatalErrorSzMsg("pvdfParamTraj1FromFile() first line too long");

    ListParam listParam;
    char* pch = szLineBuf;
    char* pchEnd = szLineBuf + nCh;
    for (;;) {
        while (pch < pchEnd && std::isspace(static_cast<unsigned char>(*pch))) pch++;
        if (pch >= pchEnd) break;
        char* pchStop = nullptr;
        const double f = std::strtod(pch, &pchStop);
        // A token strtod cannot read would stop the scan from advancing.
        if (pchStop == pch) fatalErrorSzFile("bad number in", szFile);
        // NaN or infinity would flow into every figure of the plan.
        if (!std::isfinite(f)) fatalErrorSzFile("number not finite in", szFile);
        listParam.push(f);
        pch = pchStop;
    }
    if (listParam.nParam == 0) fatalErrorSzMsg("pvdfParamTraj1FromFile() first line is blank");

    // The list is newest first: fill the vector from its end.
    auto* pvdfParam = new Vd<double>(1, listParam.nParam);
    Long i = listParam.nParam;
    for (NodeParam* pnode = listParam.pnodeFirst; pnode != nullptr; pnode = pnode->pnodeNext)
        (*pvdfParam)[i--] = pnode->f;
    return pvdfParam;
}

// ---- B-spline fit --------------------------------------------------------------

void getBSplineVdfUKnot(Long n, Long p, Long m, double fTi, double fTf, Vd<double>* pvdfUKnot) {
    if (n < p)
        fatalErrorSzFmtIII("getBSplineVdfUKnot() n = %i, p = %i, m = %i; must have n >= p", n, p,
                           m);
    Vd<double>& vdfU = *pvdfUKnot;
    for (Long j = 0; j <= p; j++) vdfU[j] = fTi;
    // The fraction (j - p) / (m - 2p) is formed first and then scales the
    // range; forming the product first rounds some knots differently.
    for (Long j = p + 1; j <= m - p - 1; j++)
        vdfU[j] = fTi + (fTf - fTi) * (static_cast<double>(j - p) / static_cast<double>(m - 2 * p));
    for (Long j = m - p; j <= m; j++) vdfU[j] = fTf;
}

namespace {

// Puts the basis values of one span into one row of the system: entry j goes
// to column iColFirst + j.
void putRow(Mdc<double>& mdcfCoeff, Long iRow, Long iColFirst, Long p, const double* pfN) {
    for (Long j = 0; j <= p; j++) mdcfCoeff.at(iRow, iColFirst + j) = pfN[j];
}

// Puts the derivative of order k of one span's basis into one row.
void putDerivRow(Mdc<double>& mdcfCoeff, Long iRow, Long iColFirst, Long p,
                 Mdc<double>& mdcfDerivs, Long k) {
    for (Long j = 0; j <= p; j++) mdcfCoeff.at(iRow, iColFirst + j) = mdcfDerivs.at(k, j);
}

// One-coordinate control points from a slice of the solution.
A<unsigned char*>* paPVdfCpFmSolution(Long n, Mdc<double>& mdcfRhs, Long iRowFirst) {
    A<unsigned char*>* pa = paPVdfNew(0, n, 1);
    for (Long k = 0; k <= n; k++) (*pvdfAt(pa, k))[1] = mdcfRhs.at(iRowFirst + k, 1);
    return pa;
}

// The two blocks of the fit's system: x(t) of degree pX over control points
// 0..nX in rows and columns 1..nX+1, z(t) of degree pZ over 0..nZ from row
// and column iZBase on. (mdcfCoeff is zero outside the rows put below.)
struct FitBlocks {
    Long nX, pX;
    Vd<double>* pvdfUKnotX;
    Long nZ, pZ;
    Vd<double>* pvdfUKnotZ;
    Long iZBase;
};

// Interpolation: a spline sum_j N_j,p(t) P_j passes through the waypoint
// (t_i, x_i) when sum_j N_j,p(t_i) P_j = x_i; only the p + 1 basis
// functions of t_i's span are non-zero, so each row holds those. Per block
// the rows run: first waypoint, the start conditions, interior waypoints,
// the end conditions in descending order, last waypoint: row 1 (iZBase),
// then i + 4 (iZBase + i + 1), and nX + 1 (iZBase + nZ) last.
void putInterpolationRows(Mdc<double>* pmdcfCoeff, Mdc<double>* pmdcfRhs, FitBlocks const& b,
                          Long nPtParam, Vd<double> const& vdfTParam,
                          A<unsigned char*>* paPVdfXParam) {
    Mdc<double>& mdcfCoeff = *pmdcfCoeff;
    Mdc<double>& mdcfRhs = *pmdcfRhs;
    const Long nX = b.nX, pX = b.pX, nZ = b.nZ, pZ = b.pZ, iZBase = b.iZBase;
    Vd<double>* pvdfUKnotX = b.pvdfUKnotX;
    Vd<double>* pvdfUKnotZ = b.pvdfUKnotZ;
    Vd<double> vdfNX(0, pX);
    Vd<double> vdfNZ(0, pZ);
    for (Long i = 0; i < nPtParam; i++) {
        const double t = vdfTParam[i];
        const Vd<double>& vdfX = *pvdfAt(paPVdfXParam, i);

        const Long iSpanX = iSpanInKnotvc(nX, pX, t, pvdfUKnotX);
        vdfNBSpline(iSpanX, t, pX, pvdfUKnotX, &vdfNX);
        const Long iRowX = i == 0 ? 1 : (i == nPtParam - 1 ? nX + 1 : i + 4);
        putRow(mdcfCoeff, iRowX, iSpanX - pX + 1, pX, vdfNX.pdata);
        mdcfRhs.at(iRowX, 1) = vdfX[1];

        const Long iSpanZ = iSpanInKnotvc(nZ, pZ, t, pvdfUKnotZ);
        vdfNBSpline(iSpanZ, t, pZ, pvdfUKnotZ, &vdfNZ);
        const Long iRowZ = i == 0 ? iZBase : (i == nPtParam - 1 ? iZBase + nZ : iZBase + i + 1);
        putRow(mdcfCoeff, iRowZ, iZBase + iSpanZ - pZ, pZ, vdfNZ.pdata);
        mdcfRhs.at(iRowZ, 1) = vdfX[3];
    }
}

// End conditions, right-hand side 0: at rest at both ends, so the first
// three derivatives of x vanish there (the k-th derivative row
// sum_j N^(k)_j,p(t) P_j = 0, k = 1..3) and so does the first of z. Start
// rows follow the first waypoint's row, end rows precede the last one's,
// highest order outermost.
void putEndConditionRows(Mdc<double>* pmdcfCoeff, FitBlocks const& b, double fTi, double fTf) {
    Mdc<double>& mdcfCoeff = *pmdcfCoeff;
    const Long nX = b.nX, pX = b.pX, nZ = b.nZ, pZ = b.pZ, iZBase = b.iZBase;
    Vd<double>* pvdfUKnotX = b.pvdfUKnotX;
    Vd<double>* pvdfUKnotZ = b.pvdfUKnotZ;
    Mdc<double> mdcfDerivsX(0, 3, 0, pX);
    Mdc<double> mdcfDerivsZ(0, 1, 0, pZ);
    {
        const Long iSpanX = iSpanInKnotvc(nX, pX, fTi, pvdfUKnotX);
        mdcfDerivsBSpline(iSpanX, fTi, pX, 3, pvdfUKnotX, &mdcfDerivsX);
        for (Long k = 1; k <= 3; k++)
            putDerivRow(mdcfCoeff, 1 + k, iSpanX - pX + 1, pX, mdcfDerivsX, k);
    }
    {
        const Long iSpanX = iSpanInKnotvc(nX, pX, fTf, pvdfUKnotX);
        mdcfDerivsBSpline(iSpanX, fTf, pX, 3, pvdfUKnotX, &mdcfDerivsX);
        for (Long k = 1; k <= 3; k++)
            putDerivRow(mdcfCoeff, nX + 1 - k, iSpanX - pX + 1, pX, mdcfDerivsX, k);
    }
    {
        const Long iSpanZ = iSpanInKnotvc(nZ, pZ, fTi, pvdfUKnotZ);
        mdcfDerivsBSpline(iSpanZ, fTi, pZ, 1, pvdfUKnotZ, &mdcfDerivsZ);
        putDerivRow(mdcfCoeff, iZBase + 1, iZBase + iSpanZ - pZ, pZ, mdcfDerivsZ, 1);
    }
    {
        const Long iSpanZ = iSpanInKnotvc(nZ, pZ, fTf, pvdfUKnotZ);
        mdcfDerivsBSpline(iSpanZ, fTf, pZ, 1, pvdfUKnotZ, &mdcfDerivsZ);
        putDerivRow(mdcfCoeff, iZBase + nZ - 1, iZBase + iSpanZ - pZ, pZ, mdcfDerivsZ, 1);
    }
}

}  // namespace

void paramsToBSpline(Vd<double>* pvdfParam, unsigned char* pbOk, Vd<double>** ppvdfTParam,
                     A<unsigned char*>** ppaPVdfXParam, double* pfTi, double* pfTf, Long* pnX,
                     Long* ppX, Long* pmX, Vd<double>** ppvdfUKnotX,
                     A<unsigned char*>** ppaPVdfXCpX, Long* pnZ, Long* ppZ, Long* pmZ,
                     Vd<double>** ppvdfUKnotZ, A<unsigned char*>** ppaPVdfXCpZ) {
    // 1. Count.
    const Long nParam = pvdfParam->n();
    if (nParam % 3 != 0)
        fatalErrorSzFmtI("paramsToBSpline with %i params; must be a multiple of 3", nParam);

    // 2. Waypoints.
    const Vd<double>& vdfParam = *pvdfParam;
    const Long iP = pvdfParam->lo;  // first index, 1 for the reader's vectors
    const double fTi = vdfParam[iP];
    const double fTf = vdfParam[iP + nParam - 3];
    const Long nPtParam = nParam / 3;
    UPVdf pvdfTParam(new Vd<double>(0, nPtParam - 1));
    UPaPVdf paPVdfXParam(paPVdfNew(0, nPtParam - 1, 3));
    for (Long i = 0; i < nPtParam; i++) {
        (*pvdfTParam)[i] = vdfParam[iP + 3 * i];
        Vd<double>& vdfX = *pvdfAt(paPVdfXParam.get(), i);
        vdfX[1] = vdfParam[iP + 3 * i + 1];
        vdfX[2] = 0.0;
        vdfX[3] = vdfParam[iP + 3 * i + 2];
    }

    // 3. Knot vectors; fewer than four waypoints stop at the vertical one.
    const Long pX = 6, nX = nPtParam + 5, mX = nX + pX + 1;
    const Long pZ = 5, nZ = nPtParam + 1, mZ = nZ + pZ + 1;
    UPVdf pvdfUKnotX(new Vd<double>(0, mX));
    getBSplineVdfUKnot(nX, pX, mX, fTi, fTf, pvdfUKnotX.get());
    UPVdf pvdfUKnotZ(new Vd<double>(0, mZ));
    getBSplineVdfUKnot(nZ, pZ, mZ, fTi, fTf, pvdfUKnotZ.get());

    // Times the knot vectors cannot hold (an empty, reversed or overflowing
    // range, a waypoint before the first or after the last time) would send
    // the span search outside the knots. They cannot be fitted: report a
    // failed solve.
    bool bTimesOk = fTf > fTi && std::isfinite(fTf - fTi);
    for (Long i = 0; i < nPtParam && bTimesOk; i++) {
        const double t = (*pvdfTParam)[i];
        bTimesOk = t >= fTi && t <= fTf;
    }
    if (!bTimesOk) {
        *pbOk = false;
        return;
    }

    // 4-5. The system: interpolation rows, then end conditions.
    const Long nEqn = (nX + 1) + (nZ + 1);
    const Long iZBase = nX + 2;
    const FitBlocks blocks{nX, pX, pvdfUKnotX.get(), nZ, pZ, pvdfUKnotZ.get(), iZBase};
    Mdc<double> mdcfCoeff(1, nEqn, 1, nEqn);
    Mdc<double> mdcfRhs(1, nEqn, 1, 1);
    putInterpolationRows(&mdcfCoeff, &mdcfRhs, blocks, nPtParam, *pvdfTParam, paPVdfXParam.get());
    putEndConditionRows(&mdcfCoeff, blocks, fTi, fTf);

    // 6. Solve: LU with partial pivoting, then one right-hand side.
    Vd<lapack_int> vdiPiv(1, nEqn);
    lapack_int info = lapackeDgetrf(LAPACK_COL_MAJOR, nEqn, nEqn, mdcfCoeff.pdata, nEqn,
                                    vdiPiv.pdata);
    if (info == 0)
        info = lapackeDgetrs(LAPACK_COL_MAJOR, 'N', nEqn, 1, mdcfCoeff.pdata, nEqn,
                              vdiPiv.pdata, mdcfRhs.pdata, nEqn);
    // A nearly singular system can come back with infinite or NaN control
    // points; they would fill every report with NaN. Treat it as unsolved.
    for (Long i = 1; i <= nEqn && info == 0; i++)
        if (!std::isfinite(mdcfRhs.at(i, 1))) info = -1;
    if (info != 0) {
        *pbOk = false;
        return;
    }

    // 7. Hand out.
    *ppvdfTParam = pvdfTParam.release();
    *ppaPVdfXParam = paPVdfXParam.release();
    *pfTi = fTi;
    *pfTf = fTf;
    *pnX = nX;
    *ppX = pX;
    *pmX = mX;
    *ppvdfUKnotX = pvdfUKnotX.release();
    *ppaPVdfXCpX = paPVdfCpFmSolution(nX, mdcfRhs, 1);
    *pnZ = nZ;
    *ppZ = pZ;
    *pmZ = mZ;
    *ppvdfUKnotZ = pvdfUKnotZ.release();
    *ppaPVdfXCpZ = paPVdfCpFmSolution(nZ, mdcfRhs, iZBase);
    *pbOk = true;
}

// ---- path analysis -------------------------------------------------------------

namespace {

// Pitch and its first two rates at one sample, from the spline's derivative
// table (rows x, y, z; columns the orders 0..4 at least).
//
// The thrust must supply the force that flies the path against gravity,
// m (x'', g + z''); the thrust axis points along it, so with the pitch
// turning the axis from +z towards -x,
//   theta = atan2(-A, B),   A = x'',  B = g + z''.
// Differentiating atan2(-A, B) = -atan(A / B) and writing S = A^2 + B^2:
//   theta'  = (A B' - B A') / S
//   theta'' = (A B'' - B A'') / S - (A B' - B A') S' / S^2,  S' = 2 (A A' + B B')
// and the second term, multiplied out,
//   -(A B' - B A') 2 (A A' + B B') / S^2
//     = 2 (B^2 B' A' + A'^2 A B - A^2 A' B' - A B B'^2) / S^2,
// the form evaluated below (its order of terms fixes the bits).
// S = 0 (free fall, no thrust) leaves the rates undefined (not finite); the
// plan is then refused by its caller.
struct PitchRates {
    double fPitch, fPitchDot, fPitchDot2;
};

PitchRates pitchRatesFmDerivs(Mdc<double>& mdcfDerivs, double fAcG) {
    const double A = mdcfDerivs.at(1, 2);
    const double B = fAcG + mdcfDerivs.at(3, 2);
    const double Ap = mdcfDerivs.at(1, 3);
    const double Bp = mdcfDerivs.at(3, 3);
    const double App = mdcfDerivs.at(1, 4);
    const double Bpp = mdcfDerivs.at(3, 4);
    const double S = A * A + B * B;
    PitchRates pr;
    pr.fPitch = std::atan2(-A, B);
    pr.fPitchDot = (A * Bp - B * Ap) / S;
    pr.fPitchDot2 =
        (A * Bpp - B * App) / S +
        2.0 * (B * B * Bp * Ap + Ap * Ap * A * B - A * A * Ap * Bp - A * B * Bp * Bp) / (S * S);
    return pr;
}

// Force and moment at one sample from the mass and inertia there:
//   F = m (x'', y'', g + z'')       (the thrust vector; drag is left out)
//   M = (0, I theta'', 0)           (the pitch moment about body y)
void forceMomentAt(Vd<double>* pvdfF, Vd<double>* pvdfM, double fMs, double fIPitch,
                   Vd<double> const& vdfXDot2, double fPitchDot2, double fAcG) {
    Vd<double>& vdfF = *pvdfF;
    vdfF[1] = fMs * vdfXDot2[1];
    vdfF[2] = fMs * vdfXDot2[2];
    vdfF[3] = fMs * (fAcG + vdfXDot2[3]);
    Vd<double>& vdfM = *pvdfM;
    vdfM[1] = 0.0;
    vdfM[2] = fIPitch * fPitchDot2;
    vdfM[3] = 0.0;
}

// The mass after one interval of length fDTi at the start's force:
// m' = -|F| / Isp, integrated by explicit Euler (the force at the start of
// the interval burns through all of it).
double fMsAfter(double fMs, double fDTi, Vd<double> const& vdfF, double fIsp) {
    const double fFc = std::sqrt(vdfF[1] * vdfF[1] + vdfF[2] * vdfF[2] + vdfF[3] * vdfF[3]);
    return fMs - fDTi * fFc / fIsp;
}

}  // namespace

void analyzePathBSpline(Planet const& planet, Vehicle const& vehicle, Long nX, Long pX, Long mX,
                        Vd<double>* pvdfUKnotX, A<unsigned char*>* paPVdfXCpX, Long nZ, Long pZ,
                        Long mZ, Vd<double>* pvdfUKnotZ, A<unsigned char*>* paPVdfXCpZ,
                        Vd<double>* pvdfT, A<unsigned char*>** ppaPVdfX, Vd<double>** ppvdfPitch,
                        A<unsigned char*>** ppaPVdfXDot, Vd<double>** ppvdfPitchDot,
                        A<unsigned char*>** ppaPVdfXDot2, Vd<double>** ppvdfPitchDot2,
                        Vd<double>** ppvdfMs, A<unsigned char*>** ppaPVdfF,
                        A<unsigned char*>** ppaPVdfM, double* pfHorzRange, double* pfMsProp,
                        double* pfFThrusterMin, double* pfFThrusterMax) {
    // The last knot indices are implied by the knot vectors themselves.
    (void)mX;
    (void)mZ;
    const double fAcG = planet.fAcG;
    const Long iLo = pvdfT->lo;
    const Long iHi = pvdfT->hi;
    const Vd<double>& vdfT = *pvdfT;

    UPaPVdf paPVdfX(paPVdfNew(iLo, iHi, 3));
    UPVdf pvdfPitch(new Vd<double>(iLo, iHi));
    UPaPVdf paPVdfXDot(paPVdfNew(iLo, iHi, 3));
    UPVdf pvdfPitchDot(new Vd<double>(iLo, iHi));
    UPaPVdf paPVdfXDot2(paPVdfNew(iLo, iHi, 3));
    UPVdf pvdfPitchDot2(new Vd<double>(iLo, iHi));
    UPVdf pvdfMs(new Vd<double>(iLo, iHi));
    UPaPVdf paPVdfF(paPVdfNew(iLo, iHi, 3));
    UPaPVdf paPVdfM(paPVdfNew(iLo, iHi, 3));

    // Work space, allocated once: one derivative table per spline, and the
    // sample's table (rows x, y, z; columns order 0..4). The pitch's second
    // rate reads the fourth derivatives and nothing reads a fifth; a row of
    // the basis table depends only on the rows below it, so orders 0..4 are
    // the same numbers whether or not a fifth is formed.
    const Long nDeriv = 4;
    Mdc<double> mdcfDerivsXAtT(1, 1, 0, nDeriv);
    Mdc<double> mdcfDerivsZAtT(1, 1, 0, nDeriv);
    Mdc<double> mdcfDerivs(1, 3, 0, nDeriv);

    double fMs = vehicle.fMsGTO;
    double fIPitch = vehicle.fIPitchGTO;
    for (Long i = iLo; i <= iHi; i++) {
        const double t = vdfT[i];

        // 1. Derivatives of orders 0..5.
        mdcfDerivsBSplineAtU(1, nX, pX, pvdfUKnotX, paPVdfXCpX, t, nDeriv, &mdcfDerivsXAtT);
        mdcfDerivsBSplineAtU(1, nZ, pZ, pvdfUKnotZ, paPVdfXCpZ, t, nDeriv, &mdcfDerivsZAtT);

        // 2. Position: the point vdfXBSplineAtU gives is order 0 of the
        // derivatives, bit for bit (the same basis values by the same
        // recurrence, summed over the same control points in the same
        // order), so it is taken from there.
        Vd<double>& vdfX = *pvdfAt(paPVdfX.get(), i);
        vdfX[1] = mdcfDerivsXAtT.at(1, 0);
        vdfX[2] = 0.0;
        vdfX[3] = mdcfDerivsZAtT.at(1, 0);
        for (Long k = 0; k <= nDeriv; k++) {
            mdcfDerivs.at(1, k) = mdcfDerivsXAtT.at(1, k);
            mdcfDerivs.at(2, k) = 0.0;
            mdcfDerivs.at(3, k) = mdcfDerivsZAtT.at(1, k);
        }
        Vd<double>& vdfXDot = *pvdfAt(paPVdfXDot.get(), i);
        Vd<double>& vdfXDot2 = *pvdfAt(paPVdfXDot2.get(), i);
        for (Long iDim = 1; iDim <= 3; iDim++) {
            vdfXDot[iDim] = mdcfDerivs.at(iDim, 1);
            vdfXDot2[iDim] = mdcfDerivs.at(iDim, 2);
        }

        // 3. Pitch and its rates.
        const PitchRates pr = pitchRatesFmDerivs(mdcfDerivs, fAcG);
        (*pvdfPitch)[i] = pr.fPitch;
        (*pvdfPitchDot)[i] = pr.fPitchDot;
        (*pvdfPitchDot2)[i] = pr.fPitchDot2;

        // 4. Mass, force and moment, marching forward; the last sample's
        // force is never integrated.
        (*pvdfMs)[i] = fMs;
        Vd<double>& vdfF = *pvdfAt(paPVdfF.get(), i);
        forceMomentAt(&vdfF, pvdfAt(paPVdfM.get(), i), fMs, fIPitch, vdfXDot2, pr.fPitchDot2, fAcG);
        if (i < iHi) {
            fMs = fMsAfter(fMs, vdfT[i + 1] - vdfT[i], vdfF, vehicle.fIsp);
            fIPitch = vehicle.fIPitchAtFMs(fMs);
        }
    }

    // 5. Summary figures.
    const Vd<double>& vdfX0 = *pvdfAt(paPVdfX.get(), iLo);
    const Vd<double>& vdfXN = *pvdfAt(paPVdfX.get(), iHi);
    const double fDX = vdfXN[1] - vdfX0[1];
    const double fDY = vdfXN[2] - vdfX0[2];
    const double fHorzRange = std::sqrt(fDX * fDX + fDY * fDY);
    const double fMsProp = (*pvdfMs)[iLo] - (*pvdfMs)[iHi];

    // The range of one thruster's force over the samples (plan/thrusters.h).
    double fFThrusterMin = 1.79e+308;
    double fFThrusterMax = -1.79e+308;
    for (Long i = iLo; i <= iHi; i++) {
        double afF[3];
        fFThrustersFm(afF, *pvdfAt(paPVdfF.get(), i), *pvdfAt(paPVdfM.get(), i));
        for (double fFThruster : afF) {
            if (fFThruster < fFThrusterMin) fFThrusterMin = fFThruster;
            if (fFThruster > fFThrusterMax) fFThrusterMax = fFThruster;
        }
    }

    // 6. Hand out what was asked for; the rest is released here.
    if (ppaPVdfX != nullptr) *ppaPVdfX = paPVdfX.release();
    if (ppvdfPitch != nullptr) *ppvdfPitch = pvdfPitch.release();
    if (ppaPVdfXDot != nullptr) *ppaPVdfXDot = paPVdfXDot.release();
    if (ppvdfPitchDot != nullptr) *ppvdfPitchDot = pvdfPitchDot.release();
    if (ppaPVdfXDot2 != nullptr) *ppaPVdfXDot2 = paPVdfXDot2.release();
    if (ppvdfPitchDot2 != nullptr) *ppvdfPitchDot2 = pvdfPitchDot2.release();
    if (ppvdfMs != nullptr) *ppvdfMs = pvdfMs.release();
    if (ppaPVdfF != nullptr) *ppaPVdfF = paPVdfF.release();
    if (ppaPVdfM != nullptr) *ppaPVdfM = paPVdfM.release();
    if (pfHorzRange != nullptr) *pfHorzRange = fHorzRange;
    if (pfMsProp != nullptr) *pfMsProp = fMsProp;
    if (pfFThrusterMin != nullptr) *pfFThrusterMin = fFThrusterMin;
    if (pfFThrusterMax != nullptr) *pfFThrusterMax = fFThrusterMax;
}
