// Fuzzes the flight plan "fltplan.txt" through the whole simulate chain: read
// the schedule, fly up to 30 s, write "results.txt". A fatal error or an
// assertion is a specified outcome; a hang (caught by the time limit) or a
// report holding a non-finite number is a finding.
#include <cstdlib>

#include "core/logerror.h"
#include "fuzzutil.h"
#include "sim/flight.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    enterFuzzDir();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    writeFuzzFile("fltplan.txt", pData, nSize);
    std::remove("results.txt");
    static A1Val<double> arFTiRun(1, 0);
    static A1Val<void*> arPStRun(1, 0);
    try {
        deleteStoredRun(&arFTiRun, &arPStRun);
        flyScheduleFile(scenario, "fltplan.txt", &arFTiRun, &arPStRun);
        writeResultsTxt("results.txt", arFTiRun, arPStRun);
        if (bFileHasNonFinite("results.txt")) std::abort();
    } catch (const ProgramStop&) {
    }
    return 0;
}
