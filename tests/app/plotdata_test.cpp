// The plan checks of the plots panel, branch by branch.
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

#include "support/scenario.h"

namespace {
A1Val<void*>& arPArPPtVtxPgnGnd = scenario.arPArPPtVtxPgnGnd;

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

using PlotDataTest = InScenarioFlying;

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
