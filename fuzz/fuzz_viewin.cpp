// Fuzzes the saved camera "view.in": read at start, then written back as
// "view.out". Any input must give a usable camera (the default when the file
// does not describe one); "view.out" must never hold a non-finite number.
#include <cstdlib>

#include "core/logerror.h"
#include "display/viewstack.h"
#include "fuzzutil.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    enterFuzzDir();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    writeFuzzFile("view.in", pData, nSize);
    Pane pane;
    pane.iPxDX = 1152;
    pane.iPxDY = 831;
    try {
        ViewStack view;
        view.readViewInOrDefault("view.in", pane);
        view.writeViewOut("view.out");
        if (bFileHasNonFinite("view.out")) std::abort();
    } catch (const ProgramStop&) {
    }
    return 0;
}
