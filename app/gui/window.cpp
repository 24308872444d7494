#include "app/gui/window.h"

#include <QApplication>
#include <QOpenGLContext>
#include <QSurfaceFormat>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>

#include "app/commands.h"
#include "app/gui/wndprogram.h"
#include "app/gui/wndtop.h"
#include "core/logerror.h"
#include "sim/params.h"

namespace {

bool bEnvSet(const char* szName) {
    const char* szValue = std::getenv(szName);
    return szValue != nullptr && szValue[0] != '\0';
}

// Whether the toolkit has a display to open windows on. Without one it would
// abort with a message of its own; we stop the documented way instead.
bool bDisplayAvailable() {
    return bEnvSet("QT_QPA_PLATFORM") || bEnvSet("DISPLAY") || bEnvSet("WAYLAND_DISPLAY");
}

void logNoOpenGL() {
    logLineSzFmtU("ERROR: Windows error %u", static_cast<ULong>(errno));
    logLineSz("       may make OpenGL impossible");
}

// Whether the display gives OpenGL contexts of the pane's format at all.
bool bOpenGLAvailable() {
    QOpenGLContext context;
    context.setFormat(QSurfaceFormat::defaultFormat());
    return context.create();
}

// Logs when the pane got no OpenGL context: every frame would then be blank.
void checkPaneContext(WndProgram* pwndProgram) {
    if (!pwndProgram->isValid()) logNoOpenGL();
}

}  // namespace

void setPaneSurfaceFormat() {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setDepthBufferSize(24);
    format.setSamples(0);
    QSurfaceFormat::setDefaultFormat(format);
}

int runWindow(int argc, char** argv) {
    openLogFile();
    setPaneSurfaceFormat();
    if (!bDisplayAvailable()) {
        logLineSz("ERROR - Windows would not create window");
        std::fputs("vantorell: no display to open the window on (DISPLAY is not set);\n"
                   "vantorell: run the commands without a window with: vantorell -k psl\n",
                   stderr);
        fatalError("Can't start");
    }
    int iStatus = 0;
    // The window's workbench: the built-in parameters, no plan, no run.
    Workbench wb;
    {
        int argcQt = argc;  // the application keeps a reference to it
        QApplication app(argcQt, argv);
        // The toolkit takes the user's locale; the files are read and written
        // with a decimal point whatever it is.
        std::setlocale(LC_NUMERIC, "C");
        // Without OpenGL the pane cannot exist, and the toolkit cannot even
        // show a window that holds one: stop the documented way instead.
        if (!bOpenGLAvailable()) {
            logNoOpenGL();
            std::fputs("vantorell: this display gives no OpenGL context; the batch mode\n"
                       "vantorell: (vantorell -k KEYS) renders without one\n",
                       stderr);
            fatalError("Windows would not open a child window for dspmgr");
        }
        WndTop wndTop(wb);
        wndTop.show();  // the pane gets its OpenGL context here
        checkPaneContext(wndTop.pwndProgram());
        iStatus = app.exec();
    }
    releaseCommandState(wb);
    closeLogFile();
    return iStatus;
}
