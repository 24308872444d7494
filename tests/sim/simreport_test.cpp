// The driver's outcome report: why a flight stopped, and its touchdown.
#include <gtest/gtest.h>

#include <cmath>

#include "sim/flight.h"
#include "sim/ground.h"

namespace {

struct StoredRun {
    A1Val<double> arFTi{0};
    A1Val<void*> arPSt{0};
    ~StoredRun() { deleteStoredRun(&arFTi, &arPSt); }
    Stvehicle3dof const& last() const {
        return *static_cast<Stvehicle3dof*>(arPSt[arPSt.iLast()]);
    }
};

// One constant command from t = 0 to 30 s.
struct ConstSchedule {
    A1Val<double> arFTi{1, 2}, arFFc{1, 2}, arFMm{1, 2};
    explicit ConstSchedule(double fFc) {
        arFTi[1] = 0.0;
        arFTi[2] = 30.0;
        arFFc[1] = arFFc[2] = fFc;
        arFMm[1] = arFMm[2] = 0.0;
    }
};

struct Case {
    const char* szName;
    double fZf0;         // start height, m
    double fFcThrust;    // constant thrust, N
    SimStop stop;
    bool bTouchdown;
    bool bRanDry;
};

class SimReportTest : public ::testing::TestWithParam<Case> {
protected:
    void SetUp() override { initParams(); }
};

TEST_P(SimReportTest, StopTouchdownAndPropellant) {
    Case const& c = GetParam();
    Stvehicle3dof st0 = stvehicle3dof0;
    st0.fZf = c.fZf0;
    ConstSchedule sched(c.fFcThrust);
    ArFFnFArFModel model(&planet, &vehicle, 0.05, sched.arFTi, sched.arFFc, sched.arFMm);
    StoredRun run;
    SimReport rep;
    flyModel(&run.arFTi, &run.arPSt, &model, st0, FlightSettings(), &rep);
    EXPECT_EQ(rep.stop, c.stop) << szSimStop(rep.stop);
    EXPECT_EQ(rep.bTouchdown, c.bTouchdown);
    EXPECT_EQ(rep.bRanDry, c.bRanDry);
    EXPECT_EQ(rep.fMsPropLeft, run.last().fMs - vehicle.fMsEmpty);
    EXPECT_GT(rep.nStep, 0);
    EXPECT_LE(rep.fDTiStepMin, rep.fDTiStepMax);
    EXPECT_LE(rep.fDTiStepMax, 0.05 * (1.0 + 1e-12));
    if (c.stop == SimStop::TimeLimit) {
        EXPECT_EQ(run.arFTi[run.arFTi.iLast()], 30.0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Flights, SimReportTest,
    ::testing::Values(
        // Dropped from 10 m with the engine off: lands and comes to rest.
        Case{"drop", 10.0, 0.0, SimStop::Rest, true, false},
        // Full thrust from the pad: burns out high up, falls back after the
        // propellant is gone.
        Case{"burnout", 0.0, 1.0e6, SimStop::Rest, true, true},
        // No thrust on the pad: never higher than 1 m, so the contact is
        // never armed and the vehicle falls through the ground until 30 s.
        Case{"sink", 0.0, 0.0, SimStop::TimeLimit, false, false}),
    [](auto const& info) { return std::string(info.param.szName); });

}  // namespace
