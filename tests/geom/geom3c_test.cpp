// Directions, frames and angles: the assertion texts and the documented
// edges of angle reduction.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "geom/geom3c.h"

namespace {
constexpr double kPi = std::numbers::pi;
const char szNorm[] = "Assertion failed: fNorm != 0.0";
}  // namespace

TEST(Geom3cDeathTest, ZeroLengthAndParallelDirectionsFailTheNormAssertion) {
    EXPECT_DEATH(Dr3c(0.0, 0.0, 0.0), "Assertion failed: fNorm != 0.0, file .*geom3c.cpp");
    Dr3c dr(0, 0, 1);
    EXPECT_DEATH(drCrossDrDr(dr, dr), szNorm);
    EXPECT_DEATH(drCrossVcVc(Vc3c(1, 1, 0), Vc3c(-2, -2, 0)), szNorm);
    EXPECT_DEATH(rcb3cDrZYNew(dr, -dr), szNorm);
    Long iSign, iDeg, iMin;
    double fSec;
    EXPECT_DEATH(iSignIDegIMinFSecFromFRdn(&iSign, &iDeg, &iMin, &fSec, std::nan("")),
                 "Assertion failed: fDeg < 2147483647.0");
}

// Dot products with every component non-zero, against sums worked out by hand.
TEST(Geom3cTest, DotProductsUseAllThreeComponents) {
    EXPECT_DOUBLE_EQ(fDotVcVc(Vc3c(1, 2, 3), Vc3c(4, -5, 6)), 12.0);
    EXPECT_DOUBLE_EQ(fDotDrDr(Dr3c(1, 2, 2), Dr3c(2, -1, 2)), 4.0 / 9.0);
    EXPECT_DOUBLE_EQ(fDotVcDr(Vc3c(1, 2, 3), Dr3c(2, -1, 2)), 2.0);
}

namespace {

// The frame turned by a about the unit axis n sees a point at the point
// turned by -a: p cos a - (n x p) sin a + n (n.p)(1 - cos a) (Rodrigues).
Pt3c ptTurnedBack(Dr3c const& n, double a, Pt3c const& p) {
    const double c = std::cos(a), s = std::sin(a), fNP = n.fX * p.fX + n.fY * p.fY + n.fZ * p.fZ;
    return Pt3c(p.fX * c - (n.fY * p.fZ - n.fZ * p.fY) * s + n.fX * fNP * (1 - c),
                p.fY * c - (n.fZ * p.fX - n.fX * p.fZ) * s + n.fY * fNP * (1 - c),
                p.fZ * c - (n.fX * p.fY - n.fY * p.fX) * s + n.fZ * fNP * (1 - c));
}

void expectNearPt(Pt3c const& pt, Pt3c const& ptWant) {
    EXPECT_LT(std::hypot(pt.fX - ptWant.fX, pt.fY - ptWant.fY, pt.fZ - ptWant.fZ), 2e-15);
}

}  // namespace

TEST(Geom3cTest, FrameTurnsAgreeWithRodriguesOnGeneralPoints) {
    const Dr3c drX(1, 0, 0), drY(0, 1, 0), drZ(0, 0, 1), drN(1, -2, 2);
    const struct { Rcb3c rcb; Dr3c drAxis; double a; } acase[] = {
        {rcb3cRotFRdnX(0.7), drX, 0.7}, {rcb3cRotFRdnY(-1.1), drY, -1.1},
        {rcb3cRotFRdnZ(2.5), drZ, 2.5}, {rcb3cDrAxisFRdn(drN, 0.9), drN, 0.9},
        {rcb3cDrAxisFRdn(drN, -2.0), drN, -2.0}};
    const Pt3c pt(0.48, -0.64, 0.6);  // of length 1: also read as a vector and a direction
    for (const auto& c : acase) {
        const Pt3c ptWant = ptTurnedBack(c.drAxis, c.a, pt);
        expectNearPt(ptRcb(c.rcb, pt), ptWant);
        const Vc3c vc = vcRcb(c.rcb, Vc3c(pt.fX, pt.fY, pt.fZ));
        expectNearPt(Pt3c(vc.fX, vc.fY, vc.fZ), ptWant);
        const Dr3c dr = drRcb(c.rcb, Dr3c(pt.fX, pt.fY, pt.fZ));
        expectNearPt(Pt3c(dr.fX, dr.fY, dr.fZ), ptWant);
        expectNearPt(ptRcb(rcb3cInv(c.rcb) * c.rcb, pt), pt);
    }
    // Z-X-Z: the three turns one after the other.
    const Pt3c ptWant = ptTurnedBack(drZ, -0.4, ptTurnedBack(drX, 1.2, ptTurnedBack(drZ, 0.3, pt)));
    expectNearPt(ptRcb(rcb3cRotFRdnZXZ(0.3, 1.2, -0.4), pt), ptWant);
}

