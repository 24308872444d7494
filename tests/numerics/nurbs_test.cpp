// B-spline span search: the tie-break at the closing value and at repeated
// knots against a plain linear search, the asserted ranges, and the odd paths
// of the curve evaluators.
#include <cmath>
#include <memory>
#include <vector>

#include "numerics/nurbs.h"
#include "support/testutil.h"

namespace {

using Knots = std::vector<double>;

using vttest::vdfOf;

// The span by plain linear search: the last i in p..n with U[i] <= u <
// U[i+1]; at the closing value U[n+1], the last non-empty span.
Long iSpanLinear(Long n, Long p, double u, const Knots& U) {
    auto Ui = [&](Long j) { return U[static_cast<size_t>(j)]; };
    if (u == Ui(n + 1)) {
        Long i = n;
        while (Ui(i) == Ui(i + 1)) i--;
        return i;
    }
    Long iFound = -1;
    for (Long i = p; i <= n; i++)
        if (Ui(i) <= u && u < Ui(i + 1)) iFound = i;
    return iFound;
}

// A clamped knot vector of degree p with the given interior knots over [a, b].
Knots knotsClamped(Long p, double a, const Knots& interior, double b) {
    Knots U(static_cast<size_t>(p + 1), a);
    U.insert(U.end(), interior.begin(), interior.end());
    U.insert(U.end(), static_cast<size_t>(p + 1), b);
    return U;
}

// Control points of a curve: nDim coordinates, owned by the holder.
struct ControlPoints {
    std::vector<std::unique_ptr<Vd<double>>> apvdf;
    A<unsigned char*> apVdfP;
    ControlPoints(Long n, Long nDim) : apVdfP(0, n) {
        for (Long i = 0; i <= n; i++) {
            apvdf.push_back(std::make_unique<Vd<double>>(1, nDim));
            for (Long iDim = 1; iDim <= nDim; iDim++) (*apvdf.back())[iDim] = std::sin(1.3 * i);
            apVdfP[i] = reinterpret_cast<unsigned char*>(apvdf.back().get());
        }
    }
};

}  // namespace

TEST(ISpanInKnotvc, AgreesWithLinearSearchAtEveryKnotAndBetween) {
    // Degree 0, a double interior knot, and uniform knots that are not clamped.
    const struct { Long p; Knots U; } acurve[] = {
        {0, knotsClamped(0, 0.0, {1.0, 2.5}, 4.0)},
        {3, knotsClamped(3, 0.0, {0.3, 1.1, 1.1, 2.0, 2.4}, 3.0)},
        {3, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}}};
    for (const auto& c : acurve) {
        Vd<double> vdfU = vdfOf(c.U);
        const Long n = static_cast<Long>(c.U.size()) - c.p - 2;
        const double a = c.U[static_cast<size_t>(c.p)], b = c.U[static_cast<size_t>(n + 1)];
        std::vector<double> us(c.U.begin() + c.p, c.U.begin() + n + 2);
        for (int i = 0; i <= 37; i++) us.push_back(a + (b - a) * i / 37.0);
        for (double u : us)
            EXPECT_EQ(iSpanInKnotvc(n, c.p, u, &vdfU), iSpanLinear(n, c.p, u, c.U))
                << "p=" << c.p << " u=" << u;
    }
    // Knots out of order: not a knot vector, but the search still ends on a
    // span i with U[i] <= u < U[i+1].
    const Knots U = {0.0, 0.0, 2.5, 0.5, 1.0, 2.0, 3.0, 3.0};  // n = 5, p = 1
    Vd<double> vdfU = vdfOf(U);
    for (double u : {0.1, 0.7, 1.5, 2.2, 2.9}) {
        const Long i = iSpanInKnotvc(5, 1, u, &vdfU);
        EXPECT_LE(U[static_cast<size_t>(i)], u);
        EXPECT_LT(u, U[static_cast<size_t>(i + 1)]);
    }
}

