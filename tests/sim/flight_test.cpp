// The simulate chain from a plan file, and the run report.
#include "sim/flight.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "support/testutil.h"

namespace {

class FlightFile : public InTempDir {
protected:
    void SetUp() override {
        InTempDir::SetUp();
        initParams();
    }
    void TearDown() override {
        deleteStoredRun(&arFTiRun, &arPStRun);
        InTempDir::TearDown();
    }
    A1Val<double> arFTiRun{0};
    A1Val<void*> arPStRun{0};
};

TEST_F(FlightFile, BadPlansAreFatalErrorsNamingTheFile) {
    EXPECT_EXIT(
        {
            openLogFile();
            flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun);
        },
        ::testing::ExitedWithCode(1), "can't open flight plan fltplan\\.txt");
    EXPECT_NE(vttest::readFile("fe.log").find("FATAL ERROR --\n    can't open flight plan fltplan.txt\n"),
              std::string::npos);
    vttest::writeFile("fltplan.txt", "   3    4\nheader\n0 600 0\n1 nan 0\n");
    EXPECT_EXIT(flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun), ::testing::ExitedWithCode(1),
                "fltplan\\.txt, line 4: a number is not finite");
    std::filesystem::remove("fltplan.txt");
    std::filesystem::create_directory("fltplan.txt");
    EXPECT_EXIT(flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun), ::testing::ExitedWithCode(1),
                "fltplan\\.txt: read error");
}

TEST_F(FlightFile, FliesFromTheInitialStateForThirtySecondsAtMost) {
    // Thrust below the weight: the vehicle never rises above 1 m, so the
    // ground does not hold it (it sinks through), the run never comes to
    // rest and ends at 30 s with a record every 0.05 s.
    vttest::writeFile("fltplan.txt", "   3    4\nheader\n0 300 0\n40 300 0\n");
    flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun);
    ASSERT_EQ(arFTiRun.iFirst(), 1);
    ASSERT_EQ(arFTiRun.iLast(), 601);
    EXPECT_EQ(arPStRun.iLast(), 601);
    EXPECT_EQ(arFTiRun[601], 30.0);
    Stvehicle3dof const& st1 = *static_cast<Stvehicle3dof*>(arPStRun[1]);
    EXPECT_EQ(st1.fMs, 100.0);
    EXPECT_EQ(st1.fIPitch, 13.83);
    EXPECT_EQ(st1.fFcThrustCmd, 300.0);
    EXPECT_EQ(st1.fFcThrustAct, 300.0);
    EXPECT_LT(static_cast<Stvehicle3dof*>(arPStRun[601])->fZf, -100.0);
    // The initial state is taken field by field from stvehicle3dof0.
    deleteStoredRun(&arFTiRun, &arPStRun);
    stvehicle3dof0.fXf = 2.0;
    stvehicle3dof0.fZf = 50.0;
    stvehicle3dof0.fVeXf = 1.0;
    flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun);
    Stvehicle3dof const& st1b = *static_cast<Stvehicle3dof*>(arPStRun[1]);
    EXPECT_EQ(st1b.fXf, 2.0);
    EXPECT_EQ(st1b.fZf, 50.0);
    EXPECT_EQ(st1b.fVeXf, 1.0);
    EXPECT_EQ(st1b.fPitch, 0.0);
}

// ---- the report ---------------------------------------------------------------------------

const char szHeader[] =
    "     ti      Xf      Zf     Pitch   VeXf    VeZf  PitchDot  Ms     ThCmd   ThAct   MmCmd "
    "  MmAct\n";

TEST_F(FlightFile, ResultsLayoutWithDegrees) {
    arFTiRun.reconstructIFirstILast(1, 3);
    arPStRun.reconstructIFirstILast(1, 3);
    arFTiRun[1] = 0.0;
    arPStRun[1] = new Stvehicle3dof(0, 0, 0, 0, M_PI / 2.0, 0, 100.0, 13.83, 0, 0, 0, 0);
    arFTiRun[2] = 1.25;
    arPStRun[2] = new Stvehicle3dof(1234.5678, -0.004, 3.14159, -2.5, -M_PI / 4.0, 1.0, 97.126,
                                    13.5, 1480.0, 1234.56, -592.0, 0.04);
    arFTiRun[3] = 29.999;
    arPStRun[3] =
        new Stvehicle3dof(123456.789, 5.0, 0, 0, -M_PI, -M_PI, 95.0, 13.06, 0, 0, 7.25, -7.25);
    writeResultsTxt("results.txt", arFTiRun, arPStRun);
    // x, z, vx, vz and mass in their own units; pitch and pitch rate in
    // degrees (1 rad/s is 57.2958 deg/s); a number too wide for its field
    // pushes the rest of the line on (no separators).
    const std::string szExpected =
        std::string(szHeader) +
        "    0.00    0.00    0.00   90.00    0.00    0.00    0.00  100.00     0.0     0.0     0.0"
        "     0.0\n"
        "    1.25 1234.57   -0.00  -45.00    3.14   -2.50   57.30   97.13  1480.0  1234.6  -592.0"
        "     0.0\n"
        "   30.00123456.79    5.00 -180.00    0.00    0.00 -180.00   95.00     0.0     0.0     7.2"
        "    -7.2\n";
    EXPECT_EQ(vttest::readFile("results.txt"), szExpected);
}

TEST_F(FlightFile, ResultsOfAnEmptyRunIsTheHeaderAlone) {
    writeResultsTxt("results.txt", arFTiRun, arPStRun);
    EXPECT_EQ(vttest::readFile("results.txt"), std::string(szHeader));
}

TEST_F(FlightFile, ResultsThatCannotBeWrittenAreSkippedQuietly) {
    vttest::copyTestData("reference/flight/freefall_cut/fltplan.txt", "fltplan.txt");
    flyScheduleFile("fltplan.txt", &arFTiRun, &arPStRun);
    testing::internal::CaptureStderr();
    writeResultsTxt("no_such_dir/results.txt", arFTiRun, arPStRun);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(vttest::fileExists("no_such_dir/results.txt"));
    EXPECT_GT(arFTiRun.n(), 100);  // the run is kept
}

}  // namespace
