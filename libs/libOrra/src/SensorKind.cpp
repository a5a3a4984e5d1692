#include "libOrra/SensorKind.h"

#include <array>

namespace libOrra {
namespace {

struct KindNames {
    SensorKind kind;
    std::string_view name;
    std::string_view capability;
};

constexpr std::array<KindNames, 5> kNames{{
    {SensorKind::Accelerometer, "accelerometer", "Accelerometer"},
    {SensorKind::Light, "light", "AmbientLightSensor"},
    {SensorKind::Gyrometer, "gyrometer", "Gyrometer"},
    {SensorKind::Magnetometer, "magnetometer", "Magnetometer"},
    {SensorKind::Proximity, "proximity", "ProximitySensor"},
}};

}  // namespace

std::string_view kindName(SensorKind kind) {
    return kNames[static_cast<int>(kind)].name;
}
std::string_view capabilityName(SensorKind kind) {
    return kNames[static_cast<int>(kind)].capability;
}

std::optional<SensorKind> kindFromName(std::string_view name) {
    for (const auto& n : kNames) {
        if (n.name == name)
            return n.kind;
    }
    return std::nullopt;
}

std::optional<SensorKind> kindFromCapability(std::string_view capability) {
    for (const auto& n : kNames) {
        if (n.capability == capability)
            return n.kind;
    }
    return std::nullopt;
}

}  // namespace libOrra
