#include "IioConversion.h"

#include <algorithm>
#include <cmath>

namespace libOrra::iio {
namespace {

// A unitless proximity channel (reflected light: larger is nearer) reports a relative
// distance, kRelativeScale / value clamped to 1..kReachMm: a hand that moves makes it change
// in the same proportion as the raw value, which is all the test's band needs.
constexpr double kReachMm = 2000.0;
constexpr double kRelativeScale = 100000.0;

double inChannelUnit(const AxisNumbers& n) {
    return n.raw ? (n.value + n.offset) * n.scale : n.value;
}

// What a record delivers from the mounted values `v` (in the channel's unit).
Sample delivered(const ChannelRow& row, const std::array<double, 3>& v,
                 std::optional<double> nearLevel) {
    Sample out;
    const double factor = row.factor;
    switch (row.role) {
        case Role::Vector:
            out.x = v[0] * factor, out.y = v[1] * factor, out.z = v[2] * factor;
            out.kind = 2;
            break;
        case Role::Heading: {
            const double h = std::fmod(v[0] * factor, 360.0);
            out.heading = h < 0 ? h + 360.0 : h;
            out.headingValid = true;
            break;
        }
        case Role::Field: {
            // Device flat, y up the screen: the heading of the y axis from magnetic north.
            const double h = std::atan2(-v[0], v[1]) * 180.0 / 3.14159265358979323846;
            out.heading = h < 0 ? h + 360.0 : h;
            out.headingValid = v[0] != 0.0 || v[1] != 0.0;
            out.x = v[0], out.y = v[1], out.z = v[2];
            break;
        }
        case Role::Lux:
            out.lux = static_cast<float>(v[0] * factor);
            break;
        case Role::Distance: {
            const double mm = v[0] * factor;
            out.detected = mm > 0.0 && mm <= kReachMm;
            out.x = out.detected ? mm : 0.0;
            break;
        }
        case Role::Presence:
            out.detected = nearLevel ? v[0] >= *nearLevel : v[0] > 0.0;
            out.x = out.detected ? std::clamp(kRelativeScale / v[0], 1.0, kReachMm) : 0.0;
            break;
    }
    return out;
}

}  // namespace

Conversion convert(const ChannelRow& row, std::span<const AxisNumbers> axes, const Matrix3& mount,
                   std::optional<double> nearLevel) {
    Conversion c;
    const std::size_t count = std::min<std::size_t>(axes.size(), 3);
    for (std::size_t i = 0; i < count; ++i)
        c.channel[i] = inChannelUnit(axes[i]);
    std::array<double, 3> v = c.channel;
    if (count == 3) {
        for (std::size_t r = 0; r < 3; ++r) {
            v[r] = mount[r * 3] * c.channel[0] + mount[r * 3 + 1] * c.channel[1] +
                   mount[r * 3 + 2] * c.channel[2];
        }
    }
    for (std::size_t i = 0; i < count; ++i)
        c.module[i] = v[i] * row.factor;
    c.sample = delivered(row, v, nearLevel);
    return c;
}

}  // namespace libOrra::iio
