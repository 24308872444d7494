// Batch mode: the key commands with no window (see batch.h).
#include "app/batch.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "app/commands.h"
#include "app/plotdata.h"
#include "app/scene.h"
#include "core/logerror.h"

namespace {

// What a window would do, done without one: messages go to standard error,
// repaints are not needed, the capture renders offscreen.
class BatchHost final : public CmdHost {
public:
    BatchHost(Workbench& wb, const BatchOptions& options) : wb(wb), options(options) {}

    void showMessage(MsgOwner, const char* szText) override {
        std::fprintf(stderr, "Vantorell: %s\n", szText);
        bMessage = true;
    }
    void invalidate() override {}
    void startReplayTimer(int) override {}
    void stopReplayTimer() override {}
    double fMsTickCount() override {
        using namespace std::chrono;
        return static_cast<double>(
            duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
    }
    void capturePane(const char* szFile) override {
        if (!bCaptureSceneOffscreen(wb, szFile, options.iPxDX, options.iPxDY)) {
            std::fprintf(stderr, "Vantorell: no OpenGL rendering available; %s not written\n",
                         szFile);
            bMessage = true;
        }
    }

    bool bMessage = false;

private:
    Workbench& wb;
    const BatchOptions& options;
};

bool bKnownKey(char ch) { return ch != '\0' && std::strchr("pPsSgGrRiIlLfFcCd", ch) != nullptr; }

// The limits the plan just made breaks, one line each. They are warnings: a
// plan beyond the vehicle is still written and may be flown to see how it
// fails.
void printPlanWarnings(Workbench& wb) {
    for (const PlanViolation& violation : vecPlanViolationFmWorkbench(wb))
        std::fprintf(stderr, "Vantorell: warning: %s\n", szPlanViolation(violation).c_str());
}

// "plan.csv" and "run.csv", each when there is one. False after a message.
bool bExportCsv(Workbench& wb) {
    const bool bPlan = wb.plan.bPlanExists();
    const bool bRun = wb.run.arFTiData.n() > 0;
    if (!bPlan && !bRun) {
        std::fputs("Vantorell: --csv: no plan and no run to write\n", stderr);
        return false;
    }
    bool bOk = true;
    if (bPlan && !bWritePlanCsvFmWorkbench(wb, "plan.csv")) {
        std::fprintf(stderr, "Vantorell: cannot write plan.csv: %s\n", std::strerror(errno));
        bOk = false;
    }
    if (bRun && !bWriteRunCsvFmWorkbench(wb, "run.csv")) {
        std::fprintf(stderr, "Vantorell: cannot write run.csv: %s\n", std::strerror(errno));
        bOk = false;
    }
    return bOk;
}

// The charts as PNG files. False after a message.
bool bExportPlots(Workbench& wb, const BatchOptions& options) {
    const PlotData data = plotDataFmWorkbench(wb);
    if (data.vecCurvePlan.empty() && data.vecCurveRun.empty()) {
        std::fputs("Vantorell: --plots: no plan and no run to plot\n", stderr);
        return false;
    }
    if (!options.fnWritePlots) {
        std::fputs("Vantorell: --plots: this build cannot draw charts\n", stderr);
        return false;
    }
    return options.fnWritePlots(data);
}

}  // namespace

int runBatch(const char* szKeys, const BatchOptions& options) {
    for (const char* pch = szKeys; *pch != '\0'; pch++) {
        if (!bKnownKey(*pch)) {
            std::fprintf(stderr,
                         "vantorell: unknown key '%c' in -k (keys: d p s g r i l f c)\n"
                         "Try 'vantorell --help' for more information.\n",
                         *pch);
            return 2;
        }
    }
    openLogFile();
    Workbench wb;
    BatchHost host(wb, options);
    for (const char* pch = szKeys; *pch != '\0'; pch++) {
        const char ch = *pch;
        if ((ch == 'r' || ch == 'R') && wb.bPath) {
            // A replay runs on the window's clock; there is none here.
            std::fputs("Vantorell: r: the replay needs the window; skipped\n", stderr);
            continue;
        }
        bRunKeyCommand(wb, ch, host);
        std::fflush(stdout);
        if ((ch == 'p' || ch == 'P') && wb.plan.bPlanExists()) printPlanWarnings(wb);
    }
    if (options.bCsv && !bExportCsv(wb)) host.bMessage = true;
    if (options.bPlots && !bExportPlots(wb, options)) host.bMessage = true;
    releaseCommandState(wb);
    closeLogFile();
    return host.bMessage ? 3 : 0;
}
