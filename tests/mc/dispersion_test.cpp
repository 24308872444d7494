// The dispersion file reader and the random draws.
#include "mc/dispersion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

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
    McDispersion disp;
    ASSERT_EQ(szParseError("# a campaign\n\nruns 250   # flights\nrng_seed   18446744073709551615\n"
                           "thrust_scale 0.01 -0.03 0.03\nmoment_bias 1.5\nexhaust_speed 5\n"
                           "initial_mass 0.1 -0.3 0.3\ndrag_scale 0.1\ninitial_pitch 3.5e-3\n"
                           "\tinitial_pitch_rate 0.002\ninitial_vx 0.01\ncommand_delay 0.005 0 0\n",
                           &disp), "");
    EXPECT_EQ(disp.nRun * 100 + disp.iLineRuns * 10 + disp.iLineRngSeed, 25034);
    EXPECT_EQ(disp.uRngSeed, 18446744073709551615ULL);
    const double afSd[nMcParam] = {0.01, 1.5, 5.0, 0.1, 0.1, 3.5e-3, 0.002, 0.01, 0.005};
    for (int j = 0; j < nMcParam; j++) {
        EXPECT_EQ(disp.arPert[j].fSd, afSd[j]) << szMcParamName(j);
        EXPECT_EQ(disp.arPert[j].iLine, 5 + j) << szMcParamName(j);
        EXPECT_EQ(disp.arPert[j].bBounded, j == 0 || j == 3 || j == 8) << szMcParamName(j);
    }
    EXPECT_EQ(disp.arPert[mcParamThrustScale].fLo * 2 + disp.arPert[mcParamThrustScale].fHi, -0.03);
    // Nothing given: 1000 runs, random seed 1, nothing perturbed.
    ASSERT_EQ(szParseError("# nothing\n\n   \n", &disp), "");
    EXPECT_EQ(disp.nRun * 10 + disp.uRngSeed, 10001u);
    for (int j = 0; j < nMcParam; j++) EXPECT_EQ(disp.arPert[j].fSd + disp.arPert[j].bBounded, 0);
}

TEST(DispersionFile, EachBadLineNamesTheFileTheLineAndTheProblem) {
    const std::string szRuns = "': runs must be a whole number from 1 to 100000000";
    const std::string szSeed = "': rng_seed must be a whole number from 0 to 18446744073709551615";
    const struct { std::string szText, szErr; } acase[] = {
        {"runs 10\nthrust_scal 0.01\n", "disp.txt:2: unknown name 'thrust_scal'"},
        {"thrust_scale 1%\n", "disp.txt:1: bad number '1%'"},
        {"moment_bias 0.5 -1 x\n", "disp.txt:1: bad number 'x'"},
        {"moment_bias nan\n", "disp.txt:1: bad number 'nan'"}, {"moment_bias inf\n", "disp.txt:1: bad number 'inf'"},
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
        {"runs 0\n", "disp.txt:1: bad number '0" + szRuns}, {"runs -3\n", "disp.txt:1: bad number '-3" + szRuns},
        {"runs 100000001\n", "disp.txt:1: bad number '100000001" + szRuns},
        {"runs 12.5\n", "disp.txt:1: bad number '12.5" + szRuns}, {"runs\n", "disp.txt:1: missing value for runs"},
        {"runs 5 6\n", "disp.txt:1: too many fields for runs"},
        {"runs 5\nruns 6\n", "disp.txt:2: runs given twice (first on line 1)"},
        {"rng_seed 18446744073709551616\n", "disp.txt:1: bad number '18446744073709551616" + szSeed},
        {"rng_seed -1\n", "disp.txt:1: bad number '-1" + szSeed},
        {"\x01\xff 1\n", "disp.txt:1: unknown name '?" "?'"},
        {"thrust_scale 0\ninitial_vx 0.1 0 0\n", ""},  // zero deviation and zero-width bounds
        {"runs 7\r\nmoment_bias 2\r\n", ""},  // a CR before the newline is white space
    };
    for (auto const& c : acase) EXPECT_EQ(szParseError(c.szText), c.szErr) << c.szText;
}

TEST(DispersionDraws, TheStreamIsSplitmix64AndNormalHasTheMomentsOfAStandardNormal) {
    // Published outputs of splitmix64 started from 1234567.
    McRng rng{1234567};
    for (std::uint64_t u : {6457827717110365317ULL, 3203168211198807973ULL,
                            9817491932198370423ULL, 4593380528125082431ULL,
                            16408922859458223821ULL})
        EXPECT_EQ(rng.uNext(), u);
    McRng rngN{987654321};
    double af[5] = {0, 0, 0, 0, 0};  // mean, variance, 4th moment, within 1 and 2
    for (int i = 0; i < 400000; i++) {
        const double f = rngN.fNormal();
        af[0] += f, af[1] += f * f, af[2] += f * f * f * f, af[3] += std::fabs(f) < 1.0,
            af[4] += std::fabs(f) < 2.0;
    }
    const double afExpected[5] = {0.0, 1.0, 3.0, 0.6826894921370859, 0.9544997361036416};
    const double afTol[5] = {0.008, 0.011, 0.075, 0.004, 0.003};  // about 5 standard errors
    for (int j = 0; j < 5; j++) EXPECT_NEAR(af[j] / 400000.0, afExpected[j], afTol[j]) << j;
}

TEST(DispersionDraws, DrawsAreScaledNormalsRedrawnWithinBoundsFromTheSameStream) {
    const McPerturbation pertZero, pertFree{2.5, false, 0.0, 0.0, 0},
        pertBounded{1.0, true, -0.5, 1.0, 0}, pertNarrow{1.0, true, 0.0, 1e-300, 0};
    int nRedrawn = 0;
    for (Long iRun = 1; iRun <= 2000; iRun++) {
        const double fZero = fDrawPerturbation(pertZero, 3, iRun, mcParamMomentBias);
        EXPECT_EQ(fZero, 0.0);
        EXPECT_FALSE(std::signbit(fZero));
        EXPECT_EQ(fDrawPerturbation(pertFree, 11, iRun, mcParamInitialVx),
                  2.5 * mcRngForRun(11, iRun, mcParamInitialVx).fNormal());
        // The first in-bounds normal of the run's stream.
        McRng rng = mcRngForRun(5, iRun, mcParamThrustScale);
        double fExpected = rng.fNormal();
        if (fExpected < -0.5 || fExpected > 1.0) nRedrawn += 1;
        while (fExpected < -0.5 || fExpected > 1.0) fExpected = rng.fNormal();
        EXPECT_EQ(fDrawPerturbation(pertBounded, 5, iRun, mcParamThrustScale), fExpected);
        // Bounds far too narrow: clamped after a hundred draws.
        McRng rngN = mcRngForRun(9, iRun, mcParamCommandDelay);
        double fLast = 0.0;
        for (int i = 0; i < 100; i++) fLast = rngN.fNormal();
        EXPECT_EQ(fDrawPerturbation(pertNarrow, 9, iRun, mcParamCommandDelay),
                  fLast < 0.0 ? 0.0 : 1e-300);
    }
    // P(outside [-0.5, 1]) = 1 - (0.8413 - 0.3085) = 0.467.
    EXPECT_NEAR(nRedrawn / 2000.0, 0.467, 0.04);
}

}  // namespace
