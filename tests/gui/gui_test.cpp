// The window as a user drives it: typed keys, menu entries, mouse drags on
// the pane and the plots panel, each test in a fresh working directory with a
// fresh frame. The whole program is started as a process for what only a
// process shows (its exit, its log, view.out on close).
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QActionGroup>
#include <QApplication>
#include <QChart>
#include <QCheckBox>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QGraphicsTextItem>
#include <QLabel>
#include <QLineSeries>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QRegularExpression>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QTemporaryDir>
#include <QTest>
#include <QValueAxis>

#include <cmath>
#include <cstdio>
#include <memory>
#include <sstream>

#include "app/commands.h"
#include "app/gui/plots.h"
#include "app/gui/window.h"
#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "app/gui/wndtop.h"
#include "app/plotdata.h"
#include "core/logerror.h"
#include "display/viewstack.h"
#include "geom/geom4h.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/fltsim.h"
#include "sim/params.h"

// After the toolkit's headers: Xlib's macros (None, Bool, ...) clash with them.
#include <X11/Xlib.h>

namespace {

// ---- files -------------------------------------------------------------------------

QByteArray byFile(const QString& szName) {
    QFile file(szName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
std::string szFile(const QString& szName) { return byFile(szName).toStdString(); }
QString szData(const QString& szRel) { return QString(VT_TEST_DATA) + "/" + szRel; }
const QString szHopShort = "reference/plan/hop_short/";
QString szBundledHop() { return QString(VT_EXAMPLES) + "/traj1r.txt"; }

// Copies tests/data/<szFrom> (or an absolute path) to szDest here.
void copyFile(const QString& szFrom, const QString& szDest) {
    QFile::remove(szDest);
    const QString szSource = QDir::isAbsolutePath(szFrom) ? szFrom : szData(szFrom);
    if (!QFile::copy(szSource, szDest)) qFatal("cannot copy %s", qPrintable(szSource));
    QFile::setPermissions(szDest, QFile::ReadOwner | QFile::WriteOwner);
}

quint32 uLe32(const QByteArray& by, int i) {
    return static_cast<quint8>(by[i]) | static_cast<quint8>(by[i + 1]) << 8 |
           static_cast<quint8>(by[i + 2]) << 16 | static_cast<quint32>(static_cast<quint8>(by[i + 3])) << 24;
}
// Pixel (iX, iYTop) of a 24-bit bottom-up bitmap file, counted from the top.
QColor rgbBmp(const QByteArray& by, int iX, int iYTop) {
    const int iPxDX = static_cast<int>(uLe32(by, 18)), iPxDY = static_cast<int>(uLe32(by, 22));
    const int i = 54 + (iPxDY - 1 - iYTop) * ((3 * iPxDX + 3) & ~3) + 3 * iX;
    return QColor(static_cast<quint8>(by[i + 2]), static_cast<quint8>(by[i + 1]), static_cast<quint8>(by[i]));
}
int iDistRgb(const QColor& rgb1, const QColor& rgb2) {
    return std::max({std::abs(rgb1.red() - rgb2.red()), std::abs(rgb1.green() - rgb2.green()),
                     std::abs(rgb1.blue() - rgb2.blue())});
}

// ---- program state -------------------------------------------------------------------

Stvehicle3dof stStored(Long i) { return *static_cast<Stvehicle3dof*>(arPStvehicle[i]); }
Long iFirst() { return arFTiData.iFirst(); }
Long iLast() { return arFTiData.iLast(); }
bool bSameState(const Stvehicle3dof& st1, const Stvehicle3dof& st2) {
    return st1.fXf == st2.fXf && st1.fZf == st2.fZf && st1.fVeXf == st2.fVeXf && st1.fVeZf == st2.fVeZf &&
           st1.fPitch == st2.fPitch && st1.fPitchDot == st2.fPitchDot && st1.fMs == st2.fMs;
}
// Display flags as (State, Path, RunPath), e.g. "FTF".
QString szFlags() {
    return QString(bDisplayState ? "T" : "F") + (bDisplayPath ? "T" : "F") + (bDisplayRunPath ? "T" : "F");
}
// Entries in the camera history (the ring holds slots top + 1 .. first).
Long nStack() { return (iXfmCFmWStackFirst - iXfmCFmWStackTop + 100) % 100; }
bool bSameCamera(const XfmCFmW3c& x1, const XfmCFmW3c& x2) {
    return x1.ptEye.fX == x2.ptEye.fX && x1.ptEye.fY == x2.ptEye.fY && x1.ptEye.fZ == x2.ptEye.fZ &&
           x1.drLook.fX == x2.drLook.fX && x1.drLook.fY == x2.drLook.fY && x1.drLook.fZ == x2.drLook.fZ &&
           x1.fL == x2.fL && x1.fR == x2.fR && x1.fB == x2.fB && x1.fT == x2.fT && x1.fN == x2.fN &&
           x1.fF == x2.fF;
}
// Pixel of a world point (x, 0, z) in the pane, from the top left.
QPoint ptPxOfWorld(const Pane& pane, double fX, double fZ) {
    const Pt3c ptN = ptXgm3c(xfmCFmW.x4hCFmW, Pt3c(fX, 0.0, fZ));
    return QPoint(static_cast<int>(std::lround((ptN.fX + 1.0) * 0.5 * pane.iPxDX)),
                  static_cast<int>(std::lround((1.0 - ptN.fY) * 0.5 * pane.iPxDY)));
}
// Whether a bitmap has a pixel within iTol of rgb in the 7 x 7 square at pt.
bool bColourNear(const QByteArray& byBmp, QPoint pt, const QColor& rgb, int iTol) {
    const int iPxDX = static_cast<int>(uLe32(byBmp, 18)), iPxDY = static_cast<int>(uLe32(byBmp, 22));
    for (int iDY = -3; iDY <= 3; iDY++)
        for (int iDX = -3; iDX <= 3; iDX++) {
            const int iX = pt.x() + iDX, iY = pt.y() + iDY;
            if (iX >= 0 && iY >= 0 && iX < iPxDX && iY < iPxDY && iDistRgb(rgbBmp(byBmp, iX, iY), rgb) <= iTol)
                return true;
        }
    return false;
}

// ---- the whole program as a process ----------------------------------------------------

// The top-level X window called szTitle, or 0.
Window windowTitled(Display* pdisplay, const char* szTitle) {
    Window windowRoot = 0, windowParent = 0, windowFound = 0;
    Window* arWindow = nullptr;
    unsigned int nWindow = 0;
    if (!XQueryTree(pdisplay, DefaultRootWindow(pdisplay), &windowRoot, &windowParent, &arWindow, &nWindow))
        return 0;
    for (unsigned int i = 0; i < nWindow && windowFound == 0; i++) {
        char* szName = nullptr;
        if (XFetchName(pdisplay, arWindow[i], &szName) && szName != nullptr) {
            if (std::string(szName) == szTitle) windowFound = arWindow[i];
            XFree(szName);
        }
    }
    if (arWindow != nullptr) XFree(arWindow);
    return windowFound;
}

// Asks a window to close, as a window manager's close button does.
void sendDeleteWindow(Display* pdisplay, Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(pdisplay, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(pdisplay, "WM_DELETE_WINDOW", False));
    XSendEvent(pdisplay, window, False, NoEventMask, &event);
    XFlush(pdisplay);
}

// A process of the program in dir. In a sanitizer build its OpenGL driver is
// unloaded at exit holding blocks the leak checker would blame on an unknown
// module; the in-process tests check our code for leaks.
void startProgram(QProcess* pprocess, const QTemporaryDir& dir, QProcessEnvironment env) {
    env.insert("ASAN_OPTIONS", env.value("ASAN_OPTIONS") + ":detect_leaks=0");
    pprocess->setProcessEnvironment(env);
    pprocess->setWorkingDirectory(dir.path());
    pprocess->start(VT_BIN, {});
}

// Keeps the OpenGL driver modules loaded until the process ends, so that a
// sanitizer build's leak checker finds their blocks reachable.
void pinOpenGLDriver() {
    dl_iterate_phdr(
        [](dl_phdr_info* pinfo, size_t, void*) {
            if (QByteArray(pinfo->dlpi_name).endsWith("_dri.so"))
                if (void* pv = dlopen(pinfo->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE)) dlclose(pv);
            return 0;
        },
        nullptr);
}

}  // namespace

class GuiTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { setPaneSurfaceFormat(); }

private slots:
    void initTestCase() {
        initParams();
        QApplication::setQuitOnLastWindowClosed(false);
        connect(&_timerBoxes, &QTimer::timeout, this, &GuiTest::closeBoxes);
        _timerBoxes.start(20);
    }
    void init() {
        _pdir = std::make_unique<QTemporaryDir>();
        QDir::setCurrent(_pdir->path());
        openLogFile();
        resetProgramState();
        _vecBox.clear();
        _bBoxesExpected = false;
    }
    void cleanup() {
        if (!_bBoxesExpected) QCOMPARE(_vecBox.size(), 0);
        if (_pwndTop) _pwndTop->close();
        _pwndTop.reset();
        resetProgramState();
        closeLogFile();
        QDir::setCurrent(QDir::tempPath());
        _pdir.reset();
    }
    void cleanupTestCase() { pinOpenGLDriver(); }

    void wholeProgramClosesSavingTheView();
    void wholeProgramStops_data();
    void wholeProgramStops();
    void frameLayoutAndLog();
    void menus();
    void commands_data();
    void commands();
    void messages_data();
    void messages();
    void summaryShowsWhenPrinted();
    void displayModes();
    void replayOnTheClock_data();
    void replayOnTheClock();
    void dragsAndHistory();
    void dragHoldsTheReplay();
    void viewOutThenViewIn();
    void frameResizeRestartsTheHistory();
    void plotsPanelLeavesThePaneAlone();
    void captureShowsBackgroundAndTrack();
    void planPathOnlyWhenAsked();
    void statusPanel();
    void plotsAfterPlanAndSimulate();
    void cursorAndScrubbing();
    void chartsReadable();
    void planWarnings();
    void storedFlightLine();
    void csvExports();
    void screenshots();

private:
    WndTop& wnd() {
        if (!_pwndTop) {
            _pwndTop = std::make_unique<WndTop>();
            _pwndTop->show();
            _pwndTop->activateWindow();
            if (!QTest::qWaitForWindowActive(_pwndTop.get())) qFatal("frame not active");
            _pwndTop->pwndProgram()->setFocus();
        }
        return *_pwndTop;
    }
    WndProgram& pane() { return *wnd().pwndProgram(); }
    WndPlots& plots() { return *wnd().pwndPlots(); }
    void type(const char* szKeys) {
        for (const char* pch = szKeys; *pch != '\0'; pch++) QTest::keyClick(&pane(), *pch);
    }
    QAction* action(const char* szName) {
        QAction* pact = wnd().findChild<QAction*>(szName);
        if (pact == nullptr) qFatal("no action %s", szName);
        return pact;
    }
    void drag(Qt::MouseButton button, QPoint ptFrom, QPoint ptTo) {
        QTest::mousePress(&pane(), button, {}, ptFrom);
        QTest::mouseMove(&pane(), (ptFrom + ptTo) / 2);
        QTest::mouseMove(&pane(), ptTo);
        QTest::mouseRelease(&pane(), button, {}, ptTo);
    }
    void planAndFly(const QString& szWaypoints = szBundledHop()) {
        copyFile(szWaypoints, "traj1r.txt");
        type("ps");
        QTest::qWait(20);  // the panel lays its charts out
    }
    // The replay's clock, moved by the test.
    void useTestClock() {
        pane().setMsClock([this] { return _fMsClock; });
    }
    // Moves the test clock and waits for the next tick of the replay timer.
    void advanceClock(double fMs) {
        _fMsClock += fMs;
        const double fTiBefore = fSTiSim;
        QTest::qWait(30);
        QTRY_VERIFY(fSTiSim != fTiBefore || !pane().timerReplay().isActive() || !bDisplayRunPath);
    }
    void resetProgramState() {
        releaseCommandState();
        bPath = bDisplayPath = bDisplayRunPath = bFlightGuided = false;
        bDisplayState = true;
        fSTiSim = 0.0;
        stvehicle3dof = stvehicle3dof0;
    }
    // Records and presses OK on every modal box, so no test hangs on one.
    void closeBoxes() {
        auto* pbox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (pbox == nullptr || !pbox->isVisible()) return;
        _vecBox.push_back({pbox->text(), pbox->windowTitle(), pbox->icon(),
                           static_cast<int>(pbox->buttons().size()), pbox->parentWidget()});
        QAbstractButton* pbutton = pbox->button(QMessageBox::Ok);
        if (pbutton == nullptr) pbutton = pbox->defaultButton();
        if (pbutton != nullptr) QTest::mouseClick(pbutton, Qt::LeftButton);
        else pbox->reject();
    }

    struct Box {
        QString szText, szTitle;
        QMessageBox::Icon icon;
        int nButtons;
        QWidget* pwndParent;
    };
    std::unique_ptr<QTemporaryDir> _pdir;
    std::unique_ptr<WndTop> _pwndTop;
    QTimer _timerBoxes;
    QVector<Box> _vecBox;
    bool _bBoxesExpected = false;
    double _fMsClock = 1.0e6;
};

// ---- the whole program ---------------------------------------------------------------

void GuiTest::wholeProgramClosesSavingTheView() {
    Display* pdisplay = XOpenDisplay(nullptr);
    if (pdisplay == nullptr) QSKIP("no X display");
    QTemporaryDir dir;
    // A saved view in the exact form the program writes comes back unchanged.
    const QByteArray byView = "     3.00000   -150.00000     20.00000\n     0.00000      0.99015     -0.14003\n"
                              "     0.00000      0.00000      1.00000\n     0.30000      1.00000   5000.00000\n";
    QFile file(dir.filePath("view.in"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(byView) == byView.size());
    file.close();
    QProcess process;
    startProgram(&process, dir, QProcessEnvironment::systemEnvironment());
    QVERIFY(process.waitForStarted());
    Window window = 0;
    QElapsedTimer timer;
    timer.start();
    while (window == 0 && timer.elapsed() < 20000) {
        QTest::qWait(50);
        window = windowTitled(pdisplay, "Vantorell");
    }
    QVERIFY2(window != 0, "no window called Vantorell appeared");
    QTest::qWait(300);  // let it paint once
    sendDeleteWindow(pdisplay, window);
    QVERIFY(process.waitForFinished(20000));
    XCloseDisplay(pdisplay);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == 0, process.readAllStandardError().right(3000).constData());
    const QByteArray byLog = byFile(dir.filePath("fe.log"));
    const qsizetype iTop = byLog.indexOf("wndTop created"), iDAndC = byLog.indexOf("wndDAndC created");
    QVERIFY(iTop >= 0 && iTop < iDAndC && iDAndC < byLog.indexOf("wndProgram created"));
    QVERIFY(!byLog.contains("may make OpenGL impossible"));
    QCOMPARE(byFile(dir.filePath("view.out")), byView);
}

void GuiTest::wholeProgramStops_data() {
    QTest::addColumn<QString>("szEnvRemoved");
    QTest::addColumn<QString>("szEnvSet");
    QTest::addColumn<QStringList>("vecErr");  // in standard error
    QTest::addColumn<QStringList>("vecLog");  // in fe.log, in this order
    QTest::newRow("no display") << "DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM" << ""
                                << QStringList{"Can't start", "vantorell -k psl"}
                                << QStringList{"ERROR - Windows would not create window", "Can't start"};
    QTest::newRow("no OpenGL") << "" << "QT_XCB_GL_INTEGRATION=none"
                               << QStringList{"Windows would not open a child window for dspmgr"}
                               << QStringList{"ERROR: Windows error ", "       may make OpenGL impossible",
                                              "Windows would not open a child window for dspmgr"};
}

void GuiTest::wholeProgramStops() {
    QFETCH(QString, szEnvRemoved);
    QFETCH(QString, szEnvSet);
    QFETCH(QStringList, vecErr);
    QFETCH(QStringList, vecLog);
    if (qEnvironmentVariableIsEmpty("DISPLAY")) QSKIP("no X display");
    QTemporaryDir dir;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& szName : szEnvRemoved.split(' ', Qt::SkipEmptyParts)) env.remove(szName);
    if (!szEnvSet.isEmpty()) env.insert(szEnvSet.section('=', 0, 0), szEnvSet.section('=', 1));
    QProcess process;
    startProgram(&process, dir, env);
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    const QByteArray byErr = process.readAllStandardError();
    for (const QString& sz : vecErr) QVERIFY2(byErr.contains(sz.toUtf8()), byErr.constData());
    const QByteArray byLog = byFile(dir.filePath("fe.log"));
    qsizetype iAt = 0;
    for (const QString& sz : vecLog) {
        iAt = byLog.indexOf(sz.toUtf8(), iAt);
        QVERIFY2(iAt >= 0, qPrintable(sz));
    }
    QVERIFY(!byLog.contains("wndTop created"));
}

