// Feeds arbitrary attribute text to the sysfs number and mount-matrix parsers: any answer
// must be finite, and nothing may crash.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "libOrra/IioAttribute.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto v = libOrra::iio::parseNumber(text); v && !std::isfinite(*v))
        std::abort();
    if (const auto m = libOrra::iio::parseMountMatrix(text)) {
        for (double e : *m) {
            if (!std::isfinite(e))
                std::abort();
        }
    }
    return 0;
}
