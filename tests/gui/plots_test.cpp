// The plots panel in the window: charts after p and s holding the numbers
// of the analysis and the stored run, the time cursor during a replay and
// after i, scrubbing the pane through the run, plan warnings in the panel,
// the choice of charts, and the CSV export of the File menu.
#include <QApplication>
#include <QChart>
#include <QCheckBox>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QLabel>
#include <QLineSeries>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QTest>
#include <QValueAxis>

#include <cmath>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>

#include "app/commands.h"
#include "app/gui/plots.h"
#include "app/gui/window.h"
#include "app/gui/wnddandc.h"
#include "app/gui/wndprogram.h"
#include "app/gui/wndtop.h"
#include "app/plotdata.h"
#include "guitest.h"
#include "plan/planstate.h"
#include "plan/wptfpln.h"
#include "sim/fltsim.h"
#include "sim/params.h"

using namespace vtgui;

namespace {

QLineSeries* pseriesNamed(WndChart* pwnd, const QString& szName) {
    for (QAbstractSeries* pseries : pwnd->chart()->series())
        if (pseries->name() == szName) return qobject_cast<QLineSeries*>(pseries);
    return nullptr;
}

Stvehicle3dof stStored(Long i) { return *static_cast<Stvehicle3dof*>(arPStvehicle[i]); }

bool bSameState(const Stvehicle3dof& st1, const Stvehicle3dof& st2) {
    return st1.fXf == st2.fXf && st1.fZf == st2.fZf && st1.fVeXf == st2.fVeXf &&
           st1.fVeZf == st2.fVeZf && st1.fPitch == st2.fPitch && st1.fPitchDot == st2.fPitchDot &&
           st1.fMs == st2.fMs && st1.fIPitch == st2.fIPitch;
}

QValueAxis* paxisTi(WndChart* pwnd) {
    return qobject_cast<QValueAxis*>(pwnd->chart()->axes(Qt::Horizontal).first());
}

// Whether the column iPxX of the chart as shown is the cursor's dark grey
// over most of the plot area's height (no curve or grid line is that).
bool bCursorDrawnAt(WndChart* pwnd, int iPxX) {
    const QImage img = pwnd->grab().toImage();
    const qreal fDpr = img.devicePixelRatio();
    const QRectF rectPlot = pwnd->rectPlotArea();
    int nDark = 0, nAll = 0;
    for (int iPxY = static_cast<int>(rectPlot.top()) + 2; iPxY < rectPlot.bottom() - 2; iPxY++) {
        const QColor rgb =
            img.pixelColor(static_cast<int>(iPxX * fDpr), static_cast<int>(iPxY * fDpr));
        nAll++;
        if (rgb.red() == 70 && rgb.green() == 70 && rgb.blue() == 70) nDark++;
    }
    return nAll > 10 && nDark > nAll * 8 / 10;
}

QString szBundledHop() { return QString(VT_EXAMPLES) + "/traj1r.txt"; }

}  // namespace

class PlotsTest : public QObject {
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

    void panelSitsBesideThePane();
    void plotsAppearAfterPlanAndAfterSimulate();
    void cursorFollowsTheReplayAndI();
    void scrubbingShowsTheStateAtThatTime();
    void planBreakingALimitShowsItsWarnings();
    void checkBoxesChooseTheCharts();
    void runCsvRoundTripsAgainstResults();
    void planCsvAndTheFileMenu();
    void exportThatCannotBeWrittenSaysSo();
    void screenshot();

private:
    WndTop& wndTop();
    WndProgram& pane() { return *wndTop().pwndProgram(); }
    WndPlots& plots() { return *wndTop().pwndPlots(); }
    void typeKey(char ch) { QTest::keyClick(&pane(), ch); }
    void planAndFly();

    std::unique_ptr<InTempDir> _pdir;
    std::unique_ptr<WndTop> _pwndTop;
    MsgBoxGuard _guard;
    bool _bBoxesExpected = false;
};

void PlotsTest::init() {
    _pdir = std::make_unique<InTempDir>();
    resetProgramState();
    _guard.clear();
    _bBoxesExpected = false;
}

void PlotsTest::cleanup() {
    if (!_bBoxesExpected) QCOMPARE(_guard.vecSeen().size(), 0);
    if (_pwndTop) {
        _pwndTop->close();
        _pwndTop.reset();
    }
    resetProgramState();
    _pdir.reset();
}