// ---- the frame -------------------------------------------------------------------------

void GuiTest::frameLayoutAndLog() {
    WndTop& wndTop = wnd();
    QCOMPARE(wndTop.windowTitle(), QString("Vantorell"));
    const QRect rectWork = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(wndTop.size(), QSize(static_cast<int>(0.9 * rectWork.width()), static_cast<int>(0.9 * rectWork.height())));
    QCOMPARE(wndTop.pos(), QPoint(rectWork.left() + static_cast<int>(0.05 * rectWork.width()),
                                  rectWork.top() + static_cast<int>(0.05 * rectWork.height())));
    // Status panel above the pane; the pane the whole client width, its own
    // pixels from (0, 0); the plots beside it on the right; keys to the pane.
    const QRect rectPanel(wndTop.pwndDAndC()->mapTo(&wndTop, QPoint()), wndTop.pwndDAndC()->size());
    const QRect rectPane(pane().mapTo(&wndTop, QPoint()), pane().size());
    const QRect rectPlots(wndTop.pdockPlots()->mapTo(&wndTop, QPoint()), wndTop.pdockPlots()->size());
    QVERIFY(rectPanel.bottom() < rectPane.top() && rectPane.height() > 10 * rectPanel.height());
    QCOMPARE(rectPane.width(), wndTop.centralWidget()->width());
    QCOMPARE(QRect(pane().pane().iPxXL, pane().pane().iPxYT, pane().pane().iPxDX, pane().pane().iPxDY),
             QRect(QPoint(), pane().size()));
    QCOMPARE(wndTop.dockWidgetArea(wndTop.pdockPlots()), Qt::RightDockWidgetArea);
    QVERIFY(rectPlots.left() > rectPane.right() && rectPlots.width() > wndTop.width() / 4);
    QVERIFY(rectPane.width() > rectPlots.width());
    QVERIFY(wndTop.focusWidget() == &pane());
    // Nothing to plot yet.
    QVERIFY(plots().plabelEmpty()->isVisible() && !plots().psliderTi()->isEnabled());
    for (PlotQty qty : arPlotQty) QVERIFY(!plots().pwndChart(qty)->isVisible());
    QVERIFY(!plots().plabelLanding()->isVisible() && !plots().plabelChecks()->isVisible());
    // An OpenGL context of the pane's format.
    QVERIFY(pane().isValid());
    QCOMPARE(pane().format().profile(), QSurfaceFormat::CompatibilityProfile);
    QVERIFY(pane().format().samples() <= 0 && pane().format().depthBufferSize() >= 24);
    closeLogFile();
    const QByteArray byLog = byFile("fe.log");
    const qsizetype iTop = byLog.indexOf("wndTop created"), iDAndC = byLog.indexOf("wndDAndC created");
    QVERIFY(iTop >= 0 && iTop < iDAndC && iDAndC < byLog.indexOf("wndProgram created"));
    QVERIFY(!byLog.contains("may make OpenGL impossible"));
    openLogFile();
}

