// Batch mode: the key commands with no window (see batch.h).
#include "app/batch.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#include "app/commands.h"
#include "app/scene.h"
#include "core/logerror.h"
#include "sim/params.h"

namespace {

// What a window would do, done without one: messages go to standard error,
// repaints are not needed, the capture renders offscreen.
class BatchHost final : public CmdHost {
public:
    explicit BatchHost(const BatchOptions& options) : options(options) {}

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
        if (!bCaptureSceneOffscreen(szFile, options.iPxDX, options.iPxDY)) {
            std::fprintf(stderr, "Vantorell: no OpenGL rendering available; %s not written\n",
                         szFile);
            bMessage = true;
        }
    }

    bool bMessage = false;

private:
    const BatchOptions& options;
};

bool bKnownKey(char ch) { return ch != '\0' && std::strchr("pPsSrRiIlLfFcC", ch) != nullptr; }

}  // namespace

int runBatch(const char* szKeys, const BatchOptions& options) {
    for (const char* pch = szKeys; *pch != '\0'; pch++) {
        if (!bKnownKey(*pch)) {
            std::fprintf(stderr,
                         "vantorell: unknown key '%c' in -k (keys: p s r i l f c)\n"
                         "Try 'vantorell --help' for more information.\n",
                         *pch);
            return 2;
        }
    }
    openLogFile();
    initParams();
    BatchHost host(options);
    for (const char* pch = szKeys; *pch != '\0'; pch++) {
        const char ch = *pch;
        if ((ch == 'r' || ch == 'R') && bPath) {
            // A replay runs on the window's clock; there is none here.
            std::fputs("Vantorell: r: the replay needs the window; skipped\n", stderr);
            continue;
        }
        bRunKeyCommand(ch, host);
        std::fflush(stdout);
    }
    releaseCommandState();
    closeLogFile();
    return host.bMessage ? 3 : 0;
}
