#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace libOrra::iio {

// Plain blocking access to sysfs attributes. A driver may hold any of these calls for seconds
// (a HID hub waking up) or for ever, so they are only ever called on a sensor's own reader
// thread or through vek::callWithin, never on a test's thread.

// The attribute's text with trailing white space removed; on failure `err` holds errno.
std::optional<std::string> readAttribute(const std::filesystem::path& file, int& err);
// Writes `text` to the attribute; false with `err` on failure.
bool writeAttribute(const std::filesystem::path& file, const std::string& text, int& err);

// One attribute kept open and re-read with pread: sysfs regenerates the text on every read
// from offset 0, so the descriptor never needs reopening while the device lives.
class SysfsFile {
public:
    SysfsFile() = default;
    explicit SysfsFile(std::filesystem::path file) : path_(std::move(file)) {}
    ~SysfsFile();
    SysfsFile(SysfsFile&& o) noexcept;
    SysfsFile& operator=(SysfsFile&&) = delete;
    SysfsFile(const SysfsFile&) = delete;

    // Opens the file; false with error() on failure.
    bool open();
    // The number the attribute holds; on failure error() says why (EINVAL: not a finite
    // number).
    std::optional<double> readNumber();
    int error() const { return error_; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    int fd_ = -1;
    int error_ = 0;
};

}  // namespace libOrra::iio
