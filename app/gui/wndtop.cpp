#include "app/gui/wndtop.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QVBoxLayout>

#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "core/logerror.h"

namespace {

struct CommandItem {
    char ch;
    const char* szText;  // the letter after the tab is shown, not bound
};

// The key commands of the pane, in their working order. The letters are
// display text only: binding them as shortcuts would take the keys away from
// the pane, where the upper-case forms have to behave as documented.
const CommandItem arCommandItem[] = {
    {'p', "&Plan (traj1r.txt to fltplan.txt)\tp"},
    {'s', "&Simulate (fltplan.txt to results.txt)\ts"},
    {'r', "&Replay start/stop\tr"},
    {'i', "&Initial state\ti"},
    {'l', "&Listing (traj1l.txt)\tl"},
    {'f', "&Flight plan (fltplan.txt)\tf"},
    {'c', "&Capture pane (pane.bmp)\tc"},
};

}  // namespace

WndTop::WndTop() {
    setObjectName("wndTop");
    setWindowTitle("Vantorell");
    logLineSz("wndTop created");

    auto* pwndClient = new QWidget(this);
    auto* playout = new QVBoxLayout(pwndClient);
    playout->setContentsMargins(0, 0, 0, 0);
    playout->setSpacing(0);
    _pwndDAndC = new WndDAndC(pwndClient);
    playout->addWidget(_pwndDAndC);
    _pwndProgram = new WndProgram(pwndClient, this);
    playout->addWidget(_pwndProgram, 1);
    setCentralWidget(pwndClient);
    buildMenu();

    // 0.9 of the work area, 0.05 in from its left and top; each product
    // truncated to whole pixels.
    if (QScreen* pscreen = QGuiApplication::primaryScreen()) {
        const QRect rectWork = pscreen->availableGeometry();
        const int iPxDX = static_cast<int>(0.9 * rectWork.width());
        const int iPxDY = static_cast<int>(0.9 * rectWork.height());
        const int iPxXL = rectWork.left() + static_cast<int>(0.05 * rectWork.width());
        const int iPxYT = rectWork.top() + static_cast<int>(0.05 * rectWork.height());
        move(iPxXL, iPxYT);
        resize(iPxDX, iPxDY);
    }
    _pwndProgram->setFocus();
}

void WndTop::buildMenu() {
    QMenu* pmenuFile = menuBar()->addMenu("&File");
    QAction* pactExit = pmenuFile->addAction("E&xit", this, &QWidget::close);
    pactExit->setObjectName("actExit");

    QMenu* pmenuCommands = menuBar()->addMenu("&Commands");
    for (const CommandItem& item : arCommandItem) {
        const char ch = item.ch;
        QAction* pact = pmenuCommands->addAction(item.szText, this, [this, ch] { runCommandFromMenu(ch); });
        pact->setObjectName(QString("actCommand_") + ch);
    }

    QMenu* pmenuView = menuBar()->addMenu("&View");
    _pactViewBack = pmenuView->addAction("&Back", this, [this] {
        _pwndProgram->viewBack();
        updateViewActions();
    });
    _pactViewBack->setObjectName("actViewBack");
    _pactViewForward = pmenuView->addAction("&Forward", this, [this] {
        _pwndProgram->viewForward();
        updateViewActions();
    });
    _pactViewForward->setObjectName("actViewForward");
    connect(pmenuView, &QMenu::aboutToShow, this, &WndTop::updateViewActions);

    QMenu* pmenuHelp = menuBar()->addMenu("&Help");
    QAction* pactAbout = pmenuHelp->addAction("&About Vantorell", this, [this] {
        QMessageBox::about(this, "About Vantorell", szAboutText());
    });
    pactAbout->setObjectName("actAbout");
}

QString WndTop::szAboutText() {
    return QString("Vantorell %1\n\n"
                   "Plans, simulates and shows hops of a small rocket-thruster vehicle "
                   "on a low-gravity planet.\n\n"
                   "Keys in the 3-D pane:\n"
                   "  p  plan from traj1r.txt, write fltplan.txt\n"
                   "  s  simulate fltplan.txt, write results.txt\n"
                   "  r  start or stop the real-time replay\n"
                   "  i  show the first stored state\n"
                   "  l  write the listing traj1l.txt\n"
                   "  f  rewrite fltplan.txt\n"
                   "  c  capture the pane to pane.bmp\n\n"
                   "Left drag turns the camera, right drag zooms; View steps back "
                   "and forward through the cameras.")
        .arg(VT_VERSION);
}

void WndTop::updateViewActions() {
    _pactViewBack->setEnabled(_pwndProgram->bViewBackPossible());
    _pactViewForward->setEnabled(_pwndProgram->bViewForwardPossible());
}

void WndTop::runCommandFromMenu(char ch) {
    _pwndProgram->bRunCommand(ch);
    _pwndProgram->setFocus();
}

void WndTop::closeEvent(QCloseEvent* pevent) {
    _pwndProgram->saveViewAndStop();
    pevent->accept();
}