TEST(ISpanInKnotvcDeath, RangesAreAssertedBeforeAnySearch) {
    const Knots U = knotsClamped(2, 0.0, {1.0}, 2.0);  // n = 3, m = 6
    Vd<double> vdfFrom1 = vdfOf(U, 1), vdfU = vdfOf(U);
    const char* szKnots = "Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1";
    EXPECT_DEATH(iSpanInKnotvc(3, 2, 0.5, &vdfFrom1),
                 "^Assertion failed: pvdfUKnot->lo == 0 && pvdfUKnot->hi == n\\+p\\+1, "
                 "file .*nurbs\\.cpp, line [0-9]+\n$");
    EXPECT_DEATH(iSpanInKnotvc(4, 2, 0.5, &vdfU), szKnots);
    EXPECT_DEATH(iSpanInKnotvc(3, 1, 0.5, &vdfU), szKnots);
    const char* szRange =
        "^Assertion failed: u >= \\(\\*pvdfUKnot\\)\\[p\\] && u <= \\(\\*pvdfUKnot\\)\\[n\\+1\\], "
        "file .*nurbs\\.cpp";
    for (double u : {-0.001, std::nextafter(2.0, 3.0), std::nan(""), double(INFINITY)})
        EXPECT_DEATH(iSpanInKnotvc(3, 2, u, &vdfU), szRange) << u;
    // n + 1 < p asserts 0, but the closing value's tie-break comes first.
    Vd<double> vdfShort = vdfOf({0.0, 0.0, 1.0, 1.0});
    EXPECT_DEATH(iSpanInKnotvc(0, 2, 0.5, &vdfShort), "^Assertion failed: 0, file .*nurbs\\.cpp");
    EXPECT_EQ(iSpanInKnotvc(0, 2, 0.0, &vdfShort), 0);
    // The curve evaluators check through the span search, and their output.
    ControlPoints cp(3, 1);
    Mdc<double> mdcf(1, 1, 0, 1);
    EXPECT_DEATH(mdcfDerivsBSplineAtU(1, 3, 2, &vdfFrom1, &cp.apVdfP, 0.5, 1, &mdcf), szKnots);
    Vd<double> vdfX0(0, 0);
    EXPECT_DEATH(vdfXBSplineAtU(1, 0.5, 3, 2, &vdfU, &cp.apVdfP, &vdfX0),
                 "^Assertion failed: pvdfX->lo == 1, file .*nurbs\\.cpp");
}

TEST(MdcfDerivsBSplineAtU, FewerOrdersThanTheDegreeLeaveTheRestAlone) {
    Vd<double> vdfU = vdfOf(knotsClamped(3, 0.0, {1.0, 2.0}, 3.0));
    ControlPoints cp(5, 1);
    Mdc<double> mdcf(1, 1, 0, 3);
    mdcf.at(1, 2) = 42.0;
    mdcf.at(1, 3) = 43.0;
    mdcfDerivsBSplineAtU(1, 5, 3, &vdfU, &cp.apVdfP, 1.5, 1, &mdcf);
    EXPECT_EQ(mdcf.at(1, 2), 42.0);
    EXPECT_EQ(mdcf.at(1, 3), 43.0);
    // More orders than the degree: those above it are zero in every
    // coordinate, whatever the table held.
    ControlPoints cp2(5, 2);
    Mdc<double> mdcf2(1, 2, 0, 5);
    for (Long iDim = 1; iDim <= 2; iDim++)
        for (Long k = 0; k <= 5; k++) mdcf2.at(iDim, k) = 42.0;
    mdcfDerivsBSplineAtU(2, 5, 3, &vdfU, &cp2.apVdfP, 1.5, 5, &mdcf2);
    for (Long k = 0; k <= 3; k++) EXPECT_EQ(mdcf2.at(2, k), mdcf2.at(1, k)) << k;
    for (Long iDim = 1; iDim <= 2; iDim++)
        for (Long k = 4; k <= 5; k++) EXPECT_EQ(mdcf2.at(iDim, k), 0.0) << iDim << " " << k;
    // Five coordinates, more than the stack path keeps, go the general way:
    // each is the one-coordinate curve, bit for bit.
    ControlPoints cp5(5, 5);
    Mdc<double> mdcf5(1, 5, 0, 3), mdcf1(1, 1, 0, 3);
    mdcfDerivsBSplineAtU(5, 5, 3, &vdfU, &cp5.apVdfP, 1.5, 3, &mdcf5);
    mdcfDerivsBSplineAtU(1, 5, 3, &vdfU, &cp.apVdfP, 1.5, 3, &mdcf1);
    for (Long iDim = 1; iDim <= 5; iDim++)
        for (Long k = 0; k <= 3; k++) EXPECT_EQ(mdcf5.at(iDim, k), mdcf1.at(1, k)) << iDim << " " << k;
    Vd<double> vdfX(1, 1);  // the point is order 0 of the derivatives, bit for bit
    vdfXBSplineAtU(1, 1.5, 5, 3, &vdfU, &cp.apVdfP, &vdfX);
    EXPECT_EQ(vdfX[1], mdcf1.at(1, 0));
}

