#include "IioChannels.h"

#include <numbers>

namespace libOrra::iio {

const std::vector<ChannelRow>& channelTable() {
    static const std::vector<ChannelRow> rows = {
        // Accelerometers report m/s^2; the module works in g.
        {SensorKind::Accelerometer,
         Role::Vector,
         "accel",
         {"in_accel_%a_input", "in_accel_%a_raw"},
         1.0 / 9.80665},
        // Gyroscopes report rad/s; the module works in degrees per second.
        {SensorKind::Gyrometer,
         Role::Vector,
         "anglvel",
         {"in_anglvel_%a_input", "in_anglvel_%a_raw"},
         180.0 / std::numbers::pi},
        // A compass hub gives the heading itself; prefer the tilt-compensated one.
        {SensorKind::Magnetometer,
         Role::Heading,
         "rot",
         {"in_rot_from_north_magnetic_tilt_comp_input", "in_rot_from_north_magnetic_tilt_comp_raw",
          "in_rot_from_north_magnetic_input", "in_rot_from_north_magnetic_raw"},
         180.0 / std::numbers::pi},
        // A bare magnetometer: the heading comes from the field's x and y.
        {SensorKind::Magnetometer,
         Role::Field,
         "magn",
         {"in_magn_%a_input", "in_magn_%a_raw"},
         1.0},
        // Light sensors: processed lux first, then raw lux, then a raw intensity channel as
        // the last resort (scaled, it is what the hub calls illuminance).
        {SensorKind::Light,
         Role::Lux,
         "illuminance",
         {"in_illuminance_input", "in_illuminance0_input", "in_illuminance_raw",
          "in_illuminance0_raw"},
         1.0},
        {SensorKind::Light,
         Role::Lux,
         "intensity",
         {"in_intensity_both_raw", "in_intensity_clear_raw", "in_intensity_raw"},
         1.0},
        // Time-of-flight rangers report metres; the module works in millimetres.
        {SensorKind::Proximity,
         Role::Distance,
         "distance",
         {"in_distance_input", "in_distance_raw", "in_distance0_raw"},
         1000.0},
        {SensorKind::Proximity,
         Role::Presence,
         "proximity",
         {"in_proximity_input", "in_proximity_raw", "in_proximity0_raw"},
         1.0},
    };
    return rows;
}

std::string expand(std::string_view pattern, std::string_view axis) {
    std::string out(pattern);
    if (const auto at = out.find("%a"); at != std::string::npos)
        out.replace(at, 2, axis);
    return out;
}

std::string_view stemOf(std::string_view attribute) {
    for (std::string_view suffix : {"_raw", "_input"}) {
        if (attribute.size() > suffix.size() && attribute.ends_with(suffix)) {
            return attribute.substr(0, attribute.size() - suffix.size());
        }
    }
    return {};
}

bool isRaw(std::string_view attribute) {
    return attribute.ends_with("_raw");
}

}  // namespace libOrra::iio
