// Waypoint file, B-spline fit and path analysis, checked against independent
// computations: a Cox-de Boor evaluation written here, and closed forms.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "plan/thrusters.h"
#include "plan/wptfpln.h"
#include "sim/params.h"
#include "support/testutil.h"

#include "support/scenario.h"

namespace {
struct Spline {
    Long n, p;
    std::vector<double> u, cp;  // knots 0..n+p+1, control points 0..n
};

Spline splineFm(Long n, Long p, Vd<double>* pvdfU, A<unsigned char*>* paCp) {
    Spline s{n, p, {}, {}};
    for (Long j = 0; j <= n + p + 1; j++) s.u.push_back((*pvdfU)[j]);
    for (Long k = 0; k <= n; k++) s.cp.push_back((*pvdfAt(paCp, k))[1]);
    return s;
}

// k-th derivative of basis function i of degree q at t, by the recursion on
// degree; the last non-empty interval is closed on the right so that the end
// of the range belongs to it.
double fBasis(const Spline& s, Long i, Long q, Long k, double t) {
    const std::vector<double>& u = s.u;
    if (q == 0)
        return k > 0 ? 0.0 : t == u[s.n + 1] ? (u[i] < t && u[i + 1] == t) : (u[i] <= t && t < u[i + 1]);
    const double d1 = u[i + q] - u[i], d2 = u[i + q + 1] - u[i + 1];
    const Long kLower = std::max<Long>(k - 1, 0);
    double f = 0.0;
    if (d1 > 0) f += (k == 0 ? (t - u[i]) / d1 : q / d1) * fBasis(s, i, q - 1, kLower, t);
    if (d2 > 0) f += (k == 0 ? (u[i + q + 1] - t) / d2 : -q / d2) * fBasis(s, i + 1, q - 1, kLower, t);
    return f;
}

double fSpline(const Spline& s, Long k, double t) {
    double f = 0.0;
    for (Long i = 0; i <= s.n; i++) f += s.cp[i] * fBasis(s, i, s.p, k, t);
    return f;
}

struct Fit {
    unsigned char bOk = 2;
    Vd<double>* pvdfTParam = nullptr;
    A<unsigned char*>*paPVdfXParam = nullptr, *paPVdfXCpX = nullptr, *paPVdfXCpZ = nullptr;
    double fTi = -99.0, fTf = -99.0;
    Long nX = -1, pX = -1, mX = -1, nZ = -1, pZ = -1, mZ = -1;
    Vd<double>*pvdfUKnotX = nullptr, *pvdfUKnotZ = nullptr;
    explicit Fit(const std::vector<double>& vfParam) {
        Vd<double> vdfParam(1, static_cast<Long>(vfParam.size()));
        std::copy(vfParam.begin(), vfParam.end(), vdfParam.pdata);
        paramsToBSpline(&vdfParam, &bOk, &pvdfTParam, &paPVdfXParam, &fTi, &fTf, &nX, &pX, &mX,
                        &pvdfUKnotX, &paPVdfXCpX, &nZ, &pZ, &mZ, &pvdfUKnotZ, &paPVdfXCpZ);
    }
    ~Fit() {
        for (auto* pv : {pvdfTParam, pvdfUKnotX, pvdfUKnotZ}) delete pv;
        for (auto* pa : {paPVdfXParam, paPVdfXCpX, paPVdfXCpZ}) deletePaPVdf(pa);
    }
    Spline splineX() const { return splineFm(nX, pX, pvdfUKnotX, paPVdfXCpX); }
    Spline splineZ() const { return splineFm(nZ, pZ, pvdfUKnotZ, paPVdfXCpZ); }
};

// The waypoints of the short reference hop, and a longer, uneven one.
const std::vector<double> vfHopShort = {0, 0, 0, 0.8, 0.04, 0.84, 1.6, 0.3, 1.5, 2.4, 0.56, 0.84, 3.2, 0.6, 0};
const std::vector<double> vfHopLong = {1.0, 2.0, 0.0, 2.5, 2.5, 1.5, 4.0, 6.0, 4.0, 6.5, 11.0, 5.0,
                                       8.0, 16.0, 3.0, 10.0, 19.5, 1.0, 11.0, 20.0, 0.0};

}  // namespace

using ParamFileTest = InTempDir;

