// The frame: start-up order and log lines, its place on the screen, the
// menu (File, Commands, View, Help), and what closing it saves.
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QTest>

#include <memory>

#include "app/commands.h"
#include "app/gui/window.h"
#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "app/gui/wndtop.h"
#include "core/logerror.h"
#include "display/viewstack.h"
#include "guitest.h"
#include "sim/params.h"

using namespace vtgui;

namespace {

QMenu* pmenuTitled(WndTop& wnd, const QString& szTitle) {
    for (QAction* pact : wnd.menuBar()->actions())
        if (pact->text() == szTitle) return pact->menu();
    return nullptr;
}

}  // namespace

class WndTopTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { setPaneSurfaceFormat(); }

private slots:
    void initTestCase() {
        initParams();
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void init() {
        _pdir = std::make_unique<InTempDir>();
        resetProgramState();
        _guard.clear();
    }
    void cleanupTestCase() { pinOpenGLDriver(); }
    void cleanup() {
        QVERIFY2(_guard.vecSeen().isEmpty() || _bBoxesExpected, "an unexpected message box");
        _bBoxesExpected = false;
        _pdir.reset();
    }

    void logsTheThreeWindowsInOrder();
    void sitsAtNineTenthsOfTheWorkArea();
    void holdsPanelAbovePane();
    void menuHasTheCommandsWithTheirLetters();
    void commandsMenuRunsTheSameCode();
    void viewMenuFollowsTheHistory();
    void aboutBox();
    void exitSavesTheView();
    void paneGotAnOpenGLContext();

private:
    std::unique_ptr<InTempDir> _pdir;
    MsgBoxGuard _guard;
    bool _bBoxesExpected = false;
};

void WndTopTest::logsTheThreeWindowsInOrder() {
    {
        WndTop wnd;
        wnd.show();
        QVERIFY(QTest::qWaitForWindowExposed(&wnd));
        wnd.close();
    }
    closeLogFile();
    const std::string szLog = szFile("fe.log");
    const size_t iTop = szLog.find("wndTop created");
    const size_t iDAndC = szLog.find("wndDAndC created");
    const size_t iProgram = szLog.find("wndProgram created");
    QVERIFY(iTop != std::string::npos);
    QVERIFY(iDAndC != std::string::npos);
    QVERIFY(iProgram != std::string::npos);
    QVERIFY(iTop < iDAndC);
    QVERIFY(iDAndC < iProgram);
    // A context was had: no OpenGL start-up error.
    QVERIFY(szLog.find("may make OpenGL impossible") == std::string::npos);
    openLogFile();  // the fixture closes it again
}

void WndTopTest::sitsAtNineTenthsOfTheWorkArea() {
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    QCOMPARE(wnd.windowTitle(), QString("Vantorell"));
    const QRect rectWork = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(wnd.width(), static_cast<int>(0.9 * rectWork.width()));
    QCOMPARE(wnd.height(), static_cast<int>(0.9 * rectWork.height()));
    QCOMPARE(wnd.pos(), QPoint(rectWork.left() + static_cast<int>(0.05 * rectWork.width()),
                               rectWork.top() + static_cast<int>(0.05 * rectWork.height())));
}

void WndTopTest::holdsPanelAbovePane() {
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    WndDAndC* pwndDAndC = wnd.pwndDAndC();
    WndProgram* pwndProgram = wnd.pwndProgram();
    const QRect rectPanel(pwndDAndC->mapTo(&wnd, QPoint(0, 0)), pwndDAndC->size());
    const QRect rectPane(pwndProgram->mapTo(&wnd, QPoint(0, 0)), pwndProgram->size());
    QVERIFY(!rectPanel.intersects(rectPane));
    QVERIFY(rectPanel.bottom() < rectPane.top());
    QCOMPARE(rectPane.width(), wnd.centralWidget()->width());
    QVERIFY(rectPane.height() > 10 * rectPanel.height());
    // The pane is the whole of the program window, in pixels, from (0, 0).
    QCOMPARE(pwndProgram->pane().iPxDX, pwndProgram->width());
    QCOMPARE(pwndProgram->pane().iPxDY, pwndProgram->height());
    QCOMPARE(pwndProgram->pane().iPxXL, 0);
    QCOMPARE(pwndProgram->pane().iPxYT, 0);
    QVERIFY(wnd.focusWidget() == pwndProgram);
}

