// The 3-D pane: typed commands and their files, message boxes, display modes,
// the real-time replay, camera drags and history, the saved view, and the
// capture of what the pane shows.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>

#include <cmath>
#include <memory>

#include "app/commands.h"
#include "app/gui/window.h"
#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "app/gui/wndtop.h"
#include "core/logerror.h"
#include "display/viewstack.h"
#include "geom/geom4h.h"
#include "guitest.h"
#include "sim/fltsim.h"
#include "sim/params.h"

using namespace vtgui;

namespace {

const char szHopShort[] = "reference/plan/hop_short/";

// Entries in the camera history (the ring holds slots top + 1 .. first).
Long nStack() {
    return (iXfmCFmWStackFirst - iXfmCFmWStackTop + 100) % 100;
}

double fDist(const Pt3c& pt1, const Pt3c& pt2) {
    return std::sqrt((pt1.fX - pt2.fX) * (pt1.fX - pt2.fX) + (pt1.fY - pt2.fY) * (pt1.fY - pt2.fY) +
                     (pt1.fZ - pt2.fZ) * (pt1.fZ - pt2.fZ));
}

bool bSameCamera(const XfmCFmW3c& xfm1, const XfmCFmW3c& xfm2) {
    return xfm1.ptEye.fX == xfm2.ptEye.fX && xfm1.ptEye.fY == xfm2.ptEye.fY &&
           xfm1.ptEye.fZ == xfm2.ptEye.fZ && xfm1.drLook.fX == xfm2.drLook.fX &&
           xfm1.drLook.fY == xfm2.drLook.fY && xfm1.drLook.fZ == xfm2.drLook.fZ &&
           xfm1.drUp.fX == xfm2.drUp.fX && xfm1.drUp.fY == xfm2.drUp.fY &&
           xfm1.drUp.fZ == xfm2.drUp.fZ && xfm1.fL == xfm2.fL && xfm1.fR == xfm2.fR &&
           xfm1.fB == xfm2.fB && xfm1.fT == xfm2.fT && xfm1.fN == xfm2.fN && xfm1.fF == xfm2.fF;
}

Stvehicle3dof stStored(Long i) {
    return *static_cast<Stvehicle3dof*>(arPStvehicle[i]);
}

Long nStored() {
    return arFTiData.iLast() - arFTiData.iFirst() + 1;
}

bool bSameState(const Stvehicle3dof& st1, const Stvehicle3dof& st2) {
    return st1.fXf == st2.fXf && st1.fZf == st2.fZf && st1.fVeXf == st2.fVeXf &&
           st1.fVeZf == st2.fVeZf && st1.fPitch == st2.fPitch && st1.fPitchDot == st2.fPitchDot &&
           st1.fMs == st2.fMs && st1.fIPitch == st2.fIPitch;
}

// Display flags as (State, Path, RunPath).
QString szFlags() {
    return QString("%1%2%3").arg(bDisplayState ? 'T' : 'F').arg(bDisplayPath ? 'T' : 'F').arg(
        bDisplayRunPath ? 'T' : 'F');
}

// Pixel of a world point in the pane, from the top left.
QPoint ptPxOfWorld(const Pane& pane, double fX, double fZ) {
    const Pt3c ptN = ptXgm3c(xfmCFmW.x4hCFmW, Pt3c(fX, 0.0, fZ));
    return QPoint(static_cast<int>(std::lround((ptN.fX + 1.0) * 0.5 * pane.iPxDX)),
                  static_cast<int>(std::lround((1.0 - ptN.fY) * 0.5 * pane.iPxDY)));
}

}  // namespace

class WndProgramTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { setPaneSurfaceFormat(); }

