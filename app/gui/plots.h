// WndPlots, the plots panel beside the 3-D pane, and the charts it shows.
//
// One chart per quantity (x, z, pitch, thrust, moment, mass) against time:
// the plan dashed, the stored run solid, each with a legend and its SI unit
// on the axis; check boxes choose which charts are shown. A vertical cursor
// marks the time of the state the pane shows and moves with the replay and
// with `i`; the time slider below scrubs through the stored run (the panel
// asks for the state through timeScrubbed, the pane shows it). After `s` a
// line gives the landing miss; after `p` the plan checks are listed in the
// panel (a broken limit is a warning there, never a message box). A status
// line says which flight is stored, open loop (s) or guided, and its miss.
//
// In the panel the six charts share one column for the start of their time
// axes, so the cursor is one vertical line; value ticks fall on round steps
// (1, 2 or 5 times a power of ten), so their labels stay short; the run is a
// light band under the plan's dashes, which show where the two agree.
//
// The panel reads the workbench's plan and run only when told that they
// changed (planChanged, runChanged, or commandRun with the letter); between
// times it draws the copy it took (app/plotdata.h).
//
// Each chart is drawn once into a picture when its data or size changes; the
// cursor is drawn over that picture. Moving the cursor with every replay tick
// thus costs a copy of the pictures, not a new drawing of every curve (which
// in software rendering would cost more than the tick's 25 ms).
//
// The charts are also drawn without a window, into PNG files, for the batch
// mode (bWritePlotPngsOffscreen).
#pragma once

#include <QGraphicsScene>
#include <QPixmap>
#include <QWidget>

#include <string>

#include "app/plotdata.h"
#include "app/workbench.h"

class QChart;
class QCheckBox;
class QLabel;
class QListWidget;
class QSlider;

// A new chart of one quantity from data: plan curves dashed, run curves
// solid, legend on top, time axis "t (s)" and the quantity's axis, ranges
// rounded to tick values. The caller owns it. A quantity with no curve gives
// an empty chart with the same axes. With nStepValue > 0 the value axis is
// cut into at most that many round steps (1, 2 or 5 times a power of ten),
// ticks on every multiple of the step, instead of the toolkit's nice numbers.
QChart* pchartPlotNew(PlotQty qty, const PlotData& data, int nStepValue = 0);

// The round step for a range: the smallest of 1, 2 and 5 times a power of
// ten that cuts [fLo, fHi] into at most nStep steps once the ends are moved
// out to multiples of it (fHi > fLo, nStep >= 1).
double fStepRound(double fLo, double fHi, int nStep);

// A pitch in (-pi, pi], the same attitude as fRdn.
double fRdnWrapped(double fRdn);

// Size of each PNG file, pixels.
constexpr int iPxDXPlotPng = 960;
constexpr int iPxDYPlotPng = 400;

// Writes the chart of every quantity as "plot_<name>.png" (x, z, pitch,
// thrust, moment, mass) in the current directory. Needs a QApplication.
// False, with the file that failed in *pszError, when one cannot be written.
bool bWritePlotPngs(const PlotData& data, std::string* pszError);

// The same with no display: makes a QApplication on the toolkit's
// "offscreen" platform for the time of the drawing when none exists. Says
// on standard error ("Vantorell: cannot write ...") what failed.
bool bWritePlotPngsOffscreen(const PlotData& data);

// Draws a chart into a picture of the given size, white behind, antialiased.
// The chart is resized to it and laid out first.
QImage imgChartFm(QChart* pchart, QGraphicsScene* pscene, int iPxDX, int iPxDY, qreal fDpr);

// One chart of the panel: the chart drawn as a picture, and over it the time
// cursor, a vertical line across the plot area.
class WndChart : public QWidget {
    Q_OBJECT

public:
    explicit WndChart(QWidget* pwndParent);

    // Takes over pchart (the previous one is deleted).
    void setChart(QChart* pchart);
    QChart* chart() const { return _pchart; }

