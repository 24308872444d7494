// Homogeneous transforms with their inverses, and homogeneous points, lines
// and planes.
#include "geom/geom4h.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "core/logerror.h"

// ---- free-standing matrices ---------------------------------------------------------

// The bias is applied on the integer value of the address, so that the
// biased pointer is formed without pointer arithmetic outside the block.
namespace {

template <class T>
T* pBiased(T* p, Long lo) {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(p) -
                                static_cast<std::uintptr_t>(static_cast<std::intptr_t>(lo)) *
                                    sizeof(T));
}

template <class T>
T* pUnbiased(T* p, Long lo) {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(p) +
                                static_cast<std::uintptr_t>(static_cast<std::intptr_t>(lo)) *
                                    sizeof(T));
}

}  // namespace

double** mxF64New(Long loR, Long hiR, Long loC, Long hiC) {
    VT_ASSERT(loR <= hiR && loC <= hiC);
    std::int64_t nR = static_cast<std::int64_t>(hiR) - loR + 1;
    std::int64_t nC = static_cast<std::int64_t>(hiC) - loC + 1;
    char szMsg[200];
    std::snprintf(szMsg, sizeof szMsg, "mxF64New( %i, %i, %i, %i ) allocation failure", loR, hiR,
                  loC, hiC);
    // Refuse sizes whose byte count would not fit (nR * nC * 8 < 2^62).
    if (nR > (std::int64_t(1) << 30) || nC > (std::int64_t(1) << 30) ||
        nR * nC > (std::int64_t(1) << 58))
        fatalError(szMsg);
    double** arpRow = new (std::nothrow) double*[static_cast<std::size_t>(nR)];
    if (arpRow == nullptr) fatalError(szMsg);
    double* arF = new (std::nothrow) double[static_cast<std::size_t>(nR * nC)];
    if (arF == nullptr) fatalError(szMsg);
    for (std::int64_t r = 0; r < nR; ++r) arpRow[r] = pBiased(arF + r * nC, loC);
    return pBiased(arpRow, loR);
}

void releaseMxF64(double** mx, Long loR, Long loC) {
    if (mx == nullptr) return;
    double** arpRow = pUnbiased(mx, loR);
    delete[] pUnbiased(arpRow[0], loC);
    delete[] arpRow;
}

void gaussJordan(double** mxA, Long n, double** mxB, Long m, Long* piStatus) {
    if (n < 1 || m < 0 || (m > 0 && mxB == nullptr)) {
        *piStatus = 2;
        return;
    }
    // Book-keeping of the pivots, indexed 1..n; on the stack for the sizes
    // the program uses.
    constexpr Long nSmall = 16;
    Long arISmall[3 * (nSmall + 1)];
    std::vector<Long> arIBig;
    Long* arI = arISmall;
    if (n > nSmall) {
        arIBig.resize(3 * (static_cast<std::size_t>(n) + 1));
        arI = arIBig.data();
    }
    Long* arIIndxC = arI;
    Long* arIIndxR = arI + (n + 1);
    Long* arIPiv = arI + 2 * (n + 1);
    for (Long j = 1; j <= n; ++j) arIPiv[j] = 0;

    for (Long i = 1; i <= n; ++i) {
        // Full pivoting: the largest element not in a pivot row or column.
        // A NaN is never chosen; a matrix without a usable pivot is singular.
        double fBig = 0.0;
        Long iRow = 0, iCol = 0;
        for (Long j = 1; j <= n; ++j) {
            if (arIPiv[j] == 1) continue;
            for (Long k = 1; k <= n; ++k) {
                if (arIPiv[k] == 0 && std::fabs(mxA[j][k]) > fBig) {
                    fBig = std::fabs(mxA[j][k]);
                    iRow = j;
                    iCol = k;
                }
            }
        }
        if (iRow == 0) {
            *piStatus = 1;
            return;
        }
        ++arIPiv[iCol];
        if (iRow != iCol) {
            for (Long l = 1; l <= n; ++l) std::swap(mxA[iRow][l], mxA[iCol][l]);
            for (Long l = 1; l <= m; ++l) std::swap(mxB[iRow][l], mxB[iCol][l]);
        }
        arIIndxR[i] = iRow;
        arIIndxC[i] = iCol;
        double fPivInv = 1.0 / mxA[iCol][iCol];
        mxA[iCol][iCol] = 1.0;
        for (Long l = 1; l <= n; ++l) mxA[iCol][l] *= fPivInv;
        for (Long l = 1; l <= m; ++l) mxB[iCol][l] *= fPivInv;
        for (Long ll = 1; ll <= n; ++ll) {
            if (ll == iCol) continue;
            double fDum = mxA[ll][iCol];
            mxA[ll][iCol] = 0.0;
            for (Long l = 1; l <= n; ++l) mxA[ll][l] -= mxA[iCol][l] * fDum;
            for (Long l = 1; l <= m; ++l) mxB[ll][l] -= mxB[iCol][l] * fDum;
        }
    }
    // Undo the column interchanges in the reverse order.
    for (Long l = n; l >= 1; --l) {
        if (arIIndxR[l] != arIIndxC[l])
            for (Long k = 1; k <= n; ++k) std::swap(mxA[k][arIIndxR[l]], mxA[k][arIIndxC[l]]);
    }
    *piStatus = 0;
}

