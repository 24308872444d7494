// The series, checks, landing miss and CSV files of the plots, against the
// numbers the reports print ("traj1l.txt", "fltplan.txt", "results.txt") and
// against closed forms.
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "app/plotdata.h"
#include "core/logerror.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/flight.h"
#include "sim/fltsim.h"
#include "sim/params.h"
#include "support/testutil.h"

using vttest::copyTestData;
using vttest::readFile;

namespace {

// f as "%W.Plf" prints it.
std::string szFmt(int iWidth, int iPrec, double f) {
    char szBuf[64];
    std::snprintf(szBuf, sizeof szBuf, "%*.*lf", iWidth, iPrec, f);
    return szBuf;
}

std::vector<std::string> vecLines(const std::string& sz) {
    std::vector<std::string> vec;
    std::istringstream in(sz);
    for (std::string szLine; std::getline(in, szLine);) vec.push_back(szLine);
    return vec;
}

std::vector<double> vecCsvRow(const std::string& szLine) {
    std::vector<double> vec;
    std::istringstream in(szLine);
    for (std::string szCell; std::getline(in, szCell, ',');) {
        char* pchEnd = nullptr;
        vec.push_back(std::strtod(szCell.c_str(), &pchEnd));
        EXPECT_EQ(*pchEnd, '\0') << szCell;
    }
    return vec;
}

double fDeg(double fRdn) { return fRdn / 3.141592653589793 * 180.0; }

const PlotCurve& curveOf(const std::vector<PlotCurve>& vec, PlotQty qty, const char* szLegend) {
    for (const PlotCurve& curve : vec)
        if (curve.qty == qty && curve.szLegend == szLegend) return curve;
    ADD_FAILURE() << "no curve " << szPlotQtyName(qty) << " " << szLegend;
    static const PlotCurve curveNone{};
    return curveNone;
}

Stvehicle3dof& stStored(Long i) { return *static_cast<Stvehicle3dof*>(arPStvehicle[i]); }

// Plans (and optionally flies) a waypoint file in the test's directory with
// the program's own chain, output discarded.
class PlotDataTest : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams();
    }
    void TearDown() override {
        deleteStoredRun(&arFTiData, &arPStvehicle);
        deleteTraj1Params();
        deleteTraj1Path();
        deletePathAnalysis();
        InTempDir::TearDown();
    }
    // A path under tests/data, or the hand-made example by default.
    void plan(const std::string& szTraj1r = "") {
        if (szTraj1r.empty())
            std::filesystem::copy_file(std::string(VT_EXAMPLES) + "/handmade/traj1r.txt",
                                       "traj1r.txt");
        else
            copyTestData(szTraj1r, "traj1r.txt");
        std::FILE* pfileNull = std::fopen("/dev/null", "w");
        ASSERT_TRUE(bRunPlanCommand(pfileNull));
        std::fclose(pfileNull);
    }
    void fly() {
        deleteStoredRun(&arFTiData, &arPStvehicle);
        flyScheduleFile("fltplan.txt", &arFTiData, &arPStvehicle);
        writeResultsTxt("results.txt", arFTiData, arPStvehicle);
    }
};

}  // namespace

// ---- series ---------------------------------------------------------------------

TEST_F(PlotDataTest, RunCurvesAreTheNumbersOfTheResultsFile) {
    plan();
    fly();
    const std::vector<PlotCurve> vec = vecCurveRunFmProgram();
    ASSERT_EQ(vec.size(), 8u);
    const std::vector<std::string> vecResults = vecLines(readFile("results.txt"));
    const std::size_t nRec = static_cast<std::size_t>(arFTiData.n());
    ASSERT_EQ(vecResults.size(), nRec + 1);
    // Columns of eight characters: ti Xf Zf Pitch VeXf VeZf PitchDot Ms ThCmd
    // ThAct MmCmd MmAct.
    struct Col {
        PlotQty qty;
        const char* szLegend;
        int iCol;
        bool bDeg;
        int iPrec;  // width 8
    };
    const Col arCol[] = {
        {PlotQty::X, "run", 1, false, 2},
        {PlotQty::Z, "run", 2, false, 2},
        {PlotQty::Pitch, "run", 3, true, 2},
        {PlotQty::Mass, "run", 7, false, 2},
        {PlotQty::Thrust, "run commanded", 8, false, 1},
        {PlotQty::Thrust, "run actual", 9, false, 1},
        {PlotQty::Moment, "run commanded", 10, false, 1},
        {PlotQty::Moment, "run actual", 11, false, 1},
    };
    for (const Col& col : arCol) {
        const PlotCurve& curve = curveOf(vec, col.qty, col.szLegend);
        ASSERT_EQ(curve.vecF.size(), nRec);
        EXPECT_EQ(curve.source, PlotSource::Run);
        for (std::size_t k = 0; k < nRec; k++) {
            const std::string& szLine = vecResults[k + 1];
            EXPECT_EQ(szLine.substr(0, 8), szFmt(8, 2, curve.vecFTi[k]));
            const double f = col.bDeg ? fDeg(curve.vecF[k]) : curve.vecF[k];
            EXPECT_EQ(szLine.substr(static_cast<std::size_t>(8 * col.iCol), 8),
                      szFmt(8, col.iPrec, f))
                << szPlotQtyName(col.qty) << " " << col.szLegend << " row " << k;
        }
    }
}

