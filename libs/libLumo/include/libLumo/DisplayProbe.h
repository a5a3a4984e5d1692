#pragma once

#include <string>

#include "platform/Screen.h"

namespace libLumo {

// Where this process's dialogs can appear, found before Qt is started on it.
class DisplayProbe {
public:
    // Screen when a Qt platform other than xcb is named in QT_QPA_PLATFORM (the user's choice,
    // trusted), when the X server in DISPLAY answers (XWayland too), or else when the Wayland
    // compositor in WAYLAND_DISPLAY answers a round trip and Qt's wayland plugin is installed:
    // QT_QPA_PLATFORM is then set to wayland for Qt. A display that is set but does not answer
    // counts as none, since Qt would end the process on it. Without a screen a simulated
    // machine gets Offscreen and a real one None, and `problem` (when given) says why there is
    // no screen.
    static platform::DisplayMode detect(bool simulatedMachine, std::string* problem = nullptr);
};

}  // namespace libLumo
