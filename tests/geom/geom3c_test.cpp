// Points, vectors, directions, frame rotations, coordinate conversions and
// angle reduction.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "core/logerror.h"
#include "geom/geom3c.h"
#include "support/testutil.h"

namespace {

constexpr double kPi = std::numbers::pi;

template <class T>
void expectXYZNear(T const& v, double x, double y, double z, double fTol = 1e-12) {
    EXPECT_NEAR(v.fX, x, fTol);
    EXPECT_NEAR(v.fY, y, fTol);
    EXPECT_NEAR(v.fZ, z, fTol);
}

void expectRcbNear(Rcb3c const& a, Rcb3c const& b, double fTol = 1e-12) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(a.mxF[r][c], b.mxF[r][c], fTol) << "element " << r << "," << c;
}

// A right-handed rotation (a motion) about a unit axis, written out
// independently of the code under test.
Vc3c vcRotatedRightHanded(Vc3c const& v, Vc3c const& n, double a) {
    // v cos a + (n x v) sin a + n (n.v)(1 - cos a)
    double c = std::cos(a), s = std::sin(a);
    Vc3c nxv(n.fY * v.fZ - n.fZ * v.fY, n.fZ * v.fX - n.fX * v.fZ, n.fX * v.fY - n.fY * v.fX);
    double d = n.fX * v.fX + n.fY * v.fY + n.fZ * v.fZ;
    return Vc3c(v.fX * c + nxv.fX * s + n.fX * d * (1 - c),
                v.fY * c + nxv.fY * s + n.fY * d * (1 - c),
                v.fZ * c + nxv.fZ * s + n.fZ * d * (1 - c));
}

}  // namespace

// ---- directions and products ---------------------------------------------------------

TEST(Dr3cDeathTest, ZeroLengthFailsNormAssertion) {
    EXPECT_DEATH(Dr3c(0.0, 0.0, 0.0), "Assertion failed: fNorm != 0.0, file .*geom3c.cpp");
    EXPECT_DEATH(Dr3c{Vc3c()}, "Assertion failed: fNorm != 0.0");
}

TEST(CrossDeathTest, ParallelDirectionsFailNormAssertion) {
    Dr3c dr(1, 2, 3);
    EXPECT_DEATH(drCrossDrDr(dr, dr), "Assertion failed: fNorm != 0.0");
    EXPECT_DEATH(drCrossVcVc(Vc3c(1, 1, 0), Vc3c(-2, -2, 0)), "Assertion failed: fNorm != 0.0");
}

// ---- frame rotations -----------------------------------------------------------------

TEST(Rcb3cTest, ElementaryRotationsAreTransposedRightHandedRotations) {
    const double a = 0.3;
    const double c = std::cos(a), s = std::sin(a);
    Rcb3c z = rcb3cRotFRdnZ(a);
    double arZ[3][3] = {{c, s, 0}, {-s, c, 0}, {0, 0, 1}};
    expectRcbNear(z, Rcb3c(arZ), 0.0);
    // The frame turned by +a: a fixed point has its coordinates turned by -a.
    struct Case {
        Rcb3c rcb;
        Vc3c axis;
    } arCase[] = {{rcb3cRotFRdnX(a), Vc3c(1, 0, 0)},
                  {rcb3cRotFRdnY(a), Vc3c(0, 1, 0)},
                  {rcb3cRotFRdnZ(a), Vc3c(0, 0, 1)}};
    for (auto const& cs : arCase) {
        for (Vc3c v : {Vc3c(1, 0, 0), Vc3c(0, 1, 0), Vc3c(0, 0, 1), Vc3c(0.3, -2, 5)}) {
            Vc3c vExpect = vcRotatedRightHanded(v, cs.axis, -a);
            expectXYZNear(vcRcb(cs.rcb, v), vExpect.fX, vExpect.fY, vExpect.fZ, 1e-14);
        }
    }
    // The axis-angle form agrees with the single-axis forms.
    for (auto const& cs : arCase) expectRcbNear(rcb3cDrAxisFRdn(Dr3c(cs.axis), a), cs.rcb, 1e-15);
}

