// Repeating the commands in one process must not grow memory: every plan and
// every stored run is released before the next one replaces it.
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "app/commands.h"
#include "core/logerror.h"
#include "sim/params.h"
#include "support/testutil.h"

namespace {

class QuietHost final : public CmdHost {
public:
    void showMessage(MsgOwner, const char* szText) override { szLast = szText; }
    void invalidate() override { nInvalidate++; }
    void startReplayTimer(int iMs) override { iMsTimer = iMs; }
    void stopReplayTimer() override { iMsTimer = 0; }
    double fMsTickCount() override { return fMsNow; }
    void capturePane(const char*) override {}

    const char* szLast = nullptr;
    int nInvalidate = 0;
    int iMsTimer = 0;
    double fMsNow = 0.0;
};

long nKbResident() {
    std::ifstream in("/proc/self/statm");
    long nPgSize = 0, nPgResident = 0;
    in >> nPgSize >> nPgResident;
    return nPgResident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace

using CommandMemoryTest = InTempDir;

TEST_F(CommandMemoryTest, PlanThenSimulateTwoHundredTimesKeepsMemoryFlat) {
    vttest::copyTestData("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    initParams();
    QuietHost host;
    ::testing::internal::CaptureStdout();
    auto planAndFly = [&host] {
        ASSERT_TRUE(bRunKeyCommand('p', host));
        ASSERT_TRUE(bRunKeyCommand('s', host));
    };
    for (int i = 0; i < 20; i++) planAndFly();  // settle the allocator's pools
    const long nKbBefore = nKbResident();
    for (int i = 0; i < 200; i++) planAndFly();
    const long nKbAfter = nKbResident();
    const std::string szOut = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(host.szLast, nullptr);
    EXPECT_NE(szOut.find("SUMMARY"), std::string::npos);
    // One plan and one run of this hop hold about 100 kB; 200 of them kept
    // by mistake would add some 20 MB. Allow 1 MB of allocator noise.
    // AddressSanitizer holds freed blocks back in its quarantine, so there
    // the resident size says nothing; its leak checker covers that build.
#if defined(__SANITIZE_ADDRESS__)
    (void)nKbBefore;
    (void)nKbAfter;
#else
    EXPECT_LT(nKbAfter - nKbBefore, 1024) << "before " << nKbBefore << " kB, after " << nKbAfter
                                          << " kB";
#endif
    releaseCommandState();
}
