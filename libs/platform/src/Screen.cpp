#include "platform/Screen.h"

#include <atomic>
#include <memory>
#include <mutex>

#include "InstalledHook.h"

namespace {
std::atomic<platform::DisplayMode> s_mode{platform::DisplayMode::None};
std::mutex s_problemMutex;
std::string s_problem;
platform::InstalledHook<platform::OperatorScript> s_script;
platform::InstalledHook<platform::OperatorWatcher> s_watcher;
platform::InstalledHook<std::shared_ptr<const platform::OperatorLog>> s_log;

}  // namespace

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
    if (const auto log = s_log.get(); log && log->shown)
        log->shown(dialog, item, value);
}

unsigned platform::setOperatorLog(OperatorLog log) {
    return s_log.set(std::make_shared<const OperatorLog>(std::move(log)));
}

void platform::clearOperatorLog(unsigned token) {
    s_log.clear(token);
}

void platform::logPress(const std::string& dialog, const std::string& control, double at) {
    if (const auto log = s_log.get(); log && log->press)
        log->press(dialog, control, at);
}
