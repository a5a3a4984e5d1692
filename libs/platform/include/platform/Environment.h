#pragma once

#include <cstdlib>

namespace platform {

// An environment variable counts as set only when it has a value: `DISPLAY=` names no display.
// The one rule for every question about the session (is there a screen, a desktop whose
// rotation lock we may touch), so the host and the rotation lock never disagree.
inline bool environmentSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

// A graphical session: an X display or a Wayland compositor is named.
inline bool desktopSession() {
    return environmentSet("DISPLAY") || environmentSet("WAYLAND_DISPLAY");
}

}  // namespace platform
