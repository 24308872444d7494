#include "app/gui/wndtop.h"

#include <QCloseEvent>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QActionGroup>
#include <QScreen>
#include <QVBoxLayout>

#include <cerrno>
#include <cstring>

#include "app/gui/plots.h"
#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "app/plotdata.h"
#include "core/logerror.h"
#include "plan/planstate.h"
#include "sim/fltsim.h"

namespace {

struct CommandItem {
    char ch;
    const char* szText;  // the letter after the tab is shown, not bound
};

// The key commands of the pane, in their working order. The letters are
// display text only: binding them as shortcuts would take the keys away from
// the pane, where the upper-case forms have to behave as documented.
const CommandItem arCommandItem[] = {
    {'d', "&Design hop (hop.txt to traj1r.txt)\td"},
    {'p', "&Plan (traj1r.txt to fltplan.txt)\tp"},
    {'s', "&Simulate (fltplan.txt to results.txt)\ts"},
    {'g', "&Guided simulate (fltplan.txt to results.txt)\tg"},
    {'r', "&Replay start/stop\tr"},
    {'i', "&Initial state\ti"},
    {'l', "&Listing (traj1l.txt)\tl"},
    {'f', "&Flight plan (fltplan.txt)\tf"},
    {'c', "&Capture pane (pane.bmp)\tc"},
};

// The replay speeds of View > Replay speed, with their menu texts.
struct ReplaySpeedItem {
    double fSpeed;
    const char* szText;
};
const ReplaySpeedItem arReplaySpeedItem[] = {
    {0.25, "\u00bc\u00d7"}, {0.5, "\u00bd\u00d7"}, {1.0, "&1\u00d7"},
    {2.0, "&2\u00d7"},       {4.0, "&4\u00d7"},
};

}  // namespace

WndTop::WndTop(Workbench& wb) : _wb(wb) {
    setObjectName("wndTop");
    setWindowTitle("Vantorell");
    logLineSz("wndTop created");

    auto* pwndClient = new QWidget(this);
    auto* playout = new QVBoxLayout(pwndClient);
    playout->setContentsMargins(0, 0, 0, 0);
    playout->setSpacing(0);
    _pwndDAndC = new WndDAndC(_wb, pwndClient);
    playout->addWidget(_pwndDAndC);
    _pwndProgram = new WndProgram(_wb, pwndClient, this);
    playout->addWidget(_pwndProgram, 1);
    setCentralWidget(pwndClient);

    // The plots beside the pane, told by the pane when what it shows moves;
    // the time slider asks the pane for a state.
    _pdockPlots = new QDockWidget("Plots", this);
    _pdockPlots->setObjectName("dockPlots");
    _pdockPlots->setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable |
                             QDockWidget::DockWidgetFloatable);
    _pwndPlots = new WndPlots(_wb, _pdockPlots);
    _pdockPlots->setWidget(_pwndPlots);
    addDockWidget(Qt::RightDockWidgetArea, _pdockPlots);
    // Its close button goes the way of View > Plots.
    _pdockPlots->installEventFilter(this);
    _timerHold.setSingleShot(true);
    connect(&_timerHold, &QTimer::timeout, this, &WndTop::releaseClientSize);
    connect(_pwndProgram, &WndProgram::commandRun, _pwndPlots, &WndPlots::commandRun);
    connect(_pwndProgram, &WndProgram::replayTicked, _pwndPlots, &WndPlots::replayTicked);
    connect(_pwndPlots, &WndPlots::timeScrubbed, _pwndProgram, &WndProgram::showStoredStateAtFTi);
    buildMenu();
    connect(_pwndProgram, &WndProgram::viewChanged, this, &WndTop::updateViewActions);

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
        // The plots take about two fifths of the width.
        resizeDocks({_pdockPlots}, {static_cast<int>(0.4 * iPxDX)}, Qt::Horizontal);
    }
    _pwndProgram->setFocus();
}

void WndTop::buildMenu() {
    QMenu* pmenuFile = menuBar()->addMenu("&File");
    _pactExportRun =
        pmenuFile->addAction("Export &run CSV...", this, [this] { exportCsvFromMenu(true); });
    _pactExportRun->setObjectName("actExportRunCsv");
    _pactExportPlan =
        pmenuFile->addAction("Export &plan CSV...", this, [this] { exportCsvFromMenu(false); });
    _pactExportPlan->setObjectName("actExportPlanCsv");
    pmenuFile->addSeparator();
    connect(pmenuFile, &QMenu::aboutToShow, this, &WndTop::updateFileActions);
    updateFileActions();
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
    _pactViewBack->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Left));
    _pactViewForward = pmenuView->addAction("&Forward", this, [this] {
        _pwndProgram->viewForward();
        updateViewActions();
    });
    _pactViewForward->setObjectName("actViewForward");
    _pactViewForward->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Right));
    QAction* pactReset = pmenuView->addAction("Re&set view", this, [this] {
        _pwndProgram->viewReset();
        _pwndProgram->setFocus();
    });
    pactReset->setObjectName("actViewReset");
    connect(pmenuView, &QMenu::aboutToShow, this, &WndTop::updateViewActions);
    updateViewActions();
    pmenuView->addSeparator();

    QMenu* pmenuSpeed = pmenuView->addMenu("Replay &speed");
    auto* pgroupSpeed = new QActionGroup(this);
    for (const ReplaySpeedItem& item : arReplaySpeedItem) {
        const double fSpeed = item.fSpeed;
        QAction* pact = pmenuSpeed->addAction(QString::fromUtf8(item.szText), this, [this, fSpeed] {
            _pwndProgram->setReplaySpeed(fSpeed);
        });
        pact->setObjectName(QString("actReplaySpeed_%1").arg(fSpeed));
        pact->setCheckable(true);
        pact->setChecked(fSpeed == 1.0);
        pgroupSpeed->addAction(pact);
    }
    QAction* pactPlanPath = pmenuView->addAction("Show plan &path");
    pactPlanPath->setObjectName("actViewPlanPath");
    pactPlanPath->setCheckable(true);
    connect(pactPlanPath, &QAction::toggled, _pwndProgram, &WndProgram::setPlanPathShown);
    pmenuView->addSeparator();
    _pactViewPlots = pmenuView->addAction("&Plots");
    _pactViewPlots->setObjectName("actViewPlots");
    _pactViewPlots->setCheckable(true);
    _pactViewPlots->setChecked(true);
    connect(_pactViewPlots, &QAction::triggered, this, &WndTop::setPlotsShown);
    // A floating panel closed by its own button unchecks the entry too.
    connect(_pdockPlots, &QDockWidget::visibilityChanged, this,
            [this] { _pactViewPlots->setChecked(!_pdockPlots->isHidden()); });

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