// ---- thruster split -------------------------------------------------------------

TEST_F(PlotDataTest, ThrusterSplitGivesTheSummaryExtremesBitForBit) {
    plan();
    double fMax = -1e300, fMin = 1e300;
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const Vd<double>& vdfF = *pvdfAt(paPVdfF, i);
        const Vd<double>& vdfM = *pvdfAt(paPVdfM, i);
        double afF[3];
        fFThrustersFm(afF, vdfF, vdfM);
        for (double f : afF) {
            fMax = std::max(fMax, f);
            fMin = std::min(fMin, f);
        }
        // Closed form: each thruster a third of the thrust; the moment over
        // 0.8 m taken half from 1 and half from 2 and given to 3.
        const double fFc = std::hypot(vdfF[1], vdfF[3]);
        const double fM = vdfM[2];
        EXPECT_NEAR(afF[0], fFc / 3 - fM / 1.6, 1e-9);
        EXPECT_NEAR(afF[1], fFc / 3 - fM / 1.6, 1e-9);
        EXPECT_NEAR(afF[2], fFc / 3 + fM / 0.8, 1e-9);
        EXPECT_NEAR(afF[0] + afF[1] + afF[2], fFc, 1e-9);
    }
    EXPECT_EQ(fMax, fFThrusterMax);
    EXPECT_EQ(fMin, fFThrusterMin);
}

// ---- plan checks ----------------------------------------------------------------

TEST_F(PlotDataTest, FlyableHopsBreakNoLimit) {
    plan();
    EXPECT_TRUE(vecPlanViolationFmProgram().empty());
    plan("reference/plan/hop_short/traj1r.txt");
    EXPECT_TRUE(vecPlanViolationFmProgram().empty());
}

namespace {

// A hand-made plan of five samples at t = 0..4 at x = 0.5 over the level pad.
struct SmallPlan {
    Vd<double> vdfT{0, 4};
    Vd<double> vdfMs{0, 4};
    A<unsigned char*>* paX = paPVdfNew(0, 4, 3);
    A<unsigned char*>* paF = paPVdfNew(0, 4, 3);
    A<unsigned char*>* paM = paPVdfNew(0, 4, 3);
    SmallPlan() {
        for (Long i = 0; i <= 4; i++) {
            vdfT[i] = i;
            vdfMs[i] = 99.0;
            (*pvdfAt(paX, i))[1] = 0.5;
            (*pvdfAt(paX, i))[3] = 1.0;
            (*pvdfAt(paF, i))[3] = 150.0;  // 50 N each, no moment
        }
    }
    ~SmallPlan() {
        deletePaPVdf(paX);
        deletePaPVdf(paF);
        deletePaPVdf(paM);
    }
    std::vector<PlanViolation> check() {
        // A maximum thrust of 300 N: 100 N per thruster.
        return vecPlanViolationFm(&vdfT, paX, &vdfMs, paF, paM, 300.0, 95.0, &arPArPPtVtxPgnGnd);
    }
};

}  // namespace