void GuiTest::menus() {
    QStringList vecTitle, vecCommand, vecView, vecSpeed;
    for (QAction* pact : wnd().menuBar()->actions()) vecTitle << pact->text();
    QCOMPARE(vecTitle, QStringList({"&File", "&Commands", "&View", "&Help"}));
    // The commands with their letters, which are display text only: the
    // pane alone decides what a typed letter does.
    for (QAction* pact : wnd().menuBar()->actions()[1]->menu()->actions()) {
        vecCommand << pact->text();
        QVERIFY(pact->shortcut().isEmpty());
    }
    QCOMPARE(vecCommand, QStringList({"&Design hop (hop.txt to traj1r.txt)\td", "&Plan (traj1r.txt to fltplan.txt)\tp",
                                      "&Simulate (fltplan.txt to results.txt)\ts",
                                      "&Guided simulate (fltplan.txt to results.txt)\tg", "&Replay start/stop\tr",
                                      "&Initial state\ti", "&Listing (traj1l.txt)\tl", "&Flight plan (fltplan.txt)\tf",
                                      "&Capture pane (pane.bmp)\tc"}));
    for (QAction* pact : wnd().menuBar()->actions()[2]->menu()->actions())
        vecView << (pact->text() + (pact->isCheckable() ? (pact->isChecked() ? " [x]" : " [ ]") : "") +
                    (pact->shortcut().isEmpty() ? "" : " " + pact->shortcut().toString()));
    QCOMPARE(vecView, QStringList({"&Back Alt+Left", "&Forward Alt+Right", "Re&set view", "", "Replay &speed",
                                   "Show plan &path [ ]", "", "&Plots [x]"}));
    for (QAction* pact : action("actReplaySpeed_1")->actionGroup()->actions())
        vecSpeed << pact->text() + (pact->isChecked() ? " [x]" : "");
    QCOMPARE(vecSpeed, QStringList({"¼×", "½×", "&1× [x]", "&2×", "&4×"}));
    // About names the program and its version, owned by the frame.
    _bBoxesExpected = true;
    action("actAbout")->trigger();
    QCOMPARE(_vecBox.size(), 1);
    QCOMPARE(_vecBox[0].szTitle, QString("About Vantorell"));
    QVERIFY(_vecBox[0].szText.startsWith(QString("Vantorell ") + VT_VERSION) && _vecBox[0].pwndParent == &wnd());
}

// ---- commands ----------------------------------------------------------------------------

void GuiTest::commands_data() {
    QTest::addColumn<bool>("bMenu");
    QTest::newRow("typed") << false;
    QTest::newRow("menu") << true;
}

void GuiTest::commands() {
    QFETCH(bool, bMenu);
    copyFile(szHopShort + "traj1r.txt", "traj1r.txt");
    const QString szExpected = szData(szHopShort + "expected/");
    const auto run = [&](char ch) {
        if (bMenu) action(qPrintable(QString("actCommand_") + ch))->trigger();
        else QTest::keyClick(&pane(), ch);
    };
    run('p');
    QCOMPARE(szFile("fltplan.txt"), szFile(szExpected + "fltplan.txt"));
    QVERIFY(!QFile::exists("results.txt"));
    run('s');
    QVERIFY(QFile::exists("results.txt") && bPath && iLast() - iFirst() > 1);
    run('l');
    QCOMPARE(szFile("traj1l.txt"), szFile(szExpected + "traj1l.txt"));
    QFile::remove("fltplan.txt");
    run('f');
    QCOMPARE(szFile("fltplan.txt"), szFile(szExpected + "fltplan.txt"));
    run('c');
    const QByteArray byBmp = byFile("pane.bmp");
    QCOMPARE(QSize(static_cast<int>(uLe32(byBmp, 18)), static_cast<int>(uLe32(byBmp, 22))),
             QSize(static_cast<int>(pane().pane().iPxDX), static_cast<int>(pane().pane().iPxDY)));
    // g and d are menu entries whatever they do; the pane has the keys again.
    run('g');
    run('d');
    QVERIFY(wnd().focusWidget() == &pane());
}

void GuiTest::messages_data() {
    QTest::addColumn<QString>("szWaypoints");
    QTest::addColumn<QString>("szKeys");
    QTest::addColumn<QStringList>("vecText");
    QTest::addColumn<bool>("bTop");  // owned by the frame, not the pane
    QTest::newRow("no sim") << "" << "riR"
                            << QStringList{"No sim to run!  's' first", "No sim to initialize!  's' first",
                                           "No sim to run!  's' first"}
                            << false;
    // Waypoint times out of order: the fit's linear system is singular; no
    // plan afterwards, so f and l do nothing and say nothing.
    QTest::newRow("couldn't solve") << "plan/couldnt_solve/traj1r.txt" << "pfl" << QStringList{"couldn't solve"} << true;
}

