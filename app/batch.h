// Batch mode: the key commands run in order without a window.
#pragma once

#include <functional>

struct PlotData;

struct BatchOptions {
    int iPxDX = 1152;  // pane size for the offscreen capture
    int iPxDY = 831;
    // After the chain: write "plan.csv" and "run.csv" (each when it exists).
    bool bCsv = false;
    // After the chain: hand the plan and run series to fnWritePlots, which
    // writes the charts as PNG files (the toolkit that draws them is loaded
    // only then). It returns false when nothing could be written, having
    // said why on standard error.
    bool bPlots = false;
    std::function<bool(const PlotData&)> fnWritePlots;
};

// Opens the log, makes a workbench (the built-in parameters), runs every key
// of szKeys on it through the same command code as the window, closes the
// log. Returns the exit status:
// 0 when every command ran, 3 when one ended with a message (the chain goes
// on). A fatal error ends the process with status 1 from inside a command.
//
// Every plan that `p` makes is checked against the vehicle (app/plotdata.h);
// each limit it breaks is one line "Vantorell: warning: ..." on standard
// error after the SUMMARY. Warnings leave the exit status as it is. The
// exports asked for in options run after the last key; one that cannot be
// written, or has nothing to write, is a message (status 3).
int runBatch(const char* szKeys, const BatchOptions& options);
