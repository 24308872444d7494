#include "app/scene.h"

#include "app/commands.h"
#include "display/display.h"
#include "display/offscreen.h"
#include "display/viewstack.h"
#include "sim/params.h"

void drawCurrentScene(Pane* ppane) {
    if (bDisplayState || bDisplayRunPath)
        displayStInPane(ppane, &xfmCFmW, &xfmPFmC, &stvehicle3dof);
    else if (bDisplayPath)
        displayPathInPane(ppane, &xfmCFmW, &xfmPFmC, &vehicle, arFTiData, arPStvehicle);
}

bool bCaptureSceneOffscreen(const char* szFile, int iPxDX, int iPxDY) {
    // The camera is set up once per process, as the window does at creation.
    static bool bCameraSet = false;
    Pane pane;
    pane.iPxDX = iPxDX;
    pane.iPxDY = iPxDY;
    if (!bCameraSet) {
        readViewInOrDefault("view.in", pane);
        bCameraSet = true;
    }
    return bRenderOffscreenToBmp(szFile, iPxDX, iPxDY, [&pane] { drawCurrentScene(&pane); });
}
