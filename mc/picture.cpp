// The picture of a landing-dispersion campaign (see picture.h).
#include "mc/picture.h"

#ifdef VT_MC_HAVE_QT

#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QPen>

#include <algorithm>
#include <cmath>
#include <vector>

#include "geom/geom3c.h"
#include "sim/params.h"

namespace {

constexpr int iPxWidth = 1200;
constexpr int iPxHeight = 900;
constexpr int iPxPanel = 450;  // height of each panel
constexpr double fMViewMax = 200.0;  // m, rest points further away stay out of the upper panel

// Qt's own chatter (fonts, runtime directory) is of no use to the user here.
void dropQtMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

void ensureGuiApplication() {
    if (QCoreApplication::instance() != nullptr) return;
    static int argc = 1;
    static char szName[] = "vantorell-mc";
    static char* argv[] = {szName, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Kept until the process ends: destroying it during static destruction
    // is not safe.
    static QGuiApplication* papp = new QGuiApplication(argc, argv);
    (void)papp;
}

// One segment of the ground's profile.
struct ProfileSeg {
    double x1, z1, x2, z2;
};

// The ground polygons cut along their y = -1000 edge: (x1, z1) - (x2, z2).
std::vector<ProfileSeg> aProfile(A1Val<void*>& arPArPPtVtxPgnGnd) {
    std::vector<ProfileSeg> aseg;
    for (Long iPgn = arPArPPtVtxPgnGnd.iFirst(); iPgn <= arPArPPtVtxPgnGnd.iLast(); iPgn++) {
        A1Val<void*>& arPPt = *static_cast<A1Val<void*>*>(arPArPPtVtxPgnGnd[iPgn]);
        if (arPPt.n() < 2) continue;
        Pt3c const& pt1 = *static_cast<Pt3c*>(arPPt[arPPt.iFirst()]);
        Pt3c const& pt2 = *static_cast<Pt3c*>(arPPt[arPPt.iFirst() + 1]);
        aseg.push_back({pt1.fX, pt1.fZ, pt2.fX, pt2.fZ});
    }
    return aseg;
}

// A world window mapped onto a pixel rectangle, equal scale in x and z.
struct View {
    double fXMid, fZMid, fPxPerM;
    QRectF rect;
    QPointF pt(double x, double z) const {
        return QPointF(rect.center().x() + (x - fXMid) * fPxPerM,
                       rect.center().y() - (z - fZMid) * fPxPerM);
    }
    double x(double fPx) const { return fXMid + (fPx - rect.center().x()) / fPxPerM; }
    double z(double fPy) const { return fZMid - (fPy - rect.center().y()) / fPxPerM; }
};

View viewFitting(QRectF rect, double xLo, double xHi, double zLo, double zHi) {
    View view;
    view.rect = rect;
    view.fXMid = 0.5 * (xLo + xHi);
    view.fZMid = 0.5 * (zLo + zHi);
    view.fPxPerM = std::min(rect.width() / (xHi - xLo), rect.height() / (zHi - zLo));
    return view;
}

// Tick spacing of 1, 2 or 5 times a power of ten giving about nWant ticks.
double fTickStep(double fSpan, int nWant) {
    const double fRaw = fSpan / nWant;
    const double fPow = std::pow(10.0, std::floor(std::log10(fRaw)));
    for (double f : {1.0, 2.0, 5.0, 10.0})
        if (f * fPow >= fRaw) return f * fPow;
    return 10.0 * fPow;
}

// Grid lines every tick (drawn first) and their labels (drawn last, over
// the ground).
void drawGrid(QPainter* pp, View const& view, bool bLabels) {
    QPainter& p = *pp;
    const double xLo = view.x(view.rect.left()), xHi = view.x(view.rect.right());
    const double zLo = view.z(view.rect.bottom()), zHi = view.z(view.rect.top());
    const double fStep = fTickStep(std::max(xHi - xLo, zHi - zLo), 10);
    QFont font = p.font();
    font.setPixelSize(11);
    p.setFont(font);
    for (double x = std::ceil(xLo / fStep) * fStep; x <= xHi; x += fStep) {
        const double fPx = view.pt(x, zLo).x();
        if (bLabels) {
            p.setPen(QColor(60, 60, 60));
            p.drawText(QPointF(fPx + 2, view.rect.bottom() - 3), QString::number(x, 'g', 6));
        } else {
            p.setPen(QPen(QColor(215, 215, 215), 1));
            p.drawLine(QPointF(fPx, view.rect.top()), QPointF(fPx, view.rect.bottom()));
        }
    }
    for (double z = std::ceil(zLo / fStep) * fStep; z <= zHi; z += fStep) {
        const double fPy = view.pt(xLo, z).y();
        if (bLabels) {
            p.setPen(QColor(60, 60, 60));
            p.drawText(QPointF(view.rect.left() + 3, fPy - 2), QString::number(z, 'g', 6));
        } else {
            p.setPen(QPen(QColor(215, 215, 215), 1));
            p.drawLine(QPointF(view.rect.left(), fPy), QPointF(view.rect.right(), fPy));
        }
    }
}

void drawGround(QPainter* pp, View const& view, std::vector<ProfileSeg> const& aseg) {
    QPainter& p = *pp;
    const double fZBottom = view.z(view.rect.bottom()) - 1.0;
    for (ProfileSeg const& seg : aseg) {
        QPainterPath path;
        path.moveTo(view.pt(seg.x1, seg.z1));
        path.lineTo(view.pt(seg.x2, seg.z2));
        path.lineTo(view.pt(seg.x2, std::min(fZBottom, seg.z2)));
        path.lineTo(view.pt(seg.x1, std::min(fZBottom, seg.z1)));
        path.closeSubpath();
        p.fillPath(path, QColor(222, 205, 170));
    }
    p.setPen(QPen(QColor(120, 90, 40), 2));
    for (ProfileSeg const& seg : aseg) p.drawLine(view.pt(seg.x1, seg.z1), view.pt(seg.x2, seg.z2));
}

void drawPoints(QPainter* pp, View const& view, const McRunResult* arResult, Long n,
                double fRadiusPx) {
    QPainter& p = *pp;
    p.setPen(Qt::NoPen);
    for (Long i = 0; i < n; i++) {
        McRunResult const& res = arResult[i];
        const QPointF pt = view.pt(res.fXfRest, res.fZfRest);
        if (!view.rect.adjusted(-5, -5, 5, 5).contains(pt)) continue;
        p.setBrush(res.bUpright ? QColor(20, 150, 40, 170) : QColor(210, 30, 30, 200));
        p.drawEllipse(pt, fRadiusPx, fRadiusPx);
    }
}

void drawCross(QPainter* pp, QPointF pt) {
    pp->setPen(QPen(QColor(20, 60, 220), 2));
    pp->drawLine(pt + QPointF(-8, 0), pt + QPointF(8, 0));
    pp->drawLine(pt + QPointF(0, -8), pt + QPointF(0, 8));
}

}  // namespace

bool bMcPictureAvailable() { return true; }

bool bWriteMcPicture(const char* szFile, A1Val<void*>* parPArPPtVtxPgnGnd,
                     const McRunResult* arResult, Long n, double fXfRef,
                     double fZfRef, double fR50, double fR95, std::string* pszErr) {
    const QtMessageHandler handlerOld = qInstallMessageHandler(dropQtMessage);
    ensureGuiApplication();
    const std::vector<ProfileSeg> aseg = aProfile(*parPArPPtVtxPgnGnd);

    QImage image(iPxWidth, iPxHeight, QImage::Format_RGB32);
    image.fill(QColor(255, 255, 255));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing, true);

