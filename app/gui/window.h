// The workbench window: the frame "Vantorell" with its menu, the status panel
// and the 3-D program pane (Qt 6 widgets over fixed-function OpenGL).
//
// runWindow is the window half of the entry point: it opens the run log,
// sets the parameters, builds the three windows, runs the event loop until
// the frame is closed, and closes the log last. Closing the frame saves the
// camera to "view.out" in the current directory.
#pragma once

// Returns the exit status of the program (0 after a normal close). Without a
// display to open the frame on, ends through the fatal-error path ("Can't
// start", status 1) after saying so on the standard error stream. A display
// that gives no OpenGL context is logged as "ERROR: Windows error %u" and
// "       may make OpenGL impossible", then ends the same way with "Windows
// would not open a child window for dspmgr": the toolkit cannot show a pane
// without one.
int runWindow(int argc, char** argv);

// Makes the surface format of the pane the default for every OpenGL surface:
// compatibility profile with no version asked for (a version of 3.0 or more
// would hand out a core context that draws nothing fixed-function), a 24-bit
// depth buffer and no multisampling (the capture reads the pixels back, which
// a multisampled buffer refuses). Call it before the QApplication exists.
void setPaneSurfaceFormat();
