#pragma once

#include <optional>
#include <string_view>

namespace libOrra {

enum class SensorKind { Accelerometer, Light, Gyrometer, Magnetometer, Proximity };

inline constexpr SensorKind kAllSensorKinds[] = {SensorKind::Accelerometer, SensorKind::Light,
                                                 SensorKind::Gyrometer, SensorKind::Magnetometer,
                                                 SensorKind::Proximity};

// "accelerometer", "light", ... as scenario files spell them.
std::string_view kindName(SensorKind kind);
std::optional<SensorKind> kindFromName(std::string_view name);
// The framework's device capability name: "Accelerometer", "AmbientLightSensor", ...
std::string_view capabilityName(SensorKind kind);
std::optional<SensorKind> kindFromCapability(std::string_view capability);

}  // namespace libOrra