WndTop& PlotsTest::wndTop() {
    if (!_pwndTop) {
        _pwndTop = std::make_unique<WndTop>();
        _pwndTop->show();
        if (!QTest::qWaitForWindowExposed(_pwndTop.get())) qFatal("frame not exposed");
        _pwndTop->pwndProgram()->setFocus();
    }
    return *_pwndTop;
}

void PlotsTest::planAndFly() {
    copyFile(szBundledHop(), "traj1r.txt");
    typeKey('p');
    typeKey('s');
    QVERIFY(bPlanExists());
    QVERIFY(arFTiData.n() > 100);
}

// ---- layout ------------------------------------------------------------------------

void PlotsTest::panelSitsBesideThePane() {
    WndTop& wnd = wndTop();
    QDockWidget* pdock = wnd.pdockPlots();
    QVERIFY(pdock->isVisible());
    QCOMPARE(wnd.dockWidgetArea(pdock), Qt::RightDockWidgetArea);
    const QRect rectPane(pane().mapTo(&wnd, QPoint(0, 0)), pane().size());
    const QRect rectPlots(pdock->mapTo(&wnd, QPoint(0, 0)), pdock->size());
    QVERIFY(!rectPane.intersects(rectPlots));
    QVERIFY(rectPlots.left() > rectPane.right());
    QVERIFY(rectPlots.width() > wnd.width() / 4);
    QVERIFY(rectPane.width() > rectPlots.width());
    // Nothing yet: a line says what fills the panel; the keys stay with the pane.
    QVERIFY(plots().plabelEmpty()->isVisible());
    for (PlotQty qty : arPlotQty) QVERIFY(!plots().pwndChart(qty)->isVisible());
    QVERIFY(!plots().psliderTi()->isEnabled());
    QVERIFY(!plots().plabelLanding()->isVisible());
    QVERIFY(!plots().plabelChecks()->isVisible());
    QVERIFY(wnd.focusWidget() == &pane());
    // View > Plots hides and shows the panel.
    QAction* pact = wnd.findChild<QAction*>("actViewPlots");
    QVERIFY(pact != nullptr);
    pact->trigger();
    QTRY_VERIFY(!pdock->isVisible());
    pact->trigger();
    QTRY_VERIFY(pdock->isVisible());
}

// ---- after p and s ------------------------------------------------------------------

