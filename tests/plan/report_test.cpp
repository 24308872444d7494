// Plan reports: exact layouts of the flight plan, the listing and the SUMMARY.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "plan/report.h"
#include "plan/wptfpln.h"
#include "support/testutil.h"

namespace {

// Collects what a writer prints.
class MemFile {
public:
    MemFile() : pfile(open_memstream(&pch, &nCh)) {}
    ~MemFile() {
        if (pfile != nullptr) std::fclose(pfile);
        std::free(pch);
    }
    std::FILE* get() { return pfile; }
    std::string text() {
        std::fflush(pfile);
        return std::string(pch, nCh);
    }

private:
    char* pch = nullptr;
    std::size_t nCh = 0;
    std::FILE* pfile;
};

// A hand-made analysis of a few samples over lo..hi.
struct Analysis {
    Long lo, hi;
    Vd<double> vdfT, vdfPitch, vdfPitchDot, vdfPitchDot2, vdfMs;
    A<unsigned char*>*paPVdfX, *paPVdfXDot, *paPVdfXDot2, *paPVdfF, *paPVdfM;
    Analysis(Long lo, Long hi)
        : lo(lo), hi(hi), vdfT(lo, hi), vdfPitch(lo, hi), vdfPitchDot(lo, hi),
          vdfPitchDot2(lo, hi), vdfMs(lo, hi), paPVdfX(paPVdfNew(lo, hi, 3)),
          paPVdfXDot(paPVdfNew(lo, hi, 3)), paPVdfXDot2(paPVdfNew(lo, hi, 3)),
          paPVdfF(paPVdfNew(lo, hi, 3)), paPVdfM(paPVdfNew(lo, hi, 3)) {}
    ~Analysis() {
        deletePaPVdf(paPVdfX);
        deletePaPVdf(paPVdfXDot);
        deletePaPVdf(paPVdfXDot2);
        deletePaPVdf(paPVdfF);
        deletePaPVdf(paPVdfM);
    }
    void setF(Long i, double fx, double fy, double fz, double my) {
        Vd<double>& f = *pvdfAt(paPVdfF, i);
        f[1] = fx;
        f[2] = fy;
        f[3] = fz;
        (*pvdfAt(paPVdfM, i))[2] = my;
    }
};

std::string szSummary(bool bStdout, double fHorz, double fProp, double fMin, double fMax,
                      double fThrustMax) {
    MemFile mf;
    printSummary(mf.get(), bStdout, fHorz, fProp, fMin, fMax, fThrustMax);
    return mf.text();
}

}  // namespace

TEST(FltplanTest, LineNumbersHeaderRowsAndEmptyLastLine) {
    Analysis an(0, 2);
    for (Long i = 0; i <= 2; i++) an.vdfT[i] = 0.5 * i;
    // Thrust is the magnitude in the x-z plane: (3, 4) gives 5; a y component
    // must not count.
    an.setF(0, 3.0, 0.0, 4.0, -1.25);
    an.setF(1, 3.0, 12.0, 4.0, 0.0);
    an.setF(2, 0.0, 0.0, 370.0, 1234.5678901);
    MemFile mf;
    writeFltplan(mf.get(), &an.vdfT, an.paPVdfF, an.paPVdfM);
    EXPECT_EQ(mf.text(),
              "   3    5\n"
              "    time         thrust      moment   \n"
              "    0.000000     5.000000    -1.250000\n"
              "    0.500000     5.000000     0.000000\n"
              "    1.000000   370.000000  1234.567890\n"
              "\n");
}

