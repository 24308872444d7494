// Three-dimensional cartesian points, vectors, directions and frame
// rotations.
#include "geom/geom3c.h"

#include <cmath>
#include <cstdio>
#include <numbers>

#include "core/logerror.h"

namespace {

constexpr double fPi = std::numbers::pi;
constexpr double f2Pi = 2.0 * std::numbers::pi;

Rcb3c rcb3cFmRows(Dr3c const& dr1, Dr3c const& dr2, Dr3c const& dr3) {
    Rcb3c rcb;
    rcb.mxF[0][0] = dr1.fX;
    rcb.mxF[0][1] = dr1.fY;
    rcb.mxF[0][2] = dr1.fZ;
    rcb.mxF[1][0] = dr2.fX;
    rcb.mxF[1][1] = dr2.fY;
    rcb.mxF[1][2] = dr2.fZ;
    rcb.mxF[2][0] = dr3.fX;
    rcb.mxF[2][1] = dr3.fY;
    rcb.mxF[2][2] = dr3.fZ;
    return rcb;
}

}  // namespace

// ---- points, vectors, directions --------------------------------------------

Vc3c::Vc3c(Dr3c const& dr) : fX(dr.fX), fY(dr.fY), fZ(dr.fZ) {}

Dr3c::Dr3c(double x, double y, double z) {
    double fNorm = std::sqrt(x * x + y * y + z * z);
    VT_ASSERT(fNorm != 0.0);
    fX = x / fNorm;
    fY = y / fNorm;
    fZ = z / fNorm;
}

Dr3c::Dr3c(const double* p) : Dr3c(p[0], p[1], p[2]) {}

Dr3c::Dr3c(Vc3c const& vc) : Dr3c(vc.fX, vc.fY, vc.fZ) {}

Vc3c operator-(Pt3c const& pt1, Pt3c const& pt2) {
    return Vc3c(pt1.fX - pt2.fX, pt1.fY - pt2.fY, pt1.fZ - pt2.fZ);
}
Pt3c operator+(Pt3c const& pt, Vc3c const& vc) {
    return Pt3c(pt.fX + vc.fX, pt.fY + vc.fY, pt.fZ + vc.fZ);
}
Pt3c operator-(Pt3c const& pt, Vc3c const& vc) {
    return Pt3c(pt.fX - vc.fX, pt.fY - vc.fY, pt.fZ - vc.fZ);
}
Vc3c operator+(Vc3c const& vc1, Vc3c const& vc2) {
    return Vc3c(vc1.fX + vc2.fX, vc1.fY + vc2.fY, vc1.fZ + vc2.fZ);
}
Vc3c operator-(Vc3c const& vc1, Vc3c const& vc2) {
    return Vc3c(vc1.fX - vc2.fX, vc1.fY - vc2.fY, vc1.fZ - vc2.fZ);
}
Vc3c operator-(Vc3c const& vc) { return Vc3c(-vc.fX, -vc.fY, -vc.fZ); }
Vc3c operator*(double f, Vc3c const& vc) { return Vc3c(f * vc.fX, f * vc.fY, f * vc.fZ); }
Vc3c operator*(double f, Dr3c const& dr) { return Vc3c(f * dr.fX, f * dr.fY, f * dr.fZ); }
Dr3c operator-(Dr3c const& dr) { return Dr3c(-dr.fX, -dr.fY, -dr.fZ); }

double fDotVcVc(Vc3c const& vc1, Vc3c const& vc2) {
    return vc1.fX * vc2.fX + vc1.fY * vc2.fY + vc1.fZ * vc2.fZ;
}
double fDotDrDr(Dr3c const& dr1, Dr3c const& dr2) {
    return dr1.fX * dr2.fX + dr1.fY * dr2.fY + dr1.fZ * dr2.fZ;
}
double fDotVcDr(Vc3c const& vc, Dr3c const& dr) {
    return vc.fX * dr.fX + vc.fY * dr.fY + vc.fZ * dr.fZ;
}
double fLenVc(Vc3c const& vc) { return std::sqrt(vc.fX * vc.fX + vc.fY * vc.fY + vc.fZ * vc.fZ); }
double fDistPtPt(Pt3c const& pt1, Pt3c const& pt2) { return fLenVc(pt1 - pt2); }

