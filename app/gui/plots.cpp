#include "app/gui/plots.h"

#include <QApplication>
#include <QChart>
#include <QCheckBox>
#include <QGraphicsLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLegend>
#include <QLineSeries>
#include <QListWidget>
#include <QPainter>
#include <QPixmap>
#include <QSlider>
#include <QTimer>
#include <QVBoxLayout>
#include <QValueAxis>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <memory>

#include "app/commands.h"
#include "sim/fltsim.h"
#include "sim/params.h"

namespace {

// Run solid and wide, in red (actual) and orange (commanded); the plan dashed
// dark blue on top, so that where a good flight follows its plan the dashes
// still show over the run. In the panel the run is a light band (the colour
// at a third of its strength) and the dashes are wider, so that they stand
// out on it.
const QColor rgbPlan(20, 60, 170);
const QColor rgbRun(230, 60, 50);
const QColor rgbRunCmd(255, 160, 40);
const QColor rgbCursor(70, 70, 70);

QPen penCurve(const PlotCurve& curve) {
    if (curve.source == PlotSource::Plan) return QPen(rgbPlan, 1.6, Qt::DashLine);
    if (curve.szLegend == "run commanded") return QPen(rgbRunCmd, 3.0, Qt::SolidLine);
    return QPen(rgbRun, 3.0, Qt::SolidLine);
}

QPen penCurvePanel(const QPen& pen) {
    QPen penPanel = pen;
    if (pen.style() == Qt::DashLine) {
        penPanel.setWidthF(2.2);
    } else {
        QColor rgb = pen.color();
        rgb.setAlpha(85);
        penPanel.setColor(rgb);
        penPanel.setWidthF(5.0);
    }
    return penPanel;
}

// The curves of one quantity in drawing order: run first, plan on top.
std::vector<const PlotCurve*> vecCurveOf(PlotQty qty, const PlotData& data) {
    std::vector<const PlotCurve*> vec;
    for (const PlotCurve& curve : data.vecCurveRun)
        if (curve.qty == qty) vec.push_back(&curve);
    for (const PlotCurve& curve : data.vecCurvePlan)
        if (curve.qty == qty) vec.push_back(&curve);
    return vec;
}

bool bAnyCurve(const PlotData& data) {
    return !data.vecCurvePlan.empty() || !data.vecCurveRun.empty();
}

// Smallest and largest finite value of a set of vectors; false when none.
bool bRangeOf(double* pfMin, double* pfMax,
              const std::vector<const std::vector<double>*>& vecpvec) {
    bool bAny = false;
    for (const std::vector<double>* pvec : vecpvec)
        for (double f : *pvec) {
            if (!std::isfinite(f)) continue;
            if (!bAny || f < *pfMin) *pfMin = f;
            if (!bAny || f > *pfMax) *pfMax = f;
            bAny = true;
        }
    return bAny;
}

void layOutChart(QChart* pchart, int iPxDX, int iPxDY) {
    pchart->resize(iPxDX, iPxDY);
    // The chart lays itself out when the event loop comes round; here and
    // now instead.
    QCoreApplication::sendPostedEvents(pchart, QEvent::LayoutRequest);
    if (pchart->layout() != nullptr) pchart->layout()->activate();
}

}  // namespace

// ---- charts ------------------------------------------------------------------------

double fStepRound(double fLo, double fHi, int nStep) {
    // Start from the power of ten at or below the even split and take the
    // first of its 1, 2, 5 multiples (then the next power) under which the
    // range, ends rounded outward, spans no more than nStep steps. The
    // rounding outward can add up to one step, so the loop goes on past the
    // first candidate at or above the split.
    const double fRaw = (fHi - fLo) / nStep;
    double fPow = std::pow(10.0, std::floor(std::log10(fRaw)));
    for (;;) {
        for (double fMul : {1.0, 2.0, 5.0}) {
            const double fStep = fMul * fPow;
            const double nSteps = std::ceil(fHi / fStep - 1e-9) - std::floor(fLo / fStep + 1e-9);
            if (nSteps <= nStep) return fStep;
        }
        fPow *= 10.0;
    }
}