// Each case changes the small plan and lists the warnings in full: the
// check, the thruster (1 and 2 judged as a pair), the worst sample, its
// amount, and the stretch, split where the limit holds again.
TEST_F(PlotDataTest, PlanChecksReportEachStretchAtItsWorstSample) {
    const struct {
        const char* szName;
        void (*pfnChange)(SmallPlan&);
        const char* szWarnings;
    } acase[] = {
        {"above the share at t = 0 and 1 (worse at 1), thruster 3 alone at 3", [](SmallPlan& p) {
             (*pvdfAt(p.paF, 0))[3] = 330.0;       // 110 N each
             (*pvdfAt(p.paF, 1))[3] = 360.0;       // 120 N each
             (*pvdfAt(p.paM, 3))[2] = 0.8 * 60.0;  // thruster 3: 50 + 60 N
         },
         "plan: thrusters 1 and 2 need 120.0000 N at t = 1.0000 s, 20.0000 N above their share of "
         "the maximum thrust (100.0000 N), from t = 0.0000 to 1.0000 s\n"
         "plan: thruster 3 needs 110.0000 N at t = 3.0000 s, 10.0000 N above its share of the "
         "maximum thrust (100.0000 N)\n"},
        {"a negative moment: 3 below zero at 0 and 2, two stretches", [](SmallPlan& p) {
             (*pvdfAt(p.paM, 0))[2] = -0.8 * 60.0;  // 1 and 2: 80 N, 3: -10 N
             (*pvdfAt(p.paM, 2))[2] = -0.8 * 60.0;
         },
         "plan: thruster 3 needs -10.0000 N at t = 0.0000 s, 10.0000 N below zero (a thruster can "
         "only push)\n"
         "plan: thruster 3 needs -10.0000 N at t = 2.0000 s, 10.0000 N below zero (a thruster can "
         "only push)\n"},
        {"a positive moment: 3 above its share, 1 and 2 below zero", [](SmallPlan& p) {
             (*pvdfAt(p.paM, 2))[2] = 0.8 * 120.0;  // 1 and 2: -10 N, 3: 170 N
         },
         "plan: thruster 3 needs 170.0000 N at t = 2.0000 s, 70.0000 N above its share of the "
         "maximum thrust (100.0000 N)\n"
         "plan: thrusters 1 and 2 need -10.0000 N at t = 2.0000 s, 10.0000 N below zero (a "
         "thruster can only push)\n"},
        {"mass at and below the empty mass", [](SmallPlan& p) {
             p.vdfMs[3] = 95.0;
             p.vdfMs[4] = 94.5;
         },
         "plan: mass 94.5000 kg at t = 4.0000 s, at or below the empty mass (95.0000 kg) by 0.5000 "
         "kg: no thrust is left, from t = 3.0000 to 4.0000 s\n"},
        {"on the pad, rounding below it, below it, off the ground's edge", [](SmallPlan& p) {
             (*pvdfAt(p.paX, 1))[3] = 0.0;
             (*pvdfAt(p.paX, 2))[3] = -1e-7;
             (*pvdfAt(p.paX, 3))[3] = -1e-5;
             (*pvdfAt(p.paX, 4))[1] = -2000.0;
             (*pvdfAt(p.paX, 4))[3] = -50.0;
         },
         "plan: path at z = -0.0000 m at t = 3.0000 s (x = 0.5000 m), 0.0000 m below the terrain "
         "(z = 0.0000 m)\n"},
    };
    for (const auto& c : acase) {
        SmallPlan plan;
        c.pfnChange(plan);
        std::string sz;
        for (const PlanViolation& v : plan.check()) sz += szPlanViolation(v) + "\n";
        EXPECT_EQ(sz, c.szWarnings) << c.szName;
    }
    // No ground at all: nothing to check.
    SmallPlan plan;
    (*pvdfAt(plan.paX, 3))[3] = -50.0;
    EXPECT_TRUE(vecPlanViolationFm(&plan.vdfT, plan.paX, &plan.vdfMs, plan.paF, plan.paM, 300.0,
                                   95.0, nullptr)
                    .empty());
}

TEST_F(PlotDataTest, LandingMissIsTheDistanceFromThePlannedEndToTheLastRecord) {
    plan();
    fly();
    LandingMiss lm{};
    ASSERT_TRUE(bLandingMissFmProgram(&lm));
    ASSERT_TRUE(lm.bPlan);
    EXPECT_NEAR(lm.fXPlan, 28.5, 1e-9);  // the last waypoint
    EXPECT_NEAR(lm.fZPlan, 0.0, 1e-9);
    const Stvehicle3dof& stLast = stStored(arFTiData.iLast());
    EXPECT_EQ(lm.fXRest, stLast.fXf);
    EXPECT_EQ(lm.fZRest, stLast.fZf);
    EXPECT_EQ(lm.fTiRest, arFTiData[arFTiData.iLast()]);
    EXPECT_EQ(lm.fPitchRest, stLast.fPitch);
    EXPECT_NEAR(lm.fDist, std::hypot(lm.fXRest - 28.5, lm.fZRest), 1e-9);
    // The bundled hop lands within a metre of its target.
    EXPECT_LT(lm.fDist, 1.0);
}

// ---- CSV ------------------------------------------------------------------------

TEST_F(PlotDataTest, CsvKeepsItsDecimalPointUnderAnyLocale) {
    copyTestData("reference/flight/freefall_cut/fltplan.txt", "fltplan.txt");
    fly();
    const char* szOld = std::setlocale(LC_NUMERIC, nullptr);
    const std::string szSaved = szOld != nullptr ? szOld : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr &&
        std::setlocale(LC_NUMERIC, "fr_FR.UTF-8") == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma on this machine";
    const bool bOk = bWriteRunCsvFmProgram("run.csv");
    std::setlocale(LC_NUMERIC, szSaved.c_str());
    ASSERT_TRUE(bOk);
    const std::vector<std::string> vecCsv = vecLines(readFile("run.csv"));
    EXPECT_EQ(vecCsvRow(vecCsv[2]).size(), 13u);
}
