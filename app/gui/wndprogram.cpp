#include "app/gui/wndprogram.h"

#include <QKeyEvent>
#include <QMessageBox>
#include <QMouseEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "app/plotdata.h"
#include "app/scene.h"
#include "core/logerror.h"
#include "display/capture.h"
#include "display/display.h"
#include "display/viewstack.h"
#include "sim/fltsim.h"
#include "sim/params.h"

namespace {

// Entries in the camera history: the stack grows downward from its bottom
// marker, so the entries are the slots top + 1 .. first of the ring.
Long nXfmCFmWOnStack(ViewStack const& view) {
    return (view.iXfmCFmWStackFirst - view.iXfmCFmWStackTop + nXfmCFmWStack) % nXfmCFmWStack;
}

// Replay timer period, truncated to whole milliseconds (25 ms).
int iMsReplayPeriod(Workbench const& wb) {
    return static_cast<int>(1000.0 * wb.fSDisplay);
}

// Whether two cameras are the same in every number that places or shapes
// the view (the transform follows from these).
bool bSameCamera(const XfmCFmW3c& xfm1, const XfmCFmW3c& xfm2) {
    const auto bSamePt = [](const auto& a, const auto& b) {
        return a.fX == b.fX && a.fY == b.fY && a.fZ == b.fZ;
    };
    return bSamePt(xfm1.ptEye, xfm2.ptEye) && bSamePt(xfm1.drLook, xfm2.drLook) &&
           bSamePt(xfm1.drUp, xfm2.drUp) && xfm1.fL == xfm2.fL && xfm1.fR == xfm2.fR &&
           xfm1.fB == xfm2.fB && xfm1.fT == xfm2.fT && xfm1.fN == xfm2.fN && xfm1.fF == xfm2.fF &&
           xfm1.bOrtho == xfm2.bOrtho;
}

}  // namespace

WndProgram::WndProgram(Workbench& wb, QWidget* pwndParent, QWidget* pwndTop)
    : QOpenGLWidget(pwndParent), _wb(wb), _pwndTop(pwndTop) {
    setObjectName("wndProgram");
    setFocusPolicy(Qt::StrongFocus);
    connect(&_timerReplay, &QTimer::timeout, this, [this] {
        // A tick after `i` has left the replay does nothing, and says nothing.
        const bool bReplaying = _wb.bDisplayRunPath;
        replayTick(_wb, *this);
        if (bReplaying) emit replayTicked();
    });
    logLineSz("wndProgram created");
}

// ---- commands --------------------------------------------------------------------

bool WndProgram::bRunCommand(char ch) {
    const bool bCommand = bRunKeyCommand(_wb, ch, *this);
    // What a command printed (the SUMMARY of p) shows now, also when the
    // output goes to a file or a pipe rather than a terminal.
    std::fflush(stdout);
    if (!bCommand) return false;
    takePlanPath();
    emit commandRun(ch);
    return true;
}

void WndProgram::takePlanPath() {
    _vecFXPlan.clear();
    _vecFZPlan.clear();
    const std::vector<PlotCurve> vecCurve = vecCurvePlanFmWorkbench(_wb);
    // In panel order: x first, z second, on the same samples.
    if (vecCurve.size() >= 2) {
        _vecFXPlan = vecCurve[0].vecF;
        _vecFZPlan = vecCurve[1].vecF;
    }
    if (_bPlanPath) update();
}

void WndProgram::setPlanPathShown(bool bShown) {
    _bPlanPath = bShown;
    update();
}