// ---- the transform ----------------------------------------------------------------------

void X4h::pointIntoStorage() {
    _arpFRow[0] = nullptr;
    _arpFInvRow[0] = nullptr;
    for (int r = 1; r <= 4; ++r) {
        _arpFRow[r] = _arF + 4 * (r - 1);
        _arpFInvRow[r] = _arFInv + 4 * (r - 1);
    }
    mxF = _arpFRow;
    mxFInv = _arpFInvRow;
}

X4h::X4h(NoInit) : mxF(nullptr), bInv(false), mxFInv(nullptr) { pointIntoStorage(); }

X4h::X4h() : mxF(nullptr), bInv(false), mxFInv(nullptr) {
    pointIntoStorage();
    std::memset(_arF, 0, sizeof _arF);
    std::memset(_arFInv, 0, sizeof _arFInv);
}

namespace {

// Inverts mxFInv (already a copy of the matrix) in place.
bool bInvertInPlace(double** mxFInv) {
    Long iStatus = -1;
    gaussJordan(mxFInv, 4, nullptr, 0, &iStatus);
    VT_ASSERT(iStatus == 0 || iStatus == 1);
    return iStatus == 0;
}

}  // namespace

X4h::X4h(double (*mx)[4]) : X4h(NoInit{}) {
    _arF[0] = _arFInv[0] = 0.0;
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) mxF[r][c] = mxFInv[r][c] = mx[r - 1][c - 1];
    bInv = bInvertInPlace(mxFInv);
}

X4h::X4h(double** mx) : X4h(NoInit{}) {
    _arF[0] = _arFInv[0] = 0.0;
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) mxF[r][c] = mxFInv[r][c] = mx[r][c];
    bInv = bInvertInPlace(mxFInv);
}

X4h::X4h(double** mxFGiven, double** mxFInvGiven) : X4h(NoInit{}) {
    _arF[0] = _arFInv[0] = 0.0;
    for (int r = 1; r <= 4; ++r) {
        for (int c = 1; c <= 4; ++c) {
            mxF[r][c] = mxFGiven[r][c];
            mxFInv[r][c] = mxFInvGiven[r][c];
        }
    }
    bInv = true;
}

X4h::X4h(X4h const& x4h) : X4h(NoInit{}) {
    std::memcpy(_arF, x4h._arF, sizeof _arF);
    std::memcpy(_arFInv, x4h._arFInv, sizeof _arFInv);
    bInv = x4h.bInv;
}

X4h& X4h::operator=(X4h const& x4h) {
    if (this != &x4h) {
        std::memcpy(_arF, x4h._arF, sizeof _arF);
        std::memcpy(_arFInv, x4h._arFInv, sizeof _arFInv);
        bInv = x4h.bInv;
    }
    return *this;
}

