// Homogeneous transforms: the weight division of points, the singular
// matrix without an inverse, and the assertion and allocation failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "geom/geom4h.h"

namespace {

void expectPtEq(Pt3c const& pt, double x, double y, double z) {
    EXPECT_EQ(pt.fX, x);
    EXPECT_EQ(pt.fY, y);
    EXPECT_EQ(pt.fZ, z);
}

}  // namespace

TEST(Hom4hTest, PointsDivideByTheirWeight) {
    expectPtEq(Pt4h(2.0, -4.0, 6.0, 2.0).pt3c(), 1.0, -2.0, 3.0);
    // Through a perspective matrix (w = -z): the image of (1, 1, -2) is (0.5, 0.5, -1).
    double arP[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}};
    X4h xP(arP);
    EXPECT_FALSE(xP.bInv);
    expectPtEq(ptXgm3c(xP, Pt3c(1, 1, -2)), 0.5, 0.5, -1.0);
}

// A X = B for two right-hand sides at once: the solutions replace B.
TEST(GaussJordanTest, SolvesRightHandSides) {
    double** mxA = mxF64New(1, 2, 1, 2);
    double** mxB = mxF64New(1, 2, 1, 2);
    // A = (0 2; 3 -1), zero in the corner: rows swap; X = (1 -2; 3 5); B = A X by hand.
    mxA[1][1] = 0, mxA[1][2] = 2, mxA[2][1] = 3, mxA[2][2] = -1;
    mxB[1][1] = 6, mxB[1][2] = 10, mxB[2][1] = 0, mxB[2][2] = -11;
    Long iStatus = -1;
    gaussJordan(mxA, 2, mxB, 2, &iStatus);
    EXPECT_EQ(iStatus, 0);
    const double arX[2][2] = {{1, -2}, {3, 5}};
    for (int r = 1; r <= 2; ++r)
        for (int c = 1; c <= 2; ++c) EXPECT_NEAR(mxB[r][c], arX[r - 1][c - 1], 1e-14) << r << c;
    releaseMxF64(mxA, 1, 1);
    releaseMxF64(mxB, 1, 1);
}

TEST(X4hMatrixDeathTest, BadRangesHugeSizesAndMissingInverses) {
    EXPECT_DEATH(mxF64New(1, 0, 1, 4), "Assertion failed: loR <= hiR && loC <= hiC");
    EXPECT_EXIT(mxF64New(1, 2000000000, 1, 2000000000), ::testing::ExitedWithCode(1),
                "mxF64New\\( 1, 2000000000, 1, 2000000000 \\) allocation failure");
    double ar[4][4] = {};
    X4h x(ar);
    EXPECT_DEATH(x4hInv(x), "Assertion failed: x4h.bInv, file .*geom4h.cpp");
    EXPECT_DEATH(plnXgm4h(x, Pln4h()), "Assertion failed: x4h.bInv");
}

// Products against the plain triple loop, on integer matrices whose products
// are exact; the stored inverse of a product inverts that product.
TEST(X4hProductTest, ProductsAndTheirInversesAgainstThePlainLoop) {
    double arA[4][4] = {{2, -1, 0, 3}, {1, 4, -2, 0}, {0, 5, 1, -1}, {-3, 0, 2, 1}};
    double arB[4][4] = {{1, 2, 0, -1}, {0, -3, 4, 2}, {5, 1, -2, 0}, {2, 0, 1, 3}};
    const X4h a(arA), b(arB);
    for (bool bAB : {true, false}) {
        const X4h x = bAB ? a * b : b * a;
        double(*ar1)[4] = bAB ? arA : arB, (*ar2)[4] = bAB ? arB : arA, ar[4][4] = {};
        for (int r = 0; r < 4; ++r)
            for (int k = 0; k < 4; ++k)
                for (int c = 0; c < 4; ++c) ar[r][c] += ar1[r][k] * ar2[k][c];
        ASSERT_TRUE(x.bInv);
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                EXPECT_EQ(x.mxF[r + 1][c + 1], ar[r][c]) << bAB << r << c;
                double f = 0.0;
                for (int k = 0; k < 4; ++k) f += x.mxFInv[r + 1][k + 1] * ar[k][c];
                EXPECT_NEAR(f, r == c ? 1.0 : 0.0, 1e-12) << bAB << r << c;
            }
        }
    }
}

// The two-matrix form copies exactly the 4-by-4 entries of each; a fifth
// column in the given rows is not copied, and nothing beyond the object is
// written.
TEST(X4hProductTest, TwoMatrixFormCopiesExactlyTheEntries) {
    double** mx = mxF64New(1, 4, 1, 5);
    double** mxInv = mxF64New(1, 4, 1, 5);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 5; ++c) mxInv[r][c] = -(mx[r][c] = c < 5 ? 10 * r + c : 99);
    alignas(X4h) unsigned char arB[sizeof(X4h) + 32];
    std::memset(arB, 0xA5, sizeof arB);
    X4h* px = new (arB) X4h(mx, mxInv);
    EXPECT_TRUE(px->bInv);
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c)
            EXPECT_TRUE(px->mxF[r][c] == 10 * r + c && px->mxFInv[r][c] == -(10 * r + c)) << r << c;
    EXPECT_EQ(std::count(arB + sizeof(X4h), std::end(arB), 0xA5), 32);
    px->~X4h();
    releaseMxF64(mx, 1, 1);
    releaseMxF64(mxInv, 1, 1);
}

// Reflection in a plane: p' = p - 2((p - q).n) n, worked out here point by
// point; the matrix is its own inverse.
TEST(X4hReflectionTest, PlaneThroughAPointAgainstTheDirectFormula) {
    const Pt3c ptOn(1.5, -2.0, 0.5);
    const Dr3c drN(0.3, -0.4, 0.866);
    const X4h x4h = x4hRflPlnPtDrNrm(ptOn, drN);
    const double n[3] = {drN.fX, drN.fY, drN.fZ};
    for (const Pt3c& pt : {Pt3c(0, 0, 0), Pt3c(3, 1, -2), Pt3c(-4, 5, 7)}) {
        const double d = (pt.fX - ptOn.fX) * n[0] + (pt.fY - ptOn.fY) * n[1] + (pt.fZ - ptOn.fZ) * n[2];
        const Pt3c ptR = ptXgm3c(x4h, pt);
        EXPECT_NEAR(ptR.fX, pt.fX - 2 * d * n[0], 1e-12);
        EXPECT_NEAR(ptR.fY, pt.fY - 2 * d * n[1], 1e-12);
        EXPECT_NEAR(ptR.fZ, pt.fZ - 2 * d * n[2], 1e-12);
    }
    for (int r = 1; r <= 4; ++r)
        for (int c = 1; c <= 4; ++c) EXPECT_EQ(x4h.mxF[r][c], x4h.mxFInv[r][c]);
    expectPtEq(ptXgm3c(x4hRflZ(), Pt3c(1, 2, 3)), 1, 2, -3);
}