void GuiTest::messages() {
    QFETCH(QString, szWaypoints);
    QFETCH(QString, szKeys);
    QFETCH(QStringList, vecText);
    QFETCH(bool, bTop);
    _bBoxesExpected = true;
    if (!szWaypoints.isEmpty()) copyFile(szWaypoints, "traj1r.txt");
    type(qPrintable(szKeys));
    QCOMPARE(_vecBox.size(), vecText.size());
    for (int i = 0; i < vecText.size(); i++) {
        QCOMPARE(_vecBox[i].szText, vecText[i]);
        QCOMPARE(_vecBox[i].szTitle, QString("Vantorell"));
        QCOMPARE(_vecBox[i].icon, QMessageBox::Warning);
        QCOMPARE(_vecBox[i].nButtons, 1);
        QVERIFY(_vecBox[i].pwndParent == (bTop ? static_cast<QWidget*>(&wnd()) : &pane()));
    }
    QCOMPARE(szFlags(), QString("TFF"));
    QVERIFY(!pane().timerReplay().isActive());
    QVERIFY(!QFile::exists("fltplan.txt") && !QFile::exists("traj1l.txt"));
}

void GuiTest::summaryShowsWhenPrinted() {
    copyFile(szBundledHop(), "traj1r.txt");
    wnd();
    // Standard output into a file, fully buffered, as when redirected.
    std::fflush(stdout);
    const int fdSaved = dup(STDOUT_FILENO);
    std::FILE* pfile = std::fopen("stdout.txt", "w");
    QVERIFY(pfile != nullptr && fdSaved >= 0);
    dup2(fileno(pfile), STDOUT_FILENO);
    static char achBuf[1 << 16];
    std::setvbuf(stdout, achBuf, _IOFBF, sizeof achBuf);
    type("p");
    const QByteArray byOut = byFile("stdout.txt");
    dup2(fdSaved, STDOUT_FILENO);
    close(fdSaved);
    std::fclose(pfile);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QVERIFY2(byOut.contains("SUMMARY\n"), byOut.constData());
}

void GuiTest::displayModes() {
    // Each step: keys typed, then the flags (State, Path, RunPath) and
    // whether the replay timer runs. Capital F and L are not commands.
    const struct {
        const char* szKeys;
        const char* szFlags;
        bool bTimer;
    } arStep[] = {{"P", "TFF", false}, {"FL", "TFF", false}, {"S", "FTF", false}, {"r", "FFT", true},
                  {"R", "FTF", false}, {"I", "FTF", false},  {"r", "FFT", true},  {"i", "FTF", true},
                  {"s", "FTF", true},  {"x1 ?q", "FTF", true}};
    copyFile(szHopShort + "traj1r.txt", "traj1r.txt");
    for (const auto& step : arStep) {
        if (step.szKeys[0] == 'F') QFile::remove("fltplan.txt");
        type(step.szKeys);
        QCOMPARE(szFlags(), QString(step.szFlags));
        QCOMPARE(pane().timerReplay().isActive(), step.bTimer);
        if (step.bTimer) QCOMPARE(pane().timerReplay().interval(), 25);
        if (step.szKeys[0] == 'P') QVERIFY(QFile::exists("fltplan.txt"));
        if (step.szKeys[0] == 'F') {
            QVERIFY(!QFile::exists("fltplan.txt") && !QFile::exists("traj1l.txt"));
            type("f");
        }
        // i shows the first stored state; a replay it ends leaves its timer
        // running, whose ticks then change nothing.
        if (step.szKeys[0] == 'i' || step.szKeys[0] == 'I') {
            QVERIFY(bSameState(stvehicle3dof, stStored(iFirst())));
            QTest::qWait(60);
            QVERIFY(bSameState(stvehicle3dof, stStored(iFirst())) && szFlags() == "FTF");
        }
    }
    type("C");
    QVERIFY(QFile::exists("pane.bmp"));
}

// ---- the replay ------------------------------------------------------------------------------

void GuiTest::replayOnTheClock_data() {
    QTest::addColumn<QString>("szSpeed1");  // chosen before the replay
    QTest::addColumn<QString>("szSpeed2");  // chosen after half a second of it
    QTest::addColumn<double>("fTiAfterOne");  // replayed time after one second
    QTest::newRow("1x") << "1" << "1" << 1.0;
    QTest::newRow("1/4x") << "0.25" << "0.25" << 0.25;
    QTest::newRow("1/2x") << "0.5" << "0.5" << 0.5;
    QTest::newRow("2x") << "2" << "2" << 2.0;
    QTest::newRow("4x") << "4" << "4" << 4.0;
    QTest::newRow("1/2x then 4x") << "0.5" << "4" << 2.25;
}

void GuiTest::replayOnTheClock() {
    QFETCH(QString, szSpeed1);
    QFETCH(QString, szSpeed2);
    QFETCH(double, fTiAfterOne);
    planAndFly();
    useTestClock();
    action(qPrintable("actReplaySpeed_" + szSpeed1))->trigger();
    type("r");
    QVERIFY(bDisplayRunPath);
    advanceClock(500.0);
    action(qPrintable("actReplaySpeed_" + szSpeed2))->trigger();
    QVERIFY(action(qPrintable("actReplaySpeed_" + szSpeed2))->isChecked());
    advanceClock(500.0);
    QVERIFY2(std::fabs(fSTiSim - fTiAfterOne) < 1e-9, qPrintable(QString::number(fSTiSim)));
    char szSec[40];
    std::snprintf(szSec, sizeof szSec, "%.1f sec", fTiAfterOne);  // halves to even, as the panel
    QCOMPARE(szDAndCText(), std::string(szSec));
    Stvehicle3dof stExpect = stStored(iFirst());
    stvehicle3dofAtFTi(&stExpect, fTiAfterOne);
    QVERIFY(bSameState(stvehicle3dof, stExpect));
    // The plots' cursor follows within one record interval.
    QVERIFY(plots().fTiCursor() <= fSTiSim && fSTiSim - plots().fTiCursor() < fDTiCursorStep);
    // Past the end the replay stops at the last state by itself.
    advanceClock(1000.0 * arFTiData[iLast()] / 0.25);
    QCOMPARE(szFlags(), QString("TFF"));
    QVERIFY(!pane().timerReplay().isActive());
    QVERIFY(bSameState(stvehicle3dof, stStored(iLast())));
    QCOMPARE(plots().fTiCursor(), arFTiData[iLast()]);
    QVERIFY(QString::fromStdString(szDAndCText()).startsWith("propellant used = "));
}

// ---- the camera ------------------------------------------------------------------------------

