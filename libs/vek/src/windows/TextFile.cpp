#include <cerrno>
#include <cstring>
#include <fstream>

#include "vek/Json.h"

namespace vek {

// Windows has no FIFOs on the file system to block an open, so a plain stream does; a folder
// or a device is refused as on Linux.
std::optional<std::string> readTextFile(const std::filesystem::path& path, std::string* problem,
                                        std::size_t maxBytes) {
    const auto refuse = [&](std::string why) -> std::optional<std::string> {
        if (problem)
            *problem = std::move(why);
        return std::nullopt;
    };
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status))
        return refuse("cannot be read: " + (ec ? ec.message() : std::string("No such file")));
    if (!std::filesystem::is_regular_file(status))
        return refuse("is not a regular file");
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return refuse(std::string("cannot be read: ") + std::strerror(errno));
    std::string text;
    char buffer[65536];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        const auto n = static_cast<std::size_t>(in.gcount());
        // The size is checked as the text grows: the file may be larger than status said.
        if (text.size() + n > maxBytes)
            return refuse("is larger than " + std::to_string(maxBytes >> 20) + " MiB");
        text.append(buffer, n);
    }
    if (in.bad())
        return refuse("cannot be read");
    return text;
}

}  // namespace vek
