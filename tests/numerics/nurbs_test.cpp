// B-spline basis and curves against an independent Cox-de Boor recursion,
// finite differences and the clamped-end identities.
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "numerics/nurbs.h"
#include "support/testutil.h"

namespace {

using Knots = std::vector<double>;

Vd<double> vdfOf(const Knots& v, Long lo = 0) {
    Vd<double> vdf(lo, lo + static_cast<Long>(v.size()) - 1);
    for (Long i = 0; i < vdf.n(); i++) vdf[lo + i] = v[static_cast<size_t>(i)];
    return vdf;
}

// The span by plain linear search: the last i in p..n with U[i] <= u <
// U[i+1]; at the closing value U[n+1], the last non-empty span.
Long iSpanLinear(Long n, Long p, double u, const Knots& U) {
    if (u == U[static_cast<size_t>(n + 1)]) {
        Long i = n;
        while (U[static_cast<size_t>(i)] == U[static_cast<size_t>(i + 1)]) i--;
        return i;
    }
    Long iFound = -1;
    for (Long i = p; i <= n; i++)
        if (U[static_cast<size_t>(i)] <= u && u < U[static_cast<size_t>(i + 1)]) iFound = i;
    return iFound;
}

// The k-th derivative of N(i, q) at u by the Cox-de Boor recursion, with the
// degree-0 functions taken as the indicator of span iSpan and 0/0 read as 0:
//   N(i, q)   = (u - U[i]) / (U[i+q] - U[i]) N(i, q-1)
//             + (U[i+q+1] - u) / (U[i+q+1] - U[i+1]) N(i+1, q-1)
//   N(i, q)^k = q (N(i, q-1)^(k-1) / (U[i+q] - U[i])
//             - N(i+1, q-1)^(k-1) / (U[i+q+1] - U[i+1]))
double fCoxDeBoor(Long i, Long q, Long k, double u, Long iSpan, const Knots& U) {
    auto Ui = [&](Long j) { return U[static_cast<size_t>(j)]; };
    if (q == 0) return (k == 0 && i == iSpan) ? 1.0 : 0.0;
    const double fDen1 = Ui(i + q) - Ui(i);
    const double fDen2 = Ui(i + q + 1) - Ui(i + 1);
    double fSum = 0.0;
    if (k == 0) {
        if (fDen1 != 0.0) fSum += (u - Ui(i)) / fDen1 * fCoxDeBoor(i, q - 1, 0, u, iSpan, U);
        if (fDen2 != 0.0)
            fSum += (Ui(i + q + 1) - u) / fDen2 * fCoxDeBoor(i + 1, q - 1, 0, u, iSpan, U);
        return fSum;
    }
    if (fDen1 != 0.0) fSum += fCoxDeBoor(i, q - 1, k - 1, u, iSpan, U) / fDen1;
    if (fDen2 != 0.0) fSum -= fCoxDeBoor(i + 1, q - 1, k - 1, u, iSpan, U) / fDen2;
    return q * fSum;
}

// A clamped knot vector of degree p with the given interior knots over [a, b].
Knots knotsClamped(Long p, double a, const Knots& interior, double b) {
    Knots U(static_cast<size_t>(p + 1), a);
    U.insert(U.end(), interior.begin(), interior.end());
    U.insert(U.end(), static_cast<size_t>(p + 1), b);
    return U;
}

// Test curves: clamped, non-uniform, one with a double interior knot.
struct Curve {
    Long p;
    Knots U;
};
std::vector<Curve> curvesToTest() {
    return {
        {0, knotsClamped(0, 0.0, {1.0, 2.5}, 4.0)},
        {1, knotsClamped(1, 0.0, {0.5, 2.0}, 3.0)},
        {2, knotsClamped(2, -1.0, {0.0, 0.0, 0.7, 1.9}, 2.0)},
        {3, knotsClamped(3, 0.0, {0.3, 1.1, 1.1, 2.0, 2.4}, 3.0)},
        {5, knotsClamped(5, 0.0, {2.0, 5.0, 7.5, 12.0, 20.0}, 30.0)},
        {6, knotsClamped(6, 0.0, {1.0, 3.0, 4.0, 8.0, 9.5, 13.0, 21.0, 26.0}, 30.0)},
        // Not clamped: uniform knots, evaluated over [U[p], U[n+1]].
        {3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    };
}

Long nOf(const Curve& c) { return static_cast<Long>(c.U.size()) - c.p - 2; }

// Parameter values across [U[p], U[n+1]]: a grid, every knot, both ends.
std::vector<double> usToTest(const Curve& c) {
    const Long n = nOf(c);
    const double a = c.U[static_cast<size_t>(c.p)], b = c.U[static_cast<size_t>(n + 1)];
    std::vector<double> us;
    for (int i = 0; i <= 37; i++) us.push_back(a + (b - a) * i / 37.0);
    for (Long i = c.p; i <= n + 1; i++) us.push_back(c.U[static_cast<size_t>(i)]);
    return us;
}

// Control points of a curve: nDim coordinates, owned by the holder.
struct ControlPoints {
    std::vector<std::unique_ptr<Vd<double>>> apvdf;
    A<unsigned char*> apVdfP;
    ControlPoints(Long n, Long nDim) : apVdfP(0, n) {
        for (Long i = 0; i <= n; i++) {
            apvdf.push_back(std::make_unique<Vd<double>>(1, nDim));
            for (Long iDim = 1; iDim <= nDim; iDim++)
                (*apvdf.back())[iDim] = std::sin(1.3 * i + 0.7 * iDim) * (2.0 + iDim) + 0.1 * i;
            apVdfP[i] = reinterpret_cast<unsigned char*>(apvdf.back().get());
        }
    }
    double fP(Long i, Long iDim) const { return (*apvdf[static_cast<size_t>(i)])[iDim]; }
};

}  // namespace

// ---- span search ----------------------------------------------------------------

TEST(ISpanInKnotvc, AgreesWithLinearSearchEverywhere) {
    for (const Curve& c : curvesToTest()) {
        Vd<double> vdfU = vdfOf(c.U);
        const Long n = nOf(c);
        for (double u : usToTest(c)) {
            const Long iSpan = iSpanInKnotvc(n, c.p, u, &vdfU);
            EXPECT_EQ(iSpan, iSpanLinear(n, c.p, u, c.U)) << "p=" << c.p << " u=" << u;
            EXPECT_GE(iSpan, c.p);
            EXPECT_LE(iSpan, n);
        }
    }
}

TEST(ISpanInKnotvcDeath, KnotVectorRangeIsAssertedBeforeAnySearch) {
    const Knots U = knotsClamped(2, 0.0, {1.0}, 2.0);  // n = 3, m = 6
    Vd<double> vdfFrom1 = vdfOf(U, 1);
    EXPECT_DEATH(iSpanInKnotvc(3, 2, 0.5, &vdfFrom1),
                 "^Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1, "
                 "file .*nurbs\\.cpp, line [0-9]+\n$");
    Vd<double> vdfU = vdfOf(U);
    EXPECT_DEATH(iSpanInKnotvc(4, 2, 0.5, &vdfU),
                 "Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1");
    EXPECT_DEATH(iSpanInKnotvc(3, 1, 0.5, &vdfU),
                 "Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1");
}

TEST(ISpanInKnotvcDeath, TooFewControlPointsForTheDegreeAssertsZero) {
    // n = 0, p = 2: n + 1 < p.
    Vd<double> vdfU = vdfOf({0.0, 0.0, 1.0, 1.0});
    EXPECT_DEATH(iSpanInKnotvc(0, 2, 0.5, &vdfU), "^Assertion failed: 0, file .*nurbs\\.cpp");
    // The closing value's tie-break comes first: u = U[n+1] gives n.
    EXPECT_EQ(iSpanInKnotvc(0, 2, 0.0, &vdfU), 0);
}

TEST(ISpanInKnotvcDeath, ParameterOutsideTheCurveAssertsInsteadOfSearching) {
    const Knots U = knotsClamped(2, 0.0, {1.0}, 2.0);
    Vd<double> vdfU = vdfOf(U);
    const char* szRange =
        "^Assertion failed: u >= \\(\\*pvdfUKnot\\)\\[p\\] && u <= \\(\\*pvdfUKnot\\)\\[n\\+1\\], "
        "file .*nurbs\\.cpp";
    EXPECT_DEATH(iSpanInKnotvc(3, 2, -0.001, &vdfU), szRange);
    EXPECT_DEATH(iSpanInKnotvc(3, 2, std::nextafter(2.0, 3.0), &vdfU), szRange);
    EXPECT_DEATH(iSpanInKnotvc(3, 2, std::nan(""), &vdfU), szRange);
    EXPECT_DEATH(iSpanInKnotvc(3, 2, INFINITY, &vdfU), szRange);
}

TEST(ISpanInKnotvc, KnotsOutOfOrderStillEndTheSearch) {
    // Not a valid knot vector, but the search must still end: it returns a
    // span i with U[i] <= u < U[i+1].
    const Knots U = {0.0, 0.0, 2.5, 0.5, 1.0, 2.0, 3.0, 3.0};  // n = 5, p = 1
    Vd<double> vdfU = vdfOf(U);
    for (double u : {0.1, 0.7, 1.5, 2.2, 2.9}) {
        const Long i = iSpanInKnotvc(5, 1, u, &vdfU);
        EXPECT_LE(U[static_cast<size_t>(i)], u);
        EXPECT_LT(u, U[static_cast<size_t>(i + 1)]);
    }
}

// ---- basis derivatives -------------------------------------------------------

// Every order against the recursion; the basis itself is non-negative and sums
// to one, and so every derivative sums to zero.
TEST(MdcfDerivsBSpline, EveryOrderMatchesTheDifferentiatedRecursion) {
    for (const Curve& c : curvesToTest()) {
        Vd<double> vdfU = vdfOf(c.U);
        const Long n = nOf(c);
        const Long nDeriv = c.p + 2;
        Mdc<double> mdcf(0, nDeriv, 0, c.p);
        Vd<double> vdfN(0, c.p);
        for (double u : usToTest(c)) {
            const Long iSpan = iSpanInKnotvc(n, c.p, u, &vdfU);
            mdcfDerivsBSpline(iSpan, u, c.p, nDeriv, &vdfU, &mdcf);
            vdfNBSpline(iSpan, u, c.p, &vdfU, &vdfN);
            for (Long k = 0; k <= nDeriv; k++) {
                for (Long j = 0; j <= c.p; j++) {
                    const double fRef = fCoxDeBoor(iSpan - c.p + j, c.p, k, u, iSpan, c.U);
                    // Derivatives of order k scale like 1 / (knot spacing)^k.
                    EXPECT_NEAR(mdcf.at(k, j), fRef, 1e-12 * (1.0 + std::fabs(fRef)))
                        << "p=" << c.p << " u=" << u << " k=" << k << " j=" << j;
                }
            }
            for (Long j = 0; j <= c.p; j++) {
                EXPECT_EQ(mdcf.at(0, j), vdfN[j]);
                EXPECT_GE(vdfN[j], -1e-15);
            }
            for (Long k = 0; k <= nDeriv; k++) {
                double fSum = 0.0, fMag = 0.0;
                for (Long j = 0; j <= c.p; j++) fSum += mdcf.at(k, j), fMag += std::fabs(mdcf.at(k, j));
                EXPECT_NEAR(fSum, k == 0 ? 1.0 : 0.0, k == 0 ? 1e-14 : 1e-12 * (1.0 + fMag));
            }
        }
    }
}

TEST(VdfXBSplineAtUDeath, PointVectorMustStartAtOne) {
    Vd<double> vdfU = vdfOf(knotsClamped(2, 0.0, {1.0}, 2.0));
    ControlPoints cp(3, 2);
    Vd<double> vdfX0(0, 1);
    EXPECT_DEATH(vdfXBSplineAtU(2, 0.5, 3, 2, &vdfU, &cp.apVdfP, &vdfX0),
                 "^Assertion failed: pvdfX->lo == 1, file .*nurbs\\.cpp");
}

// ---- curve derivatives -------------------------------------------------------

// Column 0 is the point, the basis-weighted sum of the control points.
TEST(MdcfDerivsBSplineAtU, ColumnsAreThePointAndItsDerivatives) {
    for (const Curve& c : curvesToTest()) {
        Vd<double> vdfU = vdfOf(c.U);
        const Long n = nOf(c);
        ControlPoints cp(n, 2);
        const Long d = c.p + 1;
        Mdc<double> mdcf(1, 2, 0, d);
        Vd<double> vdfX(1, 2);
        for (double u : usToTest(c)) {
            mdcfDerivsBSplineAtU(2, n, c.p, &vdfU, &cp.apVdfP, u, d, &mdcf);
            vdfXBSplineAtU(2, u, n, c.p, &vdfU, &cp.apVdfP, &vdfX);
            const Long iSpan = iSpanLinear(n, c.p, u, c.U);
            for (Long iDim = 1; iDim <= 2; iDim++) {
                EXPECT_NEAR(mdcf.at(iDim, 0), vdfX[iDim], 1e-13);
                for (Long k = 0; k <= d; k++) {
                    double fRef = 0.0;
                    for (Long i = 0; i <= n; i++)
                        fRef += fCoxDeBoor(i, c.p, k, u, iSpan, c.U) * cp.fP(i, iDim);
                    if (k == 0) {
                        EXPECT_NEAR(vdfX[iDim], fRef, 1e-13) << "p=" << c.p << " u=" << u;
                    }
                    EXPECT_NEAR(mdcf.at(iDim, k), fRef, 1e-11 * (1.0 + std::fabs(fRef)))
                        << "p=" << c.p << " u=" << u << " k=" << k;
                }
            }
        }
    }
}

TEST(MdcfDerivsBSplineAtU, FewerOrdersThanTheDegreeLeaveTheRestAlone) {
    const Curve c{3, knotsClamped(3, 0.0, {1.0, 2.0}, 3.0)};
    Vd<double> vdfU = vdfOf(c.U);
    ControlPoints cp(nOf(c), 1);
    Mdc<double> mdcf(1, 1, 0, 3);
    mdcf.at(1, 2) = 42.0;
    mdcf.at(1, 3) = 43.0;
    mdcfDerivsBSplineAtU(1, nOf(c), 3, &vdfU, &cp.apVdfP, 1.5, 1, &mdcf);
    EXPECT_EQ(mdcf.at(1, 2), 42.0);
    EXPECT_EQ(mdcf.at(1, 3), 43.0);
}

TEST(MdcfDerivsBSplineAtUDeath, KnotRangeIsCheckedThroughTheSpanSearch) {
    Vd<double> vdfU = vdfOf(knotsClamped(2, 0.0, {1.0}, 2.0), 1);
    ControlPoints cp(3, 1);
    Mdc<double> mdcf(1, 1, 0, 1);
    EXPECT_DEATH(mdcfDerivsBSplineAtU(1, 3, 2, &vdfU, &cp.apVdfP, 0.5, 1, &mdcf),
                 "Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1");
}
