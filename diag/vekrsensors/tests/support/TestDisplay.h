#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

// A display for the length of a test case, as a person's machine has one:
// - Xvfb: an X server without a screen; the dialogs show through Qt's xcb plugin.
// - Weston: Debian's weston with its headless backend, a Wayland compositor without X, in a
//   runtime folder of its own (short: a socket's path has at most 107 bytes).
// - SilentX: an X server that never answers. It listens where display ":N" is looked for (the
//   abstract socket "/tmp/.X11-unix/XN") and the kernel completes each connection, but no
//   set-up reply ever comes, as with a wedged server.
// available() is false when the server is not installed (installed() says which) or did not
// come up within a minute (serverOutput() says why).
class TestDisplay {
public:
    enum class Kind { Xvfb, Weston, SilentX };
    explicit TestDisplay(Kind kind);
    ~TestDisplay();
    TestDisplay(const TestDisplay&) = delete;
    TestDisplay& operator=(const TestDisplay&) = delete;

    bool installed() const { return installed_; }
    bool available() const { return !name_.empty(); }
    // What the server wrote to its stdout and stderr so far.
    std::string serverOutput() const;
    // ":N" for DISPLAY, or the socket's name for WAYLAND_DISPLAY.
    const std::string& name() const { return name_; }
    // The XDG_RUNTIME_DIR the compositor's socket lies in; empty for X.
    std::string runtimeDir() const { return dir_.string(); }

private:
    bool installed_ = false;
    pid_t pid_ = -1;
    std::string log_;
    int listener_ = -1;
    std::filesystem::path dir_;
    std::string name_;
};