// ---- factories ------------------------------------------------------------------------

X4h x4hIdent() {
    // Slot 0 of each block is unused; the identity is written in one pass.
    static constexpr double arFIdent[17] = {0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0,
                                            0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0};
    X4h x4h{X4h::NoInit{}};
    std::memcpy(x4h._arF, arFIdent, sizeof arFIdent);
    std::memcpy(x4h._arFInv, arFIdent, sizeof arFIdent);
    x4h.bInv = true;
    return x4h;
}

X4h x4hScale(double fSX, double fSY, double fSZ) {
    X4h x4h = x4hIdent();
    x4h.mxF[1][1] = fSX;
    x4h.mxF[2][2] = fSY;
    x4h.mxF[3][3] = fSZ;
    if (fSX != 0.0 && fSY != 0.0 && fSZ != 0.0) {
        x4h.mxFInv[1][1] = 1.0 / fSX;
        x4h.mxFInv[2][2] = 1.0 / fSY;
        x4h.mxFInv[3][3] = 1.0 / fSZ;
    } else {
        x4h.bInv = false;
    }
    return x4h;
}

X4h x4hScaleX(double fS) { return x4hScale(fS, 1.0, 1.0); }
X4h x4hScaleY(double fS) { return x4hScale(1.0, fS, 1.0); }
X4h x4hScaleZ(double fS) { return x4hScale(1.0, 1.0, fS); }

namespace {

// The transform x applied about a centre point: move the centre to the
// origin, apply x, move back.
X4h x4hAboutPtC(Pt3c const& ptC, X4h const& x4h) {
    X4h x4hToC = x4hTrans(ptC.fX, ptC.fY, ptC.fZ);
    return x4hInv(x4hToC) * x4h * x4hToC;
}

}  // namespace

X4h x4hScale(Pt3c const& ptC, double fSX, double fSY, double fSZ) {
    return x4hAboutPtC(ptC, x4hScale(fSX, fSY, fSZ));
}

X4h x4hTrans(double dx, double dy, double dz) {
    X4h x4h = x4hIdent();
    x4h.mxF[1][4] = -dx;
    x4h.mxF[2][4] = -dy;
    x4h.mxF[3][4] = -dz;
    x4h.mxFInv[1][4] = dx;
    x4h.mxFInv[2][4] = dy;
    x4h.mxFInv[3][4] = dz;
    return x4h;
}

X4h x4hTrans(Vc3c const& vc) { return x4hTrans(vc.fX, vc.fY, vc.fZ); }

X4h x4hRotX(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    X4h x4h = x4hIdent();
    x4h.mxF[2][2] = c;
    x4h.mxF[2][3] = s;
    x4h.mxF[3][2] = -s;
    x4h.mxF[3][3] = c;
    x4h.mxFInv[2][2] = c;
    x4h.mxFInv[2][3] = -s;
    x4h.mxFInv[3][2] = s;
    x4h.mxFInv[3][3] = c;
    return x4h;
}

X4h x4hRotY(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    X4h x4h = x4hIdent();
    x4h.mxF[1][1] = c;
    x4h.mxF[1][3] = -s;
    x4h.mxF[3][1] = s;
    x4h.mxF[3][3] = c;
    x4h.mxFInv[1][1] = c;
    x4h.mxFInv[1][3] = s;
    x4h.mxFInv[3][1] = -s;
    x4h.mxFInv[3][3] = c;
    return x4h;
}

X4h x4hRotZ(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    X4h x4h = x4hIdent();
    x4h.mxF[1][1] = c;
    x4h.mxF[1][2] = s;
    x4h.mxF[2][1] = -s;
    x4h.mxF[2][2] = c;
    x4h.mxFInv[1][1] = c;
    x4h.mxFInv[1][2] = -s;
    x4h.mxFInv[2][1] = s;
    x4h.mxFInv[2][2] = c;
    return x4h;
}

