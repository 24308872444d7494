// The status panel: its line of text in both modes, its colours and place,
// and its own refresh timer.
#include <QTest>

#include <cstdio>

#include "app/commands.h"
#include "app/gui/window.h"
#include "app/gui/wnddandc.h"
#include "core/logerror.h"
#include "guitest.h"
#include "sim/params.h"

using namespace vtgui;

class WndDAndCTest : public QObject {
    Q_OBJECT

public:
    static void initMain() { setPaneSurfaceFormat(); }

private slots:
    void initTestCase() { initParams(); }
    void init() { resetProgramState(); }

    void propellantLineFromVehicleMasses();
    void replayLineGivesTheTime();
    void drawsTheLineAtItsPlaceOnGrey();
    void refreshesEvery25Ms();
};

void WndDAndCTest::propellantLineFromVehicleMasses() {
    // Built-in vehicle: 100 kg gross, 95 kg empty.
    QCOMPARE(vehicle.fMsGTO, 100.0);
    QCOMPARE(vehicle.fMsEmpty, 95.0);
    stvehicle3dof.fMs = 97.5;
    QCOMPARE(szDAndCText(), std::string("propellant used = 2.50 kg, remaining = 2.50 kg"));
    stvehicle3dof.fMs = 100.0;
    QCOMPARE(szDAndCText(), std::string("propellant used = 0.00 kg, remaining = 5.00 kg"));
    // Below empty (not reachable in flight) the remainder goes negative as
    // the formula gives it; nothing is clamped.
    stvehicle3dof.fMs = 94.996;
    QCOMPARE(szDAndCText(), std::string("propellant used = 5.00 kg, remaining = -0.00 kg"));
    stvehicle3dof.fMs = 96.123456;
    char szExpect[120];
    std::snprintf(szExpect, sizeof szExpect, "propellant used = %.2f kg, remaining = %.2f kg",
                  100.0 - 96.123456, 96.123456 - 95.0);
    QCOMPARE(szDAndCText(), std::string(szExpect));
    QCOMPARE(szDAndCText(), std::string("propellant used = 3.88 kg, remaining = 1.12 kg"));
}

void WndDAndCTest::replayLineGivesTheTime() {
    bDisplayRunPath = true;
    fSTiSim = 12.345;
    QCOMPARE(szDAndCText(), std::string("12.3 sec"));
    fSTiSim = 0.0;
    QCOMPARE(szDAndCText(), std::string("0.0 sec"));
    fSTiSim = 2.25;  // exactly halfway: the C library rounds to even
    QCOMPARE(szDAndCText(), std::string("2.2 sec"));
    bDisplayRunPath = false;
    bDisplayPath = true;  // the whole-path mode shows the propellant
    QVERIFY(szDAndCText().rfind("propellant used = ", 0) == 0);
}

void WndDAndCTest::drawsTheLineAtItsPlaceOnGrey() {
    QWidget wndParent;
    wndParent.resize(700, 100);
    auto* pwnd = new WndDAndC(&wndParent);
    pwnd->resize(700, pwnd->height());
    wndParent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wndParent));
    const QImage img = pwnd->grab().toImage();
    QCOMPARE(img.pixelColor(2, 2), QColor(192, 192, 192));
    QCOMPARE(img.pixelColor(img.width() - 2, img.height() - 2), QColor(192, 192, 192));
    // Text pixels (dark) appear only right of x = 100 and below y = 10.
    int iXFirstDark = img.width(), iYFirstDark = img.height();
    for (int iY = 0; iY < img.height(); iY++)
        for (int iX = 0; iX < img.width(); iX++)
            if (img.pixelColor(iX, iY).lightness() < 100) {
                iXFirstDark = std::min(iXFirstDark, iX);
                iYFirstDark = std::min(iYFirstDark, iY);
            }
    QVERIFY2(iXFirstDark >= 100 && iXFirstDark < 110, qPrintable(QString::number(iXFirstDark)));
    QVERIFY2(iYFirstDark >= 10 && iYFirstDark < 20, qPrintable(QString::number(iYFirstDark)));
}

namespace {

class PaintCounter : public QObject {
public:
    int nPaint = 0;

protected:
    bool eventFilter(QObject*, QEvent* pevent) override {
        if (pevent->type() == QEvent::Paint) nPaint++;
        return false;
    }
};

}  // namespace

void WndDAndCTest::refreshesEvery25Ms() {
    QWidget wndParent;
    wndParent.resize(600, 60);
    auto* pwnd = new WndDAndC(&wndParent);
    QVERIFY(pwnd->timerRefresh().isActive());
    QCOMPARE(pwnd->timerRefresh().interval(), 25);
    wndParent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&wndParent));
    // Nothing else asks it to repaint: its own timer does, about 40 times a
    // second, so a change of the replay time shows without any request.
    PaintCounter counter;
    pwnd->installEventFilter(&counter);
    QTest::qWait(400);
    QVERIFY2(counter.nPaint >= 4, qPrintable(QString::number(counter.nPaint)));
}

QTEST_MAIN(WndDAndCTest)
#include "wnddandc_test.moc"
