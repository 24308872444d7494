// The window as a user drives it: typed keys, menu entries, mouse drags on
// the pane and the plots panel, each test in a fresh working directory with a
// fresh frame. The whole program is started as a process for what only a
// process shows (its exit status, its log, view.out on close).
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <QtCharts>
#include <QtTest>
#include <QtWidgets>

#include <cmath>
#include <memory>

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

// The workbench the window under test works on, and short names for the
// members the cases look at.
Workbench wb;
A1Val<double>& arFTiData = wb.run.arFTiData;
A1Val<void*>& arPStvehicle = wb.run.arPStvehicle;
bool& bDisplayState = wb.bDisplayState;
bool& bDisplayPath = wb.bDisplayPath;
bool& bDisplayRunPath = wb.bDisplayRunPath;
double& fSTiSim = wb.fSTiSim;
Stvehicle3dof& stvehicle3dof = wb.stvehicle3dof;
bool& bFlightGuided = wb.bFlightGuided;
XfmCFmW3c& xfmCFmW = wb.view.xfmCFmW;
Vd<double>*& pvdfT = wb.plan.pvdfT;

QByteArray byFile(const QString& szName) {
    QFile file(szName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
QString szData(const QString& szRel) { return QString(VT_TEST_DATA) + "/" + szRel; }
const QString szHopShort = "reference/plan/hop_short/";
const QString szBundledHop = QString(VT_EXAMPLES) + "/handmade/traj1r.txt";

// Copies tests/data/<szFrom> (or an absolute path) to szDest.
void copyFile(const QString& szFrom, const QString& szDest) {
    QFile::remove(szDest);
    const QString szSource = QDir::isAbsolutePath(szFrom) ? szFrom : szData(szFrom);
    if (!QFile::copy(szSource, szDest)) qFatal("cannot copy %s", qPrintable(szSource));
    QFile::setPermissions(szDest, QFile::ReadOwner | QFile::WriteOwner);
}

int iDistRgb(const QColor& rgb1, const QColor& rgb2) {
    return std::max({std::abs(rgb1.red() - rgb2.red()), std::abs(rgb1.green() - rgb2.green()),
                     std::abs(rgb1.blue() - rgb2.blue())});
}
// Whether the image has a pixel within iTol of rgb in the 7 x 7 square at pt.
bool bColourNear(const QImage& img, QPoint pt, const QColor& rgb, int iTol) {
    for (int iDY = -3; iDY <= 3; iDY++)
        for (int iDX = -3; iDX <= 3; iDX++)
            if (img.valid(pt + QPoint(iDX, iDY)) &&
                iDistRgb(img.pixelColor(pt + QPoint(iDX, iDY)), rgb) <= iTol)
                return true;
    return false;
}

Stvehicle3dof stStored(Long i) { return *static_cast<Stvehicle3dof*>(arPStvehicle[i]); }
Long iFirst() { return arFTiData.iFirst(); }
Long iLast() { return arFTiData.iLast(); }
bool bSameState(const Stvehicle3dof& st1, const Stvehicle3dof& st2) {
    return st1.fXf == st2.fXf && st1.fZf == st2.fZf && st1.fVeXf == st2.fVeXf &&
           st1.fVeZf == st2.fVeZf && st1.fPitch == st2.fPitch && st1.fPitchDot == st2.fPitchDot &&
           st1.fMs == st2.fMs;
}
// Display flags as (State, Path, RunPath), e.g. "FTF".
QString szFlags() {
    return QString(bDisplayState ? "T" : "F") + (bDisplayPath ? "T" : "F") +
           (bDisplayRunPath ? "T" : "F");
}
// Entries in the camera history (the ring holds slots top + 1 .. first).
Long nStack() {
    return (wb.view.iXfmCFmWStackFirst - wb.view.iXfmCFmWStackTop + nXfmCFmWStack) % nXfmCFmWStack;
}
bool bSameCamera(const XfmCFmW3c& x1, const XfmCFmW3c& x2) {
    return x1.ptEye.fX == x2.ptEye.fX && x1.ptEye.fY == x2.ptEye.fY && x1.ptEye.fZ == x2.ptEye.fZ &&
           x1.drLook.fX == x2.drLook.fX && x1.drLook.fY == x2.drLook.fY &&
           x1.drLook.fZ == x2.drLook.fZ && x1.fL == x2.fL && x1.fR == x2.fR && x1.fB == x2.fB &&
           x1.fT == x2.fT && x1.fN == x2.fN && x1.fF == x2.fF;
}
// Pixel of a world point (x, 0, z) in the pane, from the top left.
QPoint ptPxOfWorld(const Pane& pane, double fX, double fZ) {
    const Pt3c ptN = ptXgm3c(xfmCFmW.x4hCFmW, Pt3c(fX, 0.0, fZ));
    return QPoint(static_cast<int>(std::lround((ptN.fX + 1.0) * 0.5 * pane.iPxDX)),
                  static_cast<int>(std::lround((1.0 - ptN.fY) * 0.5 * pane.iPxDY)));
}

QLineSeries* pseriesNamed(WndChart* pwnd, const QString& szName) {
    for (QAbstractSeries* pseries : pwnd->chart()->series())
        if (pseries->name() == szName) return qobject_cast<QLineSeries*>(pseries);
    return nullptr;
}
// Column of time fTi in a chart as laid out.
int iPxXOfTi(WndChart* pwnd, double fTi) {
    const auto* paxis = qobject_cast<QValueAxis*>(pwnd->chart()->axes(Qt::Horizontal).first());
    const QRectF rect = pwnd->rectPlotArea();
    return static_cast<int>(rect.left() +
                            rect.width() * (fTi - paxis->min()) / (paxis->max() - paxis->min()));
}
// How many columns of [iPxX0, iPxX1) of the chart as shown have a pixel
// within iTol of rgb in the plot area.
int nColumnWith(WndChart* pwnd, int iPxX0, int iPxX1, const QColor& rgb, int iTol) {
    const QImage img = pwnd->grab().toImage();
    const qreal fDpr = img.devicePixelRatio();
    const QRectF rect = pwnd->rectPlotArea();
    int n = 0;
    for (int iX = iPxX0; iX < iPxX1; iX++)
        for (int iY = static_cast<int>(rect.top()) + 2; iY < rect.bottom() - 2; iY++)
            if (iDistRgb(img.pixelColor(static_cast<int>(iX * fDpr), static_cast<int>(iY * fDpr)),
                         rgb) <= iTol) {
                n++;
                break;
            }
    return n;
}
// Whether the column iPxX is the cursor's dark grey over most of the plot
// area's height (no curve or grid line is that).
bool bCursorDrawnAt(WndChart* pwnd, int iPxX) {
    const QImage img = pwnd->grab().toImage();
    const QRectF rect = pwnd->rectPlotArea();
    int nDark = 0, nAll = 0;
    for (int iY = static_cast<int>(rect.top()) + 2; iY < rect.bottom() - 2; iY++, nAll++)
        nDark += img.pixelColor(QPointF(iPxX, iY).toPoint() * img.devicePixelRatio()) ==
                 QColor(70, 70, 70);
    return nAll > 10 && nDark > nAll * 8 / 10;
}

// The top-level X window called szTitle, or 0.
Window windowTitled(Display* pdisplay, const char* szTitle) {
    Window windowRoot = 0, windowParent = 0, windowFound = 0;
    Window* arWindow = nullptr;
    unsigned int nWindow = 0;
    XQueryTree(pdisplay, DefaultRootWindow(pdisplay), &windowRoot, &windowParent, &arWindow,
               &nWindow);
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

}  // namespace

class GuiTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { setPaneSurfaceFormat(); }

private slots:
    void initTestCase() {
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
    // Keeps the OpenGL driver modules loaded to the end: a sanitizer build's
    // leak checker then finds the driver's own blocks reachable.
    void cleanupTestCase() {
        dl_iterate_phdr(
            [](dl_phdr_info* pinfo, size_t, void*) {
                if (QByteArray(pinfo->dlpi_name).endsWith("_dri.so"))
                    if (void* pv = dlopen(pinfo->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE))
                        dlclose(pv);
                return 0;
            },
            nullptr);
    }

    // ---- the whole program -----------------------------------------------------------

    void wholeProgram_data() {
        QTest::addColumn<QString>("szEnv");  // NAME=value to set, NAME to remove
        QTest::addColumn<int>("iStatus");
        QTest::addColumn<QString>("szErr");        // in standard error
        QTest::addColumn<QStringList>("vecLog");   // in fe.log, in this order
        QTest::addColumn<QString>("szLogAbsent");  // nowhere in fe.log
        // Closed by the window system: the windows logged in order, the camera
        // of view.in saved unchanged.
        QTest::newRow("closed") << "" << 0 << ""
                                << QStringList{"wndTop created", "wndDAndC created",
                                               "wndProgram created"}
                                << "may make OpenGL impossible";
        QTest::newRow("no display")
            << "DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM" << 1 << "vantorell -k psl"
            << QStringList{"ERROR - Windows would not create window", "Can't start"}
            << "wndTop created";
        QTest::newRow("no OpenGL")
            << "QT_XCB_GL_INTEGRATION=none" << 1
            << "Windows would not open a child window for dspmgr"
            << QStringList{"ERROR: Windows error ", "       may make OpenGL impossible",
                           "Windows would not open a child window for dspmgr"}
            << "wndTop created";
    }

    void wholeProgram() {
        QFETCH(QString, szEnv);
        QFETCH(int, iStatus);
        QFETCH(QString, szErr);
        QFETCH(QStringList, vecLog);
        QFETCH(QString, szLogAbsent);
        Display* pdisplay = XOpenDisplay(nullptr);
        if (pdisplay == nullptr) QSKIP("no X display");
        QTemporaryDir dir;
        const QByteArray byView =
            "     3.00000   -150.00000     20.00000\n"
            "     0.00000      0.99015     -0.14003\n"
            "     0.00000      0.00000      1.00000\n"
            "     0.30000      1.00000   5000.00000\n";
        QFile file(dir.filePath("view.in"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(byView) == byView.size());
        file.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString& sz : szEnv.split(' ', Qt::SkipEmptyParts))
            sz.contains('=') ? env.insert(sz.section('=', 0, 0), sz.section('=', 1))
                             : env.remove(sz);
        // In a sanitizer build the driver is unloaded at exit holding blocks the
        // leak checker would blame on an unknown module; the tests in this
        // process check our code for leaks.
        env.insert("ASAN_OPTIONS", env.value("ASAN_OPTIONS") + ":detect_leaks=0");
        QProcess process;
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(dir.path());
        process.start(VT_BIN, {});
        QVERIFY(process.waitForStarted());
        if (iStatus == 0) {
            Window window = 0;
            for (int i = 0; i < 400 && window == 0; i++) {
                QTest::qWait(50);
                window = windowTitled(pdisplay, "Vantorell");
            }
            QVERIFY2(window != 0, "no window called Vantorell appeared");
            QTest::qWait(300);  // let it paint once
            sendDeleteWindow(pdisplay, window);
        }
        QVERIFY(process.waitForFinished(20000));
        XCloseDisplay(pdisplay);
        const QByteArray byErr = process.readAllStandardError();
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == iStatus,
                 byErr.right(3000).constData());
        QVERIFY2(byErr.contains(szErr.toUtf8()), byErr.constData());
        const QByteArray byLog = byFile(dir.filePath("fe.log"));
        qsizetype iAt = 0;
        for (const QString& sz : vecLog) {
            iAt = byLog.indexOf(sz.toUtf8(), iAt);
            QVERIFY2(iAt >= 0, qPrintable(sz));
        }
        QVERIFY(!byLog.contains(szLogAbsent.toUtf8()));
        if (iStatus == 0) QCOMPARE(byFile(dir.filePath("view.out")), byView);
    }

    // ---- the frame -------------------------------------------------------------------

    void frameLayout() {
        WndTop& wndTop = wnd();
        QCOMPARE(wndTop.windowTitle(), QString("Vantorell"));
        const QRect rectWork = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(wndTop.geometry(),
                 QRect(rectWork.left() + static_cast<int>(0.05 * rectWork.width()),
                       rectWork.top() + static_cast<int>(0.05 * rectWork.height()),
                       static_cast<int>(0.9 * rectWork.width()),
                       static_cast<int>(0.9 * rectWork.height())));
        // Status panel above the pane; the pane the whole client width, its own
        // pixels from (0, 0); the plots beside it on the right; keys to the pane.
        const QRect rectPanel(wndTop.pwndDAndC()->mapTo(&wndTop, QPoint()),
                              wndTop.pwndDAndC()->size());
        const QRect rectPane(pane().mapTo(&wndTop, QPoint()), pane().size());
        const QRect rectPlots(wndTop.pdockPlots()->mapTo(&wndTop, QPoint()),
                              wndTop.pdockPlots()->size());
        QVERIFY(rectPanel.bottom() < rectPane.top() && rectPane.height() > 10 * rectPanel.height());
        QCOMPARE(rectPane.width(), wndTop.centralWidget()->width());
        const Pane& paneShown = pane().pane();
        QCOMPARE(QRect(paneShown.iPxXL, paneShown.iPxYT, paneShown.iPxDX, paneShown.iPxDY),
                 QRect(QPoint(), pane().size()));
        QCOMPARE(wndTop.dockWidgetArea(wndTop.pdockPlots()), Qt::RightDockWidgetArea);
        QVERIFY(rectPlots.left() > rectPane.right() && rectPlots.width() > wndTop.width() / 4);
        QVERIFY(rectPane.width() > rectPlots.width() && wndTop.focusWidget() == &pane());
        // Nothing to plot yet.
        QVERIFY(plots().plabelEmpty()->isVisible() && !plots().psliderTi()->isEnabled() &&
                !plots().plistWarnings()->isVisible() && !plots().plabelChecks()->isVisible());
        // An OpenGL context of the pane's format.
        QVERIFY(pane().isValid());
        QCOMPARE(pane().format().profile(), QSurfaceFormat::CompatibilityProfile);
        QVERIFY(pane().format().samples() <= 0 && pane().format().depthBufferSize() >= 24);
    }

    void menus() {
        QStringList vecTitle, vecCommand, vecView, vecSpeed;
        for (QAction* pact : wnd().menuBar()->actions()) vecTitle << pact->text();
        QCOMPARE(vecTitle, QStringList({"&File", "&Commands", "&View", "&Help"}));
        // The commands with their letters, which are display text only: the
        // pane alone decides what a typed letter does.
        for (QAction* pact : wnd().menuBar()->actions()[1]->menu()->actions())
            vecCommand << pact->text() + (pact->shortcut().isEmpty() ? "" : " bound!");
        QCOMPARE(
            vecCommand,
            QStringList({"&Design hop (hop.txt to traj1r.txt)\td",
                         "&Plan (traj1r.txt to fltplan.txt)\tp",
                         "&Simulate (fltplan.txt to results.txt)\ts",
                         "&Guided simulate (fltplan.txt to results.txt)\tg",
                         "&Replay start/stop\tr", "&Initial state\ti", "&Listing (traj1l.txt)\tl",
                         "&Flight plan (fltplan.txt)\tf", "&Capture pane (pane.bmp)\tc"}));
        for (QAction* pact : wnd().menuBar()->actions()[2]->menu()->actions())
            vecView << (pact->text() +
                        (pact->isCheckable() ? (pact->isChecked() ? " [x]" : " [ ]") : "") +
                        (pact->shortcut().isEmpty() ? "" : " " + pact->shortcut().toString()));
        QCOMPARE(vecView, QStringList({"&Back Alt+Left", "&Forward Alt+Right", "Re&set view", "",
                                       "Replay &speed", "Show plan &path [ ]", "", "&Plots [x]"}));
        for (QAction* pact : action("actReplaySpeed_1")->actionGroup()->actions())
            vecSpeed << pact->text() + (pact->isChecked() ? " [x]" : "");
        QCOMPARE(vecSpeed, QStringList({"¼×", "½×", "&1× [x]", "&2×", "&4×"}));
        // About names the program and its version, owned by the frame.
        _bBoxesExpected = true;
        action("actAbout")->trigger();
        QVERIFY(_vecBox.size() == 1 && _vecBox[0].szTitle == "About Vantorell");
        QVERIFY(_vecBox[0].szText.startsWith(QString("Vantorell ") + VT_VERSION) &&
                _vecBox[0].pwndParent == &wnd());
    }

    // ---- commands --------------------------------------------------------------------

    // From the menu (typed keys drive every other test), the batch mode's files.
    void commands() {
        copyFile(szHopShort + "traj1r.txt", "traj1r.txt");
        const QString szExpected = szData(szHopShort + "expected/");
        for (char ch : {'p', 's', 'l', 'f', 'c'}) {
            if (ch == 'f') QFile::remove("fltplan.txt");
            action(QString("actCommand_") + ch)->trigger();
            if (ch == 'p' || ch == 'f')
                QCOMPARE(byFile("fltplan.txt"), byFile(szExpected + "fltplan.txt"));
            if (ch == 'l') QCOMPARE(byFile("traj1l.txt"), byFile(szExpected + "traj1l.txt"));
            QCOMPARE(QFile::exists("results.txt"), ch != 'p');
        }
        QVERIFY(QImage("pane.bmp").size() == pane().size() && wnd().focusWidget() == &pane());
    }

    void messages_data() {
        QTest::addColumn<QString>("szWaypoints");
        QTest::addColumn<QString>("szKeys");
        QTest::addColumn<QStringList>("vecText");
        QTest::addColumn<bool>("bTop");  // owned by the frame, not the pane
        QTest::newRow("no sim") << "" << "riR"
                                << QStringList{"No sim to run!  's' first",
                                               "No sim to initialize!  's' first",
                                               "No sim to run!  's' first"}
                                << false;
        // Waypoint times out of order: the fit's linear system is singular; no
        // plan afterwards, so f and l do nothing and say nothing.
        QTest::newRow("couldn't solve") << "plan/couldnt_solve/traj1r.txt"
                                        << "pfl" << QStringList{"couldn't solve"} << true;
    }

    void messages() {
        QFETCH(QString, szWaypoints);
        QFETCH(QString, szKeys);
        QFETCH(QStringList, vecText);
        QFETCH(bool, bTop);
        _bBoxesExpected = true;
        if (!szWaypoints.isEmpty()) copyFile(szWaypoints, "traj1r.txt");
        type(szKeys);
        QCOMPARE(_vecBox.size(), vecText.size());
        for (int i = 0; i < vecText.size(); i++) {
            QCOMPARE(_vecBox[i].szText, vecText[i]);
            QVERIFY(_vecBox[i].szTitle == "Vantorell" && _vecBox[i].icon == QMessageBox::Warning);
            QCOMPARE(_vecBox[i].nButtons, 1);
            QVERIFY(_vecBox[i].pwndParent == (bTop ? static_cast<QWidget*>(&wnd()) : &pane()));
        }
        QVERIFY(szFlags() == "TFF" && !pane().timerReplay().isActive());
        QVERIFY(!QFile::exists("fltplan.txt") && !QFile::exists("traj1l.txt"));
    }

    void replayOnTheClock_data() {
        QTest::addColumn<QString>("szSpeed1");    // chosen before the replay
        QTest::addColumn<QString>("szSpeed2");    // chosen after half a second of it
        QTest::addColumn<double>("fTiAfterOne");  // replayed time after one second
        for (const auto& [szRow, sz1, sz2, f] :
             {std::tuple("1/4x", "0.25", "0.25", 0.25), {"1/2x then 4x", "0.5", "4", 2.25}})
            QTest::newRow(szRow) << QString(sz1) << QString(sz2) << f;
    }

    void replayOnTheClock() {
        QFETCH(QString, szSpeed1);
        QFETCH(QString, szSpeed2);
        QFETCH(double, fTiAfterOne);
        planAndFly();
        pane().setMsClock([this] { return _fMsClock; });
        action("actReplaySpeed_" + szSpeed1)->trigger();
        type("r");
        advanceClock(500.0);
        action("actReplaySpeed_" + szSpeed2)->trigger();
        QVERIFY(bDisplayRunPath && action("actReplaySpeed_" + szSpeed2)->isChecked());
        advanceClock(500.0);
        QVERIFY2(std::fabs(fSTiSim - fTiAfterOne) < 1e-9, qPrintable(QString::number(fSTiSim)));
        char szSec[40];  // halves to even, as the panel does (QString::asprintf does not)
        std::snprintf(szSec, sizeof szSec, "%.1f sec", fTiAfterOne);
        QCOMPARE(szDAndCText(wb), std::string(szSec));
        Stvehicle3dof stExpect = stStored(iFirst());
        stvehicle3dofAtFTi(&stExpect, fTiAfterOne, wb.run, wb.scenario.vehicle);
        QVERIFY(bSameState(stvehicle3dof, stExpect));
        // The plots' cursor follows within one record interval.
        QVERIFY(plots().fTiCursor() <= fSTiSim && fSTiSim - plots().fTiCursor() < fDTiCursorStep);
        // Past the end the replay stops at the last state by itself.
        advanceClock(1000.0 * arFTiData[iLast()] / 0.25);
        QVERIFY(szFlags() == "TFF" && !pane().timerReplay().isActive());
        QVERIFY(bSameState(stvehicle3dof, stStored(iLast())));
        QCOMPARE(plots().fTiCursor(), arFTiData[iLast()]);
        QVERIFY(szDAndCText(wb).rfind("propellant used = ", 0) == 0);
    }

    // ---- the camera ------------------------------------------------------------------

    void dragsAndHistory() {
        const QPoint pt0 = pane().rect().center();
        const XfmCFmW3c xfm0 = xfmCFmW;
        QVERIFY(nStack() == 1 && !wnd().pactViewBack()->isEnabled());
        // A click moves nothing and pushes nothing.
        for (Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton})
            QTest::mouseClick(&pane(), button, {}, pt0);
        QVERIFY(bSameCamera(xfmCFmW, xfm0) && nStack() == 1 && !wnd().pactViewBack()->isEnabled());
        // A sideways left drag turns about the vertical: eye height, width,
        // near and far kept; the camera is pushed.
        const Long nMove0 = pane().nMouseMove();
        drag(Qt::LeftButton, pt0, pt0 + QPoint(120, 0));
        const XfmCFmW3c xfm1 = xfmCFmW;
        QVERIFY(pane().nMouseMove() >= nMove0 + 2 && !bSameCamera(xfm1, xfm0));
        QVERIFY(std::fabs(xfm1.ptEye.fZ - xfm0.ptEye.fZ) < 1e-9 &&
                std::fabs(xfm1.drLook.fZ - xfm0.drLook.fZ) < 1e-9);
        QVERIFY(xfm1.fR - xfm1.fL == xfm0.fR - xfm0.fL && xfm1.fN == xfm0.fN && xfm1.fF == xfm0.fF);
        QVERIFY(nStack() == 2 && bSameCamera(wb.view.xfmCFmWTopOfStack(), xfm1));
        // An upward right drag zooms in; a downward left drag tilts the view.
        drag(Qt::RightButton, pt0, pt0 - QPoint(0, 100));
        const XfmCFmW3c xfm2 = xfmCFmW;
        drag(Qt::LeftButton, pt0, pt0 + QPoint(0, 60));
        const XfmCFmW3c xfm3 = xfmCFmW;
        QVERIFY(xfm2.ptEye.fZ < xfm1.ptEye.fZ - 1.0 &&
                std::fabs(xfm2.drLook.fZ - xfm1.drLook.fZ) < 1e-12);
        QVERIFY(std::fabs(xfm3.drLook.fZ - xfm2.drLook.fZ) > 1e-3 && nStack() == 4);

        // Alt+Left and Alt+Right step through the history as far as it goes;
        // the menu entries say when they can.
        const XfmCFmW3c* arPXfm[] = {&xfm0, &xfm1, &xfm2, &xfm3};
        for (int i = 2; i >= -1; i--) {
            QTest::keyClick(&pane(), Qt::Key_Left, Qt::AltModifier);
            QVERIFY(bSameCamera(xfmCFmW, *arPXfm[std::max(i, 0)]));
        }
        QVERIFY(!wnd().pactViewBack()->isEnabled() && wnd().pactViewForward()->isEnabled());
        for (int i = 1; i <= 4; i++) {
            QTest::keyClick(&pane(), Qt::Key_Right, Qt::AltModifier);
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
        QVERIFY(bSameCamera(xfmCFmW, xfm0) && nStack() == 4 &&
                bSameCamera(wb.view.xfmCFmWTopOfStack(), xfm0));
        wnd().pactViewBack()->trigger();
        QVERIFY(bSameCamera(xfmCFmW, xfm2));
    }

    void dragHoldsTheReplay() {
        planAndFly();
        type("r");
        const QPoint pt0 = pane().rect().center();
        QTest::mousePress(&pane(), Qt::LeftButton, {}, pt0);
        QTest::mouseMove(&pane(), pt0 + QPoint(30, 10));
        QVERIFY(!pane().timerReplay().isActive());
        const XfmCFmW3c xfmMoved = xfmCFmW;  // the camera follows the move itself
        QTest::mouseRelease(&pane(), Qt::LeftButton, {}, pt0 + QPoint(30, 10));
        QVERIFY(bSameCamera(xfmCFmW, xfmMoved));
        QVERIFY(pane().timerReplay().isActive() && pane().timerReplay().interval() == 25);
        // Without a replay the release starts nothing.
        type("r");
        drag(Qt::LeftButton, pt0, pt0 + QPoint(-30, 0));
        QVERIFY(!pane().timerReplay().isActive());
    }

    void frameResizeRestartsTheHistory() {
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
        QVERIFY(nStack() == 1 && !wnd().pactViewBack()->isEnabled());
        QCOMPARE(QSizeF(wb.view.xfmPFmC.fDX, wb.view.xfmPFmC.fDY), QSizeF(pane().size()));
    }

    void plotsPanelLeavesThePaneAlone() {
        const QPoint pt0 = pane().rect().center();
        drag(Qt::LeftButton, pt0, pt0 + QPoint(60, 0));
        drag(Qt::RightButton, pt0, pt0 - QPoint(0, 40));
        const XfmCFmW3c xfmBefore = xfmCFmW;
        const QSize sizePane = pane().size();
        const int iPxDXFrame = wnd().width();
        QDockWidget* pdock = wnd().pdockPlots();
        // Two cycles from the menu, then one by the panel's own close button.
        for (int iCycle = 0; iCycle < 3; iCycle++) {
            if (iCycle < 2)
                action("actViewPlots")->trigger();
            else
                pdock->close();
            QTRY_VERIFY(pdock->isHidden() && wnd().width() < iPxDXFrame - pdock->width() / 2);
            QVERIFY(!action("actViewPlots")->isChecked());
            QTest::qWait(50);
            action("actViewPlots")->trigger();
            QTRY_VERIFY(pdock->isVisible() && wnd().width() == iPxDXFrame);
            QTest::qWait(50);
            QVERIFY(pane().size() == sizePane && bSameCamera(xfmCFmW, xfmBefore) && nStack() == 3);
        }
    }

    // ---- what the pane shows ---------------------------------------------------------

    void captureIsThePane() {
        planAndFly();
        type("c");
        // The pane's size, the clear colour (0.5, 0.25, 0.25) in its top
        // corners, and what the pane shows, the track too.
        const QImage img("pane.bmp");
        QCOMPARE(img.size(), pane().size());
        const QImage imgPane = pane().grabFramebuffer();
        const Stvehicle3dof st = stStored(iFirst() + 50);
        for (const QPoint& pt :
             {QPoint(2, 2), QPoint(img.width() - 3, 2), ptPxOfWorld(pane().pane(), st.fXf, st.fZf),
              QPoint(img.width() / 2, img.height() - 5)}) {
            QCOMPARE(img.pixelColor(pt), imgPane.pixelColor(pt));
            QVERIFY(pt.y() != 2 || iDistRgb(img.pixelColor(pt), QColor(128, 64, 64)) <= 1);
        }
        QVERIFY(bColourNear(img, ptPxOfWorld(pane().pane(), st.fXf, st.fZf), QColor(0, 255, 0), 8));
    }

    void planPathOnlyWhenAsked() {
        planAndFly();
        type("c");
        const QByteArray byOff = byFile("pane.bmp");
        QAction* pact = action("actViewPlanPath");
        pact->trigger();
        QVERIFY(pact->isChecked() && pane().bPlanPathShown() && pane().nPtPlanPath() == pvdfT->n());
        type("c");
        const QImage imgOn("pane.bmp");
        // The planned points up in the air show the path's pale colour.
        int nFound = 0, nTried = 0;
        for (Long i = pvdfT->lo; i <= pvdfT->hi; i += 10) {
            const Vd<double>& vdfX = *pvdfAt(wb.plan.paPVdfX, i);
            if (vdfX[3] < 1.0) continue;
            nTried++;
            const QPoint pt = ptPxOfWorld(pane().pane(), vdfX[1], vdfX[3]);
            nFound += bColourNear(imgOn, pt, QColor(217, 235, 255), 12);
        }
        QVERIFY2(nTried >= 5 && nFound >= nTried * 2 / 3, qPrintable(QString::number(nFound)));
        // Off again: the capture is the documented scene, byte for byte.
        pact->trigger();
        type("c");
        QCOMPARE(byFile("pane.bmp"), byOff);
    }

    void statusPanel() {
        // The built-in vehicle: 100 kg gross, 95 kg empty. Below empty the
        // remainder goes negative as the formula gives it.
        for (const auto& [fMs, sz] :
             {std::pair(96.123456, "propellant used = 3.88 kg, remaining = 1.12 kg"),
              {94.996, "propellant used = 5.00 kg, remaining = -0.00 kg"}}) {
            stvehicle3dof.fMs = fMs;
            QCOMPARE(szDAndCText(wb), std::string(sz));
        }
        // During a replay the time; 2.25 rounds to even, as the C library does.
        bDisplayRunPath = true;
        for (const auto& [fTi, sz] :
             {std::pair(12.345, "12.3 sec"), {2.25, "2.2 sec"}}) {
            fSTiSim = fTi;
            QCOMPARE(szDAndCText(wb), std::string(sz));
        }
        bDisplayRunPath = false;
        // Grey, the text from x = 100 and y = 10 on, refreshed by its own timer.
        WndDAndC* pwnd = wnd().pwndDAndC();
        QVERIFY(pwnd->timerRefresh().isActive() && pwnd->timerRefresh().interval() == 25);
        const QImage img = pwnd->grab().toImage();
        QVERIFY(img.pixelColor(2, 2) == QColor(192, 192, 192) &&
                img.pixelColor(img.width() - 2, img.height() - 2) == QColor(192, 192, 192));
        // The ink where the same text drawn from the cell at (100, 10) puts it.
        QImage imgAt(img.size(), QImage::Format_RGB32);
        imgAt.fill(QColor(192, 192, 192));
        QPainter painter(&imgAt);
        painter.setFont(pwnd->font());
        painter.drawText(QRect(100, 10, img.width(), img.height()), Qt::AlignLeft | Qt::AlignTop,
                         QString::fromStdString(szDAndCText(wb)));
        painter.end();
        auto rectDark = [](QImage const& im) {
            QRect rect;
            for (int iY = 0; iY < im.height(); iY++)
                for (int iX = 0; iX < im.width(); iX++)
                    if (im.pixelColor(iX, iY).lightness() < 100) rect |= QRect(iX, iY, 1, 1);
            return rect;
        };
        QVERIFY(!rectDark(img).isEmpty() && rectDark(img) == rectDark(imgAt));
    }

    // ---- the plots -------------------------------------------------------------------

    void plotsAfterPlanAndSimulate() {
        copyFile(szBundledHop, "traj1r.txt");
        type("p");
        // The plan dashed, the analysis' numbers: its height at every sample.
        QVERIFY(!plots().plabelEmpty()->isVisible());
        for (PlotQty qty : arPlotQty) {
            QLineSeries* pseries = pseriesNamed(plots().pwndChart(qty), "plan");
            QVERIFY(plots().pwndChart(qty)->isVisible() && pseries != nullptr);
            QVERIFY(pseries->count() == pvdfT->n() && pseries->pen().style() == Qt::DashLine);
            QCOMPARE(plots().pwndChart(qty)->chart()->series().size(), 1);
        }
        QVERIFY(plots().plabelChecks()->isVisible() &&
                plots().plabelChecks()->text().contains("within limits") &&
                !plots().plistWarnings()->isVisible());
        QVERIFY(!plots().plabelLanding()->isVisible() && !plots().bCursorShown());

        // The run solid, one point per stored record.
        type("s");
        for (PlotQty qty : arPlotQty) {
            const bool bTwo = qty == PlotQty::Thrust || qty == PlotQty::Moment;
            QLineSeries* pseries =
                pseriesNamed(plots().pwndChart(qty), bTwo ? "run actual" : "run");
            QVERIFY(pseries != nullptr && pseries->pen().style() == Qt::SolidLine);
            QCOMPARE(pseries->count(), static_cast<int>(arFTiData.n()));
            QVERIFY(!bTwo || pseriesNamed(plots().pwndChart(qty), "run commanded") != nullptr);
        }
        const double fDist = std::hypot(stStored(iLast()).fXf - 28.5, stStored(iLast()).fZf);
        QVERIFY(plots().plabelLanding()->text().startsWith(
            QString::asprintf("landing miss %.4f m", fDist)));
        QVERIFY(plots().bCursorShown() && plots().fTiCursor() == arFTiData[iFirst()]);
        QCOMPARE(plots().psliderTi()->maximum(), WndPlots::iSliderFmFTi(arFTiData[iLast()]));
        // The check boxes choose the charts; a new run keeps the choice.
        QCheckBox* pcheck = plots().pcheckQty(PlotQty::Moment);
        QTest::mouseClick(pcheck, Qt::LeftButton);
        type("s");
        for (PlotQty qty : arPlotQty)
            QCOMPARE(plots().pwndChart(qty)->isVisible(), qty != PlotQty::Moment);
        QTest::mouseClick(pcheck, Qt::LeftButton);
        QVERIFY(plots().pwndChart(PlotQty::Moment)->isVisible() && wnd().focusWidget() == &pane());
    }

    void cursorAndScrubbing() {
        planAndFly();
        QSlider* pslider = plots().psliderTi();
        // The slider shows the state at its time (3.125 s, between two records),
        // looked up as the replay does.
        pslider->setValue(WndPlots::iSliderFmFTi(3.125));
        QVERIFY(plots().fTiCursor() == 3.125 && fSTiSim == 3.125 && szFlags() == "TFF");
        Stvehicle3dof stExpect = stStored(iFirst());
        stvehicle3dofAtFTi(&stExpect, 3.125, wb.run, wb.scenario.vehicle);
        QVERIFY(bSameState(stvehicle3dof, stExpect));
        QCOMPARE(plots().plabelTi()->text(), QString("t = 3.125 s"));
        // Every chart's cursor is drawn at that time, in one column for all.
        const int iPxX = plots().pwndChart(PlotQty::X)->iPxXCursor();
        for (PlotQty qty : arPlotQty) {
            WndChart* pwnd = plots().pwndChart(qty);
            QVERIFY(std::abs(pwnd->iPxXCursor() - iPxXOfTi(pwnd, 3.125)) <= 1);
            QVERIFY(pwnd->iPxXCursor() == iPxX && bCursorDrawnAt(pwnd, iPxX));
        }
        // End goes to the end of the run.
        QTest::keyClick(pslider, Qt::Key_End);
        QVERIFY(plots().fTiCursor() == arFTiData[iLast()] &&
                stvehicle3dof.fXf == stStored(iLast()).fXf);
        // Scrubbing during a replay stops it there; i goes back to the start.
        type("r");
        pslider->setValue(WndPlots::iSliderFmFTi(2.0));
        QVERIFY(!bDisplayRunPath && !pane().timerReplay().isActive() && plots().fTiCursor() == 2.0);
        WndChart* pwndX = plots().pwndChart(PlotQty::X);
        const int iPxXAt2 = pwndX->iPxXCursor();
        type("i");
        QCOMPARE(pwndX->fTiCursor(), arFTiData[iFirst()]);
        QVERIFY(pwndX->iPxXCursor() < iPxXAt2 && bCursorDrawnAt(pwndX, pwndX->iPxXCursor()) &&
                !bCursorDrawnAt(pwndX, iPxXAt2));
    }

    void chartsReadable() {
        // A plan that breaks limits, flown: wide ranges.
        planAndFly("plan/fast_hop/traj1r.txt");
        QTest::qWait(50);
        const int iPxLeft = iPxXOfTi(plots().pwndChart(PlotQty::X), 0.0);
        for (PlotQty qty : arPlotQty) {
            WndChart* pwnd = plots().pwndChart(qty);
            pwnd->grab();  // drawn as shown
            // One column for the start of every time axis.
            QCOMPARE(iPxXOfTi(pwnd, 0.0), iPxLeft);
            // Every label in full, the tick labels numbers.
            int nNumber = 0;
            for (QGraphicsItem* pitem : pwnd->chart()->scene()->items())
                if (auto* ptext = dynamic_cast<QGraphicsTextItem*>(pitem);
                    ptext && ptext->isVisible()) {
                    const QString sz = ptext->toPlainText();
                    QVERIFY2(!sz.contains("...") && !sz.contains(QChar(0x2026)), qPrintable(sz));
                    bool bNumber = false;
                    sz.toDouble(&bNumber);
                    nNumber += bNumber;
                }
            QVERIFY(nNumber >= 5);
        }
        // Where the bundled hop's run follows its plan (1 to 5 s), the plan's
        // dashes show in their own colour on it: in their two thirds of the
        // columns, and more where they slope.
        planAndFly();
        QTest::qWait(50);
        WndChart* pwnd = plots().pwndChart(PlotQty::X);
        const int iPxX0 = iPxXOfTi(pwnd, 1.0), iPxX1 = iPxXOfTi(pwnd, 5.0);
        const int nPlan = nColumnWith(pwnd, iPxX0, iPxX1, QColor(20, 60, 170), 10);
        QVERIFY2(3 * nPlan > 2 * (iPxX1 - iPxX0), qPrintable(QString::number(nPlan)));
    }

    void planWarnings() {
        // Warnings in the panel, never in a box (cleanup checks none opened).
        copyFile("plan/fast_hop/traj1r.txt", "traj1r.txt");
        type("p");
        QListWidget* plist = plots().plistWarnings();
        const std::vector<PlanViolation> vec = vecPlanViolationFmWorkbench(wb);
        QVERIFY(plist->isVisible() && vec.size() >= 3 && plist->count() == int(vec.size()));
        for (int i = 0; i < plist->count(); i++)
            QCOMPARE(plist->item(i)->text(), QString::fromStdString(szPlanViolation(vec[i])));
        QVERIFY(plist->item(0)->text().contains("above their share of the maximum thrust"));
        QVERIFY(plots().plabelChecks()->text().startsWith(
            QString("Plan checks: %1 warnings").arg(vec.size())));
        // A plan that cannot be made takes the old one's curves and checks away.
        _bBoxesExpected = true;
        copyFile("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
        type("p");
        QVERIFY(_vecBox.size() == 1 && !plots().plabelChecks()->isVisible() &&
                plots().plabelEmpty()->isVisible());
    }

    void storedFlightLine() {
        // The fast hop comes to rest after more than a turn: its pitch there is
        // -478.27 deg in results.txt, the attitude of -118.27 deg.
        planAndFly("plan/fast_hop/traj1r.txt");
        const Vd<double>& vdfXEnd = *pvdfAt(wb.plan.paPVdfX, wb.plan.paPVdfX->hi());
        const double fDist =
            std::hypot(stStored(iLast()).fXf - vdfXEnd[1], stStored(iLast()).fZf - vdfXEnd[3]);
        QCOMPARE(plots().plabelFlight()->text(),
                 QString::asprintf("Stored flight: open loop, landing miss %.4f m", fDist));
        QVERIFY2(plots().plabelLanding()->text().contains(
                     QRegularExpression("pitch at rest -2\\.06\\d\\d rad \\(-118\\.27 deg\\)$")),
                 qPrintable(plots().plabelLanding()->text()));
        // A guided flight says so, with the commanded thrust and moment of its
        // own records against the actual ones.
        bFlightGuided = true;
        plots().commandRun('g');
        QVERIFY(plots().plabelFlight()->text().startsWith("Stored flight: guided, landing miss "));
        QLineSeries* pseries = pseriesNamed(plots().pwndChart(PlotQty::Moment), "run commanded");
        for (Long i = iFirst(); i <= iLast(); i++)
            QCOMPARE(pseries->at(static_cast<int>(i - iFirst())).y(), stStored(i).fMmPitchCmd);
    }

    void csvExports() {
        // Each entry enabled once there is something to export.
        copyFile(szBundledHop, "traj1r.txt");
        for (const auto& [szKeys, szEnabled] : {std::pair("", "00"), {"p", "01"}, {"s", "11"}}) {
            type(szKeys);
            emit wnd().menuBar()->actions()[0]->menu()->aboutToShow();
            QCOMPARE(QString("%1%2")
                         .arg(action("actExportRunCsv")->isEnabled())
                         .arg(action("actExportPlanCsv")->isEnabled()),
                     QString(szEnabled));
        }
        // A file that cannot be written is a box naming it.
        _bBoxesExpected = true;
        QDir().mkdir("dir.csv");
        QVERIFY(!wnd().bExportRunCsv("dir.csv"));
        QVERIFY(_vecBox.size() == 1 && _vecBox[0].szText == "Cannot write dir.csv: Is a directory");
        QVERIFY(_vecBox[0].szTitle == "Vantorell" && _vecBox[0].icon == QMessageBox::Warning);
    }

    // Not a test: the pictures of the README, written only when asked for
    // (scripts/screenshot.sh): after p and s, and of a guided flight (g) with the
    // plan path shown.
    void screenshots() {
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

private:
    WndTop& wnd() {
        if (!_pwndTop) {
            _pwndTop = std::make_unique<WndTop>(wb);
            _pwndTop->show();
            _pwndTop->activateWindow();
            if (!QTest::qWaitForWindowActive(_pwndTop.get())) qFatal("frame not active");
            _pwndTop->pwndProgram()->setFocus();
        }
        return *_pwndTop;
    }
    WndProgram& pane() { return *wnd().pwndProgram(); }
    WndPlots& plots() { return *wnd().pwndPlots(); }
    void type(const QString& szKeys) {
        for (QChar ch : szKeys) QTest::keyClick(&pane(), ch.toLatin1());
    }
    QAction* action(const QString& szName) {
        QAction* pact = wnd().findChild<QAction*>(szName);
        if (pact == nullptr) qFatal("no action %s", qPrintable(szName));
        return pact;
    }
    void drag(Qt::MouseButton button, QPoint ptFrom, QPoint ptTo) {
        QTest::mousePress(&pane(), button, {}, ptFrom);
        QTest::mouseMove(&pane(), (ptFrom + ptTo) / 2);
        QTest::mouseMove(&pane(), ptTo);
        QTest::mouseRelease(&pane(), button, {}, ptTo);
    }
    void planAndFly(const QString& szWaypoints = szBundledHop) {
        copyFile(szWaypoints, "traj1r.txt");
        type("ps");
        QTest::qWait(20);  // the panel lays its charts out
    }
    // Moves the replay's clock (the test's own) and waits for a timer tick.
    void advanceClock(double fMs) {
        _fMsClock += fMs;
        const double fTiBefore = fSTiSim;
        QTest::qWait(30);
        QTRY_VERIFY(fSTiSim != fTiBefore || !pane().timerReplay().isActive() || !bDisplayRunPath);
    }
    void resetProgramState() {
        releaseCommandState(wb);
        wb.bPath = bDisplayPath = bDisplayRunPath = bFlightGuided = false;
        bDisplayState = true;
        fSTiSim = 0.0;
        stvehicle3dof = wb.scenario.stvehicle3dof0;
    }
    // Records and presses OK on every modal box, so no test hangs on one.
    void closeBoxes() {
        auto* pbox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (pbox == nullptr || !pbox->isVisible()) return;
        _vecBox.push_back({pbox->text(), pbox->windowTitle(), pbox->icon(),
                           static_cast<int>(pbox->buttons().size()), pbox->parentWidget()});
        QAbstractButton* pbutton = pbox->button(QMessageBox::Ok);
        QTest::mouseClick(pbutton != nullptr ? pbutton : pbox->defaultButton(), Qt::LeftButton);
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

QTEST_MAIN(GuiTest)
#include "gui_test.moc"