TEST(Rcb3cTest, AxisAngleMatchesIndependentRotationAndInverseIsTranspose) {
    std::mt19937 gen(7);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int i = 0; i < 50; ++i) {
        Vc3c vAxis(u(gen), u(gen), u(gen) + 1.5);
        Dr3c drAxis(vAxis);
        double a = 3.0 * u(gen);
        Rcb3c rcb = rcb3cDrAxisFRdn(drAxis, a);
        Vc3c v(u(gen), u(gen), u(gen));
        Vc3c vExpect = vcRotatedRightHanded(v, Vc3c(drAxis), -a);
        expectXYZNear(vcRcb(rcb, v), vExpect.fX, vExpect.fY, vExpect.fZ, 1e-14);
        expectRcbNear(rcb * rcb3cInv(rcb), rcb3cIdent(), 1e-14);
        expectRcbNear(rcb3cInv(rcb) * rcb, rcb3cIdent(), 1e-14);
        EXPECT_NEAR(fLenVc(vcRcb(rcb, v)), fLenVc(v), 1e-14);
        Pt3c pt = ptRcb(rcb, Pt3c(v.fX, v.fY, v.fZ));
        expectXYZNear(pt, vExpect.fX, vExpect.fY, vExpect.fZ, 1e-14);
        Dr3c dr = drRcb(rcb, Dr3c(v));
        EXPECT_NEAR(fLenVc(Vc3c(dr)), 1.0, 1e-15);
    }
}

TEST(Rcb3cTest, TwoDirectionFramesPutTheNamedAxesWhereTheySay) {
    Dr3c dr1(1, 2, 0.5), dr2(-0.3, 1, 2);
    // For each frame: which row is the first-named axis, which the second.
    struct Case {
        Rcb3c rcb;
        int iFirst, iSecond;
    } arCase[] = {{rcb3cDrXYNew(dr1, dr2), 0, 1}, {rcb3cDrYZNew(dr1, dr2), 1, 2},
                  {rcb3cDrZXNew(dr1, dr2), 2, 0}, {rcb3cDrXZNew(dr1, dr2), 0, 2},
                  {rcb3cDrYXNew(dr1, dr2), 1, 0}, {rcb3cDrZYNew(dr1, dr2), 2, 1}};
    for (auto const& cs : arCase) {
        auto const& m = cs.rcb.mxF;
        // Orthonormal and right-handed (determinant +1).
        expectRcbNear(cs.rcb * rcb3cInv(cs.rcb), rcb3cIdent(), 1e-14);
        double fDet = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                      m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                      m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
        EXPECT_NEAR(fDet, 1.0, 1e-14);
        // The first-named axis is dr1; the frame maps dr1 onto that axis.
        Vc3c v1 = vcRcb(cs.rcb, Vc3c(dr1));
        double ar1[3] = {v1.fX, v1.fY, v1.fZ};
        EXPECT_NEAR(ar1[cs.iFirst], 1.0, 1e-14);
        // dr2 has no component along the third axis and a positive one along
        // the second-named axis.
        Vc3c v2 = vcRcb(cs.rcb, Vc3c(dr2));
        double ar2[3] = {v2.fX, v2.fY, v2.fZ};
        int iThird = 3 - cs.iFirst - cs.iSecond;
        EXPECT_NEAR(ar2[iThird], 0.0, 1e-14);
        EXPECT_GT(ar2[cs.iSecond], 0.0);
    }
}

TEST(Rcb3cDeathTest, TwoDirectionFrameFromParallelDirections) {
    Dr3c dr(0, 0, 1);
    EXPECT_DEATH(rcb3cDrZYNew(dr, -dr), "Assertion failed: fNorm != 0.0");
}

// ---- coordinate conversions --------------------------------------------------------

