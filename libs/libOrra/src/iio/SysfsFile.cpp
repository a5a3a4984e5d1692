#include "SysfsFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "libOrra/IioAttribute.h"

namespace libOrra::iio {

std::optional<std::string> readAttribute(const std::filesystem::path& file, int& err) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        err = errno;
        return std::nullopt;
    }
    std::string text;
    char buf[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            err = errno;
            ::close(fd);
            return std::nullopt;
        }
        if (n == 0 || text.size() > 64 * 1024)
            break;
        text.append(buf, static_cast<std::size_t>(n));
    }
    ::close(fd);
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ' || text.back() == '\0'))
        text.pop_back();
    err = 0;
    return text;
}

bool writeAttribute(const std::filesystem::path& file, const std::string& text, int& err) {
    const int fd = ::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0) {
        err = errno;
        return false;
    }
    const ssize_t n = ::write(fd, text.data(), text.size());
    err = n < 0 ? errno : 0;
    if (::close(fd) != 0 && err == 0)
        err = errno;
    return err == 0 && n == static_cast<ssize_t>(text.size());
}

SysfsFile::~SysfsFile() {
    if (fd_ >= 0)
        ::close(fd_);
}

SysfsFile::SysfsFile(SysfsFile&& o) noexcept
    : path_(std::move(o.path_)), fd_(o.fd_), error_(o.error_) {
    o.fd_ = -1;
}

bool SysfsFile::open() {
    if (fd_ >= 0)
        return true;
    fd_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    error_ = fd_ < 0 ? errno : 0;
    return fd_ >= 0;
}

std::optional<double> SysfsFile::readNumber() {
    if (!open())
        return std::nullopt;
    char buf[64];
    const ssize_t n = ::pread(fd_, buf, sizeof buf - 1, 0);
    if (n < 0) {
        error_ = errno;
        return std::nullopt;
    }
    const auto v = parseNumber(std::string_view(buf, static_cast<std::size_t>(n)));
    error_ = v ? 0 : EINVAL;
    return v;
}

}  // namespace libOrra::iio
