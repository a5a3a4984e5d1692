#include <gtest/gtest.h>

#include <cstdlib>

#include "libLumo/DisplayProbe.h"

namespace {

using platform::DisplayMode;

// Environments a module meets: a plain console, an SSH session with a stale DISPLAY, a
// Wayland session without XWayland, a Qt platform the person chose.
TEST(DisplayProbe, ScreenOnlyWhereQtCanStartOffscreenOnlyOnTheSimulatedMachine) {
    struct Row {
        const char* qpa;
        const char* display;
        const char* wayland;
        bool simulated;
        DisplayMode expected;
        const char* problem;  // a part of the reason, when there is no screen
    };
    const Row rows[] = {
        {nullptr, nullptr, nullptr, false, DisplayMode::None, "neither DISPLAY nor WAYLAND_DISPLAY"},
        {nullptr, nullptr, nullptr, true, DisplayMode::Offscreen, "neither DISPLAY"},
        {nullptr, "", nullptr, false, DisplayMode::None, "neither DISPLAY"},  // empty is unset
        {nullptr, nullptr, "wayland-0", false, DisplayMode::None, "Wayland session without"},
        {nullptr, ":97", nullptr, false, DisplayMode::None, "X display \":97\""},  // no server
        {"xcb", ":97", nullptr, true, DisplayMode::Offscreen, "X display \":97\""},
        {"offscreen", nullptr, nullptr, false, DisplayMode::Screen, ""},  // trusted
        {"wayland", nullptr, nullptr, false, DisplayMode::Screen, ""},
    };
    const auto set = [](const char* name, const char* value) {
        value ? setenv(name, value, 1) : unsetenv(name);
    };
    for (const Row& r : rows) {
        set("QT_QPA_PLATFORM", r.qpa);
        set("DISPLAY", r.display);
        set("WAYLAND_DISPLAY", r.wayland);
        std::string problem;
        EXPECT_EQ(libLumo::DisplayProbe::detect(r.simulated, &problem), r.expected)
            << (r.qpa ? r.qpa : "-") << " " << (r.display ? r.display : "-");
        EXPECT_NE(problem.find(r.problem), std::string::npos) << problem;
        EXPECT_EQ(problem.empty(), *r.problem == '\0') << problem;
    }
    for (const char* name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        unsetenv(name);
}

}  // namespace
