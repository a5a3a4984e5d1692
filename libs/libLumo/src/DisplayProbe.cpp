#include "libLumo/DisplayProbe.h"

#include <wayland-client.h>
#include <xcb/xcb.h>

#include <QLibraryInfo>
#include <filesystem>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/Environment.h"
#include "vek/CallWithin.h"

namespace libLumo {
namespace {

// How long the X server in DISPLAY, or the Wayland compositor, has to complete its connection
// set-up. A local server answers within a millisecond; one that has not answered in this time
// is wedged or far away, and Qt, given it, would wait for it just as long.
constexpr std::chrono::milliseconds kAnswerTime{2000};

// Whether `connect` answered within the bound, as a reason: "" when it did, else why not
// (`what` names the display, e.g. "the X display \":0\"").
std::string answerProblem(const std::string& what, std::function<bool()> connect) {
    const std::optional<bool> answered = vek::callWithin(kAnswerTime, std::move(connect));
    if (!answered) {
        return what + " did not answer within " +
               std::to_string(
                   std::chrono::duration_cast<std::chrono::seconds>(kAnswerTime).count()) +
               " s";
    }
    return *answered ? std::string() : "cannot connect to " + what;
}

// The probe's connection, kept open once the server answered, for the life of the process:
// an X server without another client (a bare Xvfb on a build machine or a test rig) resets
// when its last client leaves, and while it does it refuses the next connection, which would
// be Qt's own, a moment later.
std::atomic<xcb_connection_t*> s_keptConnection{nullptr};

// Why the X server named in DISPLAY cannot be used; empty when it answers. This is the same
// connection Qt's xcb plugin makes, which aborts the process when it fails.
std::string xServerProblem() {
    if (!platform::environmentSet("DISPLAY"))
        return "DISPLAY is not set";
    const std::string display = std::getenv("DISPLAY");
    return answerProblem("the X display \"" + display + "\"", [display] {
        xcb_connection_t* connection = xcb_connect(display.c_str(), nullptr);
        if (xcb_connection_has_error(connection) != 0) {
            xcb_disconnect(connection);
            return false;
        }
        if (xcb_connection_t* earlier = s_keptConnection.exchange(connection))
            xcb_disconnect(earlier);
        return true;
    });
}

// Why the Wayland compositor in WAYLAND_DISPLAY (a socket name under XDG_RUNTIME_DIR, or a
// path) cannot be used; empty when it answers a round trip, as Qt's wayland plugin needs it
// to. Bounded like the X server's answer.
std::string waylandProblem() {
    if (!platform::environmentSet("WAYLAND_DISPLAY"))
        return "WAYLAND_DISPLAY is not set";
    const std::string name = std::getenv("WAYLAND_DISPLAY");
    // A socket name lies in XDG_RUNTIME_DIR; without one libwayland would only complain on
    // stderr.
    if (!name.starts_with("/") && !platform::environmentSet("XDG_RUNTIME_DIR"))
        return "XDG_RUNTIME_DIR is not set, so the Wayland socket \"" + name + "\" cannot be found";
    const auto connect = [] {
        wl_display* display = wl_display_connect(nullptr);
        if (!display)
            return false;
        const bool ok = wl_display_roundtrip(display) >= 0;
        wl_display_disconnect(display);
        return ok;
    };
    const std::string why = answerProblem("the Wayland compositor \"" + name + "\"", connect);
    if (!why.empty())
        return why;
    // Qt reaches a compositor through its wayland plugin (Debian's qt6-wayland).
    const std::filesystem::path plugin =
        std::filesystem::path(QLibraryInfo::path(QLibraryInfo::PluginsPath).toStdString()) /
        "platforms/libqwayland-generic.so";
    std::error_code ec;
    if (!std::filesystem::exists(plugin, ec))
        return "a Wayland compositor answers, but Qt's Wayland plugin is missing (install "
               "qt6-wayland)";
    return {};
}

}  // namespace

platform::DisplayMode DisplayProbe::detect(bool simulatedMachine, std::string* problem) {
    const char* qpa = std::getenv("QT_QPA_PLATFORM");
    if (qpa && *qpa && !std::string_view(qpa).starts_with("xcb"))
        return platform::DisplayMode::Screen;
    std::string why = xServerProblem();
    if (why.empty())
        return platform::DisplayMode::Screen;
    // No X server (a Wayland session without XWayland: Phosh, Plasma Mobile, GNOME with X on
    // demand): Qt runs natively on the compositor.
    if (!(qpa && *qpa) && platform::environmentSet("WAYLAND_DISPLAY")) {
        const std::string wayland = waylandProblem();
        if (wayland.empty()) {
            ::setenv("QT_QPA_PLATFORM", "wayland", 1);
            return platform::DisplayMode::Screen;
        }
        why += "; " + wayland;
    } else if (!platform::environmentSet("WAYLAND_DISPLAY")) {
        why = platform::environmentSet("DISPLAY") ? why
                                                  : "neither DISPLAY nor WAYLAND_DISPLAY is set";
    }
    if (problem)
        *problem = why;
    return simulatedMachine ? platform::DisplayMode::Offscreen : platform::DisplayMode::None;
}

}  // namespace libLumo
