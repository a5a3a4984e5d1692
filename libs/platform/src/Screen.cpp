#include "platform/Screen.h"

#include "platform/Environment.h"

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string_view>

#include "InstalledHook.h"
#include "vek/CallWithin.h"

namespace {
std::atomic<platform::DisplayMode> s_mode{platform::DisplayMode::None};
std::mutex s_problemMutex;
std::string s_problem;
platform::InstalledHook<platform::OperatorScript> s_script;
platform::InstalledHook<platform::OperatorWatcher> s_watcher;

bool envSet(const char* name) {
    return platform::environmentSet(name);
}

// How long the X server in DISPLAY has to complete its connection set-up. A local server
// answers within a millisecond; one that has not answered in this time is wedged or far
// away, and Qt, given it, would wait for it just as long.
constexpr std::chrono::milliseconds kXAnswerTime{2000};

// Why the X server named in DISPLAY cannot be used; empty when it answers. This is the same
// connection Qt's xcb plugin makes, which aborts the process when it fails.
std::string xServerProblem() {
    if (!envSet("DISPLAY"))
        return envSet("WAYLAND_DISPLAY") ? "a Wayland session without XWayland (DISPLAY is not set)"
                                         : "neither DISPLAY nor WAYLAND_DISPLAY is set";
    const std::string display = std::getenv("DISPLAY");
    const std::optional<bool> answered = vek::callWithin(kXAnswerTime, [display] {
        xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
        const bool ok = xcb_connection_has_error(connection) == 0;
        xcb_disconnect(connection);
        return ok;
    });
    if (!answered) {
        return "the X display \"" + display + "\" did not answer within " +
               std::to_string(
                   std::chrono::duration_cast<std::chrono::seconds>(kXAnswerTime).count()) +
               " s";
    }
    if (*answered)
        return {};
    return "cannot connect to the X display \"" + display + "\"";
}
}  // namespace

platform::DisplayMode platform::detectDisplayMode(bool simulatedMachine, std::string* problem) {
    const char* qpa = std::getenv("QT_QPA_PLATFORM");
    if (qpa && *qpa && !std::string_view(qpa).starts_with("xcb"))
        return DisplayMode::Screen;
    const std::string why = xServerProblem();
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