void PlotsTest::plotsAppearAfterPlanAndAfterSimulate() {
    copyFile(szBundledHop(), "traj1r.txt");
    typeKey('p');
    QVERIFY(!plots().plabelEmpty()->isVisible());
    for (PlotQty qty : arPlotQty) {
        WndChart* pview = plots().pwndChart(qty);
        QVERIFY(pview->isVisible());
        QLineSeries* pseriesPlan = pseriesNamed(pview, "plan");
        QVERIFY(pseriesPlan != nullptr);
        QCOMPARE(pseriesPlan->count(), static_cast<int>(pvdfT->n()));
        QCOMPARE(pseriesPlan->pen().style(), Qt::DashLine);
        QVERIFY(pseriesNamed(pview, "run") == nullptr);
        QVERIFY(pseriesNamed(pview, "run actual") == nullptr);
    }
    // The plotted height is the analysis' height at each sample.
    QLineSeries* pseriesZ = pseriesNamed(plots().pwndChart(PlotQty::Z), "plan");
    for (Long i = pvdfT->lo; i <= pvdfT->hi; i++) {
        const QPointF pt = pseriesZ->at(static_cast<int>(i - pvdfT->lo));
        QCOMPARE(pt.x(), (*pvdfT)[i]);
        QCOMPARE(pt.y(), (*pvdfAt(paPVdfX, i))[3]);
    }
    QVERIFY(plots().plabelChecks()->isVisible());
    QVERIFY(plots().plabelChecks()->text().contains("within limits"));
    QVERIFY(!plots().plistWarnings()->isVisible());
    QVERIFY(!plots().plabelLanding()->isVisible());
    QVERIFY(!plots().bCursorShown());

    typeKey('s');
    for (PlotQty qty : arPlotQty) {
        WndChart* pview = plots().pwndChart(qty);
        const bool bTwo = qty == PlotQty::Thrust || qty == PlotQty::Moment;
        QLineSeries* pseriesRun = pseriesNamed(pview, bTwo ? "run actual" : "run");
        QVERIFY(pseriesRun != nullptr);
        QCOMPARE(pseriesRun->count(), static_cast<int>(arFTiData.n()));
        QCOMPARE(pseriesRun->pen().style(), Qt::SolidLine);
        if (bTwo) QVERIFY(pseriesNamed(pview, "run commanded") != nullptr);
        QVERIFY(pseriesNamed(pview, "plan") != nullptr);
    }
    // The plotted thrust is the stored record's actual thrust.
    QLineSeries* pseriesThrust = pseriesNamed(plots().pwndChart(PlotQty::Thrust), "run actual");
    for (Long i = arFTiData.iFirst(); i <= arFTiData.iLast(); i++) {
        const QPointF pt = pseriesThrust->at(static_cast<int>(i - arFTiData.iFirst()));
        QCOMPARE(pt.x(), arFTiData[i]);
        QCOMPARE(pt.y(), stStored(i).fFcThrustAct);
    }
    // The landing miss, and the cursor at the start of the run.
    QVERIFY(plots().plabelLanding()->isVisible());
    LandingMiss lm{};
    QVERIFY(bLandingMissFmProgram(&lm));
    QCOMPARE(plots().plabelLanding()->text(), QString::fromStdString(szLandingMiss(lm)));
    QVERIFY(plots().plabelLanding()->text().startsWith("landing miss "));
    const double fDist =
        std::hypot(stStored(arFTiData.iLast()).fXf - 28.5, stStored(arFTiData.iLast()).fZf);
    QVERIFY(plots().plabelLanding()->text().startsWith(
        QString::asprintf("landing miss %.4f m", fDist)));
    QVERIFY(plots().bCursorShown());
    QCOMPARE(plots().fTiCursor(), arFTiData[arFTiData.iFirst()]);
    QVERIFY(plots().psliderTi()->isEnabled());
    QCOMPARE(plots().psliderTi()->maximum(), WndPlots::iSliderFmFTi(arFTiData[arFTiData.iLast()]));
}

// ---- cursor -------------------------------------------------------------------------

void PlotsTest::cursorFollowsTheReplayAndI() {
    planAndFly();
    typeKey('r');
    QVERIFY(bDisplayRunPath);
    // The cursor goes forward with the replayed time, tick by tick.
    double fTiLast = plots().fTiCursor();
    int nMoves = 0;
    for (int iTick = 0; iTick < 40 && nMoves < 5; iTick++) {
        QTest::qWait(30);
        const double fTi = plots().fTiCursor();
        QVERIFY(fTi >= fTiLast);
        if (fTi > fTiLast) nMoves++;
        fTiLast = fTi;
        if (bDisplayRunPath) {
            // Where the pane's replay is now, within one step.
            const double fTiReplay =
                std::clamp(fSTiSim, arFTiData[arFTiData.iFirst()], arFTiData[arFTiData.iLast()]);
            QVERIFY(fTi <= fTiReplay);
            QVERIFY(fTiReplay - fTi < fDTiCursorStep);
        }
    }
    QVERIFY(nMoves >= 5);
    QTRY_VERIFY(plots().fTiCursor() > 0.5);
    // Every chart's cursor stands at that time: a dark line across the
    // plot area in the column of that time, which a moment earlier was not.
    typeKey('r');  // hold it there
    const double fTiCursor = plots().fTiCursor();
    for (PlotQty qty : arPlotQty) {
        WndChart* pwnd = plots().pwndChart(qty);
        QVERIFY(pwnd->bCursorShown());
        QCOMPARE(pwnd->fTiCursor(), fTiCursor);
        const QRectF rectPlot = pwnd->rectPlotArea();
        const double fFrac =
            (fTiCursor - paxisTi(pwnd)->min()) / (paxisTi(pwnd)->max() - paxisTi(pwnd)->min());
        QVERIFY(std::fabs(pwnd->iPxXCursor() - (rectPlot.left() + fFrac * rectPlot.width())) <=
                1.0);
        QVERIFY(bCursorDrawnAt(pwnd, pwnd->iPxXCursor()));
    }
    QCOMPARE(plots().psliderTi()->value(), WndPlots::iSliderFmFTi(fTiCursor));
    QVERIFY(plots().plabelTi()->text().startsWith("t = "));

    // i goes back to the first state.
    WndChart* pwndX = plots().pwndChart(PlotQty::X);
    const int iPxXBefore = pwndX->iPxXCursor();
    typeKey('i');
    QCOMPARE(plots().fTiCursor(), arFTiData[arFTiData.iFirst()]);
    QCOMPARE(pwndX->fTiCursor(), arFTiData[arFTiData.iFirst()]);
    QVERIFY(pwndX->iPxXCursor() < iPxXBefore);
    QVERIFY(bCursorDrawnAt(pwndX, pwndX->iPxXCursor()));
    QVERIFY(!bCursorDrawnAt(pwndX, iPxXBefore));
    // The timer left running by i moves nothing any more.
    QTest::qWait(100);
    QCOMPARE(plots().fTiCursor(), arFTiData[arFTiData.iFirst()]);
}

