#pragma once

#include <sys/types.h>

#include <string>

// An X server without a screen (Xvfb) for the length of a test, so that the dialogs can be
// shown through Qt's xcb plugin as on a desktop. available() is false when Xvfb is not
// installed or does not come up; display() is then empty.
class VirtualXServer {
public:
    VirtualXServer();
    ~VirtualXServer();
    VirtualXServer(const VirtualXServer&) = delete;
    VirtualXServer& operator=(const VirtualXServer&) = delete;

    bool available() const { return !display_.empty(); }
    // ":N", for DISPLAY.
    const std::string& display() const { return display_; }

private:
    pid_t pid_ = -1;
    std::string display_;
};
