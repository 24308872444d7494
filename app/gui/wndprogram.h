// WndProgram, the 3-D pane: an OpenGL widget that draws one complete frame of
// the scene on every paint, runs the key commands typed into it, drives the
// real-time replay from its 25 ms timer and moves the camera by mouse drags.
//
// Keys: the typed character (not the key) goes to bRunKeyCommand; characters
// that are not commands go on to the base class untouched.
// Mouse: a left drag turns the camera about the point it looks at, a right
// drag zooms; a finished drag that moved the camera pushes it onto the view
// history (a plain click pushes nothing). The replay timer is held while a
// drag lasts.
//
// The replay runs on the pane's own clock (fMsTickCount): the wall clock, or
// one a test sets, advanced at the chosen replay speed. After every command
// the standard output is flushed, so a SUMMARY shows as it is printed.
//
// For the plots panel the pane says when the state shown may have moved
// (commandRun after every command, replayTicked after every tick of a running
// replay), and shows any time of the stored run on request
// (showStoredStateAtFTi, the time slider).
//
// The pane is the whole client area in device pixels, with its left and top
// at 0. The camera (xfmCFmW), the projection (xfmPFmC) and the view history
// are the workbench's (display/viewstack.h): one pane to a workbench.
#pragma once

#include <QOpenGLWidget>
#include <QTimer>

#include <functional>
#include <vector>

#include "app/commands.h"
#include "display/camera.h"

class WndProgram : public QOpenGLWidget, public CmdHost {
    Q_OBJECT

public:
    // Works on wb, which outlives it; pwndTop owns the message boxes whose
    // owner is the top window.
    WndProgram(Workbench& wb, QWidget* pwndParent, QWidget* pwndTop);

    // Runs one command character as if it had been typed into the pane;
    // false when ch is not a command.
    bool bRunCommand(char ch);

    // Stepping through the camera history. Back shows the previous camera
    // when the history holds more than the one shown; Forward shows the
    // camera last stepped back from, until a new drag pushes a camera. Both
    // do nothing when not possible.
    bool bViewBackPossible() const;
    bool bViewForwardPossible() const;
    void viewBack();
    void viewForward();
    // Shows the default camera (the one used without "view.in") and pushes it.
    void viewReset();

    // Replay speed: simulated seconds per second of the clock (1 by
    // default). A change during a replay goes on from the time shown.
    void setReplaySpeed(double fSpeed);
    double fReplaySpeed() const { return _fReplaySpeed; }
    // The clock in milliseconds the replay runs on; null for the monotonic
    // wall clock (the default).
    void setMsClock(std::function<double()> fnMsClock);

    // The planned path drawn over the scene (off by default); the points are
    // taken afresh from the plan after every command.
    void setPlanPathShown(bool bShown);
    bool bPlanPathShown() const { return _bPlanPath; }
    Long nPtPlanPath() const { return static_cast<Long>(_vecFXPlan.size()); }

    // What the window does when it goes away: writes "view.out" and stops
    // the replay timer. Runs once; later calls do nothing.
    void saveViewAndStop();

    // Shows the stored run's state at fTi, looked up as the replay does
    // (stvehicle3dofAtFTi: clamped to the first and last record): a running
    // replay stops, the pane switches to showing the one state, fSTiSim
    // becomes fTi. Does nothing before the first simulation.
    void showStoredStateAtFTi(double fTi);

    const Pane& pane() const { return _pane; }
    const QTimer& timerReplay() const { return _timerReplay; }
    // Mouse-move messages seen during camera drags.
    Long nMouseMove() const { return iMouseMove; }

    // ---- CmdHost ---------------------------------------------------------------
    void showMessage(MsgOwner owner, const char* szText) override;
    void invalidate() override;
    void startReplayTimer(int iMs) override;
    void stopReplayTimer() override;
    double fMsTickCount() override;
    void capturePane(const char* szFile) override;

signals:
    // A command ran (ch as typed; only characters that are commands).
    void commandRun(char ch);
    // A tick of a running replay moved the state shown (fSTiSim).
    void replayTicked();
    // The camera history changed (a push, a step, a resize).
    void viewChanged();

protected:
    void initializeGL() override;
    void resizeGL(int iPxW, int iPxH) override;
    void paintGL() override;
    void keyPressEvent(QKeyEvent* pevent) override;
    void mousePressEvent(QMouseEvent* pevent) override;
    void mouseMoveEvent(QMouseEvent* pevent) override;
    void mouseReleaseEvent(QMouseEvent* pevent) override;

private:
    void setPaneFromWidget();
    void drawScene();
    void takePlanPath();
    double fMsWall() const;
    // Mouse position in pane pixels.
    Long iPxXFm(const QMouseEvent* pevent) const;
    Long iPxYFm(const QMouseEvent* pevent) const;

    Workbench& _wb;
    QWidget* _pwndTop;
    Pane _pane{};
    QTimer _timerReplay;
    bool _bViewLoaded = false;
    bool _bGone = false;
    std::function<double()> _fnMsClock;
    double _fReplaySpeed = 1.0;
    double _fMsWallAtSpeed = 0.0;  // wall clock and pane clock at the last
    double _fMsAtSpeed = 0.0;      // change of speed
    bool _bPlanPath = false;
    std::vector<double> _vecFXPlan, _vecFZPlan;

    // Left drag: turn about the point looked at.
    bool bDragView = false;
    Long iPxX0Drag = 0;
    Long iPxY0Drag = 0;
    XfmCFmW3c xfmCFmW0DragView;
    Long iMouseMove = 0;
    // Right drag: zoom, step by step from the last position.
    bool bDragZoom = false;
    Long iPxXLastDragZoom = 0;
    Long iPxYLastDragZoom = 0;
};
