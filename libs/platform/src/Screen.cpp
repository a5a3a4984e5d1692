#include "platform/Screen.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace {
std::atomic<platform::DisplayMode> s_mode{platform::DisplayMode::None};
std::mutex s_mutex;
platform::OperatorScript s_script;
unsigned s_token = 0;

bool envSet(const char* name) {
    const char* v = std::getenv(name);
    return v && *v;
}
}  // namespace

platform::DisplayMode platform::detectDisplayMode(bool simulatedMachine) {
    if (envSet("QT_QPA_PLATFORM") || envSet("DISPLAY") || envSet("WAYLAND_DISPLAY"))
        return DisplayMode::Screen;
    return simulatedMachine ? DisplayMode::Offscreen : DisplayMode::None;
}

void platform::setDisplayMode(DisplayMode mode) {
    s_mode.store(mode);
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
    std::lock_guard lock(s_mutex);
    s_script = std::move(script);
    return ++s_token;
}

void platform::clearOperatorScript(unsigned token) {
    std::lock_guard lock(s_mutex);
    if (token == s_token)
        s_script = nullptr;
}

std::vector<platform::OperatorPress> platform::operatorPresses(const std::string& dialog) {
    OperatorScript script;
    {
        std::lock_guard lock(s_mutex);
        script = s_script;
    }
    return script ? script(dialog) : std::vector<OperatorPress>{};
}