// ---- scrubbing ----------------------------------------------------------------------

void PlotsTest::scrubbingShowsTheStateAtThatTime() {
    planAndFly();
    QSlider* pslider = plots().psliderTi();
    pslider->setValue(WndPlots::iSliderFmFTi(1.0));
    QCOMPARE(plots().fTiCursor(), 1.0);
    QCOMPARE(fSTiSim, 1.0);
    Stvehicle3dof stExpect = stStored(arFTiData.iFirst());
    stvehicle3dofAtFTi(&stExpect, 1.0);
    QVERIFY(bSameState(stvehicle3dof, stExpect));
    // 1.0 s is a stored time: the record itself, but for the inertia,
    // which the look-up recomputes from the mass.
    const Long iRec = arFTiData.iFirst() + 20;
    QCOMPARE(arFTiData[iRec], 1.0);
    QCOMPARE(stvehicle3dof.fXf, stStored(iRec).fXf);
    QCOMPARE(stvehicle3dof.fMs, stStored(iRec).fMs);
    // The pane shows that one state now.
    QVERIFY(bDisplayState && !bDisplayPath && !bDisplayRunPath);

    // Another time, another state, between two records.
    const Stvehicle3dof stAt1 = stvehicle3dof;
    pslider->setValue(WndPlots::iSliderFmFTi(3.125));
    QVERIFY(stvehicle3dof.fXf > stAt1.fXf);
    Stvehicle3dof stExpect2 = stAt1;
    stvehicle3dofAtFTi(&stExpect2, 3.125);
    QVERIFY(bSameState(stvehicle3dof, stExpect2));
    QVERIFY(stvehicle3dof.fXf > stStored(arFTiData.iFirst() + 62).fXf);
    QVERIFY(stvehicle3dof.fXf < stStored(arFTiData.iFirst() + 63).fXf);

    // The End key goes to the end of the run.
    QTest::keyClick(pslider, Qt::Key_End);
    QCOMPARE(plots().fTiCursor(), arFTiData[arFTiData.iLast()]);
    QCOMPARE(stvehicle3dof.fXf, stStored(arFTiData.iLast()).fXf);

    // Scrubbing during a replay stops it there.
    typeKey('r');
    QVERIFY(bDisplayRunPath && pane().timerReplay().isActive());
    pslider->setValue(WndPlots::iSliderFmFTi(2.0));
    QVERIFY(!bDisplayRunPath);
    QVERIFY(!pane().timerReplay().isActive());
    QCOMPARE(plots().fTiCursor(), 2.0);
    QTest::qWait(100);
    QCOMPARE(plots().fTiCursor(), 2.0);
    QCOMPARE(fSTiSim, 2.0);
    // The status panel follows the state shown.
    char szUsed[80];
    std::snprintf(szUsed, sizeof szUsed, "propellant used = %0.02lf kg",
                  fMsGTO - stStored(arFTiData.iFirst() + 40).fMs);
    QCOMPARE(szDAndCText().substr(0, std::string(szUsed).size()), std::string(szUsed));
}

// ---- plan checks ---------------------------------------------------------------------