void WndTopTest::menuHasTheCommandsWithTheirLetters() {
    WndTop wnd;
    QStringList vecTitle;
    for (QAction* pact : wnd.menuBar()->actions()) vecTitle << pact->text();
    QCOMPARE(vecTitle, QStringList({"&File", "&Commands", "&View", "&Help"}));

    QMenu* pmenuCommands = pmenuTitled(wnd, "&Commands");
    QVERIFY(pmenuCommands != nullptr);
    QString szLetters;
    for (QAction* pact : pmenuCommands->actions()) {
        const QString szText = pact->text();
        const qsizetype iTab = szText.indexOf('\t');
        QVERIFY(iTab > 0);
        szLetters += szText.mid(iTab + 1);
        // No key is bound: the pane alone decides what a typed letter does.
        QVERIFY(pact->shortcut().isEmpty());
    }
    QCOMPARE(szLetters, QString("psgrilfc"));
    QVERIFY(wnd.findChild<QAction*>("actExit") != nullptr);
    QVERIFY(wnd.findChild<QAction*>("actAbout") != nullptr);
}

void WndTopTest::commandsMenuRunsTheSameCode() {
    copyFile("reference/plan/hop_short/traj1r.txt", "traj1r.txt");
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    wnd.findChild<QAction*>("actCommand_p")->trigger();
    QCOMPARE(szFile("fltplan.txt"), szFile(szTestData("reference/plan/hop_short/expected/fltplan.txt")));
    wnd.findChild<QAction*>("actCommand_g")->trigger();
    QVERIFY(bFileExists("results.txt") && bFlightGuided);
    wnd.findChild<QAction*>("actCommand_s")->trigger();
    QVERIFY(bFileExists("results.txt") && !bFlightGuided);
    QVERIFY(bPath && bDisplayPath && !bDisplayState && !bDisplayRunPath);
    wnd.findChild<QAction*>("actCommand_l")->trigger();
    QCOMPARE(szFile("traj1l.txt"), szFile(szTestData("reference/plan/hop_short/expected/traj1l.txt")));
    QFile::remove("fltplan.txt");
    wnd.findChild<QAction*>("actCommand_f")->trigger();
    QCOMPARE(szFile("fltplan.txt"), szFile(szTestData("reference/plan/hop_short/expected/fltplan.txt")));
    wnd.findChild<QAction*>("actCommand_r")->trigger();
    QVERIFY(bDisplayRunPath);
    wnd.findChild<QAction*>("actCommand_i")->trigger();
    QVERIFY(!bDisplayRunPath && bDisplayPath);
    wnd.findChild<QAction*>("actCommand_r")->trigger();
    wnd.findChild<QAction*>("actCommand_r")->trigger();
    QVERIFY(!bDisplayRunPath && !wnd.pwndProgram()->timerReplay().isActive());
    wnd.findChild<QAction*>("actCommand_c")->trigger();
    QVERIFY(bFileExists("pane.bmp"));
    // The pane has the keys again after a menu command.
    QVERIFY(wnd.focusWidget() == wnd.pwndProgram());
}

