#include "libLumo/GdiResourceManager.h"

#include <QApplication>
#include <QScreen>
#include <atomic>
#include <optional>

#include "platform/Screen.h"
#include "platform/WindowsNames.h"
#include "vek/Logging.h"

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "libLumo";

QWidget* s_cuiHandle = nullptr;
std::atomic<bool> s_started{false};
// Qt came up offscreen where the session's display was expected: the display stopped
// answering between the host's probe and Qt's own connection. No dialog can be shown.
std::atomic<bool> s_displayLost{false};
// The primary screen's rotation code, kept current from the screen's change notifications so
// that worker threads can read it without touching Qt.
std::atomic<int> s_rotation{-1};

int rotationCode(const QScreen* screen) {
    const int angle =
        screen->angleBetween(screen->nativeOrientation(), screen->orientation()) % 360;
    return ((angle + 360) % 360) / 90;
}

void followPrimaryScreen() {
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    s_rotation.store(rotationCode(screen));
    QObject::connect(screen, &QScreen::orientationChanged, screen,
                     [screen](Qt::ScreenOrientation) { s_rotation.store(rotationCode(screen)); });
    // A simulated machine brings its own display; only a real one is read from the screen.
    if (!platform::hasRotationProvider()) {
        platform::setRotationProvider([]() -> std::optional<DWORD> {
            const int r = s_rotation.load();
            if (r < 0)
                return std::nullopt;
            return static_cast<DWORD>(r);
        });
    }
}

// Qt's own messages go to the module log instead of the host's terminal.
void toModuleLog(QtMsgType type, const QMessageLogContext&, const QString& message) {
    int priority = 1;
    switch (type) {
        case QtDebugMsg:
        case QtInfoMsg:
            priority = 1;
            break;
        case QtWarningMsg:
            priority = 3;
            break;
        case QtCriticalMsg:
        case QtFatalMsg:
            priority = 4;
            break;
    }
    VEK_LOG(s_logger, kLoggerName, priority, "Qt: " << message.toStdString());
}

bool onlyOffscreenAsked() {
    return qgetenv("QT_QPA_PLATFORM") == "offscreen";
}

// Qt ends the process when none of the platforms it is asked for can start. The session's own
// platform is tried first and offscreen after it, so that a display which stops answering
// between the host's probe and Qt's own connection (an X server going away, a loaded machine's
// time-out) is a dialog that cannot be shown, not a lost report. Where the platform is Qt's own
// choice, xcb is named for it as Qt chooses it, except in a Wayland session, whose choice is
// left to Qt.
void askOffscreenAsFallback() {
    QByteArray platforms = qgetenv("QT_QPA_PLATFORM");
    if (platforms.isEmpty()) {
        if (qgetenv("XDG_SESSION_TYPE") == "wayland")
            return;
        platforms = "xcb";
    }
    qputenv("QT_QPA_PLATFORM", platforms + ";offscreen");
}

}  // namespace

namespace libLumo {

GdiResourceManager::GdiResourceManager() {
    if (QApplication::instance()) {
        ready_ = !s_displayLost.load();
        return;
    }
    const platform::DisplayMode mode = platform::displayMode();
    const bool userChoice = !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    if (!userChoice) {
        if (mode == platform::DisplayMode::Offscreen) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        } else if (mode == platform::DisplayMode::None) {
            // The host found no display that answers (or none was looked for): starting on it
            // would end the process inside Qt.
            VEK_LOG(s_logger, kLoggerName, 4,
                    "No display to show a dialog on: " << platform::displayProblem());
            return;
        }
    }
    const bool screenExpected = mode == platform::DisplayMode::Screen && !onlyOffscreenAsked();
    if (screenExpected)
        askOffscreenAsFallback();
    qInstallMessageHandler(&toModuleLog);
    static int argc = 1;
    static char name[] = "vekrsensors";
    static char* argv[] = {name, nullptr};
    // Lives to the end of the process: later dialogs reuse it.
    new QApplication(argc, argv);
    s_started.store(true);
    if (screenExpected && QGuiApplication::platformName() == "offscreen") {
        s_displayLost.store(true);
        VEK_LOG(s_logger, kLoggerName, 4,
                "No display to show a dialog on: the display stopped answering before the "
                "dialog could be shown");
        return;
    }
    followPrimaryScreen();
    VEK_LOG(s_logger, kLoggerName, 1,
            "GUI toolkit started on " << QGuiApplication::platformName().toStdString());
    ready_ = true;
}

bool GdiResourceManager::toolkitStarted() {
    return s_started.load();
}

}  // namespace libLumo

QWidget* VekrGetCUIHandle() {
    return s_cuiHandle;
}

void VekrSetCUIHandle(QWidget* window) {
    s_cuiHandle = window;
}