double fRdnWrapped(double fRdn) {
    // f - 2 pi ceil((f - pi) / 2 pi): subtracts whole turns until the angle
    // is at most pi and more than -pi (pi itself stays, -pi becomes pi).
    constexpr double fPi = 3.141592653589793;
    return fRdn - 2.0 * fPi * std::ceil((fRdn - fPi) / (2.0 * fPi));
}

QChart* pchartPlotNew(PlotQty qty, const PlotData& data, int nStepValue) {
    auto* pchart = new QChart;
    pchart->setBackgroundRoundness(0);
    pchart->setMargins(QMargins(2, 2, 2, 2));
    pchart->layout()->setContentsMargins(0, 0, 0, 0);
    pchart->legend()->setAlignment(Qt::AlignTop);
    pchart->legend()->setMarkerShape(QLegend::MarkerShapeFromSeries);

    auto* paxisTi = new QValueAxis;
    paxisTi->setTitleText("t (s)");
    paxisTi->setLabelFormat("%g");
    auto* paxisF = new QValueAxis;
    paxisF->setTitleText(QString::fromUtf8(szPlotQtyAxis(qty)));
    paxisF->setLabelFormat("%g");
    pchart->addAxis(paxisTi, Qt::AlignBottom);
    pchart->addAxis(paxisF, Qt::AlignLeft);

    std::vector<const std::vector<double>*> vecpvecTi, vecpvecF;
    for (const PlotCurve* pcurve : vecCurveOf(qty, data)) {
        auto* pseries = new QLineSeries;
        pseries->setName(QString::fromStdString(pcurve->szLegend));
        QList<QPointF> vecPt;
        vecPt.reserve(static_cast<qsizetype>(pcurve->vecFTi.size()));
        for (std::size_t i = 0; i < pcurve->vecFTi.size(); i++)
            vecPt.append(QPointF(pcurve->vecFTi[i], pcurve->vecF[i]));
        pseries->replace(vecPt);
        pseries->setPen(penCurve(*pcurve));
        pchart->addSeries(pseries);
        pseries->attachAxis(paxisTi);
        pseries->attachAxis(paxisF);
        vecpvecTi.push_back(&pcurve->vecFTi);
        vecpvecF.push_back(&pcurve->vecF);
    }

    double fTiMin = 0.0, fTiMax = 1.0, fMin = 0.0, fMax = 1.0;
    if (!bRangeOf(&fTiMin, &fTiMax, vecpvecTi) || !(fTiMax > fTiMin)) fTiMax = fTiMin + 1.0;
    if (!bRangeOf(&fMin, &fMax, vecpvecF)) {
        fMin = 0.0;
        fMax = 1.0;
    }
    // A flat line gets a band around it, others a little room, which does
    // not cross zero (thrust and mass stay on their side of it).
    const double fPad = fMax > fMin ? 0.03 * (fMax - fMin) : std::max(1.0, 0.05 * std::fabs(fMax));
    double fLo = fMin - fPad, fHi = fMax + fPad;
    if (fMin >= 0.0 && fLo < 0.0) fLo = 0.0;
    if (fMax <= 0.0 && fHi > 0.0) fHi = 0.0;
    paxisTi->setRange(fTiMin, fTiMax);
    paxisTi->applyNiceNumbers();
    if (nStepValue > 0) {
        const double fStep = fStepRound(fLo, fHi, nStepValue);
        paxisF->setRange(std::floor(fLo / fStep + 1e-9) * fStep,
                         std::ceil(fHi / fStep - 1e-9) * fStep);
        paxisF->setTickType(QValueAxis::TicksDynamic);
        paxisF->setTickAnchor(0.0);
        paxisF->setTickInterval(fStep);
    } else {
        paxisF->setRange(fLo, fHi);
        paxisF->applyNiceNumbers();
    }
    return pchart;
}

