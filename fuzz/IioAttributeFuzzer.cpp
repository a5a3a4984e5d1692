// Feeds arbitrary attribute text to the sysfs number, mount-matrix and scan-type parsers: any
// number must be finite, a scan type must fit its storage, and nothing may crash.
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
    if (const auto t = libOrra::iio::parseScanType(text)) {
        if (t->realBits + t->shift > t->storageBits || t->bytes() == 0 || t->bytes() > 128)
            std::abort();
        std::uint8_t scan[8] = {0xff, 0x80, 0x7f, 0x01, 0xff, 0xff, 0xff, 0xff};
        (void)libOrra::iio::decodeScanValue(*t, scan);
    }
    return 0;
}