    // Upper panel: the whole hop.
    double xLo = std::min(-3.0, fXfRef - 5.0), xHi = fXfRef + 5.0;
    double zLo = -8.0, zHi = 4.0;
    Long nOutside = 0;
    for (Long i = 0; i < n; i++) {
        McRunResult const& res = arResult[i];
        if (std::fabs(res.fXfRest - fXfRef) > fMViewMax ||
            std::fabs(res.fZfRest - fZfRef) > fMViewMax) {
            nOutside += 1;
            continue;
        }
        xLo = std::min(xLo, res.fXfRest - 1.0);
        xHi = std::max(xHi, res.fXfRest + 1.0);
        zLo = std::min(zLo, res.fZfRest - 1.0);
        zHi = std::max(zHi, res.fZfRest + 1.0);
    }
    const QRectF rectTop(10, 30, iPxWidth - 20, iPxPanel - 40);
    const View viewTop = viewFitting(rectTop, xLo, xHi, zLo, zHi);
    p.save();
    p.setClipRect(rectTop);
    drawGrid(&p, viewTop, false);
    drawGround(&p, viewTop, aseg);
    drawPoints(&p, viewTop, arResult, n, 3.0);
    drawCross(&p, viewTop.pt(fXfRef, fZfRef));
    drawGrid(&p, viewTop, true);
    p.restore();
    p.setPen(QColor(0, 0, 0));
    p.drawRect(rectTop);