// ---- cross products -----------------------------------------------------------

Vc3c vcCrossVcVc(Vc3c const& a, Vc3c const& b) {
    return Vc3c(a.fY * b.fZ - a.fZ * b.fY, a.fZ * b.fX - a.fX * b.fZ, a.fX * b.fY - a.fY * b.fX);
}
Vc3c vcCrossVcDr(Vc3c const& a, Dr3c const& b) { return vcCrossVcVc(a, Vc3c(b)); }
Vc3c vcCrossDrVc(Dr3c const& a, Vc3c const& b) { return vcCrossVcVc(Vc3c(a), b); }
Vc3c vcCrossDrDr(Dr3c const& a, Dr3c const& b) { return vcCrossVcVc(Vc3c(a), Vc3c(b)); }
Dr3c drCrossVcVc(Vc3c const& a, Vc3c const& b) { return Dr3c(vcCrossVcVc(a, b)); }
Dr3c drCrossVcDr(Vc3c const& a, Dr3c const& b) { return Dr3c(vcCrossVcDr(a, b)); }
Dr3c drCrossDrVc(Dr3c const& a, Vc3c const& b) { return Dr3c(vcCrossDrVc(a, b)); }
Dr3c drCrossDrDr(Dr3c const& a, Dr3c const& b) { return Dr3c(vcCrossDrDr(a, b)); }

// ---- frame rotations ------------------------------------------------------------

Rcb3c::Rcb3c() {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) mxF[r][c] = 0.0;
}

Rcb3c::Rcb3c(double (*mx)[3]) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) mxF[r][c] = mx[r][c];
}

Rcb3c rcb3cIdent() {
    Rcb3c rcb;
    rcb.mxF[0][0] = rcb.mxF[1][1] = rcb.mxF[2][2] = 1.0;
    return rcb;
}

Rcb3c rcb3cRotFRdnX(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    Rcb3c rcb = rcb3cIdent();
    rcb.mxF[1][1] = c;
    rcb.mxF[1][2] = s;
    rcb.mxF[2][1] = -s;
    rcb.mxF[2][2] = c;
    return rcb;
}

Rcb3c rcb3cRotFRdnY(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    Rcb3c rcb = rcb3cIdent();
    rcb.mxF[0][0] = c;
    rcb.mxF[0][2] = -s;
    rcb.mxF[2][0] = s;
    rcb.mxF[2][2] = c;
    return rcb;
}

Rcb3c rcb3cRotFRdnZ(double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn);
    Rcb3c rcb = rcb3cIdent();
    rcb.mxF[0][0] = c;
    rcb.mxF[0][1] = s;
    rcb.mxF[1][0] = -s;
    rcb.mxF[1][1] = c;
    return rcb;
}

Rcb3c rcb3cRotFRdnZXZ(double fRdn1, double fRdn2, double fRdn3) {
    return rcb3cRotFRdnZ(fRdn3) * rcb3cRotFRdnX(fRdn2) * rcb3cRotFRdnZ(fRdn1);
}

