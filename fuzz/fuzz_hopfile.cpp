// Fuzzes the hop file "hop.txt" through its reader. Every input must end in
// a hop or in one line naming the file; the design itself is not run (a
// valid hop costs seconds).
#include <cstdlib>
#include <string>

#include "core/logerror.h"
#include "fuzzutil.h"
#include "design/hopfile.h"
#include "sim/params.h"

namespace {
BuiltInScenario scenario;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    enterFuzzDir();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    writeFuzzFile("hop.txt", pData, nSize);
    HopSpec hopspec;
    std::string szError;
    try {
        if (bHopSpecFmFile(scenario, "hop.txt", &hopspec, &szError)) {
            if (!szError.empty()) std::abort();
        } else if (szError.rfind("hop.txt", 0) != 0 || szError.find('\n') != std::string::npos) {
            std::abort();
        }
    } catch (const ProgramStop&) {
        std::abort();  // the reader never stops the program
    }
    return 0;
}