private slots:
    void initTestCase() {
        initParams();
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void init();
    void cleanup();
    void cleanupTestCase() { pinOpenGLDriver(); }

    void keyChainWritesTheFiles();
    void upperAndLowerCase();
    void noSimToRunOrInitialize();
    void couldNotSolve();
    void displayModeTable();
    void replayEndsByItself();
    void replayStartedLateEndsAtFirstTick();
    void leftDragTurnsAndPushes();
    void dragHoldsTheReplay();
    void rightDragZooms();
    void historyBackAndForward();
    void viewOutThenViewInRestores();
    void resizeMatchesAspectAndRestartsHistory();
    void captureShowsBackgroundAndTrack();
    void screenshots();

private:
    WndTop& wndTop();
    WndProgram& pane() { return *wndTop().pwndProgram(); }
    void typeKey(char ch) { QTest::keyClick(&pane(), ch); }
    void dragLeft(QPoint ptFrom, QPoint ptTo);
    void dragRight(QPoint ptFrom, QPoint ptTo);

    std::unique_ptr<InTempDir> _pdir;
    std::unique_ptr<WndTop> _pwndTop;
    MsgBoxGuard _guard;
    bool _bBoxesExpected = false;
};

void WndProgramTest::init() {
    _pdir = std::make_unique<InTempDir>();
    resetProgramState();
    _guard.clear();
    _bBoxesExpected = false;
}

void WndProgramTest::cleanup() {
    if (!_bBoxesExpected) QCOMPARE(_guard.vecSeen().size(), 0);
    if (_pwndTop) {
        _pwndTop->close();
        _pwndTop.reset();
    }
    resetProgramState();
    _pdir.reset();
}

WndTop& WndProgramTest::wndTop() {
    if (!_pwndTop) {
        _pwndTop = std::make_unique<WndTop>();
        _pwndTop->show();
        if (!QTest::qWaitForWindowExposed(_pwndTop.get())) qFatal("frame not exposed");
        _pwndTop->pwndProgram()->setFocus();
    }
    return *_pwndTop;
}

void WndProgramTest::dragLeft(QPoint ptFrom, QPoint ptTo) {
    QTest::mousePress(&pane(), Qt::LeftButton, {}, ptFrom);
    QTest::mouseMove(&pane(), (ptFrom + ptTo) / 2);
    QTest::mouseMove(&pane(), ptTo);
    QTest::mouseRelease(&pane(), Qt::LeftButton, {}, ptTo);
}

void WndProgramTest::dragRight(QPoint ptFrom, QPoint ptTo) {
    QTest::mousePress(&pane(), Qt::RightButton, {}, ptFrom);
    QTest::mouseMove(&pane(), (ptFrom + ptTo) / 2);
    QTest::mouseMove(&pane(), ptTo);
    QTest::mouseRelease(&pane(), Qt::RightButton, {}, ptTo);
}

// ---- commands ----------------------------------------------------------------------

void WndProgramTest::keyChainWritesTheFiles() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    const QString szExpected = szTestData(QString(szHopShort) + "expected/");
    typeKey('p');
    QCOMPARE(szFile("fltplan.txt"), szFile(szExpected + "fltplan.txt"));
    QVERIFY(!bFileExists("results.txt"));

    typeKey('s');
    const std::string szResults = szFile("results.txt");
    QVERIFY(!szResults.empty());
    QVERIFY(nStored() > 1);
    QCOMPARE(szFlags(), QString("FTF"));

    typeKey('l');
    QCOMPARE(szFile("traj1l.txt"), szFile(szExpected + "traj1l.txt"));
    QFile::remove("fltplan.txt");
    typeKey('f');
    QCOMPARE(szFile("fltplan.txt"), szFile(szExpected + "fltplan.txt"));

    typeKey('c');
    const QByteArray byBmp = byFile("pane.bmp");
    QVERIFY(byBmp.size() > 54);
    QCOMPARE(uLe32(byBmp, 18), static_cast<quint32>(pane().pane().iPxDX));
    QCOMPARE(uLe32(byBmp, 22), static_cast<quint32>(pane().pane().iPxDY));
    // None of this asked anything of the user.
    QCOMPARE(_guard.vecSeen().size(), 0);
}

