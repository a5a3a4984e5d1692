#include "TestDisplay.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <thread>
#include <vector>

#include "ModuleProcess.h"

// g++ 12 at -O3 inlines std::string's copies into this file's loops and warns that they may
// overlap, which they cannot (GCC bug 105329, fixed in 13).
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ == 12
#pragma GCC diagnostic ignored "-Wrestrict"
#endif

namespace {}  // namespace

// A server that takes longer than this to come up is broken, not slow.
constexpr int kStartLimitMs = 60000;

TestDisplay::TestDisplay(Kind kind) {
    installed_ = kind == Kind::SilentX ||
                 access(kind == Kind::Xvfb ? "/usr/bin/Xvfb" : "/usr/bin/weston", X_OK) == 0;
    char log[] = "/tmp/vekr-display-XXXXXX";
    const int logFd = mkstemp(log);
    if (logFd >= 0)
        close(logFd), log_ = log;
    if (kind == Kind::Xvfb && installed_) {
        // Xvfb picks a free display number itself and writes it to -displayfd once it accepts
        // connections, so there is neither a race for a number nor a wait for start-up.
        int ready[2];
        if (pipe2(ready, O_CLOEXEC) != 0)
            return;
        const int childEnd = dup(ready[1]);  // without close-on-exec: Xvfb keeps it
        pid_ = spawnLogged({"/usr/bin/Xvfb", "-displayfd", std::to_string(childEnd), "-screen", "0",
                            "1280x800x24", "-nolisten", "tcp"},
                           log_);
        close(childEnd);
        close(ready[1]);
        std::string number;
        pollfd pfd{ready[0], POLLIN, 0};
        char c = 0;
        while (pid_ > 0 && poll(&pfd, 1, kStartLimitMs) > 0 && read(ready[0], &c, 1) == 1 &&
               c != '\n')
            number += c;
        close(ready[0]);
        if (!number.empty())
            name_ = ":", name_ += number;
    } else if (kind == Kind::Weston && installed_) {
        char folder[] = "/tmp/vekr-wl-XXXXXX";  // made 0700, as a runtime folder must be
        if (!mkdtemp(folder))
            return;
        dir_ = folder;
        pid_ = spawnLogged({"/usr/bin/weston", "--backend=headless-backend.so",
                            "--socket=wayland-vekr", "--idle-time=0"},
                           log_, {"XDG_RUNTIME_DIR=" + dir_.string()});
        // Weston makes its socket once it listens.
        std::error_code ec;
        const auto end =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(kStartLimitMs);
        while (pid_ > 0 && !std::filesystem::exists(dir_ / "wayland-vekr", ec) &&
               std::chrono::steady_clock::now() < end && waitpid(pid_, nullptr, WNOHANG) == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (std::filesystem::exists(dir_ / "wayland-vekr", ec))
            name_ = "wayland-vekr";
    } else if (kind == Kind::SilentX) {
        // Display numbers far above any a desktop uses; the first free one is taken.
        for (int number = 7300; number < 7400 && listener_ < 0; ++number) {
            const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            // Abstract namespace: a leading NUL, nothing on the file system.
            char path[32], display[16];
            const int size = std::snprintf(path, sizeof path, "/tmp/.X11-unix/X%d", number);
            std::snprintf(display, sizeof display, ":%d", number);
            std::memcpy(address.sun_path + 1, path, static_cast<std::size_t>(size));
            const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 +
                                                       static_cast<std::size_t>(size));
            if (fd >= 0 && bind(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                listen(fd, 8) == 0) {
                listener_ = fd;
                name_ = display;
            } else if (fd >= 0) {
                close(fd);
            }
        }
    }
}

std::string TestDisplay::serverOutput() const {
    std::ifstream in(log_);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

TestDisplay::~TestDisplay() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    if (listener_ >= 0)
        close(listener_);
    std::error_code ec;
    if (!log_.empty())
        std::filesystem::remove(log_, ec);
    if (!dir_.empty())
        std::filesystem::remove_all(dir_, ec);
}