TEST(CoordinatesTest, CylindricalAndSphericalRoundTrips) {
    expectXYZNear(ptRctFmCyl(2.0, kPi / 2, 3.0), 0.0, 2.0, 3.0, 1e-15);
    expectXYZNear(ptRctFmSph(2.0, 0.0, kPi / 2), 2.0, 0.0, 0.0, 1e-15);
    expectXYZNear(ptRctFmSph(2.0, 1.0, 0.0), 0.0, 0.0, 2.0, 1e-15);
    std::mt19937 gen(11);
    std::uniform_real_distribution<double> u(-5.0, 5.0);
    for (int i = 0; i < 40; ++i) {
        Pt3c pt(u(gen), u(gen), u(gen));
        double r, phi, z, rs, phs, th;
        cylFmPtRct(&r, &phi, &z, pt);
        expectXYZNear(ptRctFmCyl(r, phi, z), pt.fX, pt.fY, pt.fZ, 1e-13);
        sphFmPtRct(&rs, &phs, &th, pt);
        EXPECT_NEAR(rs, std::sqrt(pt.fX * pt.fX + pt.fY * pt.fY + pt.fZ * pt.fZ), 1e-14);
        EXPECT_GE(th, 0.0);
        EXPECT_LE(th, kPi);
        expectXYZNear(ptRctFmSph(rs, phs, th), pt.fX, pt.fY, pt.fZ, 1e-13);
        double r2, phi2, z2, rs2, ph2, th2;
        cylFmSph(&r2, &phi2, &z2, rs, phs, th);
        EXPECT_NEAR(r2, r, 1e-13);
        EXPECT_NEAR(phi2, phi, 1e-15);
        EXPECT_NEAR(z2, z, 1e-13);
        sphFmCyl(&rs2, &ph2, &th2, r, phi, z);
        EXPECT_NEAR(rs2, rs, 1e-13);
        EXPECT_NEAR(th2, th, 1e-14);
        Vc3c vc(pt.fX, pt.fY, pt.fZ);
        sphFmVc(&rs2, &ph2, &th2, vc);
        expectXYZNear(vcFmSph(rs2, ph2, th2), vc.fX, vc.fY, vc.fZ, 1e-13);
        cylFmVc(&r2, &phi2, &z2, vc);
        expectXYZNear(vcFmCyl(r2, phi2, z2), vc.fX, vc.fY, vc.fZ, 1e-13);
        Dr3c dr(vc);
        sphFmDr(&ph2, &th2, dr);
        expectXYZNear(drFmSph(ph2, th2), dr.fX, dr.fY, dr.fZ, 1e-14);
        double x, y, zz;
        rctFmCyl(&x, &y, &zz, r, phi, z);
        expectXYZNear(Pt3c(x, y, zz), pt.fX, pt.fY, pt.fZ, 1e-13);
        rctFmSph(&x, &y, &zz, rs, phs, th);
        expectXYZNear(Pt3c(x, y, zz), pt.fX, pt.fY, pt.fZ, 1e-13);
        sphFmRct(&rs2, &ph2, &th2, pt.fX, pt.fY, pt.fZ);
        EXPECT_EQ(rs2, rs);
        cylFmRct(&r2, &phi2, &z2, pt.fX, pt.fY, pt.fZ);
        EXPECT_EQ(r2, r);
    }
}

// ---- angles ---------------------------------------------------------------------------

