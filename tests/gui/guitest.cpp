#include "guitest.h"

#include <dlfcn.h>
#include <link.h>

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTest>

#include "app/commands.h"
#include "core/logerror.h"
#include "sim/fltsim.h"
#include "sim/params.h"

namespace vtgui {

MsgBoxGuard::MsgBoxGuard() {
    connect(&_timer, &QTimer::timeout, this, &MsgBoxGuard::poll);
    _timer.start(20);
}

void MsgBoxGuard::poll() {
    auto* pbox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (pbox == nullptr || !pbox->isVisible()) return;
    MsgBoxSeen seen;
    seen.szText = pbox->text();
    seen.szTitle = pbox->windowTitle();
    seen.icon = pbox->icon();
    seen.buttons = pbox->standardButtons();
    seen.nButtons = static_cast<int>(pbox->buttons().size());
    seen.pwndParent = pbox->parentWidget();
    _vecSeen.push_back(seen);
    QAbstractButton* pbutton = pbox->button(QMessageBox::Ok);
    if (pbutton == nullptr) pbutton = pbox->defaultButton();
    if (pbutton != nullptr)
        QTest::mouseClick(pbutton, Qt::LeftButton);
    else
        pbox->reject();
}

InTempDir::InTempDir() : _szOldDir(QDir::currentPath()) {
    QDir::setCurrent(_dir.path());
    openLogFile();
}

InTempDir::~InTempDir() {
    closeLogFile();
    QDir::setCurrent(_szOldDir);
}

void pinOpenGLDriver() {
    dl_iterate_phdr(
        [](dl_phdr_info* pinfo, size_t, void*) {
            const QByteArray byName(pinfo->dlpi_name);
            if (byName.endsWith("_dri.so")) {
                // RTLD_NOLOAD: only an object already loaded is touched.
                if (void* pv = dlopen(pinfo->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE))
                    dlclose(pv);
            }
            return 0;
        },
        nullptr);
}

void resetProgramState() {
    releaseCommandState();
    bPath = false;
    bDisplayState = true;
    bDisplayPath = false;
    bDisplayRunPath = false;
    fSTiSim = 0.0;
    stvehicle3dof = stvehicle3dof0;
}

QByteArray byFile(const QString& szName) {
    QFile file(szName);
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

std::string szFile(const QString& szName) {
    return byFile(szName).toStdString();
}

bool bFileExists(const QString& szName) {
    return QFile::exists(szName);
}

QString szTestData(const QString& szRel) {
    return QString(VT_TEST_DATA) + "/" + szRel;
}

void copyFile(const QString& szFrom, const QString& szDest) {
    QFile::remove(szDest);
    const QString szSource = QDir::isAbsolutePath(szFrom) ? szFrom : szTestData(szFrom);
    if (!QFile::copy(szSource, szDest)) qFatal("cannot copy %s", qPrintable(szSource));
    QFile::setPermissions(szDest, QFile::ReadOwner | QFile::WriteOwner);
}

quint32 uLe32(const QByteArray& by, int iOffset) {
    quint32 u = 0;
    for (int i = 3; i >= 0; i--) u = (u << 8) | static_cast<quint8>(by.at(iOffset + i));
    return u;
}

quint16 uLe16(const QByteArray& by, int iOffset) {
    return static_cast<quint16>(static_cast<quint8>(by.at(iOffset)) |
                                (static_cast<quint8>(by.at(iOffset + 1)) << 8));
}

Rgb rgbBmpPixel(const QByteArray& byBmp, int iX, int iYTop) {
    const int iPxDX = static_cast<int>(uLe32(byBmp, 18));
    const int iPxDY = static_cast<int>(uLe32(byBmp, 22));
    const int nBytRow = (3 * iPxDX + 3) & ~3;
    const int iOffset = 54 + (iPxDY - 1 - iYTop) * nBytRow + 3 * iX;
    return {static_cast<quint8>(byBmp.at(iOffset + 2)), static_cast<quint8>(byBmp.at(iOffset + 1)),
            static_cast<quint8>(byBmp.at(iOffset))};
}

}  // namespace vtgui
