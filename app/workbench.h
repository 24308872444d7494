// The workbench: everything one session of the program works on, in one
// value. The key commands, the reports and the drawing take it explicitly;
// the batch mode owns one, and so does the window. Two workbenches share
// nothing, so they may be used on two threads at once.
#pragma once

#include "display/viewstack.h"
#include "plan/planstate.h"
#include "sim/fltsim.h"
#include "sim/params.h"

// The replay timer's period, s: a frame every 25 ms.
constexpr double fSDisplayReplay = 0.025;

struct Workbench {
    // The scenario: planet, vehicle, initial state and ground (initParams).
    BuiltInScenario scenario;
    // The plan of the last `p` (or none).
    PlanState plan;
    // The stored run of the last `s` or `g` (empty until the first).
    StoredRun run;
    // The window's camera, its history and the camera files.
    ViewStack view;
    // The camera has been set up from "view.in" (or the default) for the
    // offscreen capture of the batch mode; the window sets its own up when
    // it is created.
    bool bViewSet = false;

    // ---- what the commands show ------------------------------------------------------
    bool bPath = false;            // a simulation has been run; its stored states are valid
    bool bDisplayState = true;     // paint draws the current state stvehicle3dof
    bool bDisplayPath = false;     // paint draws the whole stored run
    bool bDisplayRunPath = false;  // a replay is running
    double fSDisplay = fSDisplayReplay;  // replay timer period, s
    double fSTiSim = 0.0;          // simulated time currently shown, s
    double fSTiReplay0 = 0.0;      // wall-clock seconds at the start of a replay
    Stvehicle3dof stvehicle3dof;   // state currently shown
    // Which law flew the stored run: s flies fltplan.txt open loop and
    // clears it; a guided flight (g) sets it. The window says which run it
    // shows.
    bool bFlightGuided = false;

    // The built-in scenario, no plan, no run.
    Workbench() = default;
    Workbench(Workbench const&) = delete;
    Workbench& operator=(Workbench const&) = delete;
};