TEST(SummaryTest, ExactTextInTheListingAndOnStandardOutput) {
    // 400 N of a 1480 N / 3 share is 81.08 %, 100 N is 20.27 %; the throttle
    // range is (1 - 100/400) * 100 = 75 %.
    const std::string szCommon1 =
        "SUMMARY\n"
        "    horizontal range   =    12.5000\n"
        "    propellant mass    =     1.2500\n";
    const std::string szCommon2 = "    throttle range     =       75.0 %\n";
    EXPECT_EQ(szSummary(false, 12.5, 1.25, 100.0, 400.0, 1480.0),
              szCommon1 +
                  "    max thruster force =   400.0000 ( 81.1 %)\n"
                  "    min thruster force =   100.0000 ( 20.3 %)\n" +
                  szCommon2);
    // The copy on standard output indents the two thruster lines by five.
    EXPECT_EQ(szSummary(true, 12.5, 1.25, 100.0, 400.0, 1480.0),
              szCommon1 +
                  "     max thruster force =   400.0000 ( 81.1 %)\n"
                  "     min thruster force =   100.0000 ( 20.3 %)\n" +
                  szCommon2);
}

TEST(SummaryTest, EqualExtremesGiveZeroThrottleRangeAndPercentOfOneShare) {
    // A third of the maximum thrust is 100 % of one thruster's share.
    const std::string sz = szSummary(false, 0.0, 0.0, 1480.0 / 3.0, 1480.0 / 3.0, 1480.0);
    EXPECT_NE(sz.find("    max thruster force =   493.3333 (100.0 %)\n"), std::string::npos) << sz;
    EXPECT_NE(sz.find("    min thruster force =   493.3333 (100.0 %)\n"), std::string::npos) << sz;
    EXPECT_NE(sz.find("    throttle range     =        0.0 %\n"), std::string::npos) << sz;
}

TEST(ListingTest, OneLinePerSampleThenBlankLineSummaryAndNewline) {
    Analysis an(0, 1);
    an.vdfT[0] = 0.0;
    an.vdfT[1] = 2.5;
    an.vdfMs[0] = 100.0;
    an.vdfMs[1] = 99.12346;
    for (Long i = 0; i <= 1; i++) {
        Vd<double>& x = *pvdfAt(an.paPVdfX, i);
        Vd<double>& xd = *pvdfAt(an.paPVdfXDot, i);
        Vd<double>& xdd = *pvdfAt(an.paPVdfXDot2, i);
        // y components are set to catch a writer that prints them.
        x[1] = 1.0 + i;
        x[2] = 77.0;
        x[3] = -2.0;
        xd[1] = 0.25;
        xd[2] = 77.0;
        xd[3] = -0.5;
        xdd[1] = 3.0;
        xdd[2] = 77.0;
        xdd[3] = -4.0;
        an.vdfPitch[i] = -0.7853981633974483;
        an.vdfPitchDot[i] = 0.001;
        an.vdfPitchDot2[i] = -12.34567;
        an.setF(i, 300.0, 77.0, -30.0, -6.7989544);
    }
    MemFile mf;
    writeTraj1Listing(mf.get(), &an.vdfT, an.paPVdfX, &an.vdfPitch, an.paPVdfXDot,
                      &an.vdfPitchDot, an.paPVdfXDot2, &an.vdfPitchDot2, &an.vdfMs, an.paPVdfF,
                      an.paPVdfM, 1.0, 0.87655, 10.0, 20.0, 1480.0);
    const std::string szTail =
        "  Xxz = (    2.0000    -2.0000)  XxzDot = (    0.2500    -0.5000)"
        "  XxzDot2 = (    3.0000    -4.0000)  pitch =    -0.7854  pitchDot =     0.0010"
        "  pitchDot2 =   -12.3457  Fxz = (  300.0000   -30.0000)  pitch moment =    -6.798954\n";
    const std::string szExpected =
        "   0  t =     0.0000  mass =   100.0000  Xxz = (    1.0000    -2.0000)"
        "  XxzDot = (    0.2500    -0.5000)  XxzDot2 = (    3.0000    -4.0000)"
        "  pitch =    -0.7854  pitchDot =     0.0010  pitchDot2 =   -12.3457"
        "  Fxz = (  300.0000   -30.0000)  pitch moment =    -6.798954\n"
        "   1  t =     2.5000  mass =    99.1235" +
        szTail + "\n" + szSummary(false, 1.0, 0.87655, 10.0, 20.0, 1480.0) + "\n";
    EXPECT_EQ(mf.text(), szExpected);
}