TEST(AngleTest, ReductionToMinusPiPiAndZeroTwoPi) {
    // -pi goes to pi (the range is half-open at -pi), 0 stays at 0.
    const double aaf[][3] = {{-kPi, kPi, kPi},
                             {kPi, kPi, kPi},
                             {3 * kPi / 2, -kPi / 2, 3 * kPi / 2},
                             {-3 * kPi / 2, kPi / 2, kPi / 2},
                             {0.5, 0.5, 0.5},
                             {-0.5, -0.5, 2 * kPi - 0.5},
                             {7.0, 7.0 - 2 * kPi, 7.0 - 2 * kPi},
                             {-7.0, 2 * kPi - 7.0, 4 * kPi - 7.0},
                             {2 * kPi + 0.25, 0.25, 0.25}};
    for (auto const& af : aaf) {
        EXPECT_NEAR(fRdnMPPiFmFRdn(af[0]), af[1], 1e-15) << af[0];
        EXPECT_NEAR(fRdn02PiFmFRdn(af[0]), af[2], 1e-15) << af[0];
    }
    EXPECT_EQ(fRdnMPPiFmFRdn(-kPi), kPi);
    EXPECT_EQ(fRdn02PiFmFRdn(0.0), 0.0);
    for (double a = -20.0; a < 20.0; a += 0.37) {
        for (double r : {fRdnMPPiFmFRdn(a), fRdn02PiFmFRdn(a)}) {
            EXPECT_NEAR(std::sin(r), std::sin(a), 1e-13);
            EXPECT_NEAR(std::cos(r), std::cos(a), 1e-13);
        }
        EXPECT_GT(fRdnMPPiFmFRdn(a), -kPi);
        EXPECT_LE(fRdnMPPiFmFRdn(a), kPi);
        EXPECT_GE(fRdn02PiFmFRdn(a), 0.0);
        EXPECT_LT(fRdn02PiFmFRdn(a), 2 * kPi);
    }
}

TEST(AngleTest, AngleBetweenDirections) {
    EXPECT_NEAR(fRdnBetweenDr12(Dr3c(1, 0, 0), Dr3c(0, 1, 0)), kPi / 2, 1e-15);
    EXPECT_NEAR(fRdnBetweenDr12(Dr3c(1, 0, 0), Dr3c(-1, 0, 0)), kPi, 1e-15);
    EXPECT_EQ(fRdnBetweenDr12(Dr3c(1, 2, 3), Dr3c(1, 2, 3)), 0.0);
    // Small angles are resolved (acos of the dot product would give 0).
    EXPECT_NEAR(fRdnBetweenDr12(Dr3c(1, 0, 0), Dr3c(1, 1e-9, 0)), 1e-9, 1e-20);
    // Pole to equator is a quarter turn whatever the azimuths.
    EXPECT_NEAR(fRdnBetweenFPhiTh12(0.3, 0.0, 2.0, kPi / 2), kPi / 2, 1e-15);
    EXPECT_NEAR(fRdnBetweenFPhiTh12(0.0, kPi / 2, kPi / 3, kPi / 2), kPi / 3, 1e-15);
}

TEST(AngleTest, SignDegreesMinutesSeconds) {
    Long iSign, iDeg, iMin;
    double fSec;
    // 12 deg 30 min 36 s = 12.51 deg.
    // Below one radian the sign still follows the angle's own.
    const struct { double fRdn; Long iSign, iDeg, iMin; double fSec; } acase[] = {
        {-12.51 * kPi / 180.0, -1, 12, 30, 36.0}, {kPi, 1, 180, 0, 0.0}, {0.5, 1, 28, 38, 52.4031235}};
    for (auto const& c : acase) {
        iSignIDegIMinFSecFromFRdn(&iSign, &iDeg, &iMin, &fSec, c.fRdn);
        EXPECT_EQ(std::vector<Long>({iSign, iDeg, iMin}), std::vector<Long>({c.iSign, c.iDeg, c.iMin}));
        EXPECT_NEAR(fSec, c.fSec, 1e-6);
    }
}

TEST(AngleDeathTest, SignDegreesMinutesSecondsRejectsNaN) {
    Long iSign, iDeg, iMin;
    double fSec;
    EXPECT_DEATH(iSignIDegIMinFSecFromFRdn(&iSign, &iDeg, &iMin, &fSec, std::nan("")),
                 "Assertion failed: fDeg < 2147483647.0");
}

