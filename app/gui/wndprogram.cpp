#include "app/gui/wndprogram.h"

#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "core/logerror.h"
#include "display/capture.h"
#include "display/display.h"
#include "display/viewstack.h"
#include "sim/fltsim.h"
#include "sim/params.h"

namespace {

// Entries in the camera history: the stack grows downward from its bottom
// marker, so the entries are the slots top + 1 .. first of the ring.
Long nXfmCFmWOnStack() {
    return (iXfmCFmWStackFirst - iXfmCFmWStackTop + 100) % 100;
}

// Replay timer period, truncated to whole milliseconds (25 ms).
int iMsReplayPeriod() {
    return static_cast<int>(1000.0 * fSDisplay);
}

}  // namespace

WndProgram::WndProgram(QWidget* pwndParent, QWidget* pwndTop)
    : QOpenGLWidget(pwndParent), _pwndTop(pwndTop) {
    setObjectName("wndProgram");
    setFocusPolicy(Qt::StrongFocus);
    connect(&_timerReplay, &QTimer::timeout, this, [this] {
        // A tick after `i` has left the replay does nothing, and says nothing.
        const bool bReplaying = bDisplayRunPath;
        replayTick(*this);
        if (bReplaying) emit replayTicked();
    });
    logLineSz("wndProgram created");
}

// ---- commands --------------------------------------------------------------------

bool WndProgram::bRunCommand(char ch) {
    if (!bRunKeyCommand(ch, *this)) return false;
    emit commandRun(ch);
    return true;
}

void WndProgram::showStoredStateAtFTi(double fTi) {
    if (!bPath || arFTiData.n() < 1) return;
    if (bDisplayRunPath) {
        stopReplayTimer();
        bDisplayRunPath = false;
    }
    stvehicle3dofAtFTi(&stvehicle3dof, fTi);
    fSTiSim = fTi;
    bDisplayState = true;
    bDisplayPath = false;
    update();
}

void WndProgram::keyPressEvent(QKeyEvent* pevent) {
    // Commands are typed characters: Shift+p arrives as "P", a bare Shift as
    // an empty text and is passed on like every other key.
    const QString szText = pevent->text();
    if (szText.size() == 1 && szText.at(0).unicode() < 128 &&
        bRunCommand(static_cast<char>(szText.at(0).unicode()))) {
        pevent->accept();
        return;
    }
    QOpenGLWidget::keyPressEvent(pevent);
}

void WndProgram::showMessage(MsgOwner owner, const char* szText) {
    QWidget* pwndOwner = owner == MsgOwner::Top ? _pwndTop : this;
    QMessageBox box(QMessageBox::Warning, "Vantorell", QString::fromUtf8(szText), QMessageBox::Ok,
                    pwndOwner);
    box.exec();
}

void WndProgram::invalidate() {
    update();
}

void WndProgram::startReplayTimer(int iMs) {
    _timerReplay.start(iMs);
}

void WndProgram::stopReplayTimer() {
    _timerReplay.stop();
}

double WndProgram::fMsTickCount() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

void WndProgram::capturePane(const char* szFile) {
    if (!isValid()) {
        logLineSzFmtSz("ERROR: no OpenGL context for the pane; %s not written", szFile);
        return;
    }
    // Draw a fresh frame into the pane's own frame buffer and read it back
    // from there, so the file holds exactly what the pane shows.
    makeCurrent();
    drawScene();
    captureOpenGLPPaneToBmp(szFile, &_pane);
    doneCurrent();
}

// ---- OpenGL ----------------------------------------------------------------------

void WndProgram::setPaneFromWidget() {
    const double fDpr = devicePixelRatioF();
    _pane.iPxDX = std::max<Long>(1, static_cast<Long>(std::lround(width() * fDpr)));
    _pane.iPxDY = std::max<Long>(1, static_cast<Long>(std::lround(height() * fDpr)));
    _pane.iPxXL = 0;
    _pane.iPxYT = 0;
}

void WndProgram::initializeGL() {
    // The camera comes from "view.in" (or the default) once the pane and its
    // projection are known; a context made again later keeps the camera.
    if (_bViewLoaded) return;
    setPaneFromWidget();
    xfmPFmC = xfmPFmC3cFm(_pane);
    readViewInOrDefault("view.in", _pane);
    _bViewLoaded = true;
}

