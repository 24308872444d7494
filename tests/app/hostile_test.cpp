// Damaged and hostile input files, end to end: every one ends in a normal
// run, a fatal error with its record in "fe.log", a message, or a specified
// assertion -- within seconds, and never with a report holding a number that
// is not finite.
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "support/testutil.h"

using namespace vttest;

namespace {

struct HostileCase {
    const char* szName;
    std::string szText;
};

std::string szLower(std::string sz) {
    for (char& ch : sz) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return sz;
}

bool bHasNonFinite(const std::string& szFile) {
    const std::string sz = fileExists(szFile) ? szLower(readFile(szFile)) : "";
    return sz.find("nan") != std::string::npos || sz.find("inf") != std::string::npos;
}

// The specified ends: 0 (ran), 1 (fatal error), 3 (message), 134 (assertion,
// abort). A time-out (124) or any other signal is a failure.
void expectSpecifiedEnd(const vttest::RunResult& r, const std::string& szName) {
    EXPECT_TRUE(r.iExit == 0 || r.iExit == 1 || r.iExit == 3 || r.iExit == 134)
        << szName << ": exit " << r.iExit << "\n" << r.szErr.substr(0, 400);
    if (r.iExit == 1) {
        EXPECT_NE(readFile("fe.log").find("FATAL ERROR --"), std::string::npos) << szName;
        EXPECT_EQ(r.szErr.rfind("FATAL ERROR --\n", 0), 0u) << szName << ": " << r.szErr;
    }
    if (r.iExit == 134) {
        EXPECT_NE(r.szErr.find("Assertion failed: "), std::string::npos) << szName;
    }
}

// One representative per branch of each reader.
std::vector<HostileCase> waypointCases() {
    return {
        {"empty", ""},
        {"binary", std::string("\x00\x01\xff\xfe\x80 1 2 3\n", 12)},
        {"huge numbers", "0 0 0 1 1e300 1 2 -1e300 2 3 1e308 0\n"},
        {"nan", "0 0 0 1 nan 1 2 2 2 3 3 0\n"},
        {"words", "0 0 0 one 1 1 2 2 2 3 3 0\n"},
        {"line too long", std::string(5000, '1') + "\n"},
        {"reversed times", "3 0 0 2 1 1 1 2 2 0 3 0\n"},
        {"thousands of waypoints", [] {
             std::string sz;
             for (int i = 0; i < 1300; i++) sz += std::to_string(i) + " 0 0 ";
             return sz + "\n";
         }()},
    };
}

std::vector<HostileCase> scheduleCases() {
    return {
        {"empty", ""},
        {"binary", std::string("\x00\x01\xff\xfe\x80\n\x7f", 7)},
        {"negative count", "   3   -5\n    time\n0 0 0\n"},
        {"huge count", "   3 2000000000\n    time\n0 0 0\n"},
        {"nan", "   3    4\n    time\n0 nan 0\n1 600 0\n"},
        {"huge numbers", "   3    4\n    time\n0 1e308 1e308\n1e300 -1e308 0\n"},
        {"descending times", "   3    5\n    time\n2 600 0\n1 600 0\n0 600 0\n"},
        {"enormous line", "   3    4\n    time\n" + std::string(10000, '7') + " 1 1\n1 1 1\n"},
        {"short lines", "   3    5\n    time\n0 600 0\n1\n2 0\n"},
    };
}

}  // namespace

using HostileInputTest = InTempDir;

TEST_F(HostileInputTest, WaypointAndFlightPlanFilesEndInASpecifiedWay) {
    for (const bool bPlan : {true, false}) {
        const char* szIn = bPlan ? "traj1r.txt" : "fltplan.txt";
        for (const auto& c : bPlan ? waypointCases() : scheduleCases()) {
            SCOPED_TRACE(std::string(szIn) + ": " + c.szName);
            for (const char* sz : {"fltplan.txt", "traj1l.txt", "results.txt"})
                std::filesystem::remove(sz);
            writeFile(szIn, c.szText);
            const auto r = runCommand(szProgram() + (bPlan ? " -k plf" : " -k s"), szDir, 20);
            expectSpecifiedEnd(r, c.szName);
            for (const char* sz : {"fltplan.txt", "traj1l.txt", "results.txt"})
                EXPECT_TRUE(sz == std::string(szIn) || !bHasNonFinite(sz)) << sz;
            EXPECT_EQ(szLower(r.szOut).find("nan"), std::string::npos);
        }
    }
}
