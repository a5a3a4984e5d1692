#pragma once

#include <array>
#include <optional>
#include <span>

#include "IioChannels.h"
#include "libOrra/IioAttribute.h"
#include "libOrra/SensorBackend.h"

namespace libOrra::iio {

// One axis's numbers as the device gave them: the _input value, or for a raw channel the _raw
// value (or the buffer's scan value) with the scale and offset in force (1 and 0 where the
// device publishes none).
struct AxisNumbers {
    double value = 0.0;
    bool raw = false;
    double scale = 1.0;
    double offset = 0.0;
};

// A sensor's reading at each step from the device's numbers to what a record delivers.
struct Conversion {
    std::array<double, 3> channel{};  // each axis in the channel's unit, before the mount matrix
    std::array<double, 3> module{};   // after the matrix, in the module's unit: what the row's
                                      // plausible bounds are about
    Sample sample;                    // what the records deliver
};

// The arithmetic of a reading, without I/O or state: an _input as it is, a raw value as
// (raw + offset) * scale (the kernel's ABI); three axes turned by the mount matrix; the row's
// factor to the module's unit (m/s^2 to g, rad/s to degrees per second, metres to millimetres);
// then the role's form: a vector, a heading wrapped to 0..360, a heading from the field's x
// and y, lux, or near/far with a distance. `axes` holds one axis or three; `nearLevel` is the
// proximity level at or above which something is near (without one, anything above 0).
// Numbers that are not finite pass through; the caller checks `channel` and `module`.
Conversion convert(const ChannelRow& row, std::span<const AxisNumbers> axes, const Matrix3& mount,
                   std::optional<double> nearLevel);

}  // namespace libOrra::iio