TEST_F(ParamFileTest, NumbersOfTheFirstLineInFileOrder) {
    std::string szOnes = "1";
    for (int i = 0; i < 2046; i++) szOnes += " 1";  // 4,093 characters
    const struct { std::string szText; std::vector<double> vf; } acase[] = {
        {"  1\t-2.5e1 +3  .5\v6 1E-2 \r\n7 8 9\n", {1.0, -25.0, 3.0, 0.5, 6.0, 0.01}},
        {"4 5", {4.0, 5.0}},  // no newline at the end of the file
        // 4,093 characters and a newline: the longest line there is; as many
        // numbers as that line holds have no limit of their own.
        {"1" + std::string(4092, ' ') + "\n", {1.0}},
        {szOnes + "\n", std::vector<double>(2047, 1.0)}};
    for (const auto& c : acase) {
        vttest::writeFile("traj1r.txt", c.szText);
        Vd<double>* pvdf = pvdfParamTraj1FromFile("traj1r.txt");
        EXPECT_EQ(pvdf->lo, 1);
        EXPECT_EQ(std::vector<double>(pvdf->pdata, pvdf->pdata + pvdf->n()), c.vf) << c.szText;
        delete pvdf;
    }
}

TEST_F(ParamFileTest, BadFilesEndInOneFatalErrorNamingTheProblem) {
    const std::string szHead = "^FATAL ERROR --\n    pvdfParamTraj1FromFile\\(\\) ";
    const struct { std::string szText, szMsg; } acase[] = {
        {"1" + std::string(4093, ' ') + "\n", "first line too long"},  // fills the buffer
        {std::string(5000, '1'), "first line too long"},
        {"", "read error"},
        {"\n1 2 3\n", "first line is blank"},  {" \t \r\n", "first line is blank"},
        {"0 0 0 1 x1 1\n", "bad number in traj1r.txt"}, {"1,5 2\n", "bad number in traj1r.txt"},
        {"1 nan 2\n", "number not finite in traj1r.txt"}, {"1 -inf\n", "number not finite in traj1r.txt"},
        {"1e999\n", "number not finite in traj1r.txt"}, {"INFINITY 1\n", "number not finite in traj1r.txt"}};
    for (const auto& c : acase) {
        vttest::writeFile("traj1r.txt", c.szText);
        EXPECT_EXIT(pvdfParamTraj1FromFile("traj1r.txt"), ::testing::ExitedWithCode(1),
                    szHead + c.szMsg + "\n$") << c.szText.substr(0, 40);
    }
    EXPECT_EXIT(pvdfParamTraj1FromFile("none.txt"), ::testing::ExitedWithCode(1),
                szHead + "can't open none.txt\n$");
}

TEST(FitTest, CurvesPassThroughEveryWaypointAndStartAndEndAtRest) {
    for (const auto* pvf : {&vfHopShort, &vfHopLong}) {
        Fit fit(*pvf);
        ASSERT_TRUE(fit.bOk);
        const Spline sX = fit.splineX(), sZ = fit.splineZ();
        for (std::size_t i = 0; i < pvf->size(); i += 3) {
            const double t = (*pvf)[i];
            EXPECT_NEAR(fSpline(sX, 0, t), (*pvf)[i + 1], 1e-10) << "x at " << t;
            EXPECT_NEAR(fSpline(sZ, 0, t), (*pvf)[i + 2], 1e-10) << "z at " << t;
        }
        for (double t : {fit.fTi, fit.fTf}) {
            for (Long k = 1; k <= 3; k++) EXPECT_NEAR(fSpline(sX, k, t), 0.0, 1e-8) << k << " " << t;
            EXPECT_NEAR(fSpline(sZ, 1, t), 0.0, 1e-9) << t;
        }
        // Not trivially at rest everywhere: the motion in between is real.
        EXPECT_GT(std::fabs(fSpline(sX, 1, 0.5 * (fit.fTi + fit.fTf))), 0.1);
    }
}

