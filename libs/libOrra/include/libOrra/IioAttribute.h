#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace libOrra::iio {

// Text of sysfs attributes. Parsed with std::from_chars, never with the C library's
// locale-dependent functions: a German desktop must not read "0.009806650" as 0.

// A decimal number as the kernel prints it ("-906\n", "0.009806650", "1e-3").
std::optional<double> parseNumber(std::string_view text);

// A mount matrix "x1, y1, z1; x2, y2, z2; x3, y3, z3", row-major.
using Matrix3 = std::array<double, 9>;
std::optional<Matrix3> parseMountMatrix(std::string_view text);
inline constexpr Matrix3 kIdentity{1, 0, 0, 0, 1, 0, 0, 0, 1};

}  // namespace libOrra::iio
