// Homogeneous transforms: elementary matrices, conventions, composition,
// inversion, application, and the homogeneous companions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "geom/geom4h.h"

namespace {

constexpr double kPi = std::numbers::pi;

void expectPtNear(Pt3c const& pt, double x, double y, double z, double fTol = 1e-12) {
    EXPECT_NEAR(pt.fX, x, fTol);
    EXPECT_NEAR(pt.fY, y, fTol);
    EXPECT_NEAR(pt.fZ, z, fTol);
}

// The elements of a matrix indexed 1..4 against a row-major 4x4 array.
void expectMxEq(double** mx, const double (&ar)[4][4], double fTol = 0.0) {
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c)
            EXPECT_NEAR(mx[r][c], ar[r - 1][c - 1], fTol) << "element " << r << "," << c;
}

void expectIdentity(double** mx, double fTol) {
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c)
            EXPECT_NEAR(mx[r][c], r == c ? 1.0 : 0.0, fTol) << "element " << r << "," << c;
}

// Plain 4x4 product of two matrices indexed 1..4, into a row-major array.
void mulMx(double (&out)[4][4], double** a, double** b) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double f = 0.0;
            for (int k = 0; k < 4; ++k) f += a[i + 1][k + 1] * b[k + 1][j + 1];
            out[i][j] = f;
        }
}

void expectInverseConsistent(X4h const& x4h, double fTol) {
    ASSERT_TRUE(x4h.bInv);
    double ar[2][4][4];
    mulMx(ar[0], x4h.mxF, x4h.mxFInv);
    mulMx(ar[1], x4h.mxFInv, x4h.mxF);
    for (int k = 0; k < 32; ++k) EXPECT_NEAR(ar[k / 16][k / 4 % 4][k % 4], k / 4 % 4 == k % 4, fTol);
}

void expectSameMatrices(X4h const& a, X4h const& b) {
    EXPECT_EQ(a.bInv, b.bInv);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) {
            EXPECT_EQ(a.mxF[r][c], b.mxF[r][c]);
            if (a.bInv) {
                EXPECT_EQ(a.mxFInv[r][c], b.mxFInv[r][c]);
            }
        }
}

// A collection of transforms with valid inverses, for property tests.
std::vector<X4h> arX4hSample() {
    Dr3c dr1(1, 2, -0.5), dr2(0.3, -1, 2);
    Pt3c ptC(1.5, -2.0, 0.75);
    return {x4hIdent(), x4hTrans(1, -2, 3), x4hTrans(Vc3c(0.5, 0.25, -4)), x4hRotX(0.7),
            x4hRotY(-1.3), x4hRotZ(2.9), x4hScale(2, 0.5, -3), x4hScaleX(4), x4hScaleY(-0.25),
            x4hScaleZ(7), x4hScale(ptC, 2, 3, 0.5), x4hRotEuler(0.1, 0.9, -0.4),
            x4hRotDrXYNew(dr1, dr2), x4hRotDrYZNew(dr1, dr2), x4hRotDrZXNew(dr1, dr2),
            x4hRotDrXZNew(dr1, dr2), x4hRotDrYXNew(dr1, dr2), x4hRotDrZYNew(dr1, dr2),
            x4hRotDrAxisFRdn(dr1, 1.2), x4hRotRcb3c(rcb3cRotFRdnZXZ(0.4, 0.5, 0.6)),
            x4hRotPtCX(ptC, 0.3), x4hRotPtCY(ptC, 0.3), x4hRotPtCZ(ptC, 0.3),
            x4hRotPtCEuler(ptC, 0.3, -0.2, 0.1), x4hRotPtCDrXYNew(ptC, dr1, dr2),
            x4hRotPtCDrYZNew(ptC, dr1, dr2), x4hRotPtCDrZXNew(ptC, dr1, dr2),
            x4hRotPtCDrXZNew(ptC, dr1, dr2), x4hRotPtCDrYXNew(ptC, dr1, dr2),
            x4hRotPtCDrZYNew(ptC, dr1, dr2), x4hRotPtCDrAxisFRdn(ptC, dr2, -0.8),
            x4hRotPtCRcb3c(ptC, rcb3cRotFRdnY(0.9)), x4hRflX(), x4hRflY(), x4hRflZ(),
            x4hRflPlnPtDrNrm(ptC, dr2), x4hRotX(0.3) * x4hTrans(1, 2, 3) * x4hScale(1, 2, 3)};
}

}  // namespace