X4h x4hRotRcb3c(Rcb3c const& rcb) {
    X4h x4h = x4hIdent();
    for (int r = 1; r <= 3; ++r) {
        for (int c = 1; c <= 3; ++c) {
            x4h.mxF[r][c] = rcb.mxF[r - 1][c - 1];
            x4h.mxFInv[r][c] = rcb.mxF[c - 1][r - 1];
        }
    }
    return x4h;
}

X4h x4hRotEuler(double fRdn1, double fRdn2, double fRdn3) {
    return x4hRotRcb3c(rcb3cRotFRdnZXZ(fRdn1, fRdn2, fRdn3));
}

X4h x4hRotDrXYNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrXYNew(dr1, dr2)); }
X4h x4hRotDrYZNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrYZNew(dr1, dr2)); }
X4h x4hRotDrZXNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrZXNew(dr1, dr2)); }
X4h x4hRotDrXZNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrXZNew(dr1, dr2)); }
X4h x4hRotDrYXNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrYXNew(dr1, dr2)); }
X4h x4hRotDrZYNew(Dr3c const& dr1, Dr3c const& dr2) { return x4hRotRcb3c(rcb3cDrZYNew(dr1, dr2)); }

X4h x4hRotDrAxisFRdn(Dr3c const& drAxis, double fRdn) {
    return x4hRotRcb3c(rcb3cDrAxisFRdn(drAxis, fRdn));
}

X4h x4hRotPtCX(Pt3c const& ptC, double fRdn) { return x4hAboutPtC(ptC, x4hRotX(fRdn)); }
X4h x4hRotPtCY(Pt3c const& ptC, double fRdn) { return x4hAboutPtC(ptC, x4hRotY(fRdn)); }
X4h x4hRotPtCZ(Pt3c const& ptC, double fRdn) { return x4hAboutPtC(ptC, x4hRotZ(fRdn)); }
X4h x4hRotPtCEuler(Pt3c const& ptC, double fRdn1, double fRdn2, double fRdn3) {
    return x4hAboutPtC(ptC, x4hRotEuler(fRdn1, fRdn2, fRdn3));
}
X4h x4hRotPtCDrXYNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrXYNew(dr1, dr2));
}
X4h x4hRotPtCDrYZNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrYZNew(dr1, dr2));
}
X4h x4hRotPtCDrZXNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrZXNew(dr1, dr2));
}
X4h x4hRotPtCDrXZNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrXZNew(dr1, dr2));
}
X4h x4hRotPtCDrYXNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrYXNew(dr1, dr2));
}
X4h x4hRotPtCDrZYNew(Pt3c const& ptC, Dr3c const& dr1, Dr3c const& dr2) {
    return x4hAboutPtC(ptC, x4hRotDrZYNew(dr1, dr2));
}
X4h x4hRotPtCDrAxisFRdn(Pt3c const& ptC, Dr3c const& drAxis, double fRdn) {
    return x4hAboutPtC(ptC, x4hRotDrAxisFRdn(drAxis, fRdn));
}
X4h x4hRotPtCRcb3c(Pt3c const& ptC, Rcb3c const& rcb) {
    return x4hAboutPtC(ptC, x4hRotRcb3c(rcb));
}

X4h x4hRflX() {
    X4h x4h = x4hIdent();
    x4h.mxF[1][1] = x4h.mxFInv[1][1] = -1.0;
    return x4h;
}
X4h x4hRflY() {
    X4h x4h = x4hIdent();
    x4h.mxF[2][2] = x4h.mxFInv[2][2] = -1.0;
    return x4h;
}
X4h x4hRflZ() {
    X4h x4h = x4hIdent();
    x4h.mxF[3][3] = x4h.mxFInv[3][3] = -1.0;
    return x4h;
}

