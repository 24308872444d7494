// Fuzzes the waypoint file "traj1r.txt" through the whole planning chain: read,
// fit, sample, analyse, and both plan reports. A fatal error or an assertion
// is a specified outcome; a report holding a non-finite number is a finding.
#include <cstdlib>

#include "core/logerror.h"
#include "fuzzutil.h"
#include "plan/planstate.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    enterFuzzDir();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    writeFuzzFile("traj1r.txt", pData, nSize);
    std::remove("fltplan.txt");
    std::remove("traj1l.txt");
    try {
        PlanState ps;
        if (ps.bPlanTraj1FromFile(scenario, "traj1r.txt")) {
            ps.writeFltplanTxt();
            ps.writeTraj1lTxt(scenario);
            if (bFileHasNonFinite("fltplan.txt") || bFileHasNonFinite("traj1l.txt")) std::abort();
        }
    } catch (const ProgramStop&) {
    }
    return 0;
}