QImage imgChartFm(QChart* pchart, QGraphicsScene* pscene, int iPxDX, int iPxDY, qreal fDpr) {
    layOutChart(pchart, iPxDX, iPxDY);
    QImage img(static_cast<int>(std::lround(iPxDX * fDpr)),
               static_cast<int>(std::lround(iPxDY * fDpr)), QImage::Format_ARGB32_Premultiplied);
    img.setDevicePixelRatio(fDpr);
    img.fill(Qt::white);
    QPainter painter(&img);
    painter.setRenderHint(QPainter::Antialiasing);
    pscene->render(&painter, QRectF(0, 0, iPxDX, iPxDY), QRectF(0, 0, iPxDX, iPxDY));
    return img;
}

bool bWritePlotPngs(const PlotData& data, std::string* pszError) {
    for (PlotQty qty : arPlotQty) {
        QGraphicsScene scene;
        QChart* pchart = pchartPlotNew(qty, data);
        scene.addItem(pchart);  // the scene owns it
        const QImage img = imgChartFm(pchart, &scene, iPxDXPlotPng, iPxDYPlotPng, 1.0);
        const QString szFile = QString("plot_%1.png").arg(szPlotQtyName(qty));
        if (img.isNull() || !img.save(szFile, "PNG")) {
            if (pszError != nullptr) *pszError = szFile.toStdString();
            return false;
        }
    }
    return true;
}

namespace {

// While the charts are drawn with no display, the toolkit's chatter about
// its set-up (run-time directories, fonts) stays off the batch run's error
// stream; its critical and fatal messages still go there.
void messageOffscreen(QtMsgType type, const QMessageLogContext&, const QString& szMsg) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "Vantorell: %s\n", qPrintable(szMsg));
}

}  // namespace

bool bWritePlotPngsOffscreen(const PlotData& data) {
    const QtMessageHandler handlerOld = qInstallMessageHandler(messageOffscreen);
    std::unique_ptr<QApplication> papp;
    if (QCoreApplication::instance() == nullptr) {
        // The platform is named on the command line the toolkit reads, which
        // wins over a QT_QPA_PLATFORM the user may have set.
        static char szArg0[] = "vantorell";
        static char szArg1[] = "-platform";
        static char szArg2[] = "offscreen";
        static char* aszArg[] = {szArg0, szArg1, szArg2, nullptr};
        static int argc = 3;
        papp = std::make_unique<QApplication>(argc, aszArg);
        // The toolkit takes the user's locale; the program's files keep a
        // decimal point.
        std::setlocale(LC_NUMERIC, "C");
    }
    std::string szFile;
    const bool bOk = bWritePlotPngs(data, &szFile);
    if (!bOk) std::fprintf(stderr, "Vantorell: cannot write %s\n", szFile.c_str());
    papp.reset();
    qInstallMessageHandler(handlerOld);
    return bOk;
}

// ---- one chart ---------------------------------------------------------------------

