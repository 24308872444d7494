// Helpers shared by the window tests: a fresh working directory per test, a
// guard that closes (and records) every modal box the program opens, the
// reset of the program-wide command state, and file and bitmap helpers.
#pragma once

#include <QImage>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTemporaryDir>
#include <QTimer>
#include <QVector>

#include <string>

class QWidget;

namespace vtgui {

// One modal box as the user saw it.
struct MsgBoxSeen {
    QString szText;
    QString szTitle;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    int nButtons = 0;
    QPointer<QWidget> pwndParent;
};

// While it lives, every 20 ms looks for an active modal box, records it and
// presses its OK (or default) button, so no test can hang on one.
class MsgBoxGuard : public QObject {
    Q_OBJECT

public:
    MsgBoxGuard();
    const QVector<MsgBoxSeen>& vecSeen() const { return _vecSeen; }
    void clear() { _vecSeen.clear(); }

private:
    void poll();
    QTimer _timer;
    QVector<MsgBoxSeen> _vecSeen;
};

// Makes a fresh temporary directory current and opens the run log there;
// on destruction closes the log and goes back.
class InTempDir {
public:
    InTempDir();
    ~InTempDir();
    QString szPath(const QString& szName) const { return _dir.filePath(szName); }

private:
    QTemporaryDir _dir;
    QString _szOldDir;
};

// Keeps the OpenGL driver modules that are loaded now (Mesa's *_dri.so)
// loaded until the process ends. The driver holds some memory for the life
// of the display connection and is unloaded when that closes, before the
// leak checker of a sanitizer build looks: its blocks would then show up as
// leaks of an unknown module. Pinned, they stay reachable. Call it once a
// pane has been shown; it does nothing in other builds' behaviour.
void pinOpenGLDriver();

// Sets every program-wide flag and array of the commands to its start-up
// value (no plan, no run, current-state display).
void resetProgramState();

// Whole file as bytes (empty when missing) and as text.
QByteArray byFile(const QString& szFile);
std::string szFile(const QString& szFile);
bool bFileExists(const QString& szFile);
// Copies tests/data/<szRel> (or an absolute path) to szDest in the current
// directory.
void copyFile(const QString& szFrom, const QString& szDest);
QString szTestData(const QString& szRel);

// Little-endian numbers of a bitmap file's headers.
quint32 uLe32(const QByteArray& by, int iOffset);
quint16 uLe16(const QByteArray& by, int iOffset);

// Pixel (iX, iYTop) of a 24-bit bottom-up bitmap file, counted from its top
// row, as red, green, blue.
struct Rgb {
    int iR, iG, iB;
};
Rgb rgbBmpPixel(const QByteArray& byBmp, int iX, int iYTop);

}  // namespace vtgui
