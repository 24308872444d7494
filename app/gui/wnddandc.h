// WndDAndC, the display-and-control panel: one line of status text across the
// top of the frame, redrawn by its own timer every 1000 * fSDisplay ms (25 ms).
//
// While a replay runs the line gives the replayed time ("12.3 sec"); at any
// other time the propellant used and remaining in the state shown in the pane,
// from the gross and empty masses of the workbench's vehicle.
#pragma once

#include <QTimer>
#include <QWidget>

#include <string>

#include "app/workbench.h"

// The panel's line of text for the workbench's current state.
std::string szDAndCText(Workbench const& wb);

class WndDAndC : public QWidget {
    Q_OBJECT

public:
    // Shows wb, which outlives it.
    WndDAndC(Workbench const& wb, QWidget* pwndParent);

    // The refresh timer (running from creation on).
    const QTimer& timerRefresh() const { return _timerRefresh; }

protected:
    void paintEvent(QPaintEvent* pevent) override;

private:
    Workbench const& _wb;
    QTimer _timerRefresh;
};