// (-pi, pi]: both ends of each turn map to pi, the sign decides near 2 pi;
// [0, 2 pi): 0 stays, a negative angle goes up a turn.
TEST(AngleTest, ReductionAtTheEdgesOfTheRange) {
    const struct { double f, fWant; } a[] = {
        {0.0, 0.0},           {-0.0, 0.0},           {kPi, kPi},
        {-kPi, kPi},          {3 * kPi, kPi},        {-3 * kPi, kPi},
        {7.0, 7.0 - 2 * kPi}, {-7.0, 2 * kPi - 7.0}, {2 * kPi + 1e-9, 1e-9},
        {2 * kPi - 1e-9, -1e-9}, {-2 * kPi + 1e-9, 1e-9}};
    for (const auto& c : a) {
        const double f = fRdnMPPiFmFRdn(c.f);
        EXPECT_NEAR(f, c.fWant, 1e-15) << c.f;
        EXPECT_TRUE(f > -kPi && f <= kPi) << c.f;
    }
    EXPECT_EQ(fRdn02PiFmFRdn(0.0), 0.0);
    EXPECT_NEAR(fRdn02PiFmFRdn(-0.5), 2 * kPi - 0.5, 1e-15);
}

// The local frames' rows are the unit tangents of the coordinate lines,
// taken here by central differences of the position: e_r along d/dr, e_th
// along d/dth, e_phi along d/dphi (and e_z along d/dz for the cylinder).
TEST(Geom3cTest, LocalFramesFollowTheCoordinateLines) {
    const double h = 1e-6;
    auto expectRow = [](Rcb3c const& rcb, int iRow, Vc3c vcD, const char* sz) {
        const double fLen = std::sqrt(vcD.fX * vcD.fX + vcD.fY * vcD.fY + vcD.fZ * vcD.fZ);
        EXPECT_NEAR(rcb.mxF[iRow][0], vcD.fX / fLen, 1e-8) << sz;
        EXPECT_NEAR(rcb.mxF[iRow][1], vcD.fY / fLen, 1e-8) << sz;
        EXPECT_NEAR(rcb.mxF[iRow][2], vcD.fZ / fLen, 1e-8) << sz;
    };
    auto diff = [h](Vc3c vcPlus, Vc3c vcMinus) {
        return Vc3c((vcPlus.fX - vcMinus.fX) / (2 * h), (vcPlus.fY - vcMinus.fY) / (2 * h),
                    (vcPlus.fZ - vcMinus.fZ) / (2 * h));
    };
    for (const double fPhi : {0.3, 2.1, -1.2})
        for (const double fTh : {0.4, 1.9}) {
            const double r = 2.5;
            const Rcb3c sph = rcbRotAtSph(r, fPhi, fTh);
            expectRow(sph, 0, diff(vcFmSph(r + h, fPhi, fTh), vcFmSph(r - h, fPhi, fTh)), "e_r");
            expectRow(sph, 1, diff(vcFmSph(r, fPhi, fTh + h), vcFmSph(r, fPhi, fTh - h)), "e_th");
            expectRow(sph, 2, diff(vcFmSph(r, fPhi + h, fTh), vcFmSph(r, fPhi - h, fTh)), "e_phi");
            const Rcb3c cyl = rcbRotAtCyl(r, fPhi, fTh);
            expectRow(cyl, 0, diff(vcFmCyl(r + h, fPhi, fTh), vcFmCyl(r - h, fPhi, fTh)), "e_r");
            expectRow(cyl, 1, diff(vcFmCyl(r, fPhi + h, fTh), vcFmCyl(r, fPhi - h, fTh)), "e_phi");
            expectRow(cyl, 2, diff(vcFmCyl(r, fPhi, fTh + h), vcFmCyl(r, fPhi, fTh - h)), "e_z");
        }
}

