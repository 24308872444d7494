// WndTop, the frame "Vantorell": 0.9 of the screen's work area, placed 0.05
// of its width and height in from its left and top edge. It holds the menu,
// the status panel (WndDAndC) across the top and the 3-D pane (WndProgram)
// below it, and owns both. The plots panel (WndPlots) sits beside them in a
// dock on the right, which the user may resize, float or close.
//
// Menu: File > Export run CSV, Export plan CSV (each enabled only when there
// is something to export), Exit; Commands > the key commands of the pane,
// each with its letter, running the same code as the key; View > Back
// (Alt+Left) and Forward (Alt+Right) through the camera history (enabled
// only when possible), Reset view (the default camera, pushed), Replay speed
// (1/4x to 4x, 1x at start), Show plan path (off at start), Plots (shows or
// hides the panel); Help > About.
//
// Showing or hiding the docked panel changes the frame's width by the
// panel's, so the pane keeps its size, and with it the camera and its
// history (the resize rule of the pane applies when the frame itself is
// resized). A floating panel comes and goes alone.
// Closing the frame saves the camera to "view.out" before the windows go.
#pragma once

#include <QMainWindow>
#include <QTimer>

struct Workbench;
class QAction;
class QDockWidget;
class WndDAndC;
class WndPlots;
class WndProgram;

class WndTop : public QMainWindow {
    Q_OBJECT

public:
    // Builds the frame, then the panel, then the pane (log lines in that
    // order), and places itself on the primary screen. Works on wb, which
    // outlives it.
    explicit WndTop(Workbench& wb);

    WndDAndC* pwndDAndC() const { return _pwndDAndC; }
    WndProgram* pwndProgram() const { return _pwndProgram; }
    WndPlots* pwndPlots() const { return _pwndPlots; }
    QDockWidget* pdockPlots() const { return _pdockPlots; }

    // What File > Export run CSV / Export plan CSV do once a file name is
    // chosen: write the stored run or the plan to szFile; a file that cannot
    // be written is a message box naming it. False when nothing was written.
    bool bExportRunCsv(const QString& szFile);
    bool bExportPlanCsv(const QString& szFile);
    QAction* pactViewBack() const { return _pactViewBack; }
    QAction* pactViewForward() const { return _pactViewForward; }

    // Shows or hides the plots panel as View > Plots does.
    void setPlotsShown(bool bShown);

    // The text of the About box.
    static QString szAboutText();

protected:
    void closeEvent(QCloseEvent* pevent) override;
    void resizeEvent(QResizeEvent* pevent) override;
    bool eventFilter(QObject* pobj, QEvent* pevent) override;

private:
    Workbench& _wb;
    void buildMenu();
    void updateViewActions();
    void runCommandFromMenu(char ch);
    void updateFileActions();
    void exportCsvFromMenu(bool bRun);
    void releaseClientSize();

    WndDAndC* _pwndDAndC = nullptr;
    WndProgram* _pwndProgram = nullptr;
    QAction* _pactViewBack = nullptr;
    QAction* _pactViewForward = nullptr;
    WndPlots* _pwndPlots = nullptr;
    QDockWidget* _pdockPlots = nullptr;
    QAction* _pactExportRun = nullptr;
    QAction* _pactExportPlan = nullptr;
    QAction* _pactViewPlots = nullptr;
    // While the frame changes width for the panel, the client area is held
    // at its size until the frame reaches _iPxDXFrameAwaited.
    int _iPxDXFrameAwaited = -1;
    int _iPxDXDockSaved = 0;  // frame width the docked panel took, with its separator
    QTimer _timerHold;        // lets the client area go at the latest
};
