#include "SilentXServer.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

// g++ 12 at -O3 inlines std::string's copies into this loop and warns that they may overlap,
// which they cannot (GCC bug 105329, fixed in 13).
#if defined(__GNUC__) && !defined(__clang__) && __GNUC__ == 12
#pragma GCC diagnostic ignored "-Wrestrict"
#endif

SilentXServer::SilentXServer() {
    // Display numbers far above any a desktop uses; the first free one is taken.
    for (int number = 7300; number < 7400 && fd_ < 0; ++number) {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0)
            return;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string name = "/tmp/.X11-unix/X" + std::to_string(number);
        // Abstract namespace: a leading NUL, nothing on the file system.
        std::memcpy(address.sun_path + 1, name.data(), name.size());
        const auto length =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
        if (bind(fd, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
            listen(fd, 8) == 0) {
            fd_ = fd;
            display_ = ":" + std::to_string(number);
        } else {
            close(fd);
        }
    }
}

SilentXServer::~SilentXServer() {
    if (fd_ >= 0)
        close(fd_);
}
