#include "app/scene.h"

#include "display/display.h"
#include "display/offscreen.h"

void drawCurrentScene(Workbench& wb, Pane* ppane) {
    if (wb.bDisplayState || wb.bDisplayRunPath)
        displayStInPane(ppane, &wb.view.xfmCFmW, &wb.view.xfmPFmC,
                        &wb.scenario.arPArPPtVtxPgnGnd, &wb.stvehicle3dof);
    else if (wb.bDisplayPath)
        displayPathInPane(ppane, &wb.view.xfmCFmW, &wb.view.xfmPFmC,
                          &wb.scenario.arPArPPtVtxPgnGnd, &wb.scenario.vehicle,
                          wb.run.arFTiData, wb.run.arPStvehicle);
}

bool bCaptureSceneOffscreen(Workbench& wb, const char* szFile, int iPxDX, int iPxDY) {
    // The camera is set up once per workbench, as the window does at creation.
    Pane pane;
    pane.iPxDX = iPxDX;
    pane.iPxDY = iPxDY;
    if (!wb.bViewSet) {
        wb.view.readViewInOrDefault("view.in", pane);
        wb.bViewSet = true;
    }
    return bRenderOffscreenToBmp(szFile, iPxDX, iPxDY,
                                 [&wb, &pane] { drawCurrentScene(wb, &pane); });
}
