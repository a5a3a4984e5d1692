#include "SilentXServer.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

SilentXServer::SilentXServer() {
    // Display numbers far above any a desktop uses; the first free one is taken.
    for (int number = 7300; number < 7400 && fd_ < 0; ++number) {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0)
            return;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // Appended, not `literal + string`: g++ 12 at -O3 warns (wrongly) on that inside
        // the standard library.
        std::string name = "/tmp/.X11-unix/X";
        name += std::to_string(number);
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
