#include "GyroMotion.h"

#include <algorithm>

namespace vekrsensors {

void GyroMotion::step(const std::array<double, 3>& value, int kind, double dt) {
    for (int i = 0; i < 3; ++i) {
        if (kind == 1) {
            rate[i] += value[i] * dt;
        } else if (kind == 2) {
            rate[i] = value[i];
        }
        angle[i] += dt * rate[i];
    }

    // The indicator is pulled toward angle Z by a damped spring. The wrap uses 360 - e (not
    // e - 360) above +180: that is the indicator's established behaviour and is kept.
    double e = zIndicator - angle[2];
    if (e > 180.0) {
        e = 360.0 - e;
    } else if (e < -180.0) {
        e = e + 360.0;
    }
    zIndicatorSpeed += (-10.0 * e - 5.0 * zIndicatorSpeed) * dt;
    zIndicator += dt * zIndicatorSpeed;

    // Beyond the pass mark the indicator stops, and so does the Z axis.
    if (zIndicator > kPassDegrees) {
        zIndicator = kPassDegrees;
        angle[2] = kPassDegrees;
        rate[2] = 0.0;
    } else if (zIndicator < -kPassDegrees) {
        zIndicator = -kPassDegrees;
        angle[2] = -kPassDegrees;
        rate[2] = 0.0;
    }

    for (int axis = 0; axis < 3; ++axis) {
        if (angle[axis] <= -kPassDegrees) {
            passed[axis * 2] = true;
        } else if (angle[axis] >= kPassDegrees) {
            passed[axis * 2 + 1] = true;
        }
    }
}

bool GyroMotion::allPassed() const {
    return std::all_of(passed.begin(), passed.end(), [](bool p) { return p; });
}

}  // namespace vekrsensors