// p' = p - 2((p - ptOn).n)n: the block I - 2nn' and the column 2(n.ptOn)n.
X4h x4hRflPlnPtDrNrm(Pt3c const& ptOn, Dr3c const& drNrm) {
    const double arN[3] = {drNrm.fX, drNrm.fY, drNrm.fZ};
    double fNDotP = drNrm.fX * ptOn.fX + drNrm.fY * ptOn.fY + drNrm.fZ * ptOn.fZ;
    X4h x4h = x4hIdent();
    for (int r = 1; r <= 3; ++r) {
        for (int c = 1; c <= 3; ++c) {
            double f = (r == c ? 1.0 : 0.0) - 2.0 * arN[r - 1] * arN[c - 1];
            x4h.mxF[r][c] = x4h.mxFInv[r][c] = f;
        }
        x4h.mxF[r][4] = x4h.mxFInv[r][4] = 2.0 * fNDotP * arN[r - 1];
    }
    return x4h;
}

// ---- composition and inversion -----------------------------------------------------------

namespace {

// c = a . b for 4-by-4 blocks stored row by row from element 1 (slot 0 of
// each block unused); fixed bounds let the compiler unroll and vectorise.
inline void mulBlock(double* c, const double* a, const double* b) {
    for (int i = 0; i < 4; ++i) {
        double arRow[4] = {0.0, 0.0, 0.0, 0.0};
        for (int k = 0; k < 4; ++k) {
            double f = a[1 + 4 * i + k];
            for (int j = 0; j < 4; ++j) arRow[j] += f * b[1 + 4 * k + j];
        }
        for (int j = 0; j < 4; ++j) c[1 + 4 * i + j] = arRow[j];
    }
}

}  // namespace

X4h operator*(X4h const& a, X4h const& b) {
    X4h x4h{X4h::NoInit{}};
    x4h._arF[0] = x4h._arFInv[0] = 0.0;
    mulBlock(x4h._arF, a._arF, b._arF);
    x4h.bInv = a.bInv && b.bInv;
    if (x4h.bInv)
        mulBlock(x4h._arFInv, b._arFInv, a._arFInv);
    else
        for (int i = 1; i <= 16; ++i) x4h._arFInv[i] = 0.0;
    return x4h;
}

X4h x4hInv(X4h const& x4h) {
    VT_ASSERT(x4h.bInv);
    X4h x4hResult{X4h::NoInit{}};
    std::memcpy(x4hResult._arF, x4h._arFInv, sizeof x4hResult._arF);
    std::memcpy(x4hResult._arFInv, x4h._arF, sizeof x4hResult._arFInv);
    x4hResult.bInv = true;
    return x4hResult;
}

// ---- homogeneous companions ------------------------------------------------------------------

Pt3c Pt4h::pt3c() const { return Pt3c(fX / fW, fY / fW, fZ / fW); }

Ln4h::Ln4h(Pt3c const& ptOrg, Vc3c const& vcDir)
    : pt4hOrg(ptOrg), pt4hDir(vcDir.fX, vcDir.fY, vcDir.fZ, 0.0) {}

// The derivative of (org + t dir).xyz / (org + t dir).w at t = 0, scaled by
// org.w squared: dir.xyz * org.w - org.xyz * dir.w.
Dr3c Ln4h::dr3c() const {
    return Dr3c(pt4hDir.fX * pt4hOrg.fW - pt4hOrg.fX * pt4hDir.fW,
                pt4hDir.fY * pt4hOrg.fW - pt4hOrg.fY * pt4hDir.fW,
                pt4hDir.fZ * pt4hOrg.fW - pt4hOrg.fZ * pt4hDir.fW);
}

Pln4h::Pln4h(Dr3c const& drNrm, Pt3c const& ptOn)
    : fA(drNrm.fX),
      fB(drNrm.fY),
      fC(drNrm.fZ),
      fD(-(drNrm.fX * ptOn.fX + drNrm.fY * ptOn.fY + drNrm.fZ * ptOn.fZ)) {}

Pt3c ptAtTLn4h(double fT, Ln4h const& ln) {
    Pt4h pt(ln.pt4hOrg.fX + fT * ln.pt4hDir.fX, ln.pt4hOrg.fY + fT * ln.pt4hDir.fY,
            ln.pt4hOrg.fZ + fT * ln.pt4hDir.fZ, ln.pt4hOrg.fW + fT * ln.pt4hDir.fW);
    return pt.pt3c();
}

