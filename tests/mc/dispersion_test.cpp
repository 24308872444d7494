// The dispersion file reader and the random draws.
#include "mc/dispersion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "support/testutil.h"

namespace {

// Parses szText as "disp.txt"; returns the error text ("" on success).
std::string szParseError(const std::string& szText, McDispersion* pdisp = nullptr) {
    McDispersion disp;
    std::string szErr;
    const bool bOk = bParseDispersionText(&disp, szText, "disp.txt", &szErr);
    if (pdisp != nullptr) *pdisp = disp;
    return bOk ? std::string() : szErr;
}

TEST(DispersionFile, ReadsEveryParameterWithCommentsAndBounds) {
    const std::string szText =
        "# a campaign\n"
        "\n"
        "runs 250   # flights\n"
        "rng_seed   18446744073709551615\n"
        "thrust_scale 0.01 -0.03 0.03\n"
        "moment_bias 1.5\n"
        "exhaust_speed 5\n"
        "initial_mass 0.1 -0.3 0.3\n"
        "drag_scale 0.1\n"
        "initial_pitch 3.5e-3\n"
        "\tinitial_pitch_rate 0.002\n"
        "initial_vx 0.01\n"
        "command_delay 0.005 0 0.02\n";
    McDispersion disp;
    ASSERT_EQ(szParseError(szText, &disp), "");
    EXPECT_EQ(disp.nRun, 250);
    EXPECT_EQ(disp.uRngSeed, 18446744073709551615ULL);
    EXPECT_EQ(disp.iLineRuns, 3);
    EXPECT_EQ(disp.iLineRngSeed, 4);
    const double afSd[nMcParam] = {0.01, 1.5, 5.0, 0.1, 0.1, 3.5e-3, 0.002, 0.01, 0.005};
    for (int j = 0; j < nMcParam; j++) {
        EXPECT_EQ(disp.arPert[j].fSd, afSd[j]) << szMcParamName(j);
        EXPECT_EQ(disp.arPert[j].iLine, 5 + j) << szMcParamName(j);
    }
    EXPECT_TRUE(disp.arPert[mcParamThrustScale].bBounded);
    EXPECT_EQ(disp.arPert[mcParamThrustScale].fLo, -0.03);
    EXPECT_EQ(disp.arPert[mcParamThrustScale].fHi, 0.03);
    EXPECT_FALSE(disp.arPert[mcParamMomentBias].bBounded);
    EXPECT_TRUE(disp.arPert[mcParamCommandDelay].bBounded);
    EXPECT_EQ(disp.arPert[mcParamCommandDelay].fLo, 0.0);
    EXPECT_EQ(disp.arPert[mcParamCommandDelay].fHi, 0.02);
}

TEST(DispersionFile, EmptyFileGivesTheDefaultsAndNoPerturbation) {
    McDispersion disp;
    ASSERT_EQ(szParseError("# nothing\n\n   \n", &disp), "");
    EXPECT_EQ(disp.nRun, 1000);
    EXPECT_EQ(disp.uRngSeed, 1u);
    for (int j = 0; j < nMcParam; j++) {
        EXPECT_EQ(disp.arPert[j].fSd, 0.0);
        EXPECT_FALSE(disp.arPert[j].bBounded);
    }
}

TEST(DispersionFile, EachBadLineNamesTheFileTheLineAndTheProblem) {
    struct Case {
        const char* szText;
        const char* szErr;
    };
    const Case acase[] = {
        {"runs 10\nthrust_scal 0.01\n", "disp.txt:2: unknown name 'thrust_scal'"},
        {"thrust_scale 1%\n", "disp.txt:1: bad number '1%'"},
        {"moment_bias 0.5 -1 x\n", "disp.txt:1: bad number 'x'"},
        {"moment_bias nan\n", "disp.txt:1: bad number 'nan'"},
        {"moment_bias inf\n", "disp.txt:1: bad number 'inf'"},
        {"moment_bias 1e999\n", "disp.txt:1: bad number '1e999'"},
        {"\n\ndrag_scale -0.1\n", "disp.txt:3: negative deviation -0.1 for drag_scale"},
        {"initial_mass 0.1 0.3 -0.3\n",
         "disp.txt:1: bounds reversed (lower 0.3 > upper -0.3) for initial_mass"},
        {"command_delay 0.005 0.01 0.02\n",
         "disp.txt:1: bounds [0.01, 0.02] do not contain 0 for command_delay"},
        {"initial_vx 0.1 -1\n", "disp.txt:1: give both bounds or none for initial_vx"},
        {"initial_vx\n", "disp.txt:1: missing deviation for initial_vx"},
        {"initial_vx 1 -1 1 5\n", "disp.txt:1: too many fields for initial_vx"},
        {"initial_pitch 0.1\n# again\ninitial_pitch 0.2\n",
         "disp.txt:3: initial_pitch given twice (first on line 1)"},
        {"runs 0\n",
         "disp.txt:1: bad number '0': runs must be a whole number from 1 to 100000000"},
        {"runs 100000001\n",
         "disp.txt:1: bad number '100000001': runs must be a whole number from 1 to 100000000"},
        {"runs 12.5\n",
         "disp.txt:1: bad number '12.5': runs must be a whole number from 1 to 100000000"},
        {"runs -3\n",
         "disp.txt:1: bad number '-3': runs must be a whole number from 1 to 100000000"},
        {"runs\n", "disp.txt:1: missing value for runs"},
        {"runs 5 6\n", "disp.txt:1: too many fields for runs"},
        {"runs 5\nruns 6\n", "disp.txt:2: runs given twice (first on line 1)"},
        {"rng_seed 18446744073709551616\n",
         "disp.txt:1: bad number '18446744073709551616': rng_seed must be a whole number from 0 "
         "to 18446744073709551615"},
        {"rng_seed -1\n",
         "disp.txt:1: bad number '-1': rng_seed must be a whole number from 0 to "
         "18446744073709551615"},
        {"\x01\xff 1\n", "disp.txt:1: unknown name '?" "?'"},
    };
    for (Case const& c : acase) EXPECT_EQ(szParseError(c.szText), c.szErr) << c.szText;
}

TEST(DispersionFile, ZeroDeviationAndZeroWidthBoundsAreAccepted) {
    McDispersion disp;
    ASSERT_EQ(szParseError("thrust_scale 0\ninitial_vx 0.1 0 0\n", &disp), "");
    EXPECT_EQ(disp.arPert[mcParamThrustScale].fSd, 0.0);
    EXPECT_TRUE(disp.arPert[mcParamInitialVx].bBounded);
}

class DispersionFileOnDisk : public InTempDir {};

TEST_F(DispersionFileOnDisk, ReadsAFileAndNamesAMissingOne) {
    vttest::writeFile("d.txt", "runs 7\r\nmoment_bias 2\n");
    McDispersion disp;
    std::string szErr;
    // A CR before the newline is white space to the reader.
    ASSERT_TRUE(bReadDispersionFile(&disp, "d.txt", &szErr)) << szErr;
    EXPECT_EQ(disp.nRun, 7);
    EXPECT_EQ(disp.arPert[mcParamMomentBias].fSd, 2.0);
    EXPECT_FALSE(bReadDispersionFile(&disp, "missing.txt", &szErr));
    EXPECT_EQ(szErr, "can't read dispersion file missing.txt");
    vttest::writeFile("bad.txt", "runs 7\nwind 3\n");
    EXPECT_FALSE(bReadDispersionFile(&disp, "bad.txt", &szErr));
    EXPECT_EQ(szErr, "bad.txt:2: unknown name 'wind'");
}

TEST_F(DispersionFileOnDisk, TheBundledExampleIsValid) {
    McDispersion disp;
    std::string szErr;
    ASSERT_TRUE(bReadDispersionFile(&disp, VT_EXAMPLES "/dispersion.txt", &szErr)) << szErr;
    EXPECT_GE(disp.nRun, 100);
    for (int j = 0; j < nMcParam; j++)
        EXPECT_GT(disp.arPert[j].fSd, 0.0) << szMcParamName(j) << " is not perturbed";
}

// ---- random draws ----------------------------------------------------------------------

TEST(DispersionDraws, TheStreamIsSplitmix64) {
    // Published outputs of splitmix64 started from 1234567.
    McRng rng{1234567};
    EXPECT_EQ(rng.uNext(), 6457827717110365317ULL);
    EXPECT_EQ(rng.uNext(), 3203168211198807973ULL);
    EXPECT_EQ(rng.uNext(), 9817491932198370423ULL);
    EXPECT_EQ(rng.uNext(), 4593380528125082431ULL);
    EXPECT_EQ(rng.uNext(), 16408922859458223821ULL);
}

TEST(DispersionDraws, NormalHasTheMomentsAndSpreadOfAStandardNormal) {
    McRng rng{987654321};
    const int n = 400000;
    double fSum = 0.0, fSumSq = 0.0, fSum4 = 0.0;
    int nWithin1 = 0, nWithin2 = 0;
    for (int i = 0; i < n; i++) {
        const double f = rng.fNormal();
        fSum += f;
        fSumSq += f * f;
        fSum4 += f * f * f * f;
        if (std::fabs(f) < 1.0) nWithin1 += 1;
        if (std::fabs(f) < 2.0) nWithin2 += 1;
    }
    // Standard errors: mean 1/sqrt(n) = 0.0016, variance sqrt(2/n) = 0.0022,
    // fourth moment sqrt(96/n) = 0.015; fractions about 0.0008.
    EXPECT_NEAR(fSum / n, 0.0, 0.008);
    EXPECT_NEAR(fSumSq / n, 1.0, 0.011);
    EXPECT_NEAR(fSum4 / n, 3.0, 0.075);
    EXPECT_NEAR(static_cast<double>(nWithin1) / n, 0.6826894921370859, 0.004);
    EXPECT_NEAR(static_cast<double>(nWithin2) / n, 0.9544997361036416, 0.003);
}

TEST(DispersionDraws, EveryRunAndParameterHasItsOwnReproducibleStream) {
    std::vector<std::uint64_t> au;
    for (Long iRun = 1; iRun <= 50; iRun++)
        for (int j = 0; j < nMcParam; j++) {
            McRng rng = mcRngForRun(7, iRun, j);
            au.push_back(rng.uNext());
            McRng rngAgain = mcRngForRun(7, iRun, j);
            EXPECT_EQ(rngAgain.uNext(), au.back());
        }
    // All first draws differ.
    std::vector<std::uint64_t> auSorted = au;
    std::sort(auSorted.begin(), auSorted.end());
    EXPECT_EQ(std::adjacent_find(auSorted.begin(), auSorted.end()), auSorted.end());
    // Another random seed gives other streams.
    McRng rngOther = mcRngForRun(8, 1, 0);
    EXPECT_NE(rngOther.uNext(), au[0]);
}

TEST(DispersionDraws, ZeroDeviationDrawsNothingAndGivesExactlyZero) {
    McPerturbation pert;
    for (Long iRun = 1; iRun <= 20; iRun++) {
        const double f = fDrawPerturbation(pert, 3, iRun, mcParamMomentBias);
        EXPECT_EQ(f, 0.0);
        EXPECT_FALSE(std::signbit(f));
    }
}

TEST(DispersionDraws, AnUnboundedDrawIsTheScaledFirstNormalOfItsStream) {
    McPerturbation pert;
    pert.fSd = 2.5;
    for (Long iRun = 1; iRun <= 20; iRun++) {
        McRng rng = mcRngForRun(11, iRun, mcParamInitialVx);
        EXPECT_EQ(fDrawPerturbation(pert, 11, iRun, mcParamInitialVx), 2.5 * rng.fNormal());
    }
}

TEST(DispersionDraws, BoundedDrawsStayWithinAndRedrawFromTheSameStream) {
    McPerturbation pert;
    pert.fSd = 1.0;
    pert.bBounded = true;
    pert.fLo = -0.5;
    pert.fHi = 1.0;
    int nRedrawn = 0;
    for (Long iRun = 1; iRun <= 2000; iRun++) {
        const double f = fDrawPerturbation(pert, 5, iRun, mcParamThrustScale);
        ASSERT_GE(f, -0.5);
        ASSERT_LE(f, 1.0);
        // The first in-bounds normal of the run's stream.
        McRng rng = mcRngForRun(5, iRun, mcParamThrustScale);
        double fExpected = rng.fNormal();
        int nDraw = 1;
        while (fExpected < -0.5 || fExpected > 1.0) {
            fExpected = rng.fNormal();
            nDraw += 1;
        }
        EXPECT_EQ(f, fExpected);
        if (nDraw > 1) nRedrawn += 1;
    }
    // P(outside [-0.5, 1]) = 1 - (0.8413 - 0.3085) = 0.467.
    EXPECT_NEAR(nRedrawn / 2000.0, 0.467, 0.04);
}

TEST(DispersionDraws, BoundsFarTooNarrowEndClampedAfterAHundredDraws) {
    McPerturbation pert;
    pert.fSd = 1.0;
    pert.bBounded = true;
    pert.fLo = 0.0;
    pert.fHi = 1e-300;
    for (Long iRun = 1; iRun <= 50; iRun++) {
        const double f = fDrawPerturbation(pert, 9, iRun, mcParamCommandDelay);
        McRng rng = mcRngForRun(9, iRun, mcParamCommandDelay);
        double fLast = 0.0;
        for (int i = 0; i < 100; i++) fLast = rng.fNormal();
        EXPECT_EQ(f, fLast < 0.0 ? 0.0 : 1e-300);
    }
}

}  // namespace