void WndProgram::showStoredStateAtFTi(double fTi) {
    if (!_wb.bPath || _wb.run.arFTiData.n() < 1) return;
    if (_wb.bDisplayRunPath) {
        stopReplayTimer();
        _wb.bDisplayRunPath = false;
    }
    stvehicle3dofAtFTi(&_wb.stvehicle3dof, fTi, _wb.run, _wb.scenario.vehicle);
    _wb.fSTiSim = fTi;
    _wb.bDisplayState = true;
    _wb.bDisplayPath = false;
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

double WndProgram::fMsWall() const {
    if (_fnMsClock) return _fnMsClock();
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

// The pane's clock runs at the replay speed k: since the last change of
// speed, at wall time w0 and pane time t0, it reads t0 + k (w - w0). It is
// continuous at a change, so a running replay goes on from the time it
// shows (the replay time is the clock less the clock at the start), and at
// k = 1 from the start it is the wall clock itself.
double WndProgram::fMsTickCount() {
    return _fMsAtSpeed + _fReplaySpeed * (fMsWall() - _fMsWallAtSpeed);
}

void WndProgram::setReplaySpeed(double fSpeed) {
    const double fMsNow = fMsTickCount();
    _fMsWallAtSpeed = fMsWall();
    _fMsAtSpeed = fMsNow;
    _fReplaySpeed = fSpeed;
}

void WndProgram::setMsClock(std::function<double()> fnMsClock) {
    // Restart the speed's bookkeeping on the new clock.
    _fnMsClock = std::move(fnMsClock);
    _fMsWallAtSpeed = fMsWall();
    _fMsAtSpeed = _fMsWallAtSpeed;
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
    _wb.view.xfmPFmC = xfmPFmC3cFm(_pane);
    _wb.view.readViewInOrDefault("view.in", _pane);
    _bViewLoaded = true;
}

void WndProgram::resizeGL(int, int) {
    setPaneFromWidget();
    _wb.view.resizeViewForPane(_pane);
    update();
    emit viewChanged();
}

void WndProgram::paintGL() {
    drawScene();
}

void WndProgram::drawScene() {
    drawCurrentScene(_wb, &_pane);
    if (_bPlanPath && (_wb.bDisplayState || _wb.bDisplayRunPath || _wb.bDisplayPath))
        displayPlanPath(_vecFXPlan.data(), _vecFZPlan.data(), static_cast<Long>(_vecFXPlan.size()));
}

// ---- camera history --------------------------------------------------------------

bool WndProgram::bViewBackPossible() const {
    return nXfmCFmWOnStack(_wb.view) > 1;
}

bool WndProgram::bViewForwardPossible() const {
    return _wb.view.bXfmCFmWStackRePushPossible();
}

void WndProgram::viewBack() {
    if (!bViewBackPossible()) return;
    _wb.view.xfmCFmWPopFromStack();
    _wb.view.xfmCFmW = _wb.view.xfmCFmWTopOfStack();
    update();
    emit viewChanged();
}

void WndProgram::viewForward() {
    if (!bViewForwardPossible()) return;
    _wb.view.xfmCFmW = _wb.view.xfmCFmWRePushToStack();
    update();
    emit viewChanged();
}

void WndProgram::viewReset() {
    _wb.view.xfmCFmW = xfmCFmW3cDefaultFm(_wb.view.xfmPFmC);
    _wb.view.pushXfmCFmWToStack(_wb.view.xfmCFmW);
    update();
    emit viewChanged();
}

void WndProgram::saveViewAndStop() {
    if (_bGone) return;
    _bGone = true;
    _wb.view.writeViewOut("view.out");
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
        xfmCFmW0DragView = _wb.view.xfmCFmW;
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
        _wb.view.xfmCFmW =
            xfmCFmWTurnedByDrag(xfmCFmW0DragView, iPxX - iPxX0Drag, iPxY - iPxY0Drag, _pane);
        iMouseMove++;
        update();
    } else if (bDragZoom) {
        _wb.view.xfmCFmW = xfmCFmWZoomedByDrag(_wb.view.xfmCFmW, iPxY - iPxYLastDragZoom, _pane);
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
        // Back where it was pressed is the camera it started with, exactly.
        const bool bBack = iPxX == iPxX0Drag && iPxY == iPxY0Drag;
        _wb.view.xfmCFmW = bBack ? xfmCFmW0DragView
                        : xfmCFmWTurnedByDrag(xfmCFmW0DragView, iPxX - iPxX0Drag,
                                              iPxY - iPxY0Drag, _pane);
        bDragView = false;
    } else if (bDragZoom && pevent->button() == Qt::RightButton) {
        if (iPxY != iPxYLastDragZoom)
            _wb.view.xfmCFmW =
                xfmCFmWZoomedByDrag(_wb.view.xfmCFmW, iPxY - iPxYLastDragZoom, _pane);
        bDragZoom = false;
    } else {
        QOpenGLWidget::mouseReleaseEvent(pevent);
        return;
    }
    // A click, or a drag back to where it began, leaves the camera as the
    // history has it: nothing to step back to.
    if (_wb.view.bEmptyXfmCFmWOnStack() ||
        !bSameCamera(_wb.view.xfmCFmW, _wb.view.xfmCFmWTopOfStack())) {
        _wb.view.pushXfmCFmWToStack(_wb.view.xfmCFmW);
        emit viewChanged();
    }
    update();
    if (_wb.bDisplayRunPath) startReplayTimer(iMsReplayPeriod(_wb));
}