// In each two-direction frame the first-named axis is dr1, the axis that is
// not named is the normalised cross product taken in the order that keeps
// the frame right-handed, and the second-named axis completes it.
Rcb3c rcb3cDrXYNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drX = dr1;
    Dr3c drZ = drCrossDrDr(dr1, dr2);
    Dr3c drY = drCrossDrDr(drZ, drX);
    return rcb3cFmRows(drX, drY, drZ);
}
Rcb3c rcb3cDrYZNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drY = dr1;
    Dr3c drX = drCrossDrDr(dr1, dr2);
    Dr3c drZ = drCrossDrDr(drX, drY);
    return rcb3cFmRows(drX, drY, drZ);
}
Rcb3c rcb3cDrZXNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drZ = dr1;
    Dr3c drY = drCrossDrDr(dr1, dr2);
    Dr3c drX = drCrossDrDr(drY, drZ);
    return rcb3cFmRows(drX, drY, drZ);
}
Rcb3c rcb3cDrXZNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drX = dr1;
    Dr3c drY = drCrossDrDr(dr2, dr1);
    Dr3c drZ = drCrossDrDr(drX, drY);
    return rcb3cFmRows(drX, drY, drZ);
}
Rcb3c rcb3cDrYXNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drY = dr1;
    Dr3c drZ = drCrossDrDr(dr2, dr1);
    Dr3c drX = drCrossDrDr(drY, drZ);
    return rcb3cFmRows(drX, drY, drZ);
}
Rcb3c rcb3cDrZYNew(Dr3c const& dr1, Dr3c const& dr2) {
    Dr3c drZ = dr1;
    Dr3c drX = drCrossDrDr(dr2, dr1);
    Dr3c drY = drCrossDrDr(drZ, drX);
    return rcb3cFmRows(drX, drY, drZ);
}

// The transpose of the right-handed (Rodrigues) rotation about the axis:
// c*I + (1 - c)*n*n' - s*[n]x.
Rcb3c rcb3cDrAxisFRdn(Dr3c const& drAxis, double fRdn) {
    double c = std::cos(fRdn), s = std::sin(fRdn), t = 1.0 - c;
    double x = drAxis.fX, y = drAxis.fY, z = drAxis.fZ;
    Rcb3c rcb;
    rcb.mxF[0][0] = c + t * x * x;
    rcb.mxF[0][1] = t * x * y + s * z;
    rcb.mxF[0][2] = t * x * z - s * y;
    rcb.mxF[1][0] = t * y * x - s * z;
    rcb.mxF[1][1] = c + t * y * y;
    rcb.mxF[1][2] = t * y * z + s * x;
    rcb.mxF[2][0] = t * z * x + s * y;
    rcb.mxF[2][1] = t * z * y - s * x;
    rcb.mxF[2][2] = c + t * z * z;
    return rcb;
}

Rcb3c rcb3cInv(Rcb3c const& rcb) {
    Rcb3c rcbInv;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rcbInv.mxF[r][c] = rcb.mxF[c][r];
    return rcbInv;
}

Rcb3c operator*(Rcb3c const& a, Rcb3c const& b) {
    Rcb3c rcb;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            rcb.mxF[r][c] = a.mxF[r][0] * b.mxF[0][c] + a.mxF[r][1] * b.mxF[1][c] +
                            a.mxF[r][2] * b.mxF[2][c];
    return rcb;
}

Pt3c ptRcb(Rcb3c const& rcb, Pt3c const& pt) {
    const auto& m = rcb.mxF;
    return Pt3c(m[0][0] * pt.fX + m[0][1] * pt.fY + m[0][2] * pt.fZ,
                m[1][0] * pt.fX + m[1][1] * pt.fY + m[1][2] * pt.fZ,
                m[2][0] * pt.fX + m[2][1] * pt.fY + m[2][2] * pt.fZ);
}

Vc3c vcRcb(Rcb3c const& rcb, Vc3c const& vc) {
    Pt3c pt = ptRcb(rcb, Pt3c(vc.fX, vc.fY, vc.fZ));
    return Vc3c(pt.fX, pt.fY, pt.fZ);
}

Dr3c drRcb(Rcb3c const& rcb, Dr3c const& dr) { return Dr3c(vcRcb(rcb, Vc3c(dr))); }

// ---- coordinate conversions --------------------------------------------------------

void rctFmCyl(double* pfX, double* pfY, double* pfZ, double fR, double fPhi, double fZ) {
    *pfX = fR * std::cos(fPhi);
    *pfY = fR * std::sin(fPhi);
    *pfZ = fZ;
}