// Every conversion against the closed forms: cylindrical (hypot(x, y),
// atan2(y, x), z) and spherical (|v|, atan2(y, x), atan2(hypot(x, y), z)).
TEST(Geom3cTest, CoordinatesRoundTripAndDegreesSplit) {
    for (const Vc3c vc : {Vc3c(3, 4, 12), Vc3c(-1.5, 2, -0.5), Vc3c(0.2, -0.7, 0.3)}) {
        const double x = vc.fX, y = vc.fY, z = vc.fZ, fRho = std::hypot(x, y);
        const double fPhi = std::atan2(y, x), fR = std::sqrt(x * x + y * y + z * z);
        const double fTh = std::atan2(fRho, z), e = 1e-12;
        auto expect3 = [&](double a, double b, double c, double ea, double eb, double ec) {
            EXPECT_NEAR(a, ea, e);
            EXPECT_NEAR(b, eb, e);
            EXPECT_NEAR(c, ec, e);
        };
        double a, b, c;
        for (const Vc3c& v : {vcFmSph(fR, fPhi, fTh), vcFmCyl(fRho, fPhi, z)})
            expect3(v.fX, v.fY, v.fZ, x, y, z);
        for (const Pt3c& pt : {ptRctFmCyl(fRho, fPhi, z), ptRctFmSph(fR, fPhi, fTh)})
            expect3(pt.fX, pt.fY, pt.fZ, x, y, z);
        rctFmCyl(&a, &b, &c, fRho, fPhi, z), expect3(a, b, c, x, y, z);
        rctFmSph(&a, &b, &c, fR, fPhi, fTh), expect3(a, b, c, x, y, z);
        cylFmRct(&a, &b, &c, x, y, z), expect3(a, b, c, fRho, fPhi, z);
        cylFmPtRct(&a, &b, &c, Pt3c(x, y, z)), expect3(a, b, c, fRho, fPhi, z);
        cylFmVc(&a, &b, &c, vc), expect3(a, b, c, fRho, fPhi, z);
        cylFmSph(&a, &b, &c, fR, fPhi, fTh), expect3(a, b, c, fRho, fPhi, z);
        sphFmRct(&a, &b, &c, x, y, z), expect3(a, b, c, fR, fPhi, fTh);
        sphFmPtRct(&a, &b, &c, Pt3c(x, y, z)), expect3(a, b, c, fR, fPhi, fTh);
        sphFmVc(&a, &b, &c, vc), expect3(a, b, c, fR, fPhi, fTh);
        sphFmCyl(&a, &b, &c, fRho, fPhi, z), expect3(a, b, c, fR, fPhi, fTh);
        const Dr3c dr = drFmSph(fPhi, fTh);
        expect3(dr.fX, dr.fY, dr.fZ, x / fR, y / fR, z / fR);
        sphFmDr(&a, &b, Dr3c(vc)), expect3(a, b, 0, fPhi, fTh, 0);
    }
    Long iSign, iDeg, iMin;
    double fSec;
    iSignIDegIMinFSecFromFRdn(&iSign, &iDeg, &iMin, &fSec, -(12 + 30 / 60.0 + 36 / 3600.0) * kPi / 180);
    EXPECT_EQ(iSign * 10000 + iDeg * 100 + iMin, -10000 + 1230);
    EXPECT_NEAR(fSec, 36.0, 1e-9);
}
