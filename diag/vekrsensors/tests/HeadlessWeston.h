#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

// Debian's weston with its headless backend for the length of a test: a real Wayland
// compositor without X, in a runtime folder of its own (short: a socket's path has at most
// 107 bytes), so the dialogs can be shown through Qt's wayland plugin as on a phone-style
// desktop. available() is false when weston is not installed or its socket does not appear.
class HeadlessWeston {
public:
    HeadlessWeston();
    ~HeadlessWeston();
    HeadlessWeston(const HeadlessWeston&) = delete;
    HeadlessWeston& operator=(const HeadlessWeston&) = delete;

    bool available() const { return ready_; }
    // For WAYLAND_DISPLAY, and the XDG_RUNTIME_DIR it lies in.
    std::string socket() const { return "wayland-vekr"; }
    std::string runtimeDir() const { return dir_.string(); }

private:
    pid_t pid_ = -1;
    std::filesystem::path dir_;
    bool ready_ = false;
};
