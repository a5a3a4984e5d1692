#pragma once

#include <array>

namespace vekrsensors {

// What the gyrometer worker makes of its samples: accumulated angles per axis, the Z
// indicator (a damped spring that follows angle Z, clamped to +/-20 degrees) and the six
// latched "turned far enough" flags. Plain values, owned by the worker thread; the dialog
// only ever sees copies.
struct GyroMotion {
    static constexpr double kPassDegrees = 20.0;
    enum Flag { XNegative, XPositive, YNegative, YPositive, ZNegative, ZPositive };

    std::array<double, 3> angle{};  // degrees
    std::array<double, 3> rate{};   // degrees per second
    double zIndicator = 0.0;
    double zIndicatorSpeed = 0.0;
    std::array<bool, 6> passed{};

    // One good sample, already turned into the display's frame, `dt` seconds after the last.
    // Kind 1 values are rates of change of the angular velocity, kind 2 angular velocities;
    // any other kind leaves the rates as they were.
    void step(const std::array<double, 3>& value, int kind, double dt);
    bool allPassed() const;
};

}  // namespace vekrsensors
