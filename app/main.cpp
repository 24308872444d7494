// Entry point of vantorell.
//
//   vantorell                 opens the workbench window
//   vantorell [-C DIR] -k KEYS [--csv] [--plots]
//                             runs the key commands KEYS in order, with no
//                             window, writing the same files and output;
//                             then the CSV and chart exports asked for
//
// The run log "fe.log" is opened first and closed last, in both modes.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "app/batch.h"
#include "app/plotdata.h"
#include "core/logerror.h"

#ifdef VT_WINDOW_MODULE
#include <dlfcn.h>
#include <limits.h>
#endif

namespace {

const char szUsage[] =
    "Usage: vantorell [OPTION]...\n"
    "Plan, simulate and view hops of a rocket-thruster vehicle.\n"
    "\n"
    "Without -k, opens the workbench window in the current directory.\n"
    "\n"
    "  -C DIR        change to DIR before doing anything else\n"
    "  -k KEYS       run the key commands KEYS in order without a window:\n"
    "                  d  design a hop: read hop.txt, write traj1r.txt\n"
    "                  p  plan: read traj1r.txt, print the SUMMARY, write fltplan.txt\n"
    "                  s  simulate: read fltplan.txt, fly 30 s, write results.txt\n"
    "                  g  guided simulate: as s, the plan tracked by feedback\n"
    "                  r  replay (needs a window; reported and skipped)\n"
    "                  i  show the first stored state\n"
    "                  l  write the path listing traj1l.txt\n"
    "                  f  rewrite fltplan.txt from the current plan\n"
    "                  c  render the scene offscreen to pane.bmp\n"
    "  --size WxH    pane size for c in batch mode (default 1152x831)\n"
    "  --csv         with -k: after the last key, write plan.csv (the plan's\n"
    "                samples) and run.csv (the stored run), each when it exists;\n"
    "                a header row names each column with its SI unit\n"
    "  --plots       with -k: after the last key, draw the plan against the run\n"
    "                as plot_x.png, plot_z.png, plot_pitch.png, plot_thrust.png,\n"
    "                plot_moment.png and plot_mass.png (no display needed)\n"
    "  --help        show this help and exit\n"
    "  --version     show the version and exit\n"
    "\n"
    "Each limit of the vehicle that a plan made by p breaks (a thruster above its\n"
    "share of the maximum thrust or below zero, the mass down to the empty mass,\n"
    "the path under the ground) is one line 'Vantorell: warning: ...' on standard\n"
    "error; warnings do not change the exit status.\n"
    "\n"
    "Exit status: 0 when every command ran, 1 on a fatal error (see fe.log),\n"
    "3 when a command or an export ended with a message, 2 on a usage error.\n";

#ifdef VT_WINDOW_MODULE
// The entry szEntry of the window module that sits beside the program,
// loaded now; null, having said why (as "cannot load szWhat"), when it
// cannot be had.
void* pvWindowModuleEntry(const char* szEntry, const char* szWhat) {
    char szExe[PATH_MAX];
    const ssize_t nCh = readlink("/proc/self/exe", szExe, sizeof szExe - 1);
    std::string szModule = VT_WINDOW_MODULE;
    if (nCh > 0) {
        szExe[nCh] = '\0';
        std::string szDir(szExe);
        szModule = szDir.substr(0, szDir.rfind('/') + 1) + VT_WINDOW_MODULE;
    }
    void* pvModule = dlopen(szModule.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (pvModule == nullptr) {
        std::fprintf(stderr, "vantorell: cannot load %s: %s\n", szWhat, dlerror());
        return nullptr;
    }
    void* pvEntry = dlsym(pvModule, szEntry);
    if (pvEntry == nullptr)
        std::fprintf(stderr, "vantorell: %s has no entry %s\n", szModule.c_str(), szEntry);
    return pvEntry;
}

// Loads the window module and hands over to it.
int runWindowModule(int argc, char** argv) {
    using RunWindow = int (*)(int, char**);
    auto run = reinterpret_cast<RunWindow>(pvWindowModuleEntry("vtRunWindow", "the window"));
    if (run == nullptr) return 2;
    return run(argc, argv);
}

// The charts of the batch mode are drawn by the window module's toolkit,
// loaded only here; the module reads the series from the data handed over,
// never from its own copy of the program's state.
bool bWritePlotsThroughModule(const PlotData& data) {
    using WritePlots = int (*)(const PlotData*);
    auto write =
        reinterpret_cast<WritePlots>(pvWindowModuleEntry("vtWritePlotPngs", "the chart drawing"));
    return write != nullptr && write(&data) == 0;
}
#endif

int usageError(const char* szWhat) {
    std::fprintf(stderr, "vantorell: %s\nTry 'vantorell --help' for more information.\n", szWhat);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const char* szDir = nullptr;
    const char* szKeys = nullptr;
    BatchOptions options;
    for (int i = 1; i < argc; i++) {
        const char* szArg = argv[i];
        if (std::strcmp(szArg, "--help") == 0) {
            std::fputs(szUsage, stdout);
            return 0;
        }
        if (std::strcmp(szArg, "--version") == 0) {
            std::printf("vantorell %s\n", VT_VERSION);
            return 0;
        }
        if (std::strcmp(szArg, "-C") == 0 || std::strcmp(szArg, "-k") == 0 ||
            std::strcmp(szArg, "--size") == 0) {
            if (i + 1 >= argc) return usageError((std::string("option requires an argument -- ") + szArg).c_str());
            const char* szVal = argv[++i];
            if (szArg[1] == 'C') {
                szDir = szVal;
            } else if (szArg[1] == 'k') {
                szKeys = szVal;
            } else {
                int iW = 0, iH = 0;
                char chEnd = 0;
                if (std::sscanf(szVal, "%dx%d%c", &iW, &iH, &chEnd) != 2 || iW < 1 || iH < 1 ||
                    iW > 8192 || iH > 8192)
                    return usageError("--size wants WIDTHxHEIGHT, each 1 to 8192 pixels");
                options.iPxDX = iW;
                options.iPxDY = iH;
            }
            continue;
        }
        if (std::strcmp(szArg, "--csv") == 0) {
            options.bCsv = true;
            continue;
        }
        if (std::strcmp(szArg, "--plots") == 0) {
#ifdef VT_WINDOW_MODULE
            options.bPlots = true;
            options.fnWritePlots = bWritePlotsThroughModule;
            continue;
#else
            return usageError(
                "this build has no charts (built without the window); --plots is not available");
#endif
        }
        return usageError((std::string("unrecognised argument '") + szArg + "'").c_str());
    }
    if ((options.bCsv || options.bPlots) && szKeys == nullptr)
        return usageError("--csv and --plots go with -k KEYS (in the window: File > Export)");
    if (szDir != nullptr && chdir(szDir) != 0) {
        std::fprintf(stderr, "vantorell: cannot change to directory '%s'\n", szDir);
        return 2;
    }
    if (szKeys != nullptr) return runBatch(szKeys, options);
#ifdef VT_WINDOW_MODULE
    return runWindowModule(argc, argv);
#else
    return usageError("this build has no window; use -k KEYS");
#endif
}