Pt3c ptRctFmCyl(double fR, double fPhi, double fZ) {
    Pt3c pt;
    rctFmCyl(&pt.fX, &pt.fY, &pt.fZ, fR, fPhi, fZ);
    return pt;
}

void rctFmSph(double* pfX, double* pfY, double* pfZ, double fR, double fPhi, double fTh) {
    double fSinTh = std::sin(fTh);
    *pfX = fR * fSinTh * std::cos(fPhi);
    *pfY = fR * fSinTh * std::sin(fPhi);
    *pfZ = fR * std::cos(fTh);
}

Pt3c ptRctFmSph(double fR, double fPhi, double fTh) {
    Pt3c pt;
    rctFmSph(&pt.fX, &pt.fY, &pt.fZ, fR, fPhi, fTh);
    return pt;
}

void cylFmRct(double* pfR, double* pfPhi, double* pfZ, double fX, double fY, double fZ) {
    *pfR = std::sqrt(fX * fX + fY * fY);
    *pfPhi = std::atan2(fY, fX);
    *pfZ = fZ;
}

void cylFmPtRct(double* pfR, double* pfPhi, double* pfZ, Pt3c const& pt) {
    cylFmRct(pfR, pfPhi, pfZ, pt.fX, pt.fY, pt.fZ);
}

void cylFmSph(double* pfRCyl, double* pfPhi, double* pfZ, double fRSph, double fPhi,
              double fTh) {
    *pfRCyl = fRSph * std::sin(fTh);
    *pfPhi = fPhi;
    *pfZ = fRSph * std::cos(fTh);
}

void sphFmRct(double* pfR, double* pfPhi, double* pfTh, double fX, double fY, double fZ) {
    double fRXY = std::sqrt(fX * fX + fY * fY);
    *pfR = std::sqrt(fX * fX + fY * fY + fZ * fZ);
    *pfPhi = std::atan2(fY, fX);
    *pfTh = std::atan2(fRXY, fZ);
}

void sphFmPtRct(double* pfR, double* pfPhi, double* pfTh, Pt3c const& pt) {
    sphFmRct(pfR, pfPhi, pfTh, pt.fX, pt.fY, pt.fZ);
}

void sphFmCyl(double* pfRSph, double* pfPhi, double* pfTh, double fRCyl, double fPhi,
              double fZ) {
    *pfRSph = std::sqrt(fRCyl * fRCyl + fZ * fZ);
    *pfPhi = fPhi;
    *pfTh = std::atan2(fRCyl, fZ);
}

Dr3c drFmSph(double fPhi, double fTh) {
    double x, y, z;
    rctFmSph(&x, &y, &z, 1.0, fPhi, fTh);
    return Dr3c(x, y, z);
}

void sphFmDr(double* pfPhi, double* pfTh, Dr3c const& dr) {
    double fR;
    sphFmRct(&fR, pfPhi, pfTh, dr.fX, dr.fY, dr.fZ);
}

Vc3c vcFmSph(double fR, double fPhi, double fTh) {
    Vc3c vc;
    rctFmSph(&vc.fX, &vc.fY, &vc.fZ, fR, fPhi, fTh);
    return vc;
}

void sphFmVc(double* pfR, double* pfPhi, double* pfTh, Vc3c const& vc) {
    sphFmRct(pfR, pfPhi, pfTh, vc.fX, vc.fY, vc.fZ);
}

Vc3c vcFmCyl(double fR, double fPhi, double fZ) {
    Vc3c vc;
    rctFmCyl(&vc.fX, &vc.fY, &vc.fZ, fR, fPhi, fZ);
    return vc;
}

void cylFmVc(double* pfR, double* pfPhi, double* pfZ, Vc3c const& vc) {
    cylFmRct(pfR, pfPhi, pfZ, vc.fX, vc.fY, vc.fZ);
}