// ---- the elementary matrices ----------------------------------------------------------

TEST(X4hFactoryTest, FrameChangeSense) {
    expectPtNear(ptXgm3c(x4hTrans(1, 2, 3), Pt3c(1, 2, 3)), 0, 0, 0, 0.0);
    expectPtNear(ptXgm3c(x4hTrans(Vc3c(1, 2, 3)), Pt3c(0, 0, 0)), -1, -2, -3, 0.0);
    expectPtNear(ptXgm3c(x4hRotZ(kPi / 2), Pt3c(1, 0, 0)), 0, -1, 0, 1e-15);
    const double a = 0.9;
    expectPtNear(ptXgm3c(x4hRotZ(a), Pt3c(1, 0, 0)), std::cos(a), -std::sin(a), 0, 1e-15);
    expectPtNear(ptXgm3c(x4hRotX(a), Pt3c(0, 1, 0)), 0, std::cos(a), -std::sin(a), 1e-15);
    expectPtNear(ptXgm3c(x4hRotY(a), Pt3c(0, 0, 1)), -std::sin(a), 0, std::cos(a), 1e-15);
    // The axis-angle and two-direction factories share the sense.
    X4h xAxis = x4hRotDrAxisFRdn(Dr3c(0, 0, 1), a);
    expectSameMatrices(xAxis, x4hRotRcb3c(rcb3cRotFRdnZ(a)));
    expectPtNear(ptXgm3c(xAxis, Pt3c(1, 0, 0)), std::cos(a), -std::sin(a), 0, 1e-15);
}

TEST(X4hFactoryTest, ScaleReflectAndCentrePoints) {
    expectPtNear(ptXgm3c(x4hScale(2, 3, 4), Pt3c(1, 1, 1)), 2, 3, 4, 0.0);
    X4h x0 = x4hScale(1, 0, 1);
    EXPECT_FALSE(x0.bInv);
    expectPtNear(ptXgm3c(x4hRflY(), Pt3c(1, 2, 3)), 1, -2, 3, 0.0);
    // Centre points stay where they are.
    Pt3c ptC(3, -1, 2);
    expectPtNear(ptXgm3c(x4hScale(ptC, 5, 6, 7), ptC), 3, -1, 2, 1e-14);
    expectPtNear(ptXgm3c(x4hScale(ptC, 2, 2, 2), Pt3c(4, -1, 2)), 5, -1, 2, 1e-14);
    expectPtNear(ptXgm3c(x4hRotPtCZ(ptC, 1.0), ptC), 3, -1, 2, 1e-14);
    expectPtNear(ptXgm3c(x4hRotPtCZ(ptC, kPi / 2), Pt3c(4, -1, 2)), 3, -2, 2, 1e-14);
    expectPtNear(ptXgm3c(x4hRotPtCDrAxisFRdn(ptC, Dr3c(1, 1, 1), 2.0), ptC), 3, -1, 2, 1e-14);
    // Mirror in the plane x + y = 2 (through (1, 1, 0)).
    X4h xRfl = x4hRflPlnPtDrNrm(Pt3c(1, 1, 0), Dr3c(1, 1, 0));
    expectPtNear(ptXgm3c(xRfl, Pt3c(0, 0, 5)), 2, 2, 5, 1e-14);
    expectPtNear(ptXgm3c(xRfl, Pt3c(2, 0, 1)), 2, 0, 1, 1e-14);
}

// ---- properties ------------------------------------------------------------------------

TEST(X4hPropertyTest, TransformTimesInverseIsIdentity) {
    for (X4h const& x : arX4hSample()) {
        expectInverseConsistent(x, 1e-13);
        X4h xx = x * x4hInv(x);
        ASSERT_TRUE(xx.bInv);
        expectIdentity(xx.mxF, 1e-13);
        expectIdentity((x4hInv(x) * x).mxF, 1e-13);
        expectSameMatrices(x4hInv(x4hInv(x)), x);
    }
}