double fTIntersectLnPln4h(Ln4h const& ln, Pln4h const& pln) {
    Pt4h const& o = ln.pt4hOrg;
    Pt4h const& d = ln.pt4hDir;
    double fAtOrg = pln.fA * o.fX + pln.fB * o.fY + pln.fC * o.fZ + pln.fD * o.fW;
    double fAlongDir = pln.fA * d.fX + pln.fB * d.fY + pln.fC * d.fZ + pln.fD * d.fW;
    return -fAtOrg / fAlongDir;
}

// ---- application -----------------------------------------------------------------------------

Pt3c ptXgm3c(X4h const& x4h, Pt3c const& pt) {
    double** m = x4h.mxF;
    double x = pt.fX, y = pt.fY, z = pt.fZ;
    double w = m[4][1] * x + m[4][2] * y + m[4][3] * z + m[4][4];
    return Pt3c((m[1][1] * x + m[1][2] * y + m[1][3] * z + m[1][4]) / w,
                (m[2][1] * x + m[2][2] * y + m[2][3] * z + m[2][4]) / w,
                (m[3][1] * x + m[3][2] * y + m[3][3] * z + m[3][4]) / w);
}

Pt3c ptXcb3c(X4h const& x4h, Pt3c const& pt) { return ptXgm3c(x4h, pt); }

Vc3c vcXgm3c(X4h const& x4h, Vc3c const& vc) {
    double** m = x4h.mxF;
    double x = vc.fX, y = vc.fY, z = vc.fZ;
    return Vc3c(m[1][1] * x + m[1][2] * y + m[1][3] * z, m[2][1] * x + m[2][2] * y + m[2][3] * z,
                m[3][1] * x + m[3][2] * y + m[3][3] * z);
}

Vc3c vcXcb3c(X4h const& x4h, Vc3c const& vc) { return vcXgm3c(x4h, vc); }

Dr3c drXgm3c(X4h const& x4h, Dr3c const& dr) { return Dr3c(vcXgm3c(x4h, Vc3c(dr))); }

Dr3c drXcb3c(X4h const& x4h, Dr3c const& dr) { return drXgm3c(x4h, dr); }

Pt4h ptXgm4h(X4h const& x4h, Pt4h const& pt) {
    double** m = x4h.mxF;
    const double ar[5] = {0.0, pt.fX, pt.fY, pt.fZ, pt.fW};
    double arOut[5];
    for (int r = 1; r <= 4; ++r)
        arOut[r] = m[r][1] * ar[1] + m[r][2] * ar[2] + m[r][3] * ar[3] + m[r][4] * ar[4];
    return Pt4h(arOut[1], arOut[2], arOut[3], arOut[4]);
}

Ln4h lnXgm4h(X4h const& x4h, Ln4h const& ln) {
    return Ln4h(ptXgm4h(x4h, ln.pt4hOrg), ptXgm4h(x4h, ln.pt4hDir));
}

Pln4h plnXgm4h(X4h const& x4h, Pln4h const& pln) {
    VT_ASSERT(x4h.bInv);
    double** m = x4h.mxFInv;
    const double ar[5] = {0.0, pln.fA, pln.fB, pln.fC, pln.fD};
    double arOut[5];
    for (int c = 1; c <= 4; ++c)
        arOut[c] = ar[1] * m[1][c] + ar[2] * m[2][c] + ar[3] * m[3][c] + ar[4] * m[4][c];
    return Pln4h(arOut[1], arOut[2], arOut[3], arOut[4]);
}

Pt4h ptXcb4h(X4h const& x4h, Pt4h const& pt) { return ptXgm4h(x4h, pt); }
Ln4h lnXcb4h(X4h const& x4h, Ln4h const& ln) { return lnXgm4h(x4h, ln); }
Pln4h plnXcb4h(X4h const& x4h, Pln4h const& pln) { return plnXgm4h(x4h, pln); }