WndChart::WndChart(QWidget* pwndParent) : QWidget(pwndParent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void WndChart::setChart(QChart* pchart) {
    if (_pchart != nullptr) {
        _scene.removeItem(_pchart);
        delete _pchart;
    }
    _pchart = pchart;
    if (_pchart != nullptr) _scene.addItem(_pchart);
    _bPictureStale = true;
    update();
}

void WndChart::setCursor(bool bShown, double fTi) {
    if (_bPictureStale && _pchart != nullptr && _iPxPlotLeft > 0) {
        // The cursor's column depends on the plot area: lay it out now.
        drawPicture();
        update();
    }
    if (bShown == _bCursor && fTi == _fTiCursor) return;
    // Only the two columns change.
    const int iPxXOld = _bCursor ? iPxXCursor() : -1;
    _bCursor = bShown;
    _fTiCursor = fTi;
    const int iPxXNew = _bCursor ? iPxXCursor() : -1;
    if (iPxXOld >= 0) update(iPxXOld - 2, 0, 5, height());
    if (iPxXNew >= 0) update(iPxXNew - 2, 0, 5, height());
}

void WndChart::setPlotLeft(int iPxLeft) {
    if (iPxLeft == _iPxPlotLeft) return;
    _iPxPlotLeft = iPxLeft;
    _bPictureStale = true;
    update();
}

int WndChart::iPxPlotLeftOwn() {
    if (_pchart == nullptr) return 0;
    _pchart->layout()->setContentsMargins(0, 0, 0, 0);
    layOutChart(_pchart, std::max(1, width()), std::max(1, height()));
    _bPictureStale = true;
    return static_cast<int>(std::ceil(_pchart->plotArea().left()));
}

QRectF WndChart::rectPlotArea() const {
    return _pchart != nullptr ? _pchart->plotArea() : QRectF();
}

int WndChart::iPxXCursor() const {
    if (_pchart == nullptr) return -1;
    const auto vecSeries = _pchart->series();
    const double fPxX = vecSeries.isEmpty()
                            ? rectPlotArea().left()
                            : _pchart->mapToPosition(QPointF(_fTiCursor, 0.0), vecSeries.first()).x();
    return static_cast<int>(std::lround(fPxX));
}

void WndChart::resizeEvent(QResizeEvent* pevent) {
    _bPictureStale = true;
    QWidget::resizeEvent(pevent);
}

void WndChart::drawPicture() {
    _bPictureStale = false;
    if (_pchart == nullptr || width() < 1 || height() < 1) {
        _pix = QPixmap();
        return;
    }
    // Laid out by itself first; then moved right by as much as its plot area
    // starts short of the shared edge, to the fraction of a pixel (the axis
    // labels keep their width, so the plot area moves by just that much).
    _pchart->layout()->setContentsMargins(0, 0, 0, 0);
    layOutChart(_pchart, width(), height());
    const double fPxShort = _iPxPlotLeft - _pchart->plotArea().left();
    if (fPxShort > 0.0) _pchart->layout()->setContentsMargins(fPxShort, 0, 0, 0);
    _pix = QPixmap::fromImage(imgChartFm(_pchart, &_scene, width(), height(), devicePixelRatioF()));
}

void WndChart::paintEvent(QPaintEvent*) {
    if (_bPictureStale) drawPicture();
    QPainter painter(this);
    if (_pix.isNull())
        painter.fillRect(rect(), Qt::white);
    else
        painter.drawPixmap(0, 0, _pix);
    if (_bCursor) {
        const QRectF rectPlot = rectPlotArea();
        const int iPxX = iPxXCursor();
        painter.setPen(QPen(rgbCursor, 1.0));
        painter.drawLine(QPointF(iPxX + 0.5, rectPlot.top()),
                         QPointF(iPxX + 0.5, rectPlot.bottom()));
    }
}

// ---- the panel ---------------------------------------------------------------------

int WndPlots::iSliderFmFTi(double fTi) { return static_cast<int>(std::lround(fTi * 1000.0)); }

double WndPlots::fTiFmISlider(int iPos) { return iPos / 1000.0; }

WndPlots::WndPlots(Workbench& wb, QWidget* pwndParent) : QWidget(pwndParent), _wb(wb) {
    setObjectName("wndPlots");
    auto* playout = new QVBoxLayout(this);
    playout->setContentsMargins(4, 4, 4, 4);
    playout->setSpacing(2);

    auto* playoutChecks = new QHBoxLayout;
    playoutChecks->setSpacing(8);
    for (PlotQty qty : arPlotQty) {
        auto* pcheck = new QCheckBox(szPlotQtyName(qty), this);
        pcheck->setObjectName(QString("checkPlot_%1").arg(szPlotQtyName(qty)));
        pcheck->setChecked(true);
        pcheck->setToolTip(QString("Show %1 against time").arg(szPlotQtyAxis(qty)));
        // The pane keeps the keys: a check box takes focus from the mouse only.
        pcheck->setFocusPolicy(Qt::NoFocus);
        connect(pcheck, &QCheckBox::toggled, this, [this] { updateVisibility(); });
        _apcheck[static_cast<int>(qty)] = pcheck;
        playoutChecks->addWidget(pcheck);
    }
    playoutChecks->addStretch(1);
    playout->addLayout(playoutChecks);

    // One legend for all charts: they share their styles and time axis.
    auto* plabelLegend = new QLabel(this);
    plabelLegend->setObjectName("labelPlotLegend");
    plabelLegend->setTextFormat(Qt::RichText);
    plabelLegend->setText(
        QString("<span style=\"color:%1\"><b>&#x2501;&#x2501;</b></span> run "
                "(actual) &nbsp; <span style=\"color:%2\"><b>&#x2501;&#x2501;"
                "</b></span> run commanded &nbsp; <span style=\"color:%3\"><b>"
                "&#x2505;&#x2505;</b></span> plan &nbsp; <span style=\"color:%4\">"
                "<b>|</b></span> shown &nbsp;&nbsp; time t in s")
            .arg(rgbRun.name(), rgbRunCmd.name(), rgbPlan.name(), rgbCursor.name()));
    playout->addWidget(plabelLegend);

    _plabelEmpty = new QLabel("Nothing to plot yet: p plans the hop, s flies it.", this);
    _plabelEmpty->setObjectName("labelPlotEmpty");
    _plabelEmpty->setAlignment(Qt::AlignCenter);
    playout->addWidget(_plabelEmpty, 1);

    for (PlotQty qty : arPlotQty) {
        auto* pwnd = new WndChart(this);
        pwnd->setObjectName(QString("chartPlot_%1").arg(szPlotQtyName(qty)));
        pwnd->setMinimumHeight(90);
        _apwndChart[static_cast<int>(qty)] = pwnd;
        playout->addWidget(pwnd, 1);
    }

    auto* playoutTi = new QHBoxLayout;
    auto* plabelT = new QLabel("t", this);
    playoutTi->addWidget(plabelT);
    _psliderTi = new QSlider(Qt::Horizontal, this);
    _psliderTi->setObjectName("sliderPlotTi");
    _psliderTi->setToolTip("Scrub through the stored run: the pane shows the state at this time");
    _psliderTi->setFocusPolicy(Qt::NoFocus);
    _psliderTi->setEnabled(false);
    connect(_psliderTi, &QSlider::valueChanged, this, &WndPlots::sliderMoved);
    playoutTi->addWidget(_psliderTi, 1);
    _plabelTi = new QLabel(this);
    _plabelTi->setObjectName("labelPlotTi");
    // A fixed width: a new time each tick must not lay the panel out again.
    _plabelTi->setFixedWidth(fontMetrics().horizontalAdvance("t = 300.000 s "));
    playoutTi->addWidget(_plabelTi);
    playout->addLayout(playoutTi);

    _plabelFlight = new QLabel(this);
    _plabelFlight->setObjectName("labelPlotFlight");
    _plabelFlight->setStyleSheet("font-weight: bold;");
    playout->addWidget(_plabelFlight);

    _plabelLanding = new QLabel(this);
    _plabelLanding->setObjectName("labelPlotLanding");
    _plabelLanding->setWordWrap(true);
    _plabelLanding->setTextInteractionFlags(Qt::TextSelectableByMouse);
    playout->addWidget(_plabelLanding);

    _plabelChecks = new QLabel(this);
    _plabelChecks->setObjectName("labelPlotChecks");
    _plabelChecks->setWordWrap(true);
    playout->addWidget(_plabelChecks);
    _plistWarnings = new QListWidget(this);
    _plistWarnings->setObjectName("listPlotWarnings");
    _plistWarnings->setWordWrap(true);
    _plistWarnings->setFocusPolicy(Qt::NoFocus);
    _plistWarnings->setMaximumHeight(6 * fontMetrics().height());
    QPalette palette = _plistWarnings->palette();
    palette.setColor(QPalette::Text, QColor(160, 0, 0));
    _plistWarnings->setPalette(palette);
    playout->addWidget(_plistWarnings);

    rebuildCharts();
    updateLanding();
    updateChecks();
}

void WndPlots::planChanged() {
    _data.vecCurvePlan = vecCurvePlanFmWorkbench(_wb);
    _data.vecViolation = vecPlanViolationFmWorkbench(_wb);
    _data.bLanding = bLandingMissFmWorkbench(_wb, &_data.landingMiss);
    rebuildCharts();
    updateLanding();
    updateChecks();
}

void WndPlots::runChanged() {
    _bRunGuided = _wb.bFlightGuided;
    _data.vecCurveRun = vecCurveRunFmWorkbench(_wb);
    _data.bLanding = bLandingMissFmWorkbench(_wb, &_data.landingMiss);
    const bool bRun = _wb.run.arFTiData.n() > 0;
    _bCursor = false;
    if (bRun) {
        _fTiRunFirst = _wb.run.arFTiData[_wb.run.arFTiData.iFirst()];
        _fTiRunLast = _wb.run.arFTiData[_wb.run.arFTiData.iLast()];
        const QSignalBlocker blocker(_psliderTi);
        _psliderTi->setRange(iSliderFmFTi(_fTiRunFirst), iSliderFmFTi(_fTiRunLast));
        _psliderTi->setSingleStep(50);  // one record
        _psliderTi->setPageStep(1000);
    }
    _psliderTi->setEnabled(bRun);
    rebuildCharts();
    updateLanding();
    if (bRun) setCursorFTi(_fTiRunFirst);
}

void WndPlots::setCursorFTi(double fTi) {
    if (_data.vecCurveRun.empty()) return;
    _fTiCursor = std::clamp(fTi, _fTiRunFirst, _fTiRunLast);
    _bCursor = true;
    {
        const QSignalBlocker blocker(_psliderTi);
        _psliderTi->setValue(iSliderFmFTi(_fTiCursor));
    }
    _plabelTi->setText(QString::asprintf("t = %.3f s", _fTiCursor));
    updateCursor();
}

void WndPlots::commandRun(char ch) {
    switch (ch) {
        case 'p':
        case 'P':
            planChanged();
            break;
        case 's':
        case 'S':
        case 'g':
        case 'G':
            runChanged();
            break;
        case 'i':
        case 'I':
            if (_wb.bPath && _wb.run.arFTiData.n() > 0)
                setCursorFTi(_wb.run.arFTiData[_wb.run.arFTiData.iFirst()]);
            break;
        default:
            break;
    }
}

void WndPlots::replayTicked() {
    // The cursor steps by whole record intervals of the run (0.05 s, every
    // second tick): redrawing the panel on every tick would cost the replay
    // a third of its frames in software rendering.
    if (std::fabs(_wb.fSTiSim - _fTiCursor) < fDTiCursorStep && _wb.fSTiSim < _fTiRunLast) return;
    setCursorFTi(_wb.fSTiSim);
}

void WndPlots::sliderMoved(int iPos) {
    if (_data.vecCurveRun.empty()) return;
    const double fTi = std::clamp(fTiFmISlider(iPos), _fTiRunFirst, _fTiRunLast);
    setCursorFTi(fTi);
    emit timeScrubbed(fTi);
}

void WndPlots::rebuildCharts() {
    QFont fontSmall = font();
    fontSmall.setPointSizeF(std::max(6.0, fontSmall.pointSizeF() - 1.5));
    for (PlotQty qty : arPlotQty) {
        // Few value ticks: a chart here is only a hundred-odd pixels high.
        QChart* pchart = pchartPlotNew(qty, _data, 3);
        // Compact for the panel: the panel's legend line stands for the
        // charts' own, and says what the time axis is.
        pchart->legend()->hide();
        for (QAbstractAxis* paxis : pchart->axes()) {
            paxis->setLabelsFont(fontSmall);
            paxis->setTitleFont(fontSmall);
        }
        for (QAbstractAxis* paxis : pchart->axes(Qt::Horizontal)) paxis->setTitleVisible(false);
        // The quantity and its unit over the chart: along the value axis a
        // chart a hundred-odd pixels high has no room for them.
        for (QAbstractAxis* paxis : pchart->axes(Qt::Vertical)) {
            pchart->setTitle(paxis->titleText());
            paxis->setTitleVisible(false);
        }
        pchart->setTitleFont(fontSmall);
        for (QAbstractSeries* pseries : pchart->series())
            if (auto* pline = qobject_cast<QLineSeries*>(pseries))
                pline->setPen(penCurvePanel(pline->pen()));
        _apwndChart[static_cast<int>(qty)]->setChart(pchart);
    }
    updateVisibility();
    updateCursor();
}

void WndPlots::alignCharts() {
    int iPxLeft = 0;
    for (WndChart* pwnd : _apwndChart)
        if (pwnd->isVisible()) iPxLeft = std::max(iPxLeft, pwnd->iPxPlotLeftOwn());
    for (WndChart* pwnd : _apwndChart) pwnd->setPlotLeft(iPxLeft);
    updateCursor();
}

void WndPlots::resizeEvent(QResizeEvent* pevent) {
    QWidget::resizeEvent(pevent);
    // The charts have their new sizes once the layout has run.
    QTimer::singleShot(0, this, &WndPlots::alignCharts);
}

void WndPlots::updateVisibility() {
    const bool bData = bAnyCurve(_data);
    _plabelEmpty->setVisible(!bData);
    for (PlotQty qty : arPlotQty) {
        const int iQty = static_cast<int>(qty);
        _apwndChart[iQty]->setVisible(bData && _apcheck[iQty]->isChecked());
    }
    // The charts shown have their new sizes once the layout has run.
    QTimer::singleShot(0, this, &WndPlots::alignCharts);
}

void WndPlots::updateCursor() {
    for (WndChart* pwnd : _apwndChart) pwnd->setCursor(_bCursor, _fTiCursor);
    if (!_bCursor) _plabelTi->setText(QString());
}

void WndPlots::updateLanding() {
    _plabelLanding->setVisible(_data.bLanding);
    _plabelFlight->setVisible(_data.bLanding);
    if (!_data.bLanding) {
        _plabelLanding->clear();
        _plabelFlight->clear();
        return;
    }
    // The attitude at rest, not the turns the run went through on its way.
    LandingMiss lm = _data.landingMiss;
    lm.fPitchRest = fRdnWrapped(lm.fPitchRest);
    _plabelLanding->setText(QString::fromStdString(szLandingMiss(lm)));
    const char* szFlight = _bRunGuided ? "guided" : "open loop";
    _plabelFlight->setText(
        lm.bPlan ? QString::asprintf("Stored flight: %s, landing miss %.4f m", szFlight, lm.fDist)
                 : QString::asprintf("Stored flight: %s, no plan to compare with", szFlight));
}

void WndPlots::updateChecks() {
    _plistWarnings->clear();
    if (_data.vecCurvePlan.empty()) {
        _plabelChecks->setVisible(false);
        _plistWarnings->setVisible(false);
        return;
    }
    _plabelChecks->setVisible(true);
    if (_data.vecViolation.empty()) {
        _plabelChecks->setStyleSheet("color: rgb(0, 110, 0);");
        _plabelChecks->setText("Plan checks: thrusters, mass and terrain clearance within limits");
        _plistWarnings->setVisible(false);
        return;
    }
    _plabelChecks->setStyleSheet("color: rgb(160, 0, 0); font-weight: bold;");
    const auto nViolation = _data.vecViolation.size();
    _plabelChecks->setText(QString("Plan checks: %1 warning%2 (the plan asks more than the "
                                   "vehicle can give)")
                               .arg(nViolation)
                               .arg(nViolation == 1 ? "" : "s"));
    for (const PlanViolation& violation : _data.vecViolation)
        _plistWarnings->addItem(QString::fromStdString(szPlanViolation(violation)));
    _plistWarnings->setVisible(true);
}
