// The scene of the program window as the workbench's display flags choose
// it, shared by the window's paint and the batch mode's offscreen capture.
#pragma once

#include "app/workbench.h"
#include "display/camera.h"

// Draws one frame into the current OpenGL context with the workbench's
// camera: the current state while bDisplayState or bDisplayRunPath is set,
// otherwise the whole stored run when bDisplayPath is set.
void drawCurrentScene(Workbench& wb, Pane* ppane);

// Renders the scene with no display server into an offscreen buffer of the
// given size and writes it to szFile as a 24-bit bitmap. The camera is the
// one saved in "view.in", or the default camera, set up at the workbench's
// first capture. Returns false, having logged why, when no OpenGL rendering
// can be had.
bool bCaptureSceneOffscreen(Workbench& wb, const char* szFile, int iPxDX, int iPxDY);
