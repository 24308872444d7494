// The key commands of the program window (see commands.h).
#include "app/commands.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "design/design.h"
#include "plan/planstate.h"
#include "sim/flight.h"
#include "guide/guidance.h"
#include "sim/params.h"

bool bPath = false;
bool bDisplayState = true;
bool bDisplayPath = false;
bool bDisplayRunPath = false;
double fSDisplay = 0.025;
double fSTiSim = 0.0;
double fSTiReplay0 = 0.0;
Stvehicle3dof stvehicle3dof;
// Which law flew the stored run: s flies fltplan.txt open loop and clears
// it; a guided flight (g) sets it. The window says which run it shows.
bool bFlightGuided = false;

namespace {

int iMsReplayTimer() { return static_cast<int>(1000.0 * fSDisplay); }

Stvehicle3dof* pstStored(Long i) { return static_cast<Stvehicle3dof*>(arPStvehicle[i]); }

// p: fit the waypoints, analyse the path, print the SUMMARY, write the plan.
void cmdPlan(CmdHost& host) {
    if (!bRunPlanCommand(stdout)) host.showMessage(MsgOwner::Top, "couldn't solve");
}

// d: design a hop from "hop.txt" into "traj1r.txt" and print the DESIGN
// block. A bad hop file, or a target out of reach, is a message; the
// waypoint file is then left as it was.
void cmdDesign(CmdHost& host) {
    std::string szError;
    if (!bRunDesignCommand(stdout, &szError)) host.showMessage(MsgOwner::Top, szError.c_str());
}

// s: fly the schedule in fltplan.txt for 30 s and write results.txt.
void cmdSimulate(CmdHost& host) {
    fSTiSim = 0.0;
    stvehicle3dof = stvehicle3dof0;
    // The previous run's records are released before the new run replaces
    // them; a replay still running reads the new run on its next tick.
    deleteStoredRun(&arFTiData, &arPStvehicle);
    flyScheduleFile("fltplan.txt", &arFTiData, &arPStvehicle);
    writeResultsTxt("results.txt", arFTiData, arPStvehicle);
    bFlightGuided = false;
    bPath = true;
    bDisplayRunPath = false;
    bDisplayState = false;
    bDisplayPath = true;
    host.invalidate();
}

// The landing of a guided flight, one line on standard output, e.g.
// "guided flight: touchdown at 5.54 s, vertical -0.42 m/s, horizontal
// -0.03 m/s; stopped (rest) at 7.35 s; 0.879 kg of propellant left".
void printGuidedReport(std::FILE* pfile, SimReport const& report, double fTiLast) {
    if (report.bTouchdown)
        std::fprintf(pfile, "guided flight: touchdown at %.2f s, vertical %.2f m/s, horizontal %.2f m/s",
                     report.fTiTouchdown, report.fVeZfTouchdown, report.fVeXfTouchdown);
    else
        std::fprintf(pfile, "guided flight: no touchdown");
    // A run that burnt out ends a hair below the empty mass: shown as 0.
    const double fMsLeft = std::fabs(report.fMsPropLeft) < 0.0005 ? 0.0 : report.fMsPropLeft;
    std::fprintf(pfile, "; stopped (%s) at %.2f s; %.3f kg of propellant left%s\n",
                 szSimStop(report.stop), fTiLast, fMsLeft,
                 report.bRanDry ? "; ran dry in the air" : "");
    std::fflush(pfile);
}

// g: fly fltplan.txt guided (the settings of guidance.txt) and write
// results.txt. A bad guidance.txt is a message, and nothing is flown.
void cmdGuidedSimulate(CmdHost& host) {
    GuidanceSettings gs;
    std::string szErr;
    if (!bReadGuidanceFile(&gs, "guidance.txt", &szErr)) {
        host.showMessage(MsgOwner::Program, szErr.c_str());
        return;
    }
    fSTiSim = 0.0;
    stvehicle3dof = stvehicle3dof0;
    deleteStoredRun(&arFTiData, &arPStvehicle);
    SimReport report;
    if (!bFlyGuidedScheduleFile("fltplan.txt", "guidance.txt", &arFTiData, &arPStvehicle, &szErr,
                                &report)) {
        // guidance.txt changed under us: no run.
        bPath = false;
        host.showMessage(MsgOwner::Program, szErr.c_str());
        return;
    }
    writeResultsTxt("results.txt", arFTiData, arPStvehicle);
    printGuidedReport(stdout, report, arFTiData[arFTiData.iLast()]);
    bFlightGuided = true;
    bPath = true;
    bDisplayRunPath = false;
    bDisplayState = false;
    bDisplayPath = true;
    host.invalidate();
}

// r: start or stop the real-time replay.
void cmdReplayToggle(CmdHost& host) {
    if (!bPath) {
        host.showMessage(MsgOwner::Program, "No sim to run!  's' first");
        return;
    }
    if (bDisplayRunPath) {
        host.stopReplayTimer();
        bDisplayState = false;
        bDisplayRunPath = false;
        bDisplayPath = true;
        host.invalidate();
        return;
    }
    fSTiReplay0 = host.fMsTickCount() * 0.001;
    bDisplayPath = false;
    bDisplayState = false;
    bDisplayRunPath = true;
    host.invalidate();
    host.startReplayTimer(iMsReplayTimer());
}

// i: show the first stored state.
void cmdInitialize(CmdHost& host) {
    if (!bPath || arFTiData.n() < 1) {
        host.showMessage(MsgOwner::Program, "No sim to initialize!  's' first");
        return;
    }
    if (bDisplayRunPath) {
        // Leaves the replay; the timer is deliberately not stopped here, its
        // next tick finds no replay running and does nothing.
        bDisplayState = false;
        bDisplayRunPath = false;
        bDisplayPath = true;
    }
    stvehicle3dof = *pstStored(arFTiData.iFirst());
    host.invalidate();
}

}  // namespace