    // Puts the left edge of the plot area at iPxLeft (widget pixels), so that
    // charts stacked above each other share one time axis; 0 lays the chart
    // out by itself.
    void setPlotLeft(int iPxLeft);
    // The left edge of the plot area the chart takes when laid out by itself
    // at the widget's size.
    int iPxPlotLeftOwn();

    void setCursor(bool bShown, double fTi);
    bool bCursorShown() const { return _bCursor; }
    double fTiCursor() const { return _fTiCursor; }
    // The cursor's column in the widget, pixels from the left; and the plot
    // area it runs across (chart coordinates = widget coordinates).
    int iPxXCursor() const;
    QRectF rectPlotArea() const;

protected:
    void paintEvent(QPaintEvent* pevent) override;
    void resizeEvent(QResizeEvent* pevent) override;

private:
    void drawPicture();

    QGraphicsScene _scene;
    QChart* _pchart = nullptr;
    QPixmap _pix;
    bool _bPictureStale = true;
    int _iPxPlotLeft = 0;
    bool _bCursor = false;
    double _fTiCursor = 0.0;
};

// During a replay the cursor moves once the replayed time is this far from
// it (one record interval of a run, s), and at the end of the run.
constexpr double fDTiCursorStep = 0.05;

class WndPlots : public QWidget {
    Q_OBJECT

public:
    // Shows wb, which outlives it.
    WndPlots(Workbench& wb, QWidget* pwndParent);

    // Takes the plan (its curves and checks) or the run (its curves, the
    // slider's range, the landing miss) afresh from the program.
    void planChanged();
    void runChanged();

    // Puts the cursor and the slider at fTi, clamped to the stored run (no
    // run: nothing happens). Does not ask the pane for anything.
    void setCursorFTi(double fTi);

    bool bCursorShown() const { return _bCursor; }
    double fTiCursor() const { return _fTiCursor; }
    const PlotData& data() const { return _data; }

    WndChart* pwndChart(PlotQty qty) const { return _apwndChart[static_cast<int>(qty)]; }
    QCheckBox* pcheckQty(PlotQty qty) const { return _apcheck[static_cast<int>(qty)]; }
    QSlider* psliderTi() const { return _psliderTi; }
    QLabel* plabelTi() const { return _plabelTi; }
    QLabel* plabelEmpty() const { return _plabelEmpty; }
    QLabel* plabelLanding() const { return _plabelLanding; }
    QLabel* plabelFlight() const { return _plabelFlight; }
    QLabel* plabelChecks() const { return _plabelChecks; }
    QListWidget* plistWarnings() const { return _plistWarnings; }

    // Slider positions are milliseconds of run time.
    static int iSliderFmFTi(double fTi);
    static double fTiFmISlider(int iPos);

signals:
    // The user moved the slider to fTi (within the stored run).
    void timeScrubbed(double fTi);

public slots:
    // The pane ran the command typed as ch.
    void commandRun(char ch);
    // One tick of a running replay has moved the state shown (the cursor
    // follows in steps of fDTiCursorStep).
    void replayTicked();

protected:
    void resizeEvent(QResizeEvent* pevent) override;

private:
    Workbench& _wb;
    void rebuildCharts();
    void alignCharts();
    void updateVisibility();
    void updateCursor();
    void updateLanding();
    void updateChecks();
    void sliderMoved(int iPos);

    PlotData _data;
    WndChart* _apwndChart[nPlotQty] = {};
    QCheckBox* _apcheck[nPlotQty] = {};
    QLabel* _plabelEmpty = nullptr;
    QSlider* _psliderTi = nullptr;
    QLabel* _plabelTi = nullptr;
    QLabel* _plabelLanding = nullptr;
    QLabel* _plabelFlight = nullptr;
    QLabel* _plabelChecks = nullptr;
    QListWidget* _plistWarnings = nullptr;
    bool _bRunGuided = false;  // how the run shown was flown (bFlightGuided when taken)
    bool _bCursor = false;
    double _fTiCursor = 0.0;
    double _fTiRunFirst = 0.0;
    double _fTiRunLast = 0.0;
};
