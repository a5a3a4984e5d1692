#include "libLumo/DisplayProbe.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "platform/Environment.h"
#include "vek/CallWithin.h"

namespace libLumo {
namespace {

// How long the X server in DISPLAY has to complete its connection set-up. A local server
// answers within a millisecond; one that has not answered in this time is wedged or far
// away, and Qt, given it, would wait for it just as long.
constexpr std::chrono::milliseconds kXAnswerTime{2000};

// Why the X server named in DISPLAY cannot be used; empty when it answers. This is the same
// connection Qt's xcb plugin makes, which aborts the process when it fails.
std::string xServerProblem() {
    if (!platform::environmentSet("DISPLAY"))
        return platform::environmentSet("WAYLAND_DISPLAY") ? "a Wayland session without XWayland (DISPLAY is not set)"
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

platform::DisplayMode DisplayProbe::detect(bool simulatedMachine, std::string* problem) {
    const char* qpa = std::getenv("QT_QPA_PLATFORM");
    if (qpa && *qpa && !std::string_view(qpa).starts_with("xcb"))
        return platform::DisplayMode::Screen;
    const std::string why = xServerProblem();
    if (why.empty())
        return platform::DisplayMode::Screen;
    if (problem)
        *problem = why;
    return simulatedMachine ? platform::DisplayMode::Offscreen : platform::DisplayMode::None;
}

}  // namespace libLumo
