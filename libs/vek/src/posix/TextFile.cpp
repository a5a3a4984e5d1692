#include "vek/Json.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vek {

std::optional<std::string> readTextFile(const std::filesystem::path& path, std::string* problem,
                                        std::size_t maxBytes) {
    const auto refuse = [&](std::string why) -> std::optional<std::string> {
        if (problem)
            *problem = std::move(why);
        return std::nullopt;
    };
    // Non-blocking, so opening a FIFO nobody writes to returns at once.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return refuse(std::string("cannot be read: ") + std::strerror(errno));
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return refuse("is not a regular file");
    }
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            const int err = errno;
            ::close(fd);
            return refuse(std::string("cannot be read: ") + std::strerror(err));
        }
        if (n == 0)
            break;
        // The size is checked as the text grows: the file may be larger than fstat said.
        if (text.size() + static_cast<std::size_t>(n) > maxBytes) {
            ::close(fd);
            return refuse("is larger than " + std::to_string(maxBytes >> 20) + " MiB");
        }
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return text;
}

}  // namespace vek
