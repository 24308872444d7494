// The simulate chain from a plan file, and the run report.
#include "sim/flight.h"

#include <gtest/gtest.h>

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

void expectReferenceFlight(const std::string& szCase, A1Val<double>* parFTi,
                           A1Val<void*>* parPSt) {
    vttest::copyTestData("reference/flight/" + szCase + "/fltplan.txt", "fltplan.txt");
    flyScheduleFile("fltplan.txt", parFTi, parPSt);
    writeResultsTxt("results.txt", *parFTi, *parPSt);
    const std::string szExpected = vttest::readFile(std::string(VT_TEST_DATA) + "/reference/flight/" +
                                                    szCase + "/expected/results.txt");
    ASSERT_FALSE(szExpected.empty());
    EXPECT_EQ(vttest::readFile("results.txt"), szExpected);
}

TEST_F(FlightFile, FreefallCutMatchesReference) {
    expectReferenceFlight("freefall_cut", &arFTiRun, &arPStRun);
}

TEST_F(FlightFile, PitchStepMatchesReference) {
    expectReferenceFlight("pitch_step", &arFTiRun, &arPStRun);
}

}  // namespace
