#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "BufferStream.h"
#include "SysfsFile.h"
#include "libOrra/IioBackend.h"

namespace fs = std::filesystem;

namespace libOrra {
namespace {

// The device's published frequency: shared by all its channels, or its first channel type's.
std::optional<double> samplingFrequency(const fs::path& dir) {
    std::vector<fs::path> candidates{dir / "sampling_frequency"};
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string n = it->path().filename().string();
        if (n.starts_with("in_") && n.ends_with("_sampling_frequency"))
            candidates.push_back(it->path());
    }
    for (const fs::path& file : candidates) {
        int err = 0;
        if (const auto text = iio::readAttribute(file, err)) {
            char* end = nullptr;
            const double v = std::strtod(text->c_str(), &end);
            if (end != text->c_str() && v > 0)
                return v;
        }
    }
    return std::nullopt;
}

}  // namespace

IioBackend::BufferTimes IioBackend::bufferTimes(const std::string& locator,
                                                std::chrono::milliseconds span) const {
    BufferTimes out;
    const fs::path dir(locator);
    std::error_code ec;
    if (!fs::exists(dir / "scan_elements/in_timestamp_en", ec)) {
        out.why = "its buffer gives no times of its own";
        return out;
    }
    out.frequency = samplingFrequency(dir);
    iio::BufferStream stream(dir, devRoot_ / dir.filename(), {"in_timestamp"});
    int err = 0;
    std::string file;
    if (!stream.start(err, file)) {
        out.why = err == EBUSY
                      ? "another program streams its buffer"
                      : "its buffer could not be opened: " + std::string(std::strerror(err)) +
                            " (" + file + ")";
        return out;
    }
    const auto end = std::chrono::steady_clock::now() + span;
    std::vector<std::vector<std::int64_t>> scans;
    while (std::chrono::steady_clock::now() < end) {
        const auto before = scans.size();
        if (!stream.drain(scans, std::chrono::milliseconds(100), err))
            break;
        if (scans.size() == before && !fs::is_character_file(devRoot_ / dir.filename(), ec))
            break;  // a plain file standing in for the device has given all it holds
    }
    stream.stop();
    for (const auto& s : scans)
        out.nanoseconds.push_back(s.front());
    if (out.nanoseconds.empty())
        out.why = "its buffer gave no scans";
    return out;
}

}  // namespace libOrra
