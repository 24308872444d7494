// The key commands of the program window, on a workbench (app/workbench.h).
// The window and the batch mode call the same functions; each front end
// supplies a CmdHost that does what only it can do (show a message, request
// a repaint, run the replay timer, capture the pane).
//
// Keys: p/P plan, s/S simulate, g/G guided simulate, r/R replay toggle,
// i/I first state, l listing, f flight plan, c/C capture, d hop design
// (design/design.h). `l`, `f` and `d` react to the lower-case letter only; the
// others accept both cases. Every other character is ignored.
#pragma once

#include "core/array.h"
#include "app/workbench.h"
#include "sim/fltsim.h"

// Who owns a message box: the program window ("No sim to ...") or the top
// window ("couldn't solve").
enum class MsgOwner { Program, Top };

class CmdHost {
public:
    virtual ~CmdHost() = default;
    // A modal message with the caption "Vantorell", a warning icon and one OK.
    virtual void showMessage(MsgOwner owner, const char* szText) = 0;
    // Ask for a repaint of the program window.
    virtual void invalidate() = 0;
    // Start or stop the replay timer (period 1000 * fSDisplay ms, truncated).
    virtual void startReplayTimer(int iMs) = 0;
    virtual void stopReplayTimer() = 0;
    // Monotonic clock in milliseconds (the replay runs at wall-clock time).
    virtual double fMsTickCount() = 0;
    // Capture the pane to the named bitmap file.
    virtual void capturePane(const char* szFile) = 0;
};

// Runs the command for one typed character. Returns false when the character
// is not a command (it is then ignored).
bool bRunKeyCommand(Workbench& wb, char ch, CmdHost& host);

// One tick of the replay timer (see the window's timer).
void replayTick(Workbench& wb, CmdHost& host);

// Releases everything the commands hold (plan, analysis, stored run); the
// workbench's destructor does the same.
void releaseCommandState(Workbench& wb);
