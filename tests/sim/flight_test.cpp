// The simulate chain from a plan file, and the run report.
#include "sim/flight.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/testutil.h"

#include "support/scenario.h"

namespace {
using FlightFile = InScenarioFlying;

TEST_F(FlightFile, BadPlansAreFatalErrorsNamingTheFile) {
    EXPECT_EXIT(
        {
            openLogFile();
            flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun);
        },
        ::testing::ExitedWithCode(1), "can't open flight plan fltplan\\.txt");
    EXPECT_NE(vttest::readFile("fe.log").find("FATAL ERROR --\n    can't open flight plan fltplan.txt\n"),
              std::string::npos);
    vttest::writeFile("fltplan.txt", "   3    4\nheader\n0 600 0\n1 nan 0\n");
    EXPECT_EXIT(flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun), ::testing::ExitedWithCode(1),
                "fltplan\\.txt, line 4: a number is not finite");
    std::filesystem::remove("fltplan.txt");
    std::filesystem::create_directory("fltplan.txt");
    EXPECT_EXIT(flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun), ::testing::ExitedWithCode(1),
                "fltplan\\.txt: read error");
}

TEST_F(FlightFile, ResultsThatCannotBeWrittenAreSkippedQuietly) {
    vttest::copyTestData("reference/flight/freefall_cut/fltplan.txt", "fltplan.txt");
    flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun);
    testing::internal::CaptureStderr();
    writeResultsTxt("no_such_dir/results.txt", arFTiRun, arPStRun);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(vttest::fileExists("no_such_dir/results.txt"));
    EXPECT_GT(arFTiRun.n(), 100);  // the run is kept
}

}  // namespace