void WndProgram::resizeGL(int, int) {
    setPaneFromWidget();
    resizeViewForPane(_pane);
    update();
}

void WndProgram::paintGL() {
    drawScene();
}

void WndProgram::drawScene() {
    if (bDisplayState || bDisplayRunPath) {
        displayStInPane(&_pane, &xfmCFmW, &xfmPFmC, &stvehicle3dof);
    } else if (bDisplayPath) {
        displayPathInPane(&_pane, &xfmCFmW, &xfmPFmC, &vehicle, arFTiData, arPStvehicle);
    }
}

// ---- camera history --------------------------------------------------------------

bool WndProgram::bViewBackPossible() const {
    return nXfmCFmWOnStack() > 1;
}

bool WndProgram::bViewForwardPossible() const {
    return bXfmCFmWStackRePushPossible();
}

void WndProgram::viewBack() {
    if (!bViewBackPossible()) return;
    xfmCFmWPopFromStack();
    xfmCFmW = xfmCFmWTopOfStack();
    update();
}

void WndProgram::viewForward() {
    if (!bViewForwardPossible()) return;
    xfmCFmW = xfmCFmWRePushToStack();
    update();
}

void WndProgram::saveViewAndStop() {
    if (_bGone) return;
    _bGone = true;
    writeViewOut("view.out");
    stopReplayTimer();
}

// ---- mouse -----------------------------------------------------------------------

Long WndProgram::iPxXFm(const QMouseEvent* pevent) const {
    return static_cast<Long>(std::lround(pevent->position().x() * devicePixelRatioF()));
}

Long WndProgram::iPxYFm(const QMouseEvent* pevent) const {
    return static_cast<Long>(std::lround(pevent->position().y() * devicePixelRatioF()));
}

void WndProgram::mousePressEvent(QMouseEvent* pevent) {
    if (bDragView || bDragZoom) return;
    if (pevent->button() == Qt::LeftButton) {
        stopReplayTimer();
        iPxX0Drag = iPxXFm(pevent);
        iPxY0Drag = iPxYFm(pevent);
        xfmCFmW0DragView = xfmCFmW;
        bDragView = true;
    } else if (pevent->button() == Qt::RightButton) {
        stopReplayTimer();
        iPxXLastDragZoom = iPxXFm(pevent);
        iPxYLastDragZoom = iPxYFm(pevent);
        bDragZoom = true;
    } else {
        QOpenGLWidget::mousePressEvent(pevent);
    }
}

void WndProgram::mouseMoveEvent(QMouseEvent* pevent) {
    const Long iPxX = iPxXFm(pevent);
    const Long iPxY = iPxYFm(pevent);
    if (bDragView) {
        xfmCFmW = xfmCFmWTurnedByDrag(xfmCFmW0DragView, iPxX - iPxX0Drag, iPxY - iPxY0Drag, _pane);
        iMouseMove++;
        update();
    } else if (bDragZoom) {
        xfmCFmW = xfmCFmWZoomedByDrag(xfmCFmW, iPxY - iPxYLastDragZoom, _pane);
        iPxXLastDragZoom = iPxX;
        iPxYLastDragZoom = iPxY;
        iMouseMove++;
        update();
    } else {
        QOpenGLWidget::mouseMoveEvent(pevent);
    }
}

void WndProgram::mouseReleaseEvent(QMouseEvent* pevent) {
    const Long iPxX = iPxXFm(pevent);
    const Long iPxY = iPxYFm(pevent);
    if (bDragView && pevent->button() == Qt::LeftButton) {
        // The camera follows the release point too, in case no move came
        // between the last move and the release.
        xfmCFmW = xfmCFmWTurnedByDrag(xfmCFmW0DragView, iPxX - iPxX0Drag, iPxY - iPxY0Drag, _pane);
        pushXfmCFmWToStack(xfmCFmW);
        bDragView = false;
    } else if (bDragZoom && pevent->button() == Qt::RightButton) {
        if (iPxY != iPxYLastDragZoom)
            xfmCFmW = xfmCFmWZoomedByDrag(xfmCFmW, iPxY - iPxYLastDragZoom, _pane);
        pushXfmCFmWToStack(xfmCFmW);
        bDragZoom = false;
    } else {
        QOpenGLWidget::mouseReleaseEvent(pevent);
        return;
    }
    update();
    if (bDisplayRunPath) startReplayTimer(iMsReplayPeriod());
}
