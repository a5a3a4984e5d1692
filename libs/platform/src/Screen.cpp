#include "platform/Screen.h"

#include <xcb/xcb.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <string_view>

#include "InstalledHook.h"

namespace {
std::atomic<platform::DisplayMode> s_mode{platform::DisplayMode::None};
std::mutex s_problemMutex;
std::string s_problem;
platform::InstalledHook<platform::OperatorScript> s_script;
platform::InstalledHook<platform::OperatorWatcher> s_watcher;

bool envSet(const char* name) {
    const char* v = std::getenv(name);
    return v && *v;
}

// Why the X server named in DISPLAY cannot be used; empty when it answers. A local server
// answers within a millisecond; this is the same connection Qt's xcb plugin makes, which
// aborts the process when it fails.
std::string xServerProblem() {
    if (!envSet("DISPLAY"))
        return envSet("WAYLAND_DISPLAY") ? "a Wayland session without XWayland (DISPLAY is not set)"
                                         : "neither DISPLAY nor WAYLAND_DISPLAY is set";
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const int error = xcb_connection_has_error(connection);
    xcb_disconnect(connection);
    if (error == 0)
        return {};
    return "cannot connect to the X display \"" + std::string(std::getenv("DISPLAY")) + "\"";
}
}  // namespace

platform::DisplayMode platform::detectDisplayMode(bool simulatedMachine, std::string* problem) {
    const char* qpa = std::getenv("QT_QPA_PLATFORM");
    std::string why;
    if (qpa && *qpa && !std::string_view(qpa).starts_with("xcb"))
        return DisplayMode::Screen;
    why = xServerProblem();
    if (why.empty())
        return DisplayMode::Screen;
    if (problem)
        *problem = why;
    return simulatedMachine ? DisplayMode::Offscreen : DisplayMode::None;
}

void platform::setDisplayMode(DisplayMode mode, std::string problem) {
    std::lock_guard lock(s_problemMutex);
    s_problem = std::move(problem);
    s_mode.store(mode);
}

std::string platform::displayProblem() {
    std::lock_guard lock(s_problemMutex);
    return s_problem;
}

platform::DisplayMode platform::displayMode() {
    return s_mode.load();
}

const char* platform::displayModeName(DisplayMode mode) {
    switch (mode) {
        case DisplayMode::Screen:
            return "screen";
        case DisplayMode::Offscreen:
            return "offscreen";
        case DisplayMode::None:
            break;
    }
    return "none";
}

unsigned platform::setOperatorScript(OperatorScript script) {
    return s_script.set(std::move(script));
}

void platform::clearOperatorScript(unsigned token) {
    s_script.clear(token);
}

std::vector<platform::OperatorPress> platform::operatorPresses(const std::string& dialog) {
    const OperatorScript script = s_script.get();
    return script ? script(dialog) : std::vector<OperatorPress>{};
}

unsigned platform::setOperatorWatcher(OperatorWatcher watcher) {
    return s_watcher.set(std::move(watcher));
}

void platform::clearOperatorWatcher(unsigned token) {
    s_watcher.clear(token);
}

void platform::showToOperator(const std::string& dialog, const std::string& item, double value) {
    if (const OperatorWatcher watcher = s_watcher.get())
        watcher(dialog, item, value);
}
