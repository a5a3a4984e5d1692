#include <gtest/gtest.h>

#include <cstdlib>

#include "Capture.h"
#include "libLumo/DisplayProbe.h"
#include "libLumo/GdiResourceManager.h"
#include "platform/Screen.h"

namespace {

using platform::DisplayMode;

// What only the probe shows: a Qt platform the person names is trusted, and a simulated
// machine falls back to offscreen even where xcb was asked for. The environments a module
// meets on its own (no display, an empty or silent DISPLAY, Wayland without XWayland) are
// command-line cases (cases/interactive.json, display_*).
TEST(DisplayProbe, TrustsANamedQtPlatformAndFallsBackOffscreenOnTheSimulatedMachine) {
    struct Row {
        const char* qpa;
        const char* display;
        const char* wayland;
        bool simulated;
        DisplayMode expected;
        const char* problem;  // a part of the reason, when there is no screen
    };
    const Row rows[] = {
        {"xcb", ":97", nullptr, true, DisplayMode::Offscreen, "X display \":97\""},
        {"offscreen", nullptr, nullptr, false, DisplayMode::Screen, ""},
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

// The probe found a screen, but by the time the toolkit starts the display no longer answers
// (here: nothing listens on it): the dialog cannot be shown, said in the log, and the process
// goes on to write its report instead of ending inside Qt.
TEST(Toolkit, ADisplayThatStopsAnsweringAfterTheProbeIsNoScreen) {
    unsetenv("QT_QPA_PLATFORM");
    unsetenv("WAYLAND_DISPLAY");
    unsetenv("XDG_SESSION_TYPE");
    setenv("DISPLAY", ":7299", 1);  // below the test displays' numbers, above any desktop's
    platform::setDisplayMode(DisplayMode::Screen);
    vekr::testing::LogCapture log;
    EXPECT_FALSE(libLumo::GdiResourceManager().ready());
    EXPECT_FALSE(libLumo::GdiResourceManager().ready()) << "nor for a later dialog";
    EXPECT_EQ(log.count("the display stopped answering"), 1) << log.text();
}

}  // namespace
