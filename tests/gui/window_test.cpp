// The program as a whole: `vantorell` started without -k opens its windows,
// logs them in order, and on a close request from the window system saves
// the camera and ends with status 0; without a display it stops the
// documented way.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <string>

// After the toolkit's headers: Xlib defines macros (None, Bool, ...) that
// would clash with them.
#include <X11/Xlib.h>

namespace {

QByteArray byFileIn(const QTemporaryDir& dir, const char* szName) {
    QFile file(dir.filePath(szName));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll();
}

// Finds a top-level window called szTitle, or 0.
Window windowTitled(Display* pdisplay, const char* szTitle) {
    Window windowRoot = 0, windowParent = 0;
    Window* arWindow = nullptr;
    unsigned int nWindow = 0;
    Window windowFound = 0;
    if (!XQueryTree(pdisplay, DefaultRootWindow(pdisplay), &windowRoot, &windowParent, &arWindow,
                    &nWindow))
        return 0;
    for (unsigned int i = 0; i < nWindow && windowFound == 0; i++) {
        char* szName = nullptr;
        if (XFetchName(pdisplay, arWindow[i], &szName) && szName != nullptr) {
            if (std::string(szName) == szTitle) windowFound = arWindow[i];
            XFree(szName);
        }
    }
    if (arWindow != nullptr) XFree(arWindow);
    return windowFound;
}

// Asks the window to close, as a window manager's close button does.
void sendDeleteWindow(Display* pdisplay, Window window) {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(pdisplay, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(pdisplay, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(pdisplay, window, False, NoEventMask, &event);
    XFlush(pdisplay);
}

}  // namespace

class WindowTest : public QObject {
    Q_OBJECT

private slots:
    void opensLogsAndClosesSavingTheView();
    void withoutADisplayCannotStart();
    void withoutOpenGLStopsCleanly();
};

void WindowTest::opensLogsAndClosesSavingTheView() {
    Display* pdisplay = XOpenDisplay(nullptr);
    if (pdisplay == nullptr) QSKIP("no X display");
    QTemporaryDir dir;
    // A saved view in the exact form the program writes comes back unchanged.
    const QByteArray byView = "     3.00000   -150.00000     20.00000\n"
                              "     0.00000      0.99015     -0.14003\n"
                              "     0.00000      0.00000      1.00000\n"
                              "     0.30000      1.00000   5000.00000\n";
    {
        QFile file(dir.filePath("view.in"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(byView);
    }
    QProcess process;
    process.setWorkingDirectory(dir.path());
    // In a sanitizer build the OpenGL driver is unloaded at exit with some
    // blocks of its own still held, which the leak checker would blame on an
    // unknown module; the in-process window tests check our code for leaks.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("ASAN_OPTIONS", env.value("ASAN_OPTIONS") + ":detect_leaks=0");
    process.setProcessEnvironment(env);
    process.start(VT_BIN, {});
    QVERIFY(process.waitForStarted());

    Window window = 0;
    QElapsedTimer timer;
    timer.start();
    while (window == 0 && timer.elapsed() < 20000) {
        QTest::qWait(50);
        window = windowTitled(pdisplay, "Vantorell");
    }
    QVERIFY2(window != 0, "no window called Vantorell appeared");
    QTest::qWait(300);  // let it paint once
    sendDeleteWindow(pdisplay, window);
    QVERIFY(process.waitForFinished(20000));
    XCloseDisplay(pdisplay);
    const QByteArray byErr = process.readAllStandardError();
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QVERIFY2(process.exitCode() == 0, byErr.right(3000).constData());

    const std::string szLog = byFileIn(dir, "fe.log").toStdString();
    const size_t iTop = szLog.find("wndTop created");
    const size_t iDAndC = szLog.find("wndDAndC created");
    const size_t iProgram = szLog.find("wndProgram created");
    QVERIFY(iTop != std::string::npos);
    QVERIFY(iTop < iDAndC && iDAndC != std::string::npos);
    QVERIFY(iDAndC < iProgram && iProgram != std::string::npos);
    QVERIFY(szLog.find("may make OpenGL impossible") == std::string::npos);
    QCOMPARE(byFileIn(dir, "view.out"), byView);
}

void WindowTest::withoutADisplayCannotStart() {
    QTemporaryDir dir;
    QProcess process;
    process.setWorkingDirectory(dir.path());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("DISPLAY");
    env.remove("WAYLAND_DISPLAY");
    env.remove("QT_QPA_PLATFORM");
    process.setProcessEnvironment(env);
    process.start(VT_BIN, {});
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    const QByteArray byErr = process.readAllStandardError();
    QVERIFY2(byErr.contains("Can't start"), byErr.constData());
    QVERIFY2(byErr.contains("-k"), byErr.constData());
    const QByteArray byLog = byFileIn(dir, "fe.log");
    QVERIFY(byLog.contains("ERROR - Windows would not create window"));
    QVERIFY(byLog.contains("Can't start"));
    QVERIFY(!byLog.contains("wndTop created"));
}

void WindowTest::withoutOpenGLStopsCleanly() {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) QSKIP("no X display");
    QTemporaryDir dir;
    QProcess process;
    process.setWorkingDirectory(dir.path());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_XCB_GL_INTEGRATION", "none");  // the display offers no OpenGL
    env.insert("ASAN_OPTIONS", env.value("ASAN_OPTIONS") + ":detect_leaks=0");
    process.setProcessEnvironment(env);
    process.start(VT_BIN, {});
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 1);
    const QByteArray byErr = process.readAllStandardError();
    QVERIFY2(byErr.contains("Windows would not open a child window for dspmgr"), byErr.constData());
    const QByteArray byLog = byFileIn(dir, "fe.log");
    const qsizetype iError = byLog.indexOf("ERROR: Windows error ");
    const qsizetype iMay = byLog.indexOf("       may make OpenGL impossible");
    QVERIFY(iError >= 0);
    QVERIFY(iMay > iError);
    QVERIFY(byLog.indexOf("Windows would not open a child window for dspmgr") > iMay);
}

QTEST_GUILESS_MAIN(WindowTest)
#include "window_test.moc"
