// The entries of the window module. The program loads this module only when
// it opens the window, or when a batch run asks for the charts (--plots), so
// that other batch runs never load the toolkit's libraries.
#include "app/gui/plots.h"
#include "app/gui/window.h"

extern "C" __attribute__((visibility("default"))) int vtRunWindow(int argc, char** argv) {
    return runWindow(argc, argv);
}

// The charts of the batch mode, drawn with no display from the series the
// program hands over (this module's own copy of the program's state is not
// used). 0 when every file was written.
extern "C" __attribute__((visibility("default"))) int vtWritePlotPngs(const PlotData* pdata) {
    return bWritePlotPngsOffscreen(*pdata) ? 0 : 1;
}