Rcb3c rcbRotAtCyl(double /*fR*/, double fPhi, double /*fZ*/) {
    double c = std::cos(fPhi), s = std::sin(fPhi);
    Rcb3c rcb;
    rcb.mxF[0][0] = c;
    rcb.mxF[0][1] = s;
    rcb.mxF[1][0] = -s;
    rcb.mxF[1][1] = c;
    rcb.mxF[2][2] = 1.0;
    return rcb;
}

Rcb3c rcbRotAtSph(double /*fR*/, double fPhi, double fTh) {
    double cp = std::cos(fPhi), sp = std::sin(fPhi);
    double ct = std::cos(fTh), st = std::sin(fTh);
    Rcb3c rcb;
    rcb.mxF[0][0] = st * cp;  // e_r
    rcb.mxF[0][1] = st * sp;
    rcb.mxF[0][2] = ct;
    rcb.mxF[1][0] = ct * cp;  // e_th
    rcb.mxF[1][1] = ct * sp;
    rcb.mxF[1][2] = -st;
    rcb.mxF[2][0] = -sp;  // e_phi
    rcb.mxF[2][1] = cp;
    rcb.mxF[2][2] = 0.0;
    return rcb;
}

// ---- angles ---------------------------------------------------------------------------

double fRdnMPPiFmFRdn(double fRdn) {
    double r = std::fmod(fRdn, f2Pi);
    if (std::fabs(r) > fPi) {
        if (fRdn >= 0.0)
            r -= f2Pi;
        else
            r += f2Pi;
    } else if (r <= -fPi) {
        return fPi;
    }
    return r;
}

double fRdn02PiFmFRdn(double fRdn) {
    double r = std::fmod(fRdn, f2Pi);
    if (r < 0.0) r += f2Pi;
    return r;
}

double fRdnBetweenDr12(Dr3c const& dr1, Dr3c const& dr2) {
    // atan2 of sine and cosine stays accurate near 0 and pi, where acos of
    // the dot product loses half the digits.
    return std::atan2(fLenVc(vcCrossDrDr(dr1, dr2)), fDotDrDr(dr1, dr2));
}

double fRdnBetweenFPhiTh12(double fPhi1, double fTh1, double fPhi2, double fTh2) {
    return fRdnBetweenDr12(drFmSph(fPhi1, fTh1), drFmSph(fPhi2, fTh2));
}

void iSignIDegIMinFSecFromFRdn(Long* piSign, Long* piDeg, Long* piMin, double* pfSec,
                               double fRdn) {
    double fDeg = std::fabs(fRdn) * (180.0 / fPi);
    // Whole degrees must fit in a Long (this also rejects NaN).
    VT_ASSERT(fDeg < 2147483647.0);
    *piSign = (fRdn < 0.0) ? -1 : 1;
    double fDegWhole = std::floor(fDeg);
    double fMin = (fDeg - fDegWhole) * 60.0;
    double fMinWhole = std::floor(fMin);
    *piDeg = static_cast<Long>(fDegWhole);
    *piMin = static_cast<Long>(fMinWhole);
    *pfSec = (fMin - fMinWhole) * 60.0;
}

// ---- logging ----------------------------------------------------------------------------

void logSzFmtPt3c(const char* szLabel, Pt3c const& pt) {
    char sz[512];
    std::snprintf(sz, sizeof sz, "%s ( %.9g, %.9g, %.9g )", szLabel, pt.fX, pt.fY, pt.fZ);
    logLineSz(sz);
}

void logSzFmtDr3c(const char* szLabel, Dr3c const& dr) {
    char sz[512];
    std::snprintf(sz, sizeof sz, "%s ( %.9g, %.9g, %.9g )", szLabel, dr.fX, dr.fY, dr.fZ);
    logLineSz(sz);
}

void logSzFmtRcb3c(const char* szLabel, Rcb3c const& rcb) {
    char sz[512];
    for (int r = 0; r < 3; ++r) {
        std::snprintf(sz, sizeof sz, "%s ( %.9g, %.9g, %.9g )", szLabel, rcb.mxF[r][0],
                      rcb.mxF[r][1], rcb.mxF[r][2]);
        logLineSz(sz);
    }
}