void GuiTest::dragsAndHistory() {
    const QPoint pt0 = pane().rect().center();
    const XfmCFmW3c xfm0 = xfmCFmW;
    QCOMPARE(nStack(), 1);
    QVERIFY(!wnd().pactViewBack()->isEnabled() && !wnd().pactViewForward()->isEnabled());
    // A click moves nothing and pushes nothing.
    for (Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) QTest::mouseClick(&pane(), button, {}, pt0);
    QVERIFY(bSameCamera(xfmCFmW, xfm0) && nStack() == 1 && !wnd().pactViewBack()->isEnabled());
    // A sideways left drag turns about the vertical: eye height, width,
    // near and far kept; the camera is pushed.
    const Long nMove0 = pane().nMouseMove();
    drag(Qt::LeftButton, pt0, pt0 + QPoint(120, 0));
    const XfmCFmW3c xfm1 = xfmCFmW;
    QVERIFY(pane().nMouseMove() >= nMove0 + 2 && !bSameCamera(xfm1, xfm0));
    QVERIFY(std::fabs(xfm1.ptEye.fZ - xfm0.ptEye.fZ) < 1e-9 && std::fabs(xfm1.drLook.fZ - xfm0.drLook.fZ) < 1e-9);
    QVERIFY(xfm1.fR - xfm1.fL == xfm0.fR - xfm0.fL && xfm1.fN == xfm0.fN && xfm1.fF == xfm0.fF);
    QVERIFY(nStack() == 2 && bSameCamera(xfmCFmWTopOfStack(), xfm1));
    QVERIFY(wnd().pactViewBack()->isEnabled());
    // An upward right drag moves the eye forward along the look.
    drag(Qt::RightButton, pt0, pt0 - QPoint(0, 100));
    const XfmCFmW3c xfm2 = xfmCFmW;
    const Vc3c vcMoved = xfm2.ptEye - xfm1.ptEye;
    const double fMoved = std::sqrt(vcMoved.fX * vcMoved.fX + vcMoved.fY * vcMoved.fY + vcMoved.fZ * vcMoved.fZ);
    const double fAlong = vcMoved.fX * xfm1.drLook.fX + vcMoved.fY * xfm1.drLook.fY + vcMoved.fZ * xfm1.drLook.fZ;
    QVERIFY(fMoved > 1.0 && std::fabs(fAlong - fMoved) < 1e-6 * fMoved && nStack() == 3);
    // A downward left drag tilts the view.
    drag(Qt::LeftButton, pt0, pt0 + QPoint(0, 60));
    const XfmCFmW3c xfm3 = xfmCFmW;
    QVERIFY(std::fabs(xfm3.drLook.fZ - xfm2.drLook.fZ) > 1e-3 && nStack() == 4);

    // Alt+Left and Alt+Right step through the history; the entries say
    // when they can.
    const auto key = [this](Qt::Key key) { QTest::keyClick(&pane(), key, Qt::AltModifier); };
    const XfmCFmW3c* arPXfm[] = {&xfm0, &xfm1, &xfm2, &xfm3};
    for (int i = 2; i >= -1; i--) {  // the last press has nowhere to go
        key(Qt::Key_Left);
        QVERIFY(bSameCamera(xfmCFmW, *arPXfm[std::max(i, 0)]));
    }
    QVERIFY(!wnd().pactViewBack()->isEnabled() && wnd().pactViewForward()->isEnabled());
    for (int i = 1; i <= 4; i++) {
        key(Qt::Key_Right);
        QVERIFY(bSameCamera(xfmCFmW, *arPXfm[std::min(i, 3)]));
    }
    QVERIFY(wnd().pactViewBack()->isEnabled() && !wnd().pactViewForward()->isEnabled());
    // A drag after stepping back starts a new branch: forward is gone.
    wnd().pactViewBack()->trigger();
    drag(Qt::LeftButton, pt0, pt0 + QPoint(-50, 0));
    QVERIFY(!wnd().pactViewForward()->isEnabled() && nStack() == 4);
    wnd().pactViewBack()->trigger();
    QVERIFY(bSameCamera(xfmCFmW, xfm2));
    // Reset view shows the start-up camera and pushes it.
    action("actViewReset")->trigger();
    QVERIFY(bSameCamera(xfmCFmW, xfm0) && nStack() == 4 && bSameCamera(xfmCFmWTopOfStack(), xfm0));
    wnd().pactViewBack()->trigger();
    QVERIFY(bSameCamera(xfmCFmW, xfm2));
}

void GuiTest::dragHoldsTheReplay() {
    planAndFly();
    type("r");
    const QPoint pt0 = pane().rect().center();
    QTest::mousePress(&pane(), Qt::LeftButton, {}, pt0);
    QVERIFY(!pane().timerReplay().isActive());
    QTest::mouseMove(&pane(), pt0 + QPoint(30, 10));
    QVERIFY(!pane().timerReplay().isActive());
    QTest::mouseRelease(&pane(), Qt::LeftButton, {}, pt0 + QPoint(30, 10));
    QVERIFY(pane().timerReplay().isActive() && pane().timerReplay().interval() == 25);
    // Without a replay the release starts nothing.
    type("r");
    drag(Qt::LeftButton, pt0, pt0 + QPoint(-30, 0));
    QVERIFY(!pane().timerReplay().isActive());
}

void GuiTest::viewOutThenViewIn() {
    const QPoint pt0 = pane().rect().center();
    drag(Qt::LeftButton, pt0, pt0 + QPoint(150, -40));
    drag(Qt::RightButton, pt0, pt0 - QPoint(0, 70));
    const XfmCFmW3c xfmSaved = xfmCFmW;
    action("actExit")->trigger();
    QVERIFY(!wnd().isVisible() && !pane().timerReplay().isActive());
    const QByteArray byViewOut = byFile("view.out");
    QCOMPARE(byViewOut, QString::asprintf("%12.5f %12.5f %12.5f\n%12.5f %12.5f %12.5f\n%12.5f %12.5f %12.5f\n"
                                          "%12.5f %12.5f %12.5f\n",
                                          xfmSaved.ptEye.fX, xfmSaved.ptEye.fY, xfmSaved.ptEye.fZ, xfmSaved.drLook.fX,
                                          xfmSaved.drLook.fY, xfmSaved.drLook.fZ, xfmSaved.drUp.fX, xfmSaved.drUp.fY,
                                          xfmSaved.drUp.fZ, xfmSaved.fR - xfmSaved.fL, xfmSaved.fN, xfmSaved.fF)
                             .toUtf8());
    _pwndTop.reset();
    QFile::rename("view.out", "view.in");
    xfmCFmW = XfmCFmW3c();
    wnd();
    // The five decimals of the file are all that come back.
    const double arFDiff[] = {xfmCFmW.ptEye.fX - xfmSaved.ptEye.fX, xfmCFmW.ptEye.fY - xfmSaved.ptEye.fY,
                              xfmCFmW.ptEye.fZ - xfmSaved.ptEye.fZ, xfmCFmW.drLook.fX - xfmSaved.drLook.fX,
                              xfmCFmW.drLook.fY - xfmSaved.drLook.fY, xfmCFmW.drLook.fZ - xfmSaved.drLook.fZ,
                              (xfmCFmW.fR - xfmCFmW.fL) - (xfmSaved.fR - xfmSaved.fL), xfmCFmW.fN - xfmSaved.fN,
                              xfmCFmW.fF - xfmSaved.fF};
    for (double fDiff : arFDiff) QVERIFY(std::fabs(fDiff) < 1e-5);
    QCOMPARE(nStack(), 1);
    // Closed again unchanged, the window writes the same file.
    wnd().close();
    QCOMPARE(byFile("view.out"), byViewOut);
}

void GuiTest::frameResizeRestartsTheHistory() {
    const QPoint pt0 = pane().rect().center();
    drag(Qt::LeftButton, pt0, pt0 + QPoint(60, 0));
    drag(Qt::LeftButton, pt0, pt0 + QPoint(60, 0));
    QCOMPARE(nStack(), 3);
    const XfmCFmW3c xfmBefore = xfmCFmW;
    wnd().resize(640, 700);
    QTRY_COMPARE(QSize(pane().pane().iPxDX, pane().pane().iPxDY), pane().size());
    // The view window takes the pane's shape, widened, not narrowed; same
    // eye and look; the history starts again from this camera.
    const double fArPane = static_cast<double>(pane().pane().iPxDY) / pane().pane().iPxDX;
    QVERIFY(std::fabs((xfmCFmW.fT - xfmCFmW.fB) / (xfmCFmW.fR - xfmCFmW.fL) - fArPane) < 1e-9);
    QVERIFY(xfmCFmW.fR - xfmCFmW.fL >= xfmBefore.fR - xfmBefore.fL - 1e-12);
    QVERIFY(xfmCFmW.fT - xfmCFmW.fB >= xfmBefore.fT - xfmBefore.fB - 1e-12);
    QVERIFY(xfmCFmW.ptEye.fX == xfmBefore.ptEye.fX && xfmCFmW.drLook.fY == xfmBefore.drLook.fY);
    QCOMPARE(nStack(), 1);
    QVERIFY(!wnd().pactViewBack()->isEnabled() && !wnd().pactViewForward()->isEnabled());
    QCOMPARE(QSizeF(xfmPFmC.fDX, xfmPFmC.fDY), QSizeF(pane().pane().iPxDX, pane().pane().iPxDY));
}

void GuiTest::plotsPanelLeavesThePaneAlone() {
    const QPoint pt0 = pane().rect().center();
    drag(Qt::LeftButton, pt0, pt0 + QPoint(60, 0));
    drag(Qt::RightButton, pt0, pt0 - QPoint(0, 40));
    const XfmCFmW3c xfmBefore = xfmCFmW;
    const QSize sizePane = pane().size();
    const int iPxDXFrame = wnd().width();
    QDockWidget* pdock = wnd().pdockPlots();
    // Two cycles from the menu, then one by the panel's own close button.
    for (int iCycle = 0; iCycle < 3; iCycle++) {
        if (iCycle < 2) action("actViewPlots")->trigger();
        else pdock->close();
        QTRY_VERIFY(pdock->isHidden() && wnd().width() < iPxDXFrame - pdock->width() / 2);
        QVERIFY(!action("actViewPlots")->isChecked());
        QTest::qWait(50);
        action("actViewPlots")->trigger();
        QTRY_VERIFY(pdock->isVisible() && wnd().width() == iPxDXFrame);
        QTest::qWait(50);
        QCOMPARE(pane().size(), sizePane);
        QVERIFY(bSameCamera(xfmCFmW, xfmBefore));
        QCOMPARE(nStack(), 3);
    }
}

