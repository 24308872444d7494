// Batch mode: the key commands run in order without a window.
#pragma once

struct BatchOptions {
    int iPxDX = 1152;  // pane size for the offscreen capture
    int iPxDY = 831;
};

// Opens the log, sets the parameters, runs every key of szKeys through the
// same command code as the window, closes the log. Returns the exit status:
// 0 when every command ran, 3 when one ended with a message (the chain goes
// on). A fatal error ends the process with status 1 from inside a command.
int runBatch(const char* szKeys, const BatchOptions& options);