    // Lower panel: close-up around the planned end point.
    const double fHalf = std::max(0.5, 1.5 * fR95);
    const QRectF rectLow(10, iPxPanel + 30, iPxWidth - 20, iPxPanel - 40);
    const double fZHalf = fHalf * rectLow.height() / rectLow.width();
    const View viewLow = viewFitting(rectLow, fXfRef - fHalf, fXfRef + fHalf, fZfRef - fZHalf,
                                     fZfRef + fZHalf);
    p.save();
    p.setClipRect(rectLow);
    drawGrid(&p, viewLow, false);
    drawGround(&p, viewLow, aseg);
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(QColor(20, 60, 220), 1, Qt::DashLine));
    for (double fR : {fR50, fR95})
        p.drawEllipse(viewLow.pt(fXfRef, fZfRef), fR * viewLow.fPxPerM, fR * viewLow.fPxPerM);
    drawPoints(&p, viewLow, arResult, n, 4.0);
    drawCross(&p, viewLow.pt(fXfRef, fZfRef));
    drawGrid(&p, viewLow, true);
    p.restore();
    p.setPen(QColor(0, 0, 0));
    p.drawRect(rectLow);

    // Captions.
    QFont font = p.font();
    font.setPixelSize(14);
    p.setFont(font);
    QString szTop = QString("Rest points of %1 runs over the terrain (x, z in m; green upright, red "
                            "not upright; blue cross: planned end point)")
                        .arg(n);
    if (nOutside > 0) szTop += QString("; %1 more than 200 m away not shown").arg(nOutside);
    p.drawText(QPointF(10, 20), szTop);
    p.drawText(QPointF(10, iPxPanel + 20),
               QString("Close-up around the planned end point; dashed circles: R50 = %1 m, R95 = "
                       "%2 m")
                   .arg(fR50, 0, 'f', 4)
                   .arg(fR95, 0, 'f', 4));
    p.end();

    const bool bOk = image.save(QString::fromLocal8Bit(szFile), "PNG");
    qInstallMessageHandler(handlerOld);
    if (!bOk) *pszErr = std::string("can't write ") + szFile;
    return bOk;
}

#else  // no Qt

bool bMcPictureAvailable() { return false; }

bool bWriteMcPicture(const char* szFile, A1Val<void*>*, const McRunResult*, Long, double, double, double, double,
                     std::string* pszErr) {
    *pszErr = std::string("this build has no picture support (Qt 6 Gui); ") + szFile +
              " not written";
    return false;
}

#endif