void WndTopTest::viewMenuFollowsTheHistory() {
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    QMenu* pmenuView = pmenuTitled(wnd, "&View");
    QVERIFY(pmenuView != nullptr);
    emit pmenuView->aboutToShow();
    // One camera only: neither way is open.
    QVERIFY(!wnd.pactViewBack()->isEnabled());
    QVERIFY(!wnd.pactViewForward()->isEnabled());

    const XfmCFmW3c xfmStart = xfmCFmW;
    WndProgram* pwnd = wnd.pwndProgram();
    const QPoint ptCentre = pwnd->rect().center();
    QTest::mousePress(pwnd, Qt::LeftButton, {}, ptCentre);
    QTest::mouseMove(pwnd, ptCentre + QPoint(80, 0));
    QTest::mouseRelease(pwnd, Qt::LeftButton, {}, ptCentre + QPoint(80, 0));
    const XfmCFmW3c xfmTurned = xfmCFmW;
    QVERIFY(xfmTurned.ptEye.fX != xfmStart.ptEye.fX || xfmTurned.ptEye.fY != xfmStart.ptEye.fY);

    emit pmenuView->aboutToShow();
    QVERIFY(wnd.pactViewBack()->isEnabled());
    QVERIFY(!wnd.pactViewForward()->isEnabled());
    wnd.pactViewBack()->trigger();
    QCOMPARE(xfmCFmW.ptEye.fX, xfmStart.ptEye.fX);
    QCOMPARE(xfmCFmW.ptEye.fY, xfmStart.ptEye.fY);
    QVERIFY(!wnd.pactViewBack()->isEnabled());
    QVERIFY(wnd.pactViewForward()->isEnabled());
    wnd.pactViewBack()->trigger();  // disabled: nothing happens
    wnd.pactViewForward()->trigger();
    QCOMPARE(xfmCFmW.ptEye.fX, xfmTurned.ptEye.fX);
    QCOMPARE(xfmCFmW.ptEye.fY, xfmTurned.ptEye.fY);
    QVERIFY(wnd.pactViewBack()->isEnabled());
    QVERIFY(!wnd.pactViewForward()->isEnabled());
}

void WndTopTest::aboutBox() {
    _bBoxesExpected = true;
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    wnd.findChild<QAction*>("actAbout")->trigger();
    QCOMPARE(_guard.vecSeen().size(), 1);
    QCOMPARE(_guard.vecSeen()[0].szTitle, QString("About Vantorell"));
    QVERIFY(_guard.vecSeen()[0].szText.startsWith(QString("Vantorell ") + VT_VERSION));
    QVERIFY(_guard.vecSeen()[0].pwndParent == &wnd);
}

void WndTopTest::exitSavesTheView() {
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    QVERIFY(!bFileExists("view.out"));
    wnd.findChild<QAction*>("actExit")->trigger();
    QVERIFY(!wnd.isVisible());
    const std::string szView = szFile("view.out");
    char szExpect[400];
    std::snprintf(szExpect, sizeof szExpect,
                  "%12.5f %12.5f %12.5f\n%12.5f %12.5f %12.5f\n%12.5f %12.5f %12.5f\n"
                  "%12.5f %12.5f %12.5f\n",
                  xfmCFmW.ptEye.fX, xfmCFmW.ptEye.fY, xfmCFmW.ptEye.fZ, xfmCFmW.drLook.fX,
                  xfmCFmW.drLook.fY, xfmCFmW.drLook.fZ, xfmCFmW.drUp.fX, xfmCFmW.drUp.fY,
                  xfmCFmW.drUp.fZ, xfmCFmW.fR - xfmCFmW.fL, xfmCFmW.fN, xfmCFmW.fF);
    QCOMPARE(szView, std::string(szExpect));
    // The replay timer went with the window.
    QVERIFY(!wnd.pwndProgram()->timerReplay().isActive());
}

void WndTopTest::paneGotAnOpenGLContext() {
    WndTop wnd;
    wnd.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wnd));
    QVERIFY(wnd.pwndProgram()->isValid());
    const QSurfaceFormat format = wnd.pwndProgram()->format();
    QCOMPARE(format.profile(), QSurfaceFormat::CompatibilityProfile);
    QVERIFY(format.samples() <= 0);
    QVERIFY(format.depthBufferSize() >= 24);
}

QTEST_MAIN(WndTopTest)
#include "wndtop_test.moc"
