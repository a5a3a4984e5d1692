#include "IioChannels.h"

#include <limits>
#include <numbers>

namespace libOrra::iio {
namespace {
constexpr double kNone = std::numeric_limits<double>::infinity();
}  // namespace

const std::vector<ChannelRow>& channelTable() {
    static const std::vector<ChannelRow> rows = {
        // Accelerometers report m/s^2; the module works in g.
        {SensorKind::Accelerometer,
         Role::Vector,
         "accel",
         {"in_accel_%a_input", "in_accel_%a_raw"},
         {"in_accel_%a"},
         1.0 / 9.80665,
         // The widest consumer parts measure +/-32 g (the ADXL37x high-g parts +/-200 g
         // are not built into tablets).
         {-32.0, 32.0, "an acceleration", "g"}},
        // Gyroscopes report rad/s; the module works in degrees per second.
        {SensorKind::Gyrometer,
         Role::Vector,
         "anglvel",
         {"in_anglvel_%a_input", "in_anglvel_%a_raw"},
         {"in_anglvel_%a"},
         180.0 / std::numbers::pi,
         // Consumer gyroscopes' widest range is +/-2000 degrees/s; twice that is no turn a
         // hand makes.
         {-4000.0, 4000.0, "an angular rate", "degrees/s"}},
        // A compass hub gives the heading itself; prefer the tilt-compensated one. HID hubs
        // publish the compass-heading usage in degrees (times in_rot_scale), not in radians.
        {SensorKind::Magnetometer,
         Role::Heading,
         "rot",
         {"in_rot_from_north_magnetic_tilt_comp_input", "in_rot_from_north_magnetic_tilt_comp_raw",
          "in_rot_from_north_magnetic_input", "in_rot_from_north_magnetic_raw"},
         {"in_rot_from_north_magnetic_tilt_comp", "in_rot_from_north_magnetic"},
         1.0,
         // HID's compass usage is a bearing of 0..360 degrees: 1019 is a scale off by ten.
         {0.0, 360.0, "a heading", "degrees"}},
        // A bare magnetometer: the heading comes from the field's x and y.
        {SensorKind::Magnetometer,
         Role::Field,
         "magn",
         {"in_magn_%a_input", "in_magn_%a_raw"},
         {"in_magn_%a"},
         1.0,
         // Gauss (the kernel's unit): +/-50 G is +/-5000 uT, a hundred times the Earth's
         // field and beyond any consumer magnetometer's range (+/-4900 uT at most).
         {-50.0, 50.0, "a field", "gauss"}},
        // Light sensors: processed lux first, then raw lux, then a raw intensity channel as
        // the last resort (scaled, it is what the hub calls illuminance).
        {SensorKind::Light,
         Role::Lux,
         "illuminance",
         {"in_illuminance_input", "in_illuminance0_input", "in_illuminance_raw",
          "in_illuminance0_raw", "in_illuminance_clear_raw"},
         {"in_illuminance", "in_illuminance0", "in_illuminance_clear"},
         1.0,
         // Direct sunlight is about 120 000 lux.
         {0.0, 200000.0, "an illuminance", "lux"}},
        {SensorKind::Light,
         Role::Lux,
         "intensity",
         {"in_intensity_both_raw", "in_intensity_clear_raw", "in_intensity_raw"},
         {"in_intensity_both", "in_intensity_clear"},
         1.0,
         {0.0, 200000.0, "an illuminance", "lux"}},
        // Time-of-flight rangers report metres; the module works in millimetres.
        {SensorKind::Proximity,
         Role::Distance,
         "distance",
         {"in_distance_input", "in_distance_raw", "in_distance0_raw"},
         {"in_distance", "in_distance0"},
         1000.0,
         {0.0, kNone, "a distance", "mm"}},
        {SensorKind::Proximity,
         Role::Presence,
         "proximity",
         {"in_proximity_input", "in_proximity_raw", "in_proximity0_raw"},
         {"in_proximity", "in_proximity0"},
         1.0,
         // Unitless: any number a driver reports is a reflection strength.
         {-kNone, kNone, "a proximity", ""}},
    };
    return rows;
}

std::string expand(std::string_view pattern, std::string_view axis) {
    std::string out(pattern);
    if (const auto at = out.find("%a"); at != std::string::npos)
        out.replace(at, 2, axis);
    return out;
}

namespace {

bool threeAxes(const ChannelRow& row) {
    return row.role == Role::Vector || row.role == Role::Field;
}

// The first of `candidates` that the device has, with its place; empty when none.
InfoAttribute firstPresent(const FileNames& files,
                           std::initializer_list<InfoAttribute> candidates) {
    for (const auto& c : candidates) {
        if (files.contains(c.name))
            return c;
    }
    return {};
}

// Scale or offset of a raw channel, in the kernel's order: the channel's own ("in_accel_x_"),
// its type's ("in_accel_"), its direction's ("in_"), then shared by all (cros-ec publishes
// one plain "scale" for every axis). An unindexed channel without a modifier has its type's
// name ("in_illuminance_scale"), and the report calls that the type's.
InfoAttribute infoFor(const FileNames& files, const std::string& stem, std::string_view type,
                      const char* info) {
    const std::string own = stem + "_" + info;
    const std::string typeWide = "in_" + std::string(type) + "_" + info;
    return firstPresent(files, {{own, own == typeWide ? "type" : "channel"},
                                {typeWide, "type"},
                                {std::string("in_") + info, "direction"},
                                {std::string(info), "shared"}});
}

// "in_accel_x_raw" -> "in_accel_x".
std::string stemOf(const std::string& value) {
    for (std::string_view suffix : {"_raw", "_input"}) {
        if (value.ends_with(suffix))
            return value.substr(0, value.size() - suffix.size());
    }
    return value;
}

constexpr std::string_view kAxes[] = {"x", "y", "z"};

// The row's sysfs values, every axis through the same attribute name pattern, so that an
// _input x is never mixed with a _raw y; empty when the device lacks one.
std::vector<AxisPlan> valueAxes(const ChannelRow& row, const FileNames& files) {
    const int axisCount = threeAxes(row) ? 3 : 1;
    for (auto pattern : row.values) {
        std::vector<AxisPlan> axes;
        for (int i = 0; i < axisCount; ++i) {
            const std::string name = expand(pattern, axisCount == 3 ? kAxes[i] : "");
            if (!files.contains(name))
                break;
            AxisPlan axis{name, name.ends_with("_raw"), {}, {}};
            if (axis.raw) {
                axis.scale = infoFor(files, stemOf(name), row.type, "scale");
                axis.offset = infoFor(files, stemOf(name), row.type, "offset");
            }
            axes.push_back(std::move(axis));
        }
        if (static_cast<int>(axes.size()) == axisCount)
            return axes;
    }
    return {};
}

// The row's channels in the buffer: each enabled, typed and indexed under scan_elements/.
std::vector<AxisPlan> bufferAxes(const ChannelRow& row, const FileNames& files) {
    const int axisCount = threeAxes(row) ? 3 : 1;
    for (auto pattern : row.scanNames) {
        std::vector<AxisPlan> axes;
        for (int i = 0; i < axisCount; ++i) {
            const std::string stem = expand(pattern, axisCount == 3 ? kAxes[i] : "");
            const std::string dir = "scan_elements/" + stem;
            if (!files.contains(dir + "_en") || !files.contains(dir + "_type") ||
                !files.contains(dir + "_index")) {
                break;
            }
            axes.push_back({stem, true, infoFor(files, stem, row.type, "scale"),
                            infoFor(files, stem, row.type, "offset")});
        }
        if (static_cast<int>(axes.size()) == axisCount)
            return axes;
    }
    return {};
}

// Sysfs values first, else the buffer (which needs the device's node); with `bufferOnly`
// the buffer alone.
std::optional<ChannelPlan> planFor(const ChannelRow& row, const FileNames& files,
                                   bool hasBufferNode, bool bufferOnly) {
    ChannelPlan plan;
    plan.row = &row;
    const std::string type(row.type);
    if (!bufferOnly)
        plan.axes = valueAxes(row, files);
    if (plan.axes.empty() && hasBufferNode) {
        plan.axes = bufferAxes(row, files);
        plan.buffered = !plan.axes.empty();
    }
    if (plan.axes.empty())
        return std::nullopt;

    for (const std::string& m : {"in_" + type + "_mount_matrix", std::string("in_mount_matrix"),
                                 std::string("mount_matrix")}) {
        if (files.contains(m))
            plan.mountMatrices.push_back(m);
    }
    plan.frequency = firstPresent(
        files, {{"in_" + type + "_sampling_frequency", "type"}, {"sampling_frequency", "shared"}});
    if (row.role == Role::Presence) {
        plan.nearLevel = firstPresent(files, {{"in_proximity_nearlevel", "type"},
                                              {"in_proximity0_nearlevel", "channel"},
                                              {"nearlevel", "shared"}});
    }
    return plan;
}

std::optional<ChannelPlan> firstPlan(SensorKind kind, const FileNames& files, bool hasBufferNode,
                                     bool bufferOnly) {
    for (const auto& row : channelTable()) {
        if (row.kind != kind)
            continue;
        if (auto plan = planFor(row, files, hasBufferNode, bufferOnly))
            return plan;
    }
    return std::nullopt;
}

}  // namespace

std::optional<ChannelPlan> planChannels(const ChannelRow& row, const FileNames& files,
                                        bool hasBufferNode) {
    return planFor(row, files, hasBufferNode, false);
}

std::optional<ChannelPlan> planSensor(SensorKind kind, const FileNames& files, bool hasBufferNode) {
    return firstPlan(kind, files, hasBufferNode, false);
}

std::optional<ChannelPlan> planBuffered(SensorKind kind, const FileNames& files,
                                        bool hasBufferNode) {
    return firstPlan(kind, files, hasBufferNode, true);
}

}  // namespace libOrra::iio
