#include "app/gui/wnddandc.h"

#include <QMessageBox>
#include <QPainter>

#include <algorithm>
#include <cstdio>

#include "core/logerror.h"

namespace {

// Panel background and text background: light grey.
const QColor rgbBkDAndC(192, 192, 192);

// Where the line of text starts (left, top of the text cell), in pixels.
const int iPxXText = 100;
const int iPxYText = 10;

}  // namespace

std::string szDAndCText(Workbench const& wb) {
    char szBuf[160];
    if (wb.bDisplayRunPath) {
        std::snprintf(szBuf, sizeof szBuf, "%0.1lf sec", wb.fSTiSim);
    } else {
        std::snprintf(szBuf, sizeof szBuf, "propellant used = %0.02lf kg, remaining = %0.2lf kg",
                      wb.scenario.vehicle.fMsGTO - wb.stvehicle3dof.fMs,
                      wb.stvehicle3dof.fMs - wb.scenario.vehicle.fMsEmpty);
    }
    return szBuf;
}

WndDAndC::WndDAndC(Workbench const& wb, QWidget* pwndParent) : QWidget(pwndParent), _wb(wb) {
    setObjectName("wndDAndC");
    // Room for one line with the same margin below as above.
    setFixedHeight(iPxYText + fontMetrics().height() + iPxYText);

    connect(&_timerRefresh, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    _timerRefresh.start(static_cast<int>(1000.0 * _wb.fSDisplay));
    if (!_timerRefresh.isActive()) {
        QMessageBox box(QMessageBox::Warning, "Vantorell", "Too many clocks or timers!",
                        QMessageBox::Ok, pwndParent);
        box.exec();
    }
    logLineSz("wndDAndC created");
}

void WndDAndC::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), rgbBkDAndC);
    painter.setPen(Qt::black);
    painter.setBackground(rgbBkDAndC);
    painter.setBackgroundMode(Qt::OpaqueMode);
    QRect rectText(iPxXText, iPxYText, std::max(0, width() - iPxXText), fontMetrics().height());
    painter.drawText(rectText, Qt::AlignLeft | Qt::AlignTop,
                     QString::fromStdString(szDAndCText(_wb)));
}
