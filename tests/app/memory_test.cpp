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

TEST_F(CommandMemoryTest, DisplayModesFollowTheCommandTable) {
    vttest::copyTestData("reference/flight/freefall_cut/fltplan.txt", "fltplan.txt");
    initParams();
    QuietHost host;
    // Start-up: the current state.
    EXPECT_TRUE(bDisplayState);
    EXPECT_FALSE(bDisplayPath);
    EXPECT_FALSE(bDisplayRunPath);
    EXPECT_TRUE(bRunKeyCommand('S', host));  // whole path
    EXPECT_FALSE(bDisplayState);
    EXPECT_TRUE(bDisplayPath);
    EXPECT_FALSE(bDisplayRunPath);
    host.fMsNow = 1000.0;
    EXPECT_TRUE(bRunKeyCommand('r', host));  // replay
    EXPECT_FALSE(bDisplayState);
    EXPECT_FALSE(bDisplayPath);
    EXPECT_TRUE(bDisplayRunPath);
    EXPECT_EQ(host.iMsTimer, 25);
    // A tick at the start shows the first state and asks for no repaint.
    const int nBefore = host.nInvalidate;
    replayTick(host);
    EXPECT_EQ(host.nInvalidate, nBefore);
    EXPECT_EQ(stvehicle3dof.fMs, 100.0);
    // Halfway between two stored states the shown state is interpolated.
    host.fMsNow = 1000.0 + 1025.0;  // t = 1.025 s
    replayTick(host);
    EXPECT_EQ(host.nInvalidate, nBefore + 1);
    EXPECT_NEAR(fSTiSim, 1.025, 1e-12);
    Stvehicle3dof* pst1 = static_cast<Stvehicle3dof*>(arPStvehicle[21]);  // t = 1.00
    Stvehicle3dof* pst2 = static_cast<Stvehicle3dof*>(arPStvehicle[22]);  // t = 1.05
    EXPECT_DOUBLE_EQ(arFTiData[21], 1.0);
    EXPECT_NEAR(stvehicle3dof.fZf, 0.5 * (pst1->fZf + pst2->fZf), 1e-12);
    EXPECT_TRUE(bRunKeyCommand('R', host));  // stop: whole path
    EXPECT_FALSE(bDisplayState);
    EXPECT_TRUE(bDisplayPath);
    EXPECT_FALSE(bDisplayRunPath);
    EXPECT_EQ(host.iMsTimer, 0);
    // i outside a replay only changes the shown state.
    EXPECT_TRUE(bRunKeyCommand('i', host));
    EXPECT_TRUE(bDisplayPath);
    EXPECT_EQ(stvehicle3dof.fZf, 0.0);
    // A replay that starts after the last sample ends at its first tick.
    host.fMsNow = 0.0;
    EXPECT_TRUE(bRunKeyCommand('r', host));
    host.fMsNow = 1.0e6;
    replayTick(host);
    EXPECT_TRUE(bDisplayState);
    EXPECT_FALSE(bDisplayRunPath);
    EXPECT_EQ(host.iMsTimer, 0);
    const Stvehicle3dof* pstLast = static_cast<Stvehicle3dof*>(arPStvehicle[arPStvehicle.iLast()]);
    EXPECT_EQ(stvehicle3dof.fXf, pstLast->fXf);
    EXPECT_EQ(stvehicle3dof.fZf, pstLast->fZf);
    // i during a replay ends it (whole path) and shows the first state.
    EXPECT_TRUE(bRunKeyCommand('r', host));
    EXPECT_TRUE(bRunKeyCommand('I', host));
    EXPECT_FALSE(bDisplayState);
    EXPECT_TRUE(bDisplayPath);
    EXPECT_FALSE(bDisplayRunPath);
    EXPECT_FALSE(bRunKeyCommand('x', host));
    EXPECT_FALSE(bRunKeyCommand('F', host));  // upper-case F and L are not commands
    EXPECT_FALSE(bRunKeyCommand('L', host));
    releaseCommandState();
}

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