// ---- what the pane shows ---------------------------------------------------------------------

void GuiTest::captureShowsBackgroundAndTrack() {
    // A tilted climb at a little more than the take-off weight until the
    // tanks are dry, then a ballistic arc into the valley: the track passes
    // through all three propellant colours, in view of the default camera.
    QFile file("fltplan.txt");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("   3   9\n    time         thrust      moment\n"
               "    0.000000   420.000000   -20.000000\n    0.300000   420.000000   -20.000000\n"
               "    0.350000   420.000000    20.000000\n    0.650000   420.000000    20.000000\n"
               "    0.700000   420.000000     0.000000\n    8.000000   420.000000     0.000000\n"
               "    8.050000     0.000000     0.000000\n   30.000000     0.000000     0.000000\n");
    file.close();
    type("sc");
    const Pane& paneShown = pane().pane();
    const QByteArray byBmp = byFile("pane.bmp");
    const int nBytRow = (3 * paneShown.iPxDX + 3) & ~3;
    // Headers: 24-bit, rows bottom-up, no compression, the pane's size.
    QVERIFY(byBmp.size() >= 54 && byBmp.left(2) == "BM");
    QCOMPARE(byBmp.size(), 54 + nBytRow * paneShown.iPxDY);
    const quint32 arUHeader[] = {uLe32(byBmp, 2), uLe32(byBmp, 10), uLe32(byBmp, 14), uLe32(byBmp, 18),
                                 uLe32(byBmp, 22), uLe32(byBmp, 26), uLe32(byBmp, 30)};
    const quint32 arUExpect[] = {static_cast<quint32>(byBmp.size()), 54, 40, static_cast<quint32>(pane().width()),
                                 static_cast<quint32>(pane().height()), 1 | 24 << 16, 0};
    for (int i = 0; i < 7; i++) QCOMPARE(arUHeader[i], arUExpect[i]);
    // Nothing in the top corners: the clear colour (0.5, 0.25, 0.25).
    for (int iX : {2, paneShown.iPxDX - 3}) QVERIFY(iDistRgb(rgbBmp(byBmp, iX, 2), QColor(128, 64, 64)) <= 1);
    // Along the track, half-way between the vehicle drawings (one a
    // second), the colour of the propellant left.
    const double fMsP = vehicle.fMsGTO - vehicle.fMsEmpty;
    const QColor arRgb[] = {QColor(0, 255, 0), QColor(255, 255, 0), QColor(255, 0, 0)};
    int arNChecked[3] = {0, 0, 0};
    for (Long i = iFirst(); i <= iLast(); i++) {
        const double fTi = arFTiData[i];
        const Stvehicle3dof st = stStored(i);
        if (fTi < 2.4 || fTi > 10.0 || std::fabs(fTi - std::floor(fTi) - 0.5) > 1e-6 || st.fZf < 0.5) continue;
        const double fFrac = (st.fMs - vehicle.fMsEmpty) / fMsP;
        const int iClass = fFrac > 0.25 ? 0 : fFrac > 0.05 ? 1 : 2;
        QVERIFY2(bColourNear(byBmp, ptPxOfWorld(paneShown, st.fXf, st.fZf), arRgb[iClass], 8),
                 qPrintable(QString("no track colour %1 at t = %2 s").arg(iClass).arg(fTi)));
        arNChecked[iClass]++;
    }
    QVERIFY(arNChecked[0] >= 3 && arNChecked[1] >= 1 && arNChecked[2] >= 3);
    // The file holds what the pane shows.
    const QImage imgPane = pane().grabFramebuffer();
    for (const QPoint& pt : {QPoint(2, 2), ptPxOfWorld(paneShown, 4.0, 5.0),
                             QPoint(paneShown.iPxDX / 2, paneShown.iPxDY - 5)})
        QCOMPARE(rgbBmp(byBmp, pt.x(), pt.y()), imgPane.pixelColor(pt));
}

void GuiTest::planPathOnlyWhenAsked() {
    planAndFly();
    type("c");
    const QByteArray byOff = byFile("pane.bmp");
    QAction* pact = action("actViewPlanPath");
    pact->trigger();
    QVERIFY(pact->isChecked() && pane().bPlanPathShown() && pane().nPtPlanPath() == pvdfT->n());
    type("c");
    const QByteArray byOn = byFile("pane.bmp");
    // The planned points up in the air show the path's pale colour.
    const QColor rgbPath(217, 235, 255);
    int nFound = 0, nTried = 0;
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i += 10) {
        const Vd<double>& vdfX = *pvdfAt(paPVdfX, i);
        if (vdfX[3] < 1.0) continue;
        nTried++;
        if (bColourNear(byOn, ptPxOfWorld(pane().pane(), vdfX[1], vdfX[3]), rgbPath, 12)) nFound++;
    }
    QVERIFY2(nTried >= 5 && nFound >= nTried * 2 / 3, qPrintable(QString("%1 of %2").arg(nFound).arg(nTried)));
    // Off again: the capture is the documented scene, byte for byte.
    pact->trigger();
    type("c");
    QCOMPARE(byFile("pane.bmp"), byOff);
    QVERIFY(byOn != byOff);
}

void GuiTest::statusPanel() {
    // The built-in vehicle: 100 kg gross, 95 kg empty. Below empty the
    // remainder goes negative as the formula gives it.
    const struct {
        double fMs;
        const char* sz;
    } arRow[] = {{97.5, "propellant used = 2.50 kg, remaining = 2.50 kg"},
                 {100.0, "propellant used = 0.00 kg, remaining = 5.00 kg"},
                 {94.996, "propellant used = 5.00 kg, remaining = -0.00 kg"},
                 {96.123456, "propellant used = 3.88 kg, remaining = 1.12 kg"}};
    for (const auto& row : arRow) {
        stvehicle3dof.fMs = row.fMs;
        QCOMPARE(szDAndCText(), std::string(row.sz));
    }
    bDisplayRunPath = true;
    for (double fTi : {12.345, 0.0, 2.25}) {  // 2.25: the C library rounds halves to even
        fSTiSim = fTi;
        QCOMPARE(szDAndCText(), std::string(fTi == 12.345 ? "12.3 sec" : fTi == 0.0 ? "0.0 sec" : "2.2 sec"));
    }
    bDisplayRunPath = false;
    // Grey, with the text from x = 100 and y = 10 on; refreshed by its own
    // 25 ms timer.
    WndDAndC* pwnd = wnd().pwndDAndC();
    QVERIFY(pwnd->timerRefresh().isActive() && pwnd->timerRefresh().interval() == 25);
    const QImage img = pwnd->grab().toImage();
    QCOMPARE(img.pixelColor(2, 2), QColor(192, 192, 192));
    QCOMPARE(img.pixelColor(img.width() - 2, img.height() - 2), QColor(192, 192, 192));
    int iXDark = img.width(), iYDark = img.height();
    for (int iY = 0; iY < img.height(); iY++)
        for (int iX = 0; iX < img.width(); iX++)
            if (img.pixelColor(iX, iY).lightness() < 100) iXDark = std::min(iXDark, iX), iYDark = std::min(iYDark, iY);
    QVERIFY2(iXDark >= 100 && iXDark < 110 && iYDark >= 10 && iYDark < 20, qPrintable(QString("%1 %2").arg(iXDark).arg(iYDark)));
}

// ---- the plots -------------------------------------------------------------------------------

namespace {

QLineSeries* pseriesNamed(WndChart* pwnd, const QString& szName) {
    for (QAbstractSeries* pseries : pwnd->chart()->series())
        if (pseries->name() == szName) return qobject_cast<QLineSeries*>(pseries);
    return nullptr;
}

// Whether the column iPxX of a chart is the cursor's dark grey over most of
// the plot area's height (no curve or grid line is that).
bool bCursorDrawnAt(WndChart* pwnd, int iX) {
    const QImage img = pwnd->grab().toImage();
    const qreal fDpr = img.devicePixelRatio();
    const QRectF rect = pwnd->rectPlotArea();
    int nDark = 0, nAll = 0;
    for (int iY = static_cast<int>(rect.top()) + 2; iY < rect.bottom() - 2; iY++, nAll++)
        if (img.pixelColor(static_cast<int>(iX * fDpr), static_cast<int>(iY * fDpr)) == QColor(70, 70, 70)) nDark++;
    return nAll > 10 && nDark > nAll * 8 / 10;
}

}  // namespace