void PlotsTest::planBreakingALimitShowsItsWarnings() {
    copyFile("plan/fast_hop/traj1r.txt", "traj1r.txt");
    typeKey('p');
    // In the panel, not in a box (cleanup checks that none opened).
    QListWidget* plist = plots().plistWarnings();
    QVERIFY(plist->isVisible());
    const std::vector<PlanViolation> vec = vecPlanViolationFmProgram();
    QVERIFY(vec.size() >= 3);
    QCOMPARE(plist->count(), static_cast<int>(vec.size()));
    for (int i = 0; i < plist->count(); i++)
        QCOMPARE(plist->item(i)->text(), QString::fromStdString(szPlanViolation(vec[i])));
    QVERIFY(plist->item(0)->text().contains("above their share of the maximum thrust"));
    QVERIFY(plots().plabelChecks()->text().startsWith(
        QString("Plan checks: %1 warnings").arg(vec.size())));

    // A plan under the ground: one warning, of the terrain.
    copyFile("plan/under_ground/traj1r.txt", "traj1r.txt");
    typeKey('p');
    QCOMPARE(plist->count(), 1);
    QVERIFY(plist->item(0)->text().contains("below the terrain"));
    QVERIFY(plots().plabelChecks()->text().startsWith("Plan checks: 1 warning "));

    // A flyable plan clears them.
    copyFile(szBundledHop(), "traj1r.txt");
    typeKey('p');
    QVERIFY(!plist->isVisible());
    QCOMPARE(plist->count(), 0);
    QVERIFY(plots().plabelChecks()->text().contains("within limits"));

    // A plan that cannot be made takes the old one's curves and checks away.
    _bBoxesExpected = true;
    copyFile("plan/couldnt_solve/traj1r.txt", "traj1r.txt");
    typeKey('p');
    QCOMPARE(_guard.vecSeen().size(), 1);
    QCOMPARE(_guard.vecSeen()[0].szText, QString("couldn't solve"));
    QVERIFY(!plots().plabelChecks()->isVisible());
    QVERIFY(plots().plabelEmpty()->isVisible());
}

void PlotsTest::checkBoxesChooseTheCharts() {
    planAndFly();
    QCheckBox* pcheckMoment = plots().pcheckQty(PlotQty::Moment);
    QCOMPARE(pcheckMoment->text(), QString("moment"));
    QTest::mouseClick(pcheckMoment, Qt::LeftButton);
    QVERIFY(!pcheckMoment->isChecked());
    QVERIFY(!plots().pwndChart(PlotQty::Moment)->isVisible());
    for (PlotQty qty : {PlotQty::X, PlotQty::Z, PlotQty::Pitch, PlotQty::Thrust, PlotQty::Mass})
        QVERIFY(plots().pwndChart(qty)->isVisible());
    // A new run keeps the choice.
    typeKey('s');
    QVERIFY(!plots().pwndChart(PlotQty::Moment)->isVisible());
    QTest::mouseClick(pcheckMoment, Qt::LeftButton);
    QVERIFY(plots().pwndChart(PlotQty::Moment)->isVisible());
    // The keys stay with the pane.
    QVERIFY(wndTop().focusWidget() == &pane());
}

// ---- CSV ----------------------------------------------------------------------------

void PlotsTest::runCsvRoundTripsAgainstResults() {
    planAndFly();
    QVERIFY(wndTop().bExportRunCsv("run.csv"));
    std::istringstream inCsv(szFile("run.csv"));
    std::istringstream inResults(szFile("results.txt"));
    std::string szCsv, szResults;
    QVERIFY(static_cast<bool>(std::getline(inCsv, szCsv)));
    QCOMPARE(szCsv, std::string(szRunCsvHeader));
    QVERIFY(static_cast<bool>(std::getline(inResults, szResults)));
    int nRow = 0;
    while (std::getline(inResults, szResults)) {
        QVERIFY(static_cast<bool>(std::getline(inCsv, szCsv)));
        double af[13];
        QCOMPARE(std::sscanf(szCsv.c_str(), "%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf",
                             &af[0], &af[1], &af[2], &af[3], &af[4], &af[5], &af[6], &af[7], &af[8],
                             &af[9], &af[10], &af[11], &af[12]),
                 13);
        // The results file's columns at its own precision; pitch and pitch
        // rate in degrees there.
        char szLine[200];
        std::snprintf(szLine, sizeof szLine,
                      "%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.2lf%8.1lf%8.1lf%8.1lf%8.1lf",
                      af[0], af[1], af[2], af[5] / 3.141592653589793 * 180.0, af[3], af[4],
                      af[6] / 3.141592653589793 * 180.0, af[7], af[9], af[10], af[11], af[12]);
        QCOMPARE(szResults, std::string(szLine));
        nRow++;
    }
    QVERIFY(!std::getline(inCsv, szCsv));
    QCOMPARE(nRow, static_cast<int>(arFTiData.n()));
}

