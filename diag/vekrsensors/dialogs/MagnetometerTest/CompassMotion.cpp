#include "CompassMotion.h"

#include <algorithm>
#include <cmath>

namespace vekrsensors {

void CompassMotion::step(double measured, double dt) {
    double e = std::fmod(displayed - measured, 360.0);
    if (e > 180.0) {
        e -= 360.0;
    } else if (e < -180.0) {
        e += 360.0;
    }
    const double a = -10.0 * e - 5.0 * velocity;  // spring 10, damping 5
    dt = std::min(dt, kMaxStep);
    velocity += dt * a;
    displayed += dt * velocity;  // with the new velocity
}

double CompassMotion::chooseTarget(double heading, int draw) {
    double target = std::fmod(draw + (heading + 90.0), 360.0);
    if (target < 0)
        target += 360.0;
    return target;
}

double CompassMotion::distanceToTarget(double displayed, double rotation, double rotationAtTarget,
                                       double target) {
    double c = std::fmod(displayed + rotation - rotationAtTarget, 360.0);
    if (c < 0)
        c += 360.0;
    return std::abs(c - target);
}

}  // namespace vekrsensors
