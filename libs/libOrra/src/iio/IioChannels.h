#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "libOrra/SensorKind.h"

namespace libOrra::iio {

// What a channel's value means once (raw + offset) * scale, or _input, has been read.
enum class Role {
    Vector,    // three axes, converted to the module's unit with `factor`
    Heading,   // angle from magnetic north in degrees (HID hubs publish the compass usage so)
    Field,     // magnetic field on three axes; the heading is computed from x and y
    Lux,       // illuminance
    Presence,  // unitless proximity: bigger is nearer
    Distance,  // time-of-flight distance, metres in the kernel's ABI
};

// What any part of a kind can report, in the module's units (see docs/sensors.md for the
// sources): a reading outside is a driver's fault, most often a scale off by a power of ten,
// and is never used, wrapped or clamped.
struct Plausible {
    double low;
    double high;
    std::string_view quantity;  // "a heading", for the note: "gives a heading of 1019 degrees"
    std::string_view unit;
};

// One row per IIO channel kind. `values` lists the value attributes to try, best first; "%a"
// stands for the axis. `scanNames` are the channel names under scan_elements/ for devices
// that deliver values only through their buffer.
struct ChannelRow {
    SensorKind kind;
    Role role;
    std::string_view type;  // "accel", "anglvel", ...
    std::vector<std::string_view> values;
    std::vector<std::string_view> scanNames;
    double factor;        // the channel's unit to the module's unit
    Plausible plausible;  // each axis after scale, offset, matrix and factor (before wrapping)
};

const std::vector<ChannelRow>& channelTable();

// An info attribute chosen among the kernel's places for it, with the place it was found in:
// the channel's own ("in_accel_x_scale"), its type's ("in_accel_scale"), its direction's
// ("in_scale") or one shared by all ("scale"). The choice is made once, from the file names,
// and carries its place so that the device report names it as it is. Empty when the device
// has none.
struct InfoAttribute {
    std::string name;
    std::string_view place;  // "channel", "type", "direction", "shared"

    bool empty() const { return name.empty(); }
    // "in_accel_scale (type)"; "none" when empty.
    std::string source() const { return empty() ? "none" : name + " (" + std::string(place) + ")"; }
};

// How one axis of a sensor is read: a sysfs value attribute, or a channel of the buffer.
struct AxisPlan {
    std::string value;  // "in_accel_x_raw"; for a buffered axis the scan name "in_accel_x"
    bool raw = false;   // (raw + offset) * scale; an _input is already in the channel's unit
    // The scale and offset attributes in force: the first of the kernel's places that the
    // device has (per channel, per type, per direction, shared by all).
    InfoAttribute scale;
    InfoAttribute offset;
};

// Everything needed to open one sensor, decided from the device folder's file names alone, so
// that listing a sensor and opening it cannot disagree.
struct ChannelPlan {
    const ChannelRow* row = nullptr;
    bool buffered = false;
    std::vector<AxisPlan> axes;              // three for vectors and fields, else one
    std::vector<std::string> mountMatrices;  // present candidates, best first
    InfoAttribute frequency;                 // sampling frequency attribute
    InfoAttribute nearLevel;                 // proximity near level attribute
};

// The names in one device folder (and "scan_elements/<name>" for its buffer's channels).
using FileNames = std::set<std::string, std::less<>>;

// The plan for `row` on a device with `files`; nullopt when a channel the row needs is
// missing (a two-axis gyroscope is no gyrometer). `hasBufferNode` says whether the device's
// character device exists, without which no buffered plan is made.
std::optional<ChannelPlan> planChannels(const ChannelRow& row, const FileNames& files,
                                        bool hasBufferNode);
// The first row of `kind` that plans on this device.
std::optional<ChannelPlan> planSensor(SensorKind kind, const FileNames& files, bool hasBufferNode);
// The first row of `kind` whose channels the device's buffer carries, whether or not it also
// has sysfs values (the doctor reads both and compares them); nullopt without a buffer node.
std::optional<ChannelPlan> planBuffered(SensorKind kind, const FileNames& files,
                                        bool hasBufferNode);

// "in_accel_%a_raw" with axis "x" -> "in_accel_x_raw".
std::string expand(std::string_view pattern, std::string_view axis);

}  // namespace libOrra::iio