void WndProgramTest::upperAndLowerCase() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('P');
    QVERIFY(bFileExists("fltplan.txt"));
    QFile::remove("fltplan.txt");
    // Capital F and L are not commands: nothing is written.
    typeKey('F');
    typeKey('L');
    QVERIFY(!bFileExists("fltplan.txt"));
    QVERIFY(!bFileExists("traj1l.txt"));
    typeKey('f');
    typeKey('l');
    QVERIFY(bFileExists("fltplan.txt"));
    QVERIFY(bFileExists("traj1l.txt"));
    typeKey('S');
    QVERIFY(bPath);
    QCOMPARE(szFlags(), QString("FTF"));
    typeKey('R');
    QCOMPARE(szFlags(), QString("FFT"));
    typeKey('I');
    QCOMPARE(szFlags(), QString("FTF"));
    typeKey('C');
    QVERIFY(bFileExists("pane.bmp"));
    // Other characters are passed by.
    for (char ch : {'x', 'X', '1', ' ', '?', 'q'}) typeKey(ch);
    QCOMPARE(szFlags(), QString("FTF"));
}

void WndProgramTest::noSimToRunOrInitialize() {
    _bBoxesExpected = true;
    typeKey('r');
    typeKey('i');
    typeKey('R');
    QCOMPARE(_guard.vecSeen().size(), 3);
    const QString arText[] = {"No sim to run!  's' first", "No sim to initialize!  's' first",
                              "No sim to run!  's' first"};
    for (int i = 0; i < 3; i++) {
        const MsgBoxSeen& seen = _guard.vecSeen()[i];
        QCOMPARE(seen.szText, arText[i]);
        QCOMPARE(seen.szTitle, QString("Vantorell"));
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(seen.nButtons, 1);
        QVERIFY(seen.pwndParent == &pane());
    }
    // Nothing changed.
    QCOMPARE(szFlags(), QString("TFF"));
    QVERIFY(!pane().timerReplay().isActive());
}

void WndProgramTest::couldNotSolve() {
    _bBoxesExpected = true;
    // Waypoint times out of order: the fit's linear system is singular.
    copyFile("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
    typeKey('p');
    QCOMPARE(_guard.vecSeen().size(), 1);
    const MsgBoxSeen& seen = _guard.vecSeen()[0];
    QCOMPARE(seen.szText, QString("couldn't solve"));
    QCOMPARE(seen.szTitle, QString("Vantorell"));
    QCOMPARE(seen.icon, QMessageBox::Warning);
    QCOMPARE(seen.nButtons, 1);
    QVERIFY(seen.pwndParent == &wndTop());
    QVERIFY(!bFileExists("fltplan.txt"));
    // No plan afterwards: f and l do nothing and say nothing.
    typeKey('f');
    typeKey('l');
    QVERIFY(!bFileExists("fltplan.txt"));
    QVERIFY(!bFileExists("traj1l.txt"));
    QCOMPARE(_guard.vecSeen().size(), 1);
}

void WndProgramTest::displayModeTable() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('p');
    QCOMPARE(szFlags(), QString("TFF"));  // start-up: current state
    typeKey('s');
    QCOMPARE(szFlags(), QString("FTF"));  // whole path
    QVERIFY(!pane().timerReplay().isActive());
    typeKey('r');
    QCOMPARE(szFlags(), QString("FFT"));  // replay
    QVERIFY(pane().timerReplay().isActive());
    QCOMPARE(pane().timerReplay().interval(), 25);
    typeKey('r');
    QCOMPARE(szFlags(), QString("FTF"));  // r while running: whole path
    QVERIFY(!pane().timerReplay().isActive());

    // i outside a replay keeps the flags and shows the first stored state.
    stvehicle3dof = stStored(nStored());
    typeKey('i');
    QCOMPARE(szFlags(), QString("FTF"));
    QVERIFY(bSameState(stvehicle3dof, stStored(1)));

    // i during a replay ends the replay mode but, as it always has, leaves
    // the timer running; its ticks then do nothing.
    typeKey('r');
    QCOMPARE(szFlags(), QString("FFT"));
    typeKey('i');
    QCOMPARE(szFlags(), QString("FTF"));
    QVERIFY(pane().timerReplay().isActive());
    QVERIFY(bSameState(stvehicle3dof, stStored(1)));
    QTest::qWait(120);
    QCOMPARE(szFlags(), QString("FTF"));
    QVERIFY(bSameState(stvehicle3dof, stStored(1)));

    // A new s shows the whole path again.
    typeKey('s');
    QCOMPARE(szFlags(), QString("FTF"));
}