void WndTop::updateFileActions() {
    _pactExportRun->setEnabled(_wb.run.arFTiData.n() > 0);
    _pactExportPlan->setEnabled(_wb.plan.bPlanExists());
}

void WndTop::exportCsvFromMenu(bool bRun) {
    updateFileActions();
    if (!(bRun ? _pactExportRun : _pactExportPlan)->isEnabled()) return;
    const QString szFile = QFileDialog::getSaveFileName(
        this, bRun ? "Export run CSV" : "Export plan CSV",
        QDir::current().filePath(bRun ? "run.csv" : "plan.csv"), "CSV files (*.csv);;All files (*)",
        nullptr, QFileDialog::DontUseNativeDialog);
    if (!szFile.isEmpty()) {
        if (bRun)
            bExportRunCsv(szFile);
        else
            bExportPlanCsv(szFile);
    }
    _pwndProgram->setFocus();
}

bool WndTop::bExportRunCsv(const QString& szFile) {
    const QByteArray byFile = QFile::encodeName(szFile);
    if (bWriteRunCsvFmWorkbench(_wb, byFile.constData())) return true;
    const QString szWhy = errno != 0 ? QString::fromLocal8Bit(std::strerror(errno))
                                     : QString("no stored run ('s' first)");
    QMessageBox box(QMessageBox::Warning, "Vantorell",
                    QString("Cannot write %1: %2").arg(szFile, szWhy), QMessageBox::Ok, this);
    box.exec();
    return false;
}

bool WndTop::bExportPlanCsv(const QString& szFile) {
    const QByteArray byFile = QFile::encodeName(szFile);
    if (bWritePlanCsvFmWorkbench(_wb, byFile.constData())) return true;
    const QString szWhy = errno != 0 ? QString::fromLocal8Bit(std::strerror(errno))
                                     : QString("no plan ('p' first)");
    QMessageBox box(QMessageBox::Warning, "Vantorell",
                    QString("Cannot write %1: %2").arg(szFile, szWhy), QMessageBox::Ok, this);
    box.exec();
    return false;
}

void WndTop::setPlotsShown(bool bShown) {
    _pactViewPlots->setChecked(bShown);
    if (bShown == !_pdockPlots->isHidden()) return;
    if (_pdockPlots->isFloating()) {
        _pdockPlots->setVisible(bShown);
        return;
    }
    // The client area keeps its size while the panel goes or comes and the
    // frame follows by as much; it is let go once the frame has its new width.
    // A toggle before the frame has followed the last one starts from the
    // width the frame is on its way to.
    QWidget* pwndClient = centralWidget();
    const int iPxDXFrame = _iPxDXFrameAwaited >= 0 ? _iPxDXFrameAwaited : width();
    if (!bShown) _iPxDXDockSaved = iPxDXFrame - pwndClient->width();
    const int iPxDXDock =
        _iPxDXDockSaved > 0 ? _iPxDXDockSaved : static_cast<int>(0.4 * iPxDXFrame);
    pwndClient->setFixedSize(pwndClient->size());
    _iPxDXFrameAwaited = bShown ? iPxDXFrame + iPxDXDock : iPxDXFrame - iPxDXDock;
    _pdockPlots->setVisible(bShown);
    if (bShown) resizeDocks({_pdockPlots}, {iPxDXDock}, Qt::Horizontal);
    resize(_iPxDXFrameAwaited, height());
    // A window system that will not give the frame that width gets the
    // pane's resize rule after all, instead of a pane held for ever.
    _timerHold.start(1000);
}

void WndTop::releaseClientSize() {
    if (_iPxDXFrameAwaited < 0) return;
    _iPxDXFrameAwaited = -1;
    centralWidget()->setMinimumSize(0, 0);
    centralWidget()->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void WndTop::resizeEvent(QResizeEvent* pevent) {
    QMainWindow::resizeEvent(pevent);
    if (_iPxDXFrameAwaited >= 0 && width() == _iPxDXFrameAwaited) releaseClientSize();
}

bool WndTop::eventFilter(QObject* pobj, QEvent* pevent) {
    if (pobj == _pdockPlots && pevent->type() == QEvent::Close && !_pdockPlots->isFloating()) {
        pevent->ignore();
        setPlotsShown(false);
        return true;
    }
    return QMainWindow::eventFilter(pobj, pevent);
}

void WndTop::closeEvent(QCloseEvent* pevent) {
    _pwndProgram->saveViewAndStop();
    pevent->accept();
}
