#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace vekrsensors {

inline double wrap360(double d) {
    d = std::fmod(d, 360.0);
    return d < 0 ? d + 360.0 : d;
}

// The display's turn as the compass reads it: a quarter turn one way is -90, the other +90.
inline double compassRotationDegrees(std::optional<std::uint32_t> rotation) {
    switch (rotation.value_or(0)) {
        case 1:
            return -90.0;
        case 2:
            return 180.0;
        case 3:
            return 90.0;
        default:
            return 0.0;
    }
}

// The heading a person turns the device to once the compass dialog draws its target as
// `drawn` degrees, -(target + display rotation). The dialog shows it to the simulated person
// (and to a recording of a real one) as the "heading" it asks for.
inline double targetHeading(double drawn, std::optional<std::uint32_t> rotation) {
    return wrap360(-drawn - compassRotationDegrees(rotation));
}

}  // namespace vekrsensors
