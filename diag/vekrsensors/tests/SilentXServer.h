#pragma once

#include <string>

// An X server that never answers: it listens where display ":N" is looked for (the abstract
// socket "/tmp/.X11-unix/XN"), and the kernel completes each connection, but no connection
// set-up reply ever comes, as with a wedged server. Lives for the length of a test.
class SilentXServer {
public:
    SilentXServer();
    ~SilentXServer();
    SilentXServer(const SilentXServer&) = delete;
    SilentXServer& operator=(const SilentXServer&) = delete;

    bool available() const { return fd_ >= 0; }
    // ":N", for DISPLAY.
    const std::string& display() const { return display_; }

private:
    int fd_ = -1;
    std::string display_;
};