TEST(X4hPropertyTest, CompositionOrderRightFactorActsFirst) {
    X4h a = x4hRotZ(0.8), b = x4hTrans(1, 2, 3);
    Pt3c p(0.3, -0.2, 1.1);
    Pt3c pSeq = ptXgm3c(a, ptXgm3c(b, p));
    expectPtNear(ptXgm3c(a * b, p), pSeq.fX, pSeq.fY, pSeq.fZ, 1e-14);
    Pt3c pOther = ptXgm3c(b * a, p);
    EXPECT_GT(fDistPtPt(pOther, pSeq), 0.1);
    // The inverse of a product undoes it in the reverse order.
    X4h ab = a * b;
    ASSERT_TRUE(ab.bInv);
    expectPtNear(ptXgm3c(x4hInv(ab), pSeq), p.fX, p.fY, p.fZ, 1e-14);
    // Matrix product element by element.
    X4h c = x4hRotX(0.3) * x4hRotY(1.1);
    double ar[4][4];
    mulMx(ar, x4hRotX(0.3).mxF, x4hRotY(1.1).mxF);
    expectMxEq(c.mxF, ar);
    EXPECT_TRUE(c.bInv);
}

// ---- matrix constructors and Gauss-Jordan ----------------------------------------------------

TEST(X4hMatrixTest, MatrixConstructorInvertsByElimination) {
    double ar[4][4] = {{2, 1, 0, 3}, {0, 4, 1, -1}, {1, 0, 5, 2}, {0.5, 0, 0, 1}};
    X4h x(ar);
    ASSERT_TRUE(x.bInv);
    expectMxEq(x.mxF, ar);
    expectInverseConsistent(x, 1e-14);
    // The 1-based form gives the same.
    double** mx = mxF64New(1, 4, 1, 4);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) mx[r][c] = ar[r - 1][c - 1];
    X4h y(mx);
    expectSameMatrices(x, y);
    // Both matrices given: taken as they are.
    double** mxI = mxF64New(1, 4, 1, 4);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) mxI[r][c] = y.mxFInv[r][c];
    X4h z(mx, mxI);
    expectSameMatrices(z, y);
    releaseMxF64(mx, 1, 1);
    releaseMxF64(mxI, 1, 1);
}

