#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace libOrra::iio {

// Text of sysfs attributes. Parsed with std::from_chars, never with the C library's
// locale-dependent functions: a German desktop must not read "0.009806650" as 0.

// A finite decimal number as the kernel prints it ("-906\n", "0.009806650", "1e-3").
std::optional<double> parseNumber(std::string_view text);

// A mount matrix "x1, y1, z1; x2, y2, z2; x3, y3, z3", row-major. A matrix that cannot turn
// a reading into the device's frame (a zero row, rows that are not independent) is refused:
// a driver whose device tree left the matrix unset must not zero or flatten the readings.
using Matrix3 = std::array<double, 9>;
std::optional<Matrix3> parseMountMatrix(std::string_view text);
inline constexpr Matrix3 kIdentity{1, 0, 0, 0, 1, 0, 0, 0, 1};

// The layout of one channel in a buffer scan, from scan_elements/<channel>_type:
// "[be|le]:[s|u]<realbits>/<storagebits>[X<repeat>]>><shift>", e.g. "le:s16/32>>0".
struct ScanType {
    bool bigEndian = false;
    bool isSigned = false;
    unsigned realBits = 0;
    unsigned storageBits = 0;
    unsigned repeat = 1;
    unsigned shift = 0;
    std::size_t bytes() const { return storageBits / 8 * repeat; }
};
std::optional<ScanType> parseScanType(std::string_view text);
// The value of one channel (its first repeat) stored at `data` (storageBits / 8 bytes).
std::int64_t decodeScanValue(const ScanType& type, const std::uint8_t* data);

}  // namespace libOrra::iio