void WndProgramTest::replayEndsByItself() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('p');
    typeKey('s');
    const double fTiLast = arFTiData[arFTiData.iLast()];
    QVERIFY2(fTiLast < 40.0, "stored run longer than the simulated time");
    typeKey('r');
    QVERIFY(bDisplayRunPath);
    // The panel follows the replay clock.
    QTRY_VERIFY_WITH_TIMEOUT(fSTiSim > 0.1, 2000);
    QVERIFY(QString::fromStdString(szDAndCText()).endsWith(" sec"));
    QTRY_VERIFY_WITH_TIMEOUT(!bDisplayRunPath, static_cast<int>(1000.0 * fTiLast) + 5000);
    QCOMPARE(szFlags(), QString("TFF"));
    QVERIFY(!pane().timerReplay().isActive());
    QVERIFY(bSameState(stvehicle3dof, stStored(nStored())));
    QVERIFY(fSTiSim >= fTiLast);
    QVERIFY(QString::fromStdString(szDAndCText()).startsWith("propellant used = "));
}

void WndProgramTest::replayStartedLateEndsAtFirstTick() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('p');
    typeKey('s');
    typeKey('r');
    // Move the start of the replay far into the past: the first tick is
    // already beyond the last sample.
    fSTiReplay0 -= 1000.0;
    QTRY_VERIFY_WITH_TIMEOUT(!bDisplayRunPath, 1000);
    QCOMPARE(szFlags(), QString("TFF"));
    QVERIFY(bSameState(stvehicle3dof, stStored(nStored())));
}

// ---- camera ------------------------------------------------------------------------

void WndProgramTest::leftDragTurnsAndPushes() {
    wndTop();
    const XfmCFmW3c xfmStart = xfmCFmW;
    const Long nStart = nStack();
    QCOMPARE(nStart, 1);
    const Long nMoveStart = pane().nMouseMove();
    const QPoint ptCentre = pane().rect().center();
    dragLeft(ptCentre, ptCentre + QPoint(120, 0));
    QVERIFY(pane().nMouseMove() >= nMoveStart + 2);
    QVERIFY(!bSameCamera(xfmCFmW, xfmStart));
    // A horizontal drag turns about the vertical: the eye keeps its height,
    // the view keeps its width, near and far.
    QVERIFY(std::fabs(xfmCFmW.ptEye.fZ - xfmStart.ptEye.fZ) < 1e-9);
    QVERIFY(std::fabs(xfmCFmW.drLook.fZ - xfmStart.drLook.fZ) < 1e-9);
    QCOMPARE(xfmCFmW.fR - xfmCFmW.fL, xfmStart.fR - xfmStart.fL);
    QCOMPARE(xfmCFmW.fN, xfmStart.fN);
    QCOMPARE(xfmCFmW.fF, xfmStart.fF);
    // Pushed: one more entry, and the newest is the camera shown.
    QCOMPARE(nStack(), nStart + 1);
    QVERIFY(bSameCamera(xfmCFmWTopOfStack(), xfmCFmW));
    QVERIFY(!bXfmCFmWStackRePushPossible());

    // A vertical drag tilts the view.
    const XfmCFmW3c xfmTurned = xfmCFmW;
    dragLeft(ptCentre, ptCentre + QPoint(0, 60));
    QVERIFY(std::fabs(xfmCFmW.drLook.fZ - xfmTurned.drLook.fZ) > 1e-3);
    QCOMPARE(nStack(), nStart + 2);
}

