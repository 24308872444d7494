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

namespace {

int iMsReplayTimer(Workbench const& wb) { return static_cast<int>(1000.0 * wb.fSDisplay); }

Stvehicle3dof* pstStored(Workbench& wb, Long i) {
    return static_cast<Stvehicle3dof*>(wb.run.arPStvehicle[i]);
}

// p: fit the waypoints, analyse the path, print the SUMMARY, write the plan.
void cmdPlan(Workbench& wb, CmdHost& host) {
    if (!wb.plan.bRunPlanCommand(wb.scenario, stdout)) host.showMessage(MsgOwner::Top, "couldn't solve");
}

// d: design a hop from "hop.txt" into "traj1r.txt" and print the DESIGN
// block. A bad hop file, or a target out of reach, is a message; the
// waypoint file is then left as it was.
void cmdDesign(Workbench& wb, CmdHost& host) {
    std::string szError;
    if (!bRunDesignCommand(wb.scenario, stdout, &szError)) host.showMessage(MsgOwner::Top, szError.c_str());
}

// s: fly the schedule in fltplan.txt for 30 s and write results.txt.
void cmdSimulate(Workbench& wb, CmdHost& host) {
    wb.fSTiSim = 0.0;
    wb.stvehicle3dof = wb.scenario.stvehicle3dof0;
    // The previous run's records are released before the new run replaces
    // them; a replay still running reads the new run on its next tick.
    deleteStoredRun(&wb.run.arFTiData, &wb.run.arPStvehicle);
    flyScheduleFile(wb.scenario, "fltplan.txt", &wb.run.arFTiData, &wb.run.arPStvehicle);
    writeResultsTxt("results.txt", wb.run.arFTiData, wb.run.arPStvehicle);
    wb.bFlightGuided = false;
    wb.bPath = true;
    wb.bDisplayRunPath = false;
    wb.bDisplayState = false;
    wb.bDisplayPath = true;
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
void cmdGuidedSimulate(Workbench& wb, CmdHost& host) {
    GuidanceSettings gs;
    std::string szErr;
    if (!bReadGuidanceFile(&gs, "guidance.txt", &szErr)) {
        host.showMessage(MsgOwner::Program, szErr.c_str());
        return;
    }
    wb.fSTiSim = 0.0;
    wb.stvehicle3dof = wb.scenario.stvehicle3dof0;
    deleteStoredRun(&wb.run.arFTiData, &wb.run.arPStvehicle);
    SimReport report;
    if (!bFlyGuidedScheduleFile(wb.scenario, "fltplan.txt", "guidance.txt", &wb.run.arFTiData, &wb.run.arPStvehicle, &szErr,
                                &report)) {
        // guidance.txt changed under us: no run.
        wb.bPath = false;
        host.showMessage(MsgOwner::Program, szErr.c_str());
        return;
    }
    writeResultsTxt("results.txt", wb.run.arFTiData, wb.run.arPStvehicle);
    printGuidedReport(stdout, report, wb.run.arFTiData[wb.run.arFTiData.iLast()]);
    wb.bFlightGuided = true;
    wb.bPath = true;
    wb.bDisplayRunPath = false;
    wb.bDisplayState = false;
    wb.bDisplayPath = true;
    host.invalidate();
}

// r: start or stop the real-time replay.
void cmdReplayToggle(Workbench& wb, CmdHost& host) {
    if (!wb.bPath) {
        host.showMessage(MsgOwner::Program, "No sim to run!  's' first");
        return;
    }
    if (wb.bDisplayRunPath) {
        host.stopReplayTimer();
        wb.bDisplayState = false;
        wb.bDisplayRunPath = false;
        wb.bDisplayPath = true;
        host.invalidate();
        return;
    }
    wb.fSTiReplay0 = host.fMsTickCount() * 0.001;
    wb.bDisplayPath = false;
    wb.bDisplayState = false;
    wb.bDisplayRunPath = true;
    host.invalidate();
    host.startReplayTimer(iMsReplayTimer(wb));
}

// i: show the first stored state.
void cmdInitialize(Workbench& wb, CmdHost& host) {
    if (!wb.bPath || wb.run.arFTiData.n() < 1) {
        host.showMessage(MsgOwner::Program, "No sim to initialize!  's' first");
        return;
    }
    if (wb.bDisplayRunPath) {
        // Leaves the replay; the timer is deliberately not stopped here, its
        // next tick finds no replay running and does nothing.
        wb.bDisplayState = false;
        wb.bDisplayRunPath = false;
        wb.bDisplayPath = true;
    }
    wb.stvehicle3dof = *pstStored(wb, wb.run.arFTiData.iFirst());
    host.invalidate();
}

}  // namespace

bool bRunKeyCommand(Workbench& wb, char ch, CmdHost& host) {
    switch (ch) {
        case 'c':
        case 'C':
            host.capturePane("pane.bmp");
            return true;
        case 'd':  // lower case only, as for 'l'
            cmdDesign(wb, host);
            return true;
        case 'f':  // lower case only, as for 'l'
            wb.plan.writeFltplanTxt();  // does nothing without a plan
            return true;
        case 'g':
        case 'G':
            cmdGuidedSimulate(wb, host);
            return true;
        case 'i':
        case 'I':
            cmdInitialize(wb, host);
            return true;
        case 'l':
            wb.plan.writeTraj1lTxt(wb.scenario);  // does nothing without a plan
            return true;
        case 'p':
        case 'P':
            cmdPlan(wb, host);
            return true;
        case 'r':
        case 'R':
            cmdReplayToggle(wb, host);
            return true;
        case 's':
        case 'S':
            cmdSimulate(wb, host);
            return true;
        default:
            return false;
    }
}

void replayTick(Workbench& wb, CmdHost& host) {
    const Long nData = wb.run.arFTiData.n();
    if (!wb.bDisplayRunPath || nData < 1) return;
    const Long iFirst = wb.run.arFTiData.iFirst();
    const Long iLast = wb.run.arFTiData.iLast();
    wb.fSTiSim = host.fMsTickCount() * 0.001 - wb.fSTiReplay0;
    if (wb.fSTiSim <= wb.run.arFTiData[iFirst]) {
        wb.stvehicle3dof = *pstStored(wb, iFirst);
        return;  // no repaint on this tick
    }
    if (wb.fSTiSim >= wb.run.arFTiData[iLast]) {
        wb.stvehicle3dof = *pstStored(wb, iLast);
        wb.bDisplayRunPath = false;
        wb.bDisplayState = true;
        host.stopReplayTimer();
    } else {
        stvehicle3dofAtFTi(&wb.stvehicle3dof, wb.fSTiSim, wb.run, wb.scenario.vehicle);
    }
    host.invalidate();
}

void releaseCommandState(Workbench& wb) {
    deleteStoredRun(&wb.run.arFTiData, &wb.run.arPStvehicle);
    wb.plan.deleteTraj1Params();
    wb.plan.deleteTraj1Path();
    wb.plan.deletePathAnalysis();
}