bool bRunKeyCommand(char ch, CmdHost& host) {
    switch (ch) {
        case 'c':
        case 'C':
            host.capturePane("pane.bmp");
            return true;
        case 'd':  // lower case only, as for 'l'
            cmdDesign(host);
            return true;
        case 'f':  // lower case only, as for 'l'
            writeFltplanTxt();  // does nothing without a plan
            return true;
        case 'g':
        case 'G':
            cmdGuidedSimulate(host);
            return true;
        case 'i':
        case 'I':
            cmdInitialize(host);
            return true;
        case 'l':
            writeTraj1lTxt();  // does nothing without a plan
            return true;
        case 'p':
        case 'P':
            cmdPlan(host);
            return true;
        case 'r':
        case 'R':
            cmdReplayToggle(host);
            return true;
        case 's':
        case 'S':
            cmdSimulate(host);
            return true;
        default:
            return false;
    }
}

void replayTick(CmdHost& host) {
    const Long nData = arFTiData.n();
    if (!bDisplayRunPath || nData < 1) return;
    const Long iFirst = arFTiData.iFirst();
    const Long iLast = arFTiData.iLast();
    fSTiSim = host.fMsTickCount() * 0.001 - fSTiReplay0;
    if (fSTiSim <= arFTiData[iFirst]) {
        stvehicle3dof = *pstStored(iFirst);
        return;  // no repaint on this tick
    }
    if (fSTiSim >= arFTiData[iLast]) {
        stvehicle3dof = *pstStored(iLast);
        bDisplayRunPath = false;
        bDisplayState = true;
        host.stopReplayTimer();
    } else {
        stvehicle3dofAtFTi(&stvehicle3dof, fSTiSim);
    }
    host.invalidate();
}

void releaseCommandState() {
    deleteStoredRun(&arFTiData, &arPStvehicle);
    deleteTraj1Params();
    deleteTraj1Path();
    deletePathAnalysis();
}