void WndProgramTest::dragHoldsTheReplay() {
    copyFile(QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('p');
    typeKey('s');
    typeKey('r');
    QVERIFY(pane().timerReplay().isActive());
    const QPoint ptCentre = pane().rect().center();
    QTest::mousePress(&pane(), Qt::LeftButton, {}, ptCentre);
    QVERIFY(!pane().timerReplay().isActive());
    QTest::mouseMove(&pane(), ptCentre + QPoint(30, 10));
    QVERIFY(!pane().timerReplay().isActive());
    QTest::mouseRelease(&pane(), Qt::LeftButton, {}, ptCentre + QPoint(30, 10));
    QVERIFY(pane().timerReplay().isActive());
    QCOMPARE(pane().timerReplay().interval(), 25);
    // Without a replay the release starts nothing.
    typeKey('r');
    dragLeft(ptCentre, ptCentre + QPoint(-30, 0));
    QVERIFY(!pane().timerReplay().isActive());
}

void WndProgramTest::rightDragZooms() {
    wndTop();
    const XfmCFmW3c xfmStart = xfmCFmW;
    const Long nStart = nStack();
    const QPoint ptCentre = pane().rect().center();
    // Dragging upward moves the eye toward what it looks at, along the look.
    dragRight(ptCentre, ptCentre - QPoint(0, 100));
    QVERIFY(!bSameCamera(xfmCFmW, xfmStart));
    QVERIFY(std::fabs(xfmCFmW.drLook.fX - xfmStart.drLook.fX) < 1e-12);
    QVERIFY(std::fabs(xfmCFmW.drLook.fY - xfmStart.drLook.fY) < 1e-12);
    QVERIFY(std::fabs(xfmCFmW.drLook.fZ - xfmStart.drLook.fZ) < 1e-12);
    const double fMoved = fDist(xfmCFmW.ptEye, xfmStart.ptEye);
    QVERIFY(fMoved > 1.0);
    // The eye moved along the look direction, forward.
    const double fAlong = (xfmCFmW.ptEye.fX - xfmStart.ptEye.fX) * xfmStart.drLook.fX +
                          (xfmCFmW.ptEye.fY - xfmStart.ptEye.fY) * xfmStart.drLook.fY +
                          (xfmCFmW.ptEye.fZ - xfmStart.ptEye.fZ) * xfmStart.drLook.fZ;
    QVERIFY(std::fabs(fAlong - fMoved) < 1e-6 * fMoved);
    QCOMPARE(nStack(), nStart + 1);
    QVERIFY(bSameCamera(xfmCFmWTopOfStack(), xfmCFmW));

    // Dragging back down by as much returns to the same distance.
    dragRight(ptCentre - QPoint(0, 100), ptCentre);
    QVERIFY(fDist(xfmCFmW.ptEye, xfmStart.ptEye) < 1e-6 * fMoved + 1e-9);
    QCOMPARE(nStack(), nStart + 2);
}

void WndProgramTest::historyBackAndForward() {
    wndTop();
    const XfmCFmW3c xfm0 = xfmCFmW;
    const QPoint ptCentre = pane().rect().center();
    dragLeft(ptCentre, ptCentre + QPoint(100, 0));
    const XfmCFmW3c xfm1 = xfmCFmW;
    dragRight(ptCentre, ptCentre - QPoint(0, 80));
    const XfmCFmW3c xfm2 = xfmCFmW;
    QCOMPARE(nStack(), 3);

    QVERIFY(pane().bViewBackPossible());
    QVERIFY(!pane().bViewForwardPossible());
    pane().viewBack();
    QVERIFY(bSameCamera(xfmCFmW, xfm1));
    pane().viewBack();
    QVERIFY(bSameCamera(xfmCFmW, xfm0));
    QVERIFY(!pane().bViewBackPossible());
    pane().viewBack();  // nothing further back: no change, no stop
    QVERIFY(bSameCamera(xfmCFmW, xfm0));
    pane().viewForward();
    QVERIFY(bSameCamera(xfmCFmW, xfm1));
    pane().viewForward();
    QVERIFY(bSameCamera(xfmCFmW, xfm2));
    QVERIFY(!pane().bViewForwardPossible());
    pane().viewForward();  // nothing further forward
    QVERIFY(bSameCamera(xfmCFmW, xfm2));

    // A drag after stepping back starts a new branch: forward is gone.
    pane().viewBack();
    QVERIFY(pane().bViewForwardPossible());
    dragLeft(ptCentre, ptCentre + QPoint(-50, 0));
    QVERIFY(!pane().bViewForwardPossible());
    QCOMPARE(nStack(), 3);
    pane().viewBack();
    QVERIFY(bSameCamera(xfmCFmW, xfm1));
}

void WndProgramTest::viewOutThenViewInRestores() {
    const QPoint ptCentre = wndTop().pwndProgram()->rect().center();
    dragLeft(ptCentre, ptCentre + QPoint(150, -40));
    dragRight(ptCentre, ptCentre - QPoint(0, 70));
    const XfmCFmW3c xfmSaved = xfmCFmW;
    _pwndTop->close();
    _pwndTop.reset();
    const std::string szViewOut = szFile("view.out");
    QVERIFY(!szViewOut.empty());

    QFile::copy("view.out", "view.in");
    QFile::remove("view.out");
    xfmCFmW = XfmCFmW3c();
    wndTop();
    // The five decimals of the file are all that come back.
    const double fTol = 1e-5;
    QVERIFY(std::fabs(xfmCFmW.ptEye.fX - xfmSaved.ptEye.fX) < fTol);
    QVERIFY(std::fabs(xfmCFmW.ptEye.fY - xfmSaved.ptEye.fY) < fTol);
    QVERIFY(std::fabs(xfmCFmW.ptEye.fZ - xfmSaved.ptEye.fZ) < fTol);
    QVERIFY(std::fabs(xfmCFmW.drLook.fX - xfmSaved.drLook.fX) < fTol);
    QVERIFY(std::fabs(xfmCFmW.drLook.fY - xfmSaved.drLook.fY) < fTol);
    QVERIFY(std::fabs(xfmCFmW.drLook.fZ - xfmSaved.drLook.fZ) < fTol);
    QVERIFY(std::fabs((xfmCFmW.fR - xfmCFmW.fL) - (xfmSaved.fR - xfmSaved.fL)) < fTol);
    QVERIFY(std::fabs(xfmCFmW.fN - xfmSaved.fN) < fTol);
    QVERIFY(std::fabs(xfmCFmW.fF - xfmSaved.fF) < fTol);
    QCOMPARE(nStack(), 1);
    // Closed again unchanged, the window writes the same file.
    _pwndTop->close();
    _pwndTop.reset();
    QCOMPARE(szFile("view.out"), szViewOut);
}

void WndProgramTest::resizeMatchesAspectAndRestartsHistory() {
    const QPoint ptCentre = wndTop().pwndProgram()->rect().center();
    dragLeft(ptCentre, ptCentre + QPoint(60, 0));
    dragLeft(ptCentre, ptCentre + QPoint(60, 0));
    QCOMPARE(nStack(), 3);
    const XfmCFmW3c xfmBefore = xfmCFmW;
    _pwndTop->resize(640, 700);
    QTRY_COMPARE(pane().pane().iPxDX, pane().width());
    QTRY_COMPARE(pane().pane().iPxDY, pane().height());
    // The view window takes the pane's shape, widened, not narrowed.
    const double fArPane = static_cast<double>(pane().pane().iPxDY) / pane().pane().iPxDX;
    QVERIFY(std::fabs((xfmCFmW.fT - xfmCFmW.fB) / (xfmCFmW.fR - xfmCFmW.fL) - fArPane) < 1e-9);
    QVERIFY(xfmCFmW.fR - xfmCFmW.fL >= xfmBefore.fR - xfmBefore.fL - 1e-12);
    QVERIFY(xfmCFmW.fT - xfmCFmW.fB >= xfmBefore.fT - xfmBefore.fB - 1e-12);
    // Same eye and look; the history starts again from this one camera.
    QCOMPARE(xfmCFmW.ptEye.fX, xfmBefore.ptEye.fX);
    QCOMPARE(xfmCFmW.drLook.fY, xfmBefore.drLook.fY);
    QCOMPARE(nStack(), 1);
    QVERIFY(!pane().bViewBackPossible());
    QVERIFY(!pane().bViewForwardPossible());
    // The projection follows the pane.
    QCOMPARE(xfmPFmC.fDX, static_cast<float>(pane().pane().iPxDX));
    QCOMPARE(xfmPFmC.fDY, static_cast<float>(pane().pane().iPxDY));
}

// ---- capture -----------------------------------------------------------------------

// A tilted climb at a little more than the take-off weight until the tanks
// are dry, then a ballistic arc into the valley: the track passes through
// all three propellant colours above the ground, in view of the default
// camera.
const char szFltplanBurn[] =
    "   3   9\n"
    "    time         thrust      moment\n"
    "    0.000000   420.000000   -20.000000\n"
    "    0.300000   420.000000   -20.000000\n"
    "    0.350000   420.000000    20.000000\n"
    "    0.650000   420.000000    20.000000\n"
    "    0.700000   420.000000     0.000000\n"
    "    8.000000   420.000000     0.000000\n"
    "    8.050000     0.000000     0.000000\n"
    "   30.000000     0.000000     0.000000\n";

void WndProgramTest::captureShowsBackgroundAndTrack() {
    QFile file("fltplan.txt");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(szFltplanBurn);
    file.close();
    typeKey('s');
    QCOMPARE(szFlags(), QString("FTF"));
    typeKey('c');

    const Pane& paneShown = pane().pane();
    const QByteArray byBmp = byFile("pane.bmp");
    const int nBytRow = (3 * paneShown.iPxDX + 3) & ~3;
    // Headers: the file, then the 40-byte information block; 24-bit, rows
    // bottom-up, no compression.
    QVERIFY(byBmp.size() >= 54);
    QCOMPARE(byBmp.left(2), QByteArray("BM"));
    QCOMPARE(uLe32(byBmp, 2), static_cast<quint32>(54 + nBytRow * paneShown.iPxDY));
    QCOMPARE(byBmp.size(), 54 + nBytRow * paneShown.iPxDY);
    QCOMPARE(uLe32(byBmp, 10), 54u);
    QCOMPARE(uLe32(byBmp, 14), 40u);
    QCOMPARE(uLe32(byBmp, 18), static_cast<quint32>(paneShown.iPxDX));
    QCOMPARE(uLe32(byBmp, 22), static_cast<quint32>(paneShown.iPxDY));
    QCOMPARE(uLe16(byBmp, 26), 1u);
    QCOMPARE(uLe16(byBmp, 28), 24u);
    QCOMPARE(uLe32(byBmp, 30), 0u);
    QCOMPARE(paneShown.iPxDX, pane().width());
    QCOMPARE(paneShown.iPxDY, pane().height());

    // Nothing is drawn in the top corners: the clear colour (0.5, 0.25, 0.25).
    for (int iX : {2, paneShown.iPxDX - 3}) {
        const Rgb rgb = rgbBmpPixel(byBmp, iX, 2);
        QVERIFY2(std::abs(rgb.iR - 128) <= 1 && std::abs(rgb.iG - 64) <= 1 &&
                     std::abs(rgb.iB - 64) <= 1,
                 qPrintable(QString("%1 %2 %3").arg(rgb.iR).arg(rgb.iG).arg(rgb.iB)));
    }

    // Along the track, half-way between the vehicle drawings (one a second),
    // the line has the colour of the propellant left at that point.
    const double fMsE = vehicle.fMsEmpty;
    const double fMsP = vehicle.fMsGTO - vehicle.fMsEmpty;
    const double fMsHi = fMsE + 0.25 * fMsP;
    const double fMsLo = fMsE + 0.05 * fMsP;
    int arNChecked[3] = {0, 0, 0};
    for (Long i = 1; i <= nStored(); i++) {
        const double fTi = arFTiData[i];
        const double fFrac = fTi - std::floor(fTi);
        if (fTi < 2.4 || fTi > 10.0 || std::fabs(fFrac - 0.5) > 1e-6) continue;
        const Stvehicle3dof st = stStored(i);
        if (st.fZf < 0.5) continue;
        const int iClass = st.fMs > fMsHi ? 0 : st.fMs > fMsLo ? 1 : 2;
        const Rgb rgbWant = iClass == 0 ? Rgb{0, 255, 0} : iClass == 1 ? Rgb{255, 255, 0} : Rgb{255, 0, 0};
        const QPoint ptPx = ptPxOfWorld(paneShown, st.fXf, st.fZf);
        bool bFound = false;
        for (int iDY = -3; iDY <= 3 && !bFound; iDY++)
            for (int iDX = -3; iDX <= 3 && !bFound; iDX++) {
                const int iX = ptPx.x() + iDX, iY = ptPx.y() + iDY;
                if (iX < 0 || iY < 0 || iX >= paneShown.iPxDX || iY >= paneShown.iPxDY) continue;
                const Rgb rgb = rgbBmpPixel(byBmp, iX, iY);
                bFound = std::abs(rgb.iR - rgbWant.iR) <= 8 && std::abs(rgb.iG - rgbWant.iG) <= 8 &&
                         std::abs(rgb.iB - rgbWant.iB) <= 8;
            }
        QVERIFY2(bFound, qPrintable(QString("no track colour %1 at t = %2 s, pixel (%3, %4)")
                                        .arg(iClass)
                                        .arg(fTi)
                                        .arg(ptPx.x())
                                        .arg(ptPx.y())));
        arNChecked[iClass]++;
    }
    // The run passes through all three colours.
    QVERIFY(arNChecked[0] >= 3);
    QVERIFY(arNChecked[1] >= 1);
    QVERIFY(arNChecked[2] >= 3);

    // The file holds what the pane shows.
    const QImage imgPane = pane().grabFramebuffer();
    for (const QPoint& ptPx : {QPoint(2, 2), ptPxOfWorld(paneShown, 4.0, 5.0),
                               QPoint(paneShown.iPxDX / 2, paneShown.iPxDY - 5)}) {
        const Rgb rgb = rgbBmpPixel(byBmp, ptPx.x(), ptPx.y());
        const QColor clr = imgPane.pixelColor(ptPx);
        QCOMPARE(QColor(rgb.iR, rgb.iG, rgb.iB), clr);
    }
}

void WndProgramTest::screenshots() {
    const QByteArray byDir = qgetenv("VT_SCREENSHOT_DIR");
    if (byDir.isEmpty()) QSKIP("set VT_SCREENSHOT_DIR to write screenshots");
    const QString szDir = QString::fromLocal8Bit(byDir);
    WndTop& wnd = wndTop();
    QTest::qWait(100);
    wnd.grab().save(szDir + "/startup.png");
    const QString szExample = QString(VT_EXAMPLES) + "/traj1r.txt";
    copyFile(QFile::exists(szExample) ? szExample : QString(szHopShort) + "traj1r.txt", "traj1r.txt");
    typeKey('p');
    typeKey('s');
    QTest::qWait(100);
    wnd.grab().save(szDir + "/flown.png");
    typeKey('r');
    QTest::qWait(2500);
    wnd.grab().save(szDir + "/replay.png");
    typeKey('r');
}

QTEST_MAIN(WndProgramTest)
#include "wndprogram_test.moc"
