#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "libOrra/SensorKind.h"

namespace libOrra::iio {

// What a channel's value means once (raw + offset) * scale, or _input, has been read.
enum class Role {
    Vector,    // three axes, converted to the module's unit with `factor`
    Heading,   // angle from magnetic north, radians in the kernel's ABI
    Field,     // magnetic field on three axes; the heading is computed from x and y
    Lux,       // illuminance
    Presence,  // unitless proximity: bigger is nearer
    Distance,  // time-of-flight distance, metres in the kernel's ABI
};

// One row per IIO channel kind. `values` lists the attribute names to try, best first;
// "%a" stands for the axis. For a _raw attribute the scale and offset are looked up per
// channel ("<stem>_scale"), then per channel type ("in_<type>_scale"); an _input attribute
// is already in the channel's unit.
struct ChannelRow {
    SensorKind kind;
    Role role;
    std::string_view type;  // "accel", "anglvel", ...
    std::vector<std::string_view> values;
    double factor;  // SI unit to the module's unit
};

const std::vector<ChannelRow>& channelTable();

// "in_accel_%a_raw" with axis "x" -> "in_accel_x_raw".
std::string expand(std::string_view pattern, std::string_view axis);
// "in_accel_x_raw" -> "in_accel_x"; empty when the name ends in neither _raw nor _input.
std::string_view stemOf(std::string_view attribute);
bool isRaw(std::string_view attribute);

}  // namespace libOrra::iio