TEST(FitTest, CountsTheFitCannotTakeAreFatal) {
    EXPECT_EXIT(Fit({0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4}), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    paramsToBSpline with 13 params; must be a multiple of 3\n$");
    // Three waypoints stop at the vertical knot vector.
    EXPECT_EXIT(Fit({0, 0, 0, 1, 1, 1, 2, 2, 2}), ::testing::ExitedWithCode(1),
                "^FATAL ERROR --\n    getBSplineVdfUKnot\\(\\) n = 4, p = 5, m = 10; must have "
                "n >= p\n$");
}

TEST(FitTest, TimesTheKnotsCannotHoldFailCleanlyAndWriteNothing) {
    const std::vector<std::vector<double>> avfBad = {
        {0, 0, 0, 1, 1, 1, 5, 2, 2, 3, 3, 0},    // a waypoint after the last time
        {0, 0, 0, -1, 1, 1, 2, 2, 2, 3, 3, 0},   // one before the first
        {3, 0, 0, 2, 1, 1, 1, 2, 2, 0, 3, 0},    // a reversed range
        {1, 0, 0, 1, 1, 1, 1, 2, 2, 1, 3, 0},    // an empty range
        {-1e308, 0, 0, 0, 1, 1, 1, 2, 2, 1e308, 3, 0},  // a range beyond the largest double
        {0, 0, 0, 1, 1, 1, 1, 2, 2, 3, 3, 0},    // a repeated interior time: singular
    };
    for (std::size_t i = 0; i < avfBad.size(); i++) {
        Fit fit(avfBad[i]);
        EXPECT_TRUE(fit.bOk == 0 && fit.paPVdfXCpZ == nullptr && fit.paPVdfXCpX == nullptr) << i;
        EXPECT_TRUE(i == 5 || (fit.pvdfTParam == nullptr && fit.fTi + fit.nX == -100.0)) << i;
    }
}

namespace {

struct Path {
    A<unsigned char*>*paX = nullptr, *paXDot = nullptr, *paXDot2 = nullptr, *paF = nullptr, *paM = nullptr;
    Vd<double>*pvdfPitch = nullptr, *pvdfPitchDot = nullptr, *pvdfPitchDot2 = nullptr, *pvdfMs = nullptr;
    double fHorzRange = -1, fMsProp = -1, fFMin = -1, fFMax = -1;
    Path(const Fit& fit, Vd<double>* pvdfT) {
        analyzePathBSpline(scenario.planet, scenario.vehicle, fit.nX, fit.pX, fit.mX, fit.pvdfUKnotX, fit.paPVdfXCpX, fit.nZ, fit.pZ,
                           fit.mZ, fit.pvdfUKnotZ, fit.paPVdfXCpZ, pvdfT, &paX, &pvdfPitch,
                           &paXDot, &pvdfPitchDot, &paXDot2, &pvdfPitchDot2, &pvdfMs, &paF, &paM,
                           &fHorzRange, &fMsProp, &fFMin, &fFMax);
    }
    ~Path() {
        for (auto* pa : {paX, paXDot, paXDot2, paF, paM}) deletePaPVdf(pa);
        for (auto* pv : {pvdfPitch, pvdfPitchDot, pvdfPitchDot2, pvdfMs}) delete pv;
    }
};

// Component k (1 x, 2 y, 3 z) of sample i.
double f(A<unsigned char*>* pa, Long i, Long k) { return (*pvdfAt(pa, i))[k]; }

using vttest::vdfOf;

}  // namespace

TEST(AnalysisTest, KinematicsMatchTheSplinesAndForceIsMassTimesInertiaPlusGravity) {
    initParams(&scenario);
    Fit fit(vfHopLong);
    ASSERT_TRUE(fit.bOk);
    std::vector<double> vfT;
    for (Long i = 0; i <= 200; i++) vfT.push_back(fit.fTi + (fit.fTf - fit.fTi) * i / 200);
    Vd<double> vdfT = vdfOf(vfT, 3);  // an index range not from 0
    Path path(fit, &vdfT);
    ASSERT_EQ(path.paF->lo() + path.paF->hi(), 206);
    const Spline sX = fit.splineX(), sZ = fit.splineZ();
    for (Long i = 3; i <= 203; i++) {
        const double t = vdfT[i], xdd = f(path.paXDot2, i, 1), zdd = f(path.paXDot2, i, 3);
        for (Long k = 0; k <= 2; k++) {
            A<unsigned char*>* pa = k == 0 ? path.paX : k == 1 ? path.paXDot : path.paXDot2;
            EXPECT_NEAR(f(pa, i, 1), fSpline(sX, k, t), 1e-10 * std::pow(10.0, k));
            EXPECT_EQ(f(pa, i, 2), 0.0);
            EXPECT_NEAR(f(pa, i, 3), fSpline(sZ, k, t), 1e-10 * std::pow(10.0, k));
        }
        const double fMs = (*path.pvdfMs)[i];
        EXPECT_DOUBLE_EQ(f(path.paF, i, 1), fMs * xdd);
        EXPECT_EQ(f(path.paF, i, 2), 0.0);
        EXPECT_DOUBLE_EQ(f(path.paF, i, 3), fMs * (3.7 + zdd));
        // The thrust axis is along the force, upward: tan(pitch) = -xdd / (g + zdd).
        const double fPitch = (*path.pvdfPitch)[i];
        EXPECT_LT(std::fabs(fPitch), 1.5);
        EXPECT_NEAR(std::tan(fPitch) * (3.7 + zdd), -xdd, 1e-9);
        // The moment drives the pitch acceleration with the inertia of the
        // current mass, linear between full and empty.
        const double fIPitch = 13.83 + (fMs - 100.0) * (13.06 - 13.83) / (95.0 - 100.0);
        EXPECT_NEAR(f(path.paM, i, 2), fIPitch * (*path.pvdfPitchDot2)[i], 1e-9);
        EXPECT_EQ(std::fabs(f(path.paM, i, 1)) + std::fabs(f(path.paM, i, 3)), 0.0);
    }
    for (Long i : {3, 203}) {  // starts and ends at rest and upright
        EXPECT_NEAR(std::fabs(f(path.paXDot, i, 1)) + std::fabs(f(path.paXDot, i, 3)) +
                        std::fabs((*path.pvdfPitch)[i]), 0.0, 1e-9);
    }
    EXPECT_NEAR(path.fHorzRange, 18.0, 1e-9);
}

TEST(AnalysisTest, MassMarchesWithTheForceAtTheStartOfEachInterval) {
    initParams(&scenario);
    Fit fit(vfHopShort);
    ASSERT_TRUE(fit.bOk);
    // Uneven sample times: the interval length must come from the times.
    const std::vector<double> vfT = {0.0, 0.1, 0.5, 0.6, 1.7, 3.0, 3.2};
    Vd<double> vdfT = vdfOf(vfT, 0);
    Path path(fit, &vdfT);
    double fBurnt = 0.0;
    EXPECT_EQ((*path.pvdfMs)[0], 100.0);
    for (Long i = 1; i <= 6; i++) {
        fBurnt += (vfT[i] - vfT[i - 1]) * std::hypot(f(path.paF, i - 1, 1), f(path.paF, i - 1, 3)) /
                  549.36;
        EXPECT_NEAR((*path.pvdfMs)[i], 100.0 - fBurnt, 1e-12) << i;
    }
    EXPECT_NEAR(path.fMsProp, fBurnt, 1e-12);
    EXPECT_EQ(path.fMsProp, (*path.pvdfMs)[0] - (*path.pvdfMs)[6]);
    // A single sample burns nothing and covers no range.
    Vd<double> vdfT1 = vdfOf({1.3}, 7);
    Path path1(fit, &vdfT1);
    EXPECT_EQ((*path1.pvdfMs)[7] + path1.fMsProp + path1.fHorzRange, 100.0);
}

// Thrusters 1 and 2 give |F|/3 - M/1.6, thruster 3 |F|/3 + M/0.8 (they sum
// to |F|), and exactly three are written.
TEST(AnalysisTest, ThrustersShareTheForceAndTakeTheMomentOverTheirLevers) {
    for (auto [fx, fz, fM] : {std::array{0.0, 300.0, 0.0}, {-120.0, 350.0, 40.0}, {80.0, 90.0, -64.0}}) {
        double afF[4] = {0.0, 0.0, 0.0, -7.0};
        fFThrustersFm(afF, vdfOf({fx, 0.0, fz}, 1), vdfOf({0.0, fM, 0.0}, 1));
        const double fAvg = std::hypot(fx, fz) / 3.0;
        const double afWant[4] = {fAvg - fM / 1.6, fAvg - fM / 1.6, fAvg + fM / 0.8, -7.0};
        for (int k = 0; k < 4; k++) EXPECT_NEAR(afF[k], afWant[k], 1e-12) << k;
    }
}