void GuiTest::plotsAfterPlanAndSimulate() {
    copyFile(szBundledHop(), "traj1r.txt");
    type("p");
    QVERIFY(!plots().plabelEmpty()->isVisible());
    for (PlotQty qty : arPlotQty) {
        QLineSeries* pseries = pseriesNamed(plots().pwndChart(qty), "plan");
        QVERIFY(plots().pwndChart(qty)->isVisible() && pseries != nullptr);
        QCOMPARE(pseries->count(), static_cast<int>(pvdfT->n()));
        QVERIFY(pseries->pen().style() == Qt::DashLine && plots().pwndChart(qty)->chart()->series().size() == 1);
    }
    // The plotted height is the analysis' height at each sample.
    QLineSeries* pseriesZ = pseriesNamed(plots().pwndChart(PlotQty::Z), "plan");
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++)
        QCOMPARE(pseriesZ->at(static_cast<int>(i - pvdfT->lo)), QPointF((*pvdfT)[i], (*pvdfAt(paPVdfX, i))[3]));
    QVERIFY(plots().plabelChecks()->text().contains("within limits") && !plots().plistWarnings()->isVisible());
    QVERIFY(!plots().plabelLanding()->isVisible() && !plots().bCursorShown());

    type("s");
    for (PlotQty qty : arPlotQty) {
        const bool bTwo = qty == PlotQty::Thrust || qty == PlotQty::Moment;
        QLineSeries* pseries = pseriesNamed(plots().pwndChart(qty), bTwo ? "run actual" : "run");
        QVERIFY(pseries != nullptr && pseries->pen().style() == Qt::SolidLine);
        QCOMPARE(pseries->count(), static_cast<int>(arFTiData.n()));
        QVERIFY(!bTwo || pseriesNamed(plots().pwndChart(qty), "run commanded") != nullptr);
    }
    // The plotted thrust is the stored record's actual thrust.
    QLineSeries* pseriesThrust = pseriesNamed(plots().pwndChart(PlotQty::Thrust), "run actual");
    for (Long i = iFirst(); i <= iLast(); i++)
        QCOMPARE(pseriesThrust->at(static_cast<int>(i - iFirst())), QPointF(arFTiData[i], stStored(i).fFcThrustAct));
    const double fDist = std::hypot(stStored(iLast()).fXf - 28.5, stStored(iLast()).fZf);
    QVERIFY(plots().plabelLanding()->text().startsWith(QString::asprintf("landing miss %.4f m", fDist)));
    QVERIFY(plots().bCursorShown() && plots().fTiCursor() == arFTiData[iFirst()]);
    QVERIFY(plots().psliderTi()->isEnabled());
    QCOMPARE(plots().psliderTi()->maximum(), WndPlots::iSliderFmFTi(arFTiData[iLast()]));
    // The check boxes choose the charts; a new run keeps the choice.
    QCheckBox* pcheck = plots().pcheckQty(PlotQty::Moment);
    QTest::mouseClick(pcheck, Qt::LeftButton);
    type("s");
    for (PlotQty qty : arPlotQty) QCOMPARE(plots().pwndChart(qty)->isVisible(), qty != PlotQty::Moment);
    QTest::mouseClick(pcheck, Qt::LeftButton);
    QVERIFY(plots().pwndChart(PlotQty::Moment)->isVisible() && wnd().focusWidget() == &pane());
}

void GuiTest::cursorAndScrubbing() {
    planAndFly();
    QSlider* pslider = plots().psliderTi();
    // The slider shows the state at its time, looked up as the replay does:
    // at 1.0 s the record itself; 3.125 s between two records.
    for (double fTi : {1.0, 3.125}) {
        pslider->setValue(WndPlots::iSliderFmFTi(fTi));
        QVERIFY(plots().fTiCursor() == fTi && fSTiSim == fTi && szFlags() == "TFF");
        Stvehicle3dof stExpect = stStored(iFirst());
        stvehicle3dofAtFTi(&stExpect, fTi);
        QVERIFY(bSameState(stvehicle3dof, stExpect));
    }
    QVERIFY(stvehicle3dof.fXf > stStored(iFirst() + 62).fXf && stvehicle3dof.fXf < stStored(iFirst() + 63).fXf);
    // Every chart's cursor is drawn at that time, in one column for all.
    const double fTiCursor = plots().fTiCursor();
    const int iPxX = plots().pwndChart(PlotQty::X)->iPxXCursor();
    for (PlotQty qty : arPlotQty) {
        WndChart* pwnd = plots().pwndChart(qty);
        const auto* paxis = qobject_cast<QValueAxis*>(pwnd->chart()->axes(Qt::Horizontal).first());
        const QRectF rect = pwnd->rectPlotArea();
        const double fFrac = (fTiCursor - paxis->min()) / (paxis->max() - paxis->min());
        QVERIFY(std::fabs(pwnd->iPxXCursor() - (rect.left() + fFrac * rect.width())) <= 1.0);
        QCOMPARE(pwnd->iPxXCursor(), iPxX);
        QVERIFY(bCursorDrawnAt(pwnd, iPxX));
    }
    QCOMPARE(plots().plabelTi()->text(), QString("t = 3.125 s"));
    // End goes to the end of the run; the status panel follows the state.
    QTest::keyClick(pslider, Qt::Key_End);
    QVERIFY(plots().fTiCursor() == arFTiData[iLast()] && stvehicle3dof.fXf == stStored(iLast()).fXf);
    char szUsed[60];
    std::snprintf(szUsed, sizeof szUsed, "propellant used = %0.02lf kg,", vehicle.fMsGTO - stStored(iLast()).fMs);
    QVERIFY2(szDAndCText().rfind(szUsed, 0) == 0, szDAndCText().c_str());
    // Scrubbing during a replay stops it there; i goes back to the start.
    type("r");
    pslider->setValue(WndPlots::iSliderFmFTi(2.0));
    QVERIFY(!bDisplayRunPath && !pane().timerReplay().isActive() && plots().fTiCursor() == 2.0);
    WndChart* pwndX = plots().pwndChart(PlotQty::X);
    const int iPxXAt2 = pwndX->iPxXCursor();
    type("i");
    QCOMPARE(pwndX->fTiCursor(), arFTiData[iFirst()]);
    QVERIFY(pwndX->iPxXCursor() < iPxXAt2 && bCursorDrawnAt(pwndX, pwndX->iPxXCursor()) && !bCursorDrawnAt(pwndX, iPxXAt2));
}

void GuiTest::chartsReadable() {
    // A plan that breaks limits, flown: wide ranges, long labels.
    planAndFly("plan/fast_hop/traj1r.txt");
    QTest::qWait(50);
    int iPxLeft = -1;
    for (PlotQty qty : arPlotQty) {
        WndChart* pwnd = plots().pwndChart(qty);
        pwnd->grab();  // drawn as shown
        // One column for the start of every time axis.
        if (iPxLeft < 0) iPxLeft = static_cast<int>(pwnd->rectPlotArea().left());
        QCOMPARE(static_cast<int>(pwnd->rectPlotArea().left()), iPxLeft);
        // Every value tick label in full: a number, never elided.
        int nLabel = 0;
        for (QGraphicsItem* pitem : pwnd->chart()->scene()->items())
            if (auto* ptext = dynamic_cast<QGraphicsTextItem*>(pitem); ptext != nullptr && ptext->isVisible()) {
                const QString sz = ptext->toPlainText();
                QVERIFY2(!sz.contains("...") && !sz.contains(QChar(0x2026)), qPrintable(szPlotQtyName(qty) + (": " + sz)));
                bool bNumber = false;
                sz.toDouble(&bNumber);
                nLabel += bNumber;
            }
        QVERIFY(nLabel >= 5);
    }
    // Where the bundled hop's run follows its plan, the plan's dashes show
    // in their own colour on it.
    planAndFly();
    QTest::qWait(50);
    WndChart* pwnd = plots().pwndChart(PlotQty::X);
    const QImage img = pwnd->grab().toImage();
    const auto* paxis = qobject_cast<QValueAxis*>(pwnd->chart()->axes(Qt::Horizontal).first());
    const QRectF rect = pwnd->rectPlotArea();
    // Columns from 1 to 5 s with a pixel of the plan's own colour: more
    // than the dashes' two thirds of them would be dashed if the run hid
    // none of the plan.
    const auto iPxXAt = [&](double fTi) {
        return static_cast<int>(rect.left() + rect.width() * (fTi - paxis->min()) / (paxis->max() - paxis->min()));
    };
    const qreal fDpr = img.devicePixelRatio();
    int nColumn = 0, nPlan = 0;
    for (int iX = iPxXAt(1.0); iX < iPxXAt(5.0); iX++, nColumn++)
        for (int iY = static_cast<int>(rect.top()); iY < rect.bottom(); iY++)
            if (iDistRgb(img.pixelColor(static_cast<int>(iX * fDpr), static_cast<int>(iY * fDpr)), QColor(20, 60, 170)) <= 10) {
                nPlan++;
                break;
            }
    QVERIFY2(nPlan > 2 * nColumn / 3, qPrintable(QString("%1 of %2").arg(nPlan).arg(nColumn)));
}

