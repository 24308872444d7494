// The entry of the window module. The program loads this module only when it
// opens the window, so that batch runs never load the toolkit's libraries.
#include "app/gui/window.h"

extern "C" __attribute__((visibility("default"))) int vtRunWindow(int argc, char** argv) {
    return runWindow(argc, argv);
}