// Marsden's identity: u^k = sum_i c_i N(i, p)(u) with c_i the k-th elementary
// symmetric sum of U[i+1..i+p] over C(p, k). So the basis derivatives of a
// span, weighted by these c_i, give the derivatives of u^k exactly, at any u,
// for every k <= p; orders above p give zero. Both the table routine's paths
// are taken: orders up to p, and one order more.
TEST(MdcfDerivsBSpline, ReproduceThePowersOfUInsideTheCurve) {
    const struct { Long p; Knots U; std::vector<double> us; } acurve[] = {
        {5, knotsClamped(5, 0.0, {0.4, 1.1, 1.5, 2.6}, 3.0), {0.0, 0.7, 1.5, 2.2, 2.95}},
        {6, knotsClamped(6, -1.0, {-0.3, 0.2, 0.2, 1.7}, 2.0), {-0.9, 0.2, 1.0, 1.99, 2.0}}};
    for (const auto& c : acurve) {
        const Long p = c.p, n = static_cast<Long>(c.U.size()) - p - 2;
        Vd<double> vdfU = vdfOf(c.U);
        // aac[k][i]: the coefficient of control point i for u^k.
        std::vector<std::vector<double>> aac(size_t(p + 1), std::vector<double>(size_t(n + 1)));
        for (Long i = 0; i <= n; i++) {
            std::vector<double> e(size_t(p + 1), 0.0);  // the elementary symmetric sums
            e[0] = 1.0;
            for (Long l = 1; l <= p; l++)
                for (Long k = l; k >= 1; k--) e[size_t(k)] += e[size_t(k - 1)] * c.U[size_t(i + l)];
            for (Long k = 0, iBinom = 1; k <= p; iBinom = iBinom * (p - k) / (k + 1), k++)
                aac[size_t(k)][size_t(i)] = e[size_t(k)] / double(iBinom);
        }
        for (double u : c.us) {
            const Long iSpan = iSpanInKnotvc(n, p, u, &vdfU);
            Mdc<double> mdcfStack(0, p, 0, p);  // the stack path and the general one agree exactly
            for (Long nDeriv : {p, p + 1}) {
                Mdc<double> mdcf(0, nDeriv, 0, p);
                mdcfDerivsBSpline(iSpan, u, p, nDeriv, &vdfU, &mdcf);
                for (Long r = 0; r <= p; r++)
                    for (Long j = 0; j <= p; j++) {
                        if (nDeriv == p) mdcfStack.at(r, j) = mdcf.at(r, j);
                        EXPECT_EQ(mdcf.at(r, j), mdcfStack.at(r, j)) << r << " " << j;
                    }
                for (Long k = 0; k <= p; k++) {
                    const std::vector<double>& ac = aac[size_t(k)];
                    for (Long r = 0; r <= nDeriv; r++) {
                        double f = 0.0, fAbs = 0.0;
                        for (Long j = 0; j <= p; j++) {
                            f += ac[size_t(iSpan - p + j)] * mdcf.at(r, j);
                            fAbs += std::fabs(ac[size_t(iSpan - p + j)] * mdcf.at(r, j));
                        }
                        double fWant = r > k ? 0.0 : std::pow(u, double(k - r));  // d^r/du^r u^k
                        for (Long l = k - r + 1; l <= k; l++) fWant *= double(l);
                        EXPECT_NEAR(f, fWant, 1e-12 * (1.0 + fAbs))
                            << "p=" << p << " u=" << u << " k=" << k << " r=" << r;
                    }
                }
            }
        }
    }
}