void PlotsTest::planCsvAndTheFileMenu() {
    WndTop& wnd = wndTop();
    QAction* pactRun = wnd.findChild<QAction*>("actExportRunCsv");
    QAction* pactPlan = wnd.findChild<QAction*>("actExportPlanCsv");
    QVERIFY(pactRun != nullptr && pactPlan != nullptr);
    QMenu* pmenuFile = pactRun->associatedObjects().isEmpty()
                           ? nullptr
                           : qobject_cast<QMenu*>(pactRun->associatedObjects().first());
    QVERIFY(pmenuFile != nullptr);
    emit pmenuFile->aboutToShow();
    QVERIFY(!pactRun->isEnabled());
    QVERIFY(!pactPlan->isEnabled());
    copyFile(szBundledHop(), "traj1r.txt");
    typeKey('p');
    emit pmenuFile->aboutToShow();
    QVERIFY(!pactRun->isEnabled());
    QVERIFY(pactPlan->isEnabled());
    typeKey('s');
    emit pmenuFile->aboutToShow();
    QVERIFY(pactRun->isEnabled());
    QVERIFY(wnd.bExportPlanCsv("plan.csv"));
    // One header and one row per sample; the thrust column is the flight
    // plan's at its precision.
    std::istringstream inCsv(szFile("plan.csv"));
    std::istringstream inFltplan(szFile("fltplan.txt"));
    std::string szCsv, szFltplan;
    std::getline(inCsv, szCsv);
    QCOMPARE(szCsv, std::string(szPlanCsvHeader));
    std::getline(inFltplan, szFltplan);
    std::getline(inFltplan, szFltplan);
    int nRow = 0;
    while (std::getline(inCsv, szCsv)) {
        QVERIFY(static_cast<bool>(std::getline(inFltplan, szFltplan)));
        double af[18];
        QCOMPARE(std::sscanf(
                     szCsv.c_str(),
                     "%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf,%lf",
                     &af[0], &af[1], &af[2], &af[3], &af[4], &af[5], &af[6], &af[7], &af[8], &af[9],
                     &af[10], &af[11], &af[12], &af[13], &af[14], &af[15], &af[16], &af[17]),
                 18);
        char szRow[80];
        std::snprintf(szRow, sizeof szRow, "%12.6lf %12.6lf %12.6lf", af[0], af[13], af[14]);
        QCOMPARE(szFltplan, std::string(szRow));
        nRow++;
    }
    QCOMPARE(nRow, static_cast<int>(pvdfT->n()));
}

void PlotsTest::exportThatCannotBeWrittenSaysSo() {
    _bBoxesExpected = true;
    planAndFly();
    QDir().mkdir("run.csv");
    QVERIFY(!wndTop().bExportRunCsv("run.csv"));
    QCOMPARE(_guard.vecSeen().size(), 1);
    QCOMPARE(_guard.vecSeen()[0].szText, QString("Cannot write run.csv: Is a directory"));
    QCOMPARE(_guard.vecSeen()[0].szTitle, QString("Vantorell"));
    QCOMPARE(_guard.vecSeen()[0].icon, QMessageBox::Warning);
}

// ---- screenshot ---------------------------------------------------------------------

void PlotsTest::screenshot() {
    const QByteArray byDir = qgetenv("VT_SCREENSHOT_DIR");
    if (byDir.isEmpty()) QSKIP("set VT_SCREENSHOT_DIR to write screenshots");
    const QString szDir = QString::fromLocal8Bit(byDir);
    planAndFly();
    QTest::qWait(100);
    wndTop().grab().save(szDir + "/plots_flown.png");
    // The pane at the top of the hop, the cursor with it.
    plots().psliderTi()->setValue(WndPlots::iSliderFmFTi(2.9));
    QTest::qWait(100);
    wndTop().grab().save(szDir + "/plots_scrubbed.png");
    copyFile("plan/fast_hop/traj1r.txt", "traj1r.txt");
    typeKey('p');
    QTest::qWait(100);
    wndTop().grab().save(szDir + "/plots_warnings.png");
}

QTEST_MAIN(PlotsTest)
#include "plots_test.moc"