TEST(X4hMatrixTest, SingularMatrixGivesNoInverseButWorksForwards) {
    double ar[4][4] = {{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    X4h x(ar);
    EXPECT_FALSE(x.bInv);
    expectPtNear(ptXgm3c(x, Pt3c(1, 1, 1)), 10, 20, 1, 0.0);
    EXPECT_FALSE((x4hRotX(0.3) * x).bInv);
    EXPECT_FALSE((x * x4hRotX(0.3)).bInv);
    EXPECT_TRUE((x4hRotX(0.3) * x4hRotY(0.2)).bInv);
    double arZero[4][4] = {};
    EXPECT_FALSE(X4h(arZero).bInv);
    double arNaN[4][4];
    std::fill(&arNaN[0][0], &arNaN[0][0] + 16, NAN);
    EXPECT_FALSE(X4h(arNaN).bInv);
}

TEST(X4hMatrixTest, GaussJordanSolvesRightHandSidesAndReportsStatus) {
    // A 3x3 system with two right-hand sides, against values worked by hand:
    // A = [[2,1,1],[1,3,2],[1,0,0]], x1 = (1,2,3) -> b1 = (7,13,1),
    // x2 = (-1,0,2) -> b2 = (0,3,-1).
    double** a = mxF64New(1, 3, 1, 3);
    double** b = mxF64New(1, 3, 1, 2);
    const double arA[3][3] = {{2, 1, 1}, {1, 3, 2}, {1, 0, 0}};
    const double arB[3][2] = {{7, 0}, {13, 3}, {1, -1}};
    for (int r = 1; r <= 3; ++r) {
        for (int c = 1; c <= 3; ++c) a[r][c] = arA[r - 1][c - 1];
        for (int c = 1; c <= 2; ++c) b[r][c] = arB[r - 1][c - 1];
    }
    Long iStatus = -1;
    gaussJordan(a, 3, b, 2, &iStatus);
    EXPECT_EQ(iStatus, 0);
    const double arX[3][2] = {{1, -1}, {2, 0}, {3, 2}};
    for (int k = 0; k < 6; ++k) EXPECT_NEAR(b[k / 2 + 1][k % 2 + 1], arX[k / 2][k % 2], 1e-14);
    // a now holds the inverse: A^-1 . A = I.
    for (int r = 1; r <= 3; ++r)
        for (int c = 1; c <= 3; ++c) {
            double f = 0;
            for (int k = 1; k <= 3; ++k) f += a[r][k] * arA[k - 1][c - 1];
            EXPECT_NEAR(f, r == c ? 1.0 : 0.0, 1e-14);
        }
    gaussJordan(a, 0, nullptr, 0, &iStatus);
    EXPECT_EQ(iStatus, 2);
    gaussJordan(a, 3, nullptr, 1, &iStatus);
    EXPECT_EQ(iStatus, 2);
    releaseMxF64(a, 1, 1);
    releaseMxF64(b, 1, 1);
}

TEST(X4hMatrixTest, GaussJordanLargerThanItsStackBuffer) {
    const Long n = 20;
    double** a = mxF64New(1, n, 1, n);
    for (Long r = 1; r <= n; ++r)
        for (Long c = 1; c <= n; ++c) a[r][c] = (r == c) ? 4.0 : 1.0 / (r + c);
    double** a0 = mxF64New(1, n, 1, n);
    std::copy(&a[1][1], &a[1][1] + n * n, &a0[1][1]);
    Long iStatus = -1;
    gaussJordan(a, n, nullptr, 0, &iStatus);
    ASSERT_EQ(iStatus, 0);
    for (Long r = 1; r <= n; ++r)
        for (Long c = 1; c <= n; ++c) {
            double f = 0;
            for (Long k = 1; k <= n; ++k) f += a[r][k] * a0[k][c];
            EXPECT_NEAR(f, r == c ? 1.0 : 0.0, 1e-13);
        }
    releaseMxF64(a, 1, 1);
    releaseMxF64(a0, 1, 1);
}

TEST(X4hMatrixDeathTest, BadRangesAndHugeSizes) {
    EXPECT_DEATH(mxF64New(1, 0, 1, 4), "Assertion failed: loR <= hiR && loC <= hiC");
    EXPECT_DEATH(mxF64New(1, 4, 5, 4), "Assertion failed: loR <= hiR && loC <= hiC");
    EXPECT_EXIT(mxF64New(1, 2000000000, 1, 2000000000), ::testing::ExitedWithCode(1),
                "mxF64New\\( 1, 2000000000, 1, 2000000000 \\) allocation failure");
}

TEST(X4hMatrixDeathTest, InverseOfSingularFailsAssertion) {
    double ar[4][4] = {};
    X4h x(ar);
    EXPECT_DEATH(x4hInv(x), "Assertion failed: x4h.bInv, file .*geom4h.cpp");
    EXPECT_DEATH(x4hInv(X4h()), "Assertion failed: x4h.bInv");
    EXPECT_DEATH(plnXgm4h(x, Pln4h()), "Assertion failed: x4h.bInv");
}

// ---- value semantics --------------------------------------------------------------------------

TEST(X4hValueTest, CopiesOwnTheirStorage) {
    X4h a = x4hRotZ(0.5);
    X4h b(a);
    EXPECT_NE(b.mxF, a.mxF);
    EXPECT_NE(b.mxF[1], a.mxF[1]);
    EXPECT_NE(b.mxFInv[1], a.mxFInv[1]);
    expectSameMatrices(a, b);
    b.mxF[1][1] = 42.0;
    EXPECT_NE(a.mxF[1][1], 42.0);
    X4h c;
    EXPECT_FALSE(c.bInv);
    c = a;
    EXPECT_NE(c.mxF[2], a.mxF[2]);
    expectSameMatrices(a, c);
    X4h& cSame = c;
    c = cSame;  // self-assignment keeps the values
    expectSameMatrices(a, c);
    // A copy in a container still points into itself after the move of
    // the container's block.
    std::vector<X4h> ar;
    for (int i = 0; i < 50; ++i) ar.push_back(x4hRotX(0.01 * i));
    for (int i = 0; i < 50; ++i) {
        X4h const& x = ar[static_cast<std::size_t>(i)];
        expectSameMatrices(x, x4hRotX(0.01 * i));
        const char* pLo = reinterpret_cast<const char*>(&x);
        const char* pHi = pLo + sizeof(X4h);
        for (const void* p : {static_cast<const void*>(x.mxF), static_cast<const void*>(x.mxFInv),
                              static_cast<const void*>(&x.mxF[1][1]),
                              static_cast<const void*>(&x.mxFInv[4][4])}) {
            EXPECT_GE(static_cast<const char*>(p), pLo);
            EXPECT_LT(static_cast<const char*>(p), pHi);
        }
    }
}

// ---- homogeneous companions ------------------------------------------------------------------

TEST(Hom4hTest, PointsDivideByTheirWeight) {
    const Pt3c pt = Pt4h(2.0, -4.0, 6.0, 2.0).pt3c();
    expectPtNear(pt, 1.0, -2.0, 3.0, 0.0);
    // Through a perspective matrix (w = -z): the image of (1, 1, -2) is (0.5, 0.5, -1).
    double arP[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}};
    expectPtNear(ptXgm3c(X4h(arP), Pt3c(1, 1, -2)), 0.5, 0.5, -1.0, 0.0);
}

TEST(Hom4hTest, LinesPlanesAndTheirTransforms) {
    Ln4h ln(Pt3c(1, 2, 3), Vc3c(0, 0, -2));
    expectPtNear(ptAtTLn4h(0.5, ln), 1, 2, 2, 0.0);
    Dr3c dr = ln.dr3c();
    expectPtNear(Pt3c(dr.fX, dr.fY, dr.fZ), 0, 0, -1, 0.0);
    Pln4h pln(Dr3c(0, 0, 1), Pt3c(7, 7, -1));
    double t = fTIntersectLnPln4h(ln, pln);
    EXPECT_DOUBLE_EQ(t, 2.0);
    expectPtNear(ptAtTLn4h(t, ln), 1, 2, -1, 0.0);
    // Parallel: no guard, an infinity.
    Ln4h lnFlat(Pt3c(0, 0, 1), Vc3c(1, 0, 0));
    EXPECT_TRUE(std::isinf(fTIntersectLnPln4h(lnFlat, pln)));

    // A transformed point on a transformed plane stays on it, and a
    // transformed line meets the transformed plane at the same t.
    X4h x = x4hRotPtCDrAxisFRdn(Pt3c(1, -1, 2), Dr3c(1, 2, 3), 0.7) * x4hScale(2, 1, 0.5);
    Pln4h pln2 = plnXgm4h(x, pln);
    Pt4h pOn = ptXgm4h(x, Pt4h(ptAtTLn4h(t, ln)));
    EXPECT_NEAR(pln2.fA * pOn.fX + pln2.fB * pOn.fY + pln2.fC * pOn.fZ + pln2.fD * pOn.fW, 0.0,
                1e-13);
    Ln4h ln2 = lnXgm4h(x, ln);
    EXPECT_NEAR(fTIntersectLnPln4h(ln2, pln2), t, 1e-13);
    Pt3c p2 = ptAtTLn4h(0.3, ln2), p2Expect = ptXgm3c(x, ptAtTLn4h(0.3, ln));
    expectPtNear(p2, p2Expect.fX, p2Expect.fY, p2Expect.fZ, 1e-13);
    // The cb forms agree.
    Pln4h pln3 = plnXcb4h(x, pln);
    EXPECT_EQ(pln3.fD, pln2.fD);
    EXPECT_EQ(lnXcb4h(x, ln).pt4hDir.fZ, ln2.pt4hDir.fZ);
    EXPECT_EQ(ptXcb4h(x, Pt4h(1, 2, 3, 1)).fW, ptXgm4h(x, Pt4h(1, 2, 3, 1)).fW);
    // Direction of a line through a perspective-like transform follows the
    // image of the line.
    double arP[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}};
    X4h xP(arP);
    Ln4h lnP = lnXgm4h(xP, Ln4h(Pt3c(1, 1, -2), Vc3c(1, 0, 0)));
    Vc3c vImage = ptAtTLn4h(1e-6, lnP) - ptAtTLn4h(0.0, lnP);
    Dr3c drImage(vImage), drLine = lnP.dr3c();
    EXPECT_NEAR(fDotDrDr(drImage, drLine), 1.0, 1e-9);
}