void GuiTest::planWarnings() {
    // Warnings in the panel, never in a box (cleanup checks none opened).
    copyFile("plan/fast_hop/traj1r.txt", "traj1r.txt");
    type("p");
    QListWidget* plist = plots().plistWarnings();
    const std::vector<PlanViolation> vec = vecPlanViolationFmProgram();
    QVERIFY(plist->isVisible() && vec.size() >= 3);
    QCOMPARE(plist->count(), static_cast<int>(vec.size()));
    for (int i = 0; i < plist->count(); i++)
        QCOMPARE(plist->item(i)->text(), QString::fromStdString(szPlanViolation(vec[i])));
    QVERIFY(plist->item(0)->text().contains("above their share of the maximum thrust"));
    QVERIFY(plots().plabelChecks()->text().startsWith(QString("Plan checks: %1 warnings").arg(vec.size())));
    copyFile("plan/under_ground/traj1r.txt", "traj1r.txt");
    type("p");
    QVERIFY(plist->count() == 1 && plist->item(0)->text().contains("below the terrain"));
    QVERIFY(plots().plabelChecks()->text().startsWith("Plan checks: 1 warning "));
    copyFile(szBundledHop(), "traj1r.txt");
    type("p");
    QVERIFY(!plist->isVisible() && plist->count() == 0 && plots().plabelChecks()->text().contains("within limits"));
    // A plan that cannot be made takes the old one's curves and checks away.
    _bBoxesExpected = true;
    copyFile("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
    type("p");
    QVERIFY(_vecBox.size() == 1 && !plots().plabelChecks()->isVisible() && plots().plabelEmpty()->isVisible());
}

void GuiTest::storedFlightLine() {
    // The fast hop comes to rest after more than a turn: its pitch there is
    // -478.27 deg in results.txt, the attitude of -118.27 deg.
    planAndFly("plan/fast_hop/traj1r.txt");
    const double fDist = std::hypot(stStored(iLast()).fXf - (*pvdfAt(paPVdfX, paPVdfX->hi()))[1],
                                    stStored(iLast()).fZf - (*pvdfAt(paPVdfX, paPVdfX->hi()))[3]);
    QCOMPARE(plots().plabelFlight()->text(), QString::asprintf("Stored flight: open loop, landing miss %.4f m", fDist));
    QVERIFY2(plots().plabelLanding()->text().contains(QRegularExpression("pitch at rest -2\\.06\\d\\d rad \\(-118\\.27 deg\\)$")),
             qPrintable(plots().plabelLanding()->text()));
    // A guided flight says so, with the commanded thrust and moment of its
    // own records against the actual ones.
    bFlightGuided = true;
    plots().commandRun('g');
    QVERIFY(plots().plabelFlight()->text().startsWith("Stored flight: guided, landing miss "));
    QLineSeries* pseries = pseriesNamed(plots().pwndChart(PlotQty::Moment), "run commanded");
    QVERIFY(pseries != nullptr);
    for (Long i = iFirst(); i <= iLast(); i++)
        QCOMPARE(pseries->at(static_cast<int>(i - iFirst())).y(), stStored(i).fMmPitchCmd);
}

void GuiTest::csvExports() {
    QAction* pactRun = action("actExportRunCsv");
    QAction* pactPlan = action("actExportPlanCsv");
    QMenu* pmenuFile = wnd().menuBar()->actions()[0]->menu();
    const auto enabled = [&] {
        emit pmenuFile->aboutToShow();
        return QString("%1%2").arg(pactRun->isEnabled()).arg(pactPlan->isEnabled());
    };
    QCOMPARE(enabled(), QString("00"));
    copyFile(szBundledHop(), "traj1r.txt");
    type("p");
    QCOMPARE(enabled(), QString("01"));
    type("s");
    QCOMPARE(enabled(), QString("11"));
    // The run: every results.txt line again from the CSV's full-precision
    // numbers at the file's own precision (pitch and rate in degrees there).
    QVERIFY(wnd().bExportRunCsv("run.csv") && wnd().bExportPlanCsv("plan.csv"));
    std::istringstream inCsv(szFile("run.csv")), inResults(szFile("results.txt"));
    std::string szCsv, szResults;
    std::getline(inCsv, szCsv);
    QCOMPARE(szCsv, std::string(szRunCsvHeader));
    std::getline(inResults, szResults);
    int nRow = 0;
    for (double af[13]; std::getline(inResults, szResults); nRow++) {
        QVERIFY(static_cast<bool>(std::getline(inCsv, szCsv)));
        QCOMPARE(std::sscanf(szCsv.c_str(), "%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf", &af[0], &af[1],
                             &af[2], &af[3], &af[4], &af[5], &af[6], &af[7], &af[8], &af[9], &af[10], &af[11], &af[12]),
                 13);
        QCOMPARE(szResults, QString::asprintf("%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.1lf%8.1lf%8.1lf%8.1lf",
                                              af[0], af[1], af[2], af[5] / M_PI * 180.0, af[3], af[4],
                                              af[6] / M_PI * 180.0, af[7], af[9], af[10], af[11], af[12])
                                .toStdString());
    }
    QVERIFY(!std::getline(inCsv, szCsv) && nRow == arFTiData.n());
    // The plan: time, thrust and moment as fltplan.txt has them.
    std::istringstream inPlan(szFile("plan.csv")), inFltplan(szFile("fltplan.txt"));
    std::getline(inPlan, szCsv);
    QCOMPARE(szCsv, std::string(szPlanCsvHeader));
    std::getline(inFltplan, szResults);
    std::getline(inFltplan, szResults);
    for (nRow = 0; std::getline(inPlan, szCsv); nRow++) {
        QVERIFY(static_cast<bool>(std::getline(inFltplan, szResults)));
        const QStringList vec = QString::fromStdString(szCsv).split(',');
        QCOMPARE(vec.size(), 18);
        QCOMPARE(szResults, QString::asprintf("%12.6lf %12.6lf %12.6lf", vec[0].toDouble(), vec[13].toDouble(),
                                              vec[14].toDouble()).toStdString());
    }
    QCOMPARE(nRow, static_cast<int>(pvdfT->n()));
    // A file that cannot be written is a box naming it.
    _bBoxesExpected = true;
    QDir().mkdir("dir.csv");
    QVERIFY(!wnd().bExportRunCsv("dir.csv"));
    QCOMPARE(_vecBox.size(), 1);
    QVERIFY(_vecBox[0].szText == "Cannot write dir.csv: Is a directory" && _vecBox[0].szTitle == "Vantorell" &&
            _vecBox[0].icon == QMessageBox::Warning);
}

// Not a test: the pictures of the README, written only when asked for
// (scripts/screenshot.sh): after p and s, and of a guided flight (g) with the
// plan path shown.
void GuiTest::screenshots() {
    const QString szDir = qEnvironmentVariable("VT_SCREENSHOT_DIR");
    if (szDir.isEmpty()) QSKIP("set VT_SCREENSHOT_DIR to write the screenshots");
    planAndFly();
    QTest::qWait(300);
    QVERIFY(wnd().grab().save(szDir + "/screenshot.png"));
    action("actViewPlanPath")->trigger();
    type("pg");
    if (!bFlightGuided) QSKIP("g flies nothing here: no guided screenshot");
    QTest::qWait(300);
    QVERIFY(wnd().grab().save(szDir + "/screenshot_guided.png"));
}

QTEST_MAIN(GuiTest)
#include "gui_test.moc"
