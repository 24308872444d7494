// The bundled hop's flight plan for the benchmarks (see bundled_hop.h).
#include "bundled_hop.h"

#include <stdlib.h>

#include <filesystem>
#include <system_error>

#include "plan/planstate.h"
#include "sim/params.h"

namespace {

// A scratch directory, removed with everything in it at exit.
struct ScratchDir {
    std::string sz;
    ~ScratchDir() {
        std::error_code ec;
        if (!sz.empty()) std::filesystem::remove_all(sz, ec);
    }
};

// Plans szTraj in a new scratch directory, which *pscratch removes at exit.
std::string szFltplanOf(ScratchDir* pscratch, const char* szTraj) {
    char szDir[] = "/tmp/vt_bench_hop_XXXXXX";
    if (mkdtemp(szDir) == nullptr) return std::string();
    pscratch->sz = szDir;
    const std::filesystem::path dirOld = std::filesystem::current_path();
    std::filesystem::current_path(szDir);
    const BuiltInScenario scenario;
    PlanState ps;
    const bool bPlanned = ps.bPlanTraj1FromFile(scenario, szTraj);
    if (bPlanned) ps.writeFltplanTxt();
    std::filesystem::current_path(dirOld);
    return bPlanned ? std::string(szDir) + "/fltplan.txt" : std::string();
}

}  // namespace

std::string szFltplanBundledHop() {
    static ScratchDir scratch;
    static const std::string szPlan = szFltplanOf(&scratch, VT_EXAMPLES "/traj1r.txt");
    return szPlan;
}

std::string szFltplanHandmadeHop() {
    static ScratchDir scratch;
    static const std::string szPlan = szFltplanOf(&scratch, VT_EXAMPLES "/handmade/traj1r.txt");
    return szPlan;
}
