#include "PoseTracker.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vekrsensors {
namespace {

double norm(const Vec3& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

double degreesBetween(const Vec3& a, const Vec3& b) {
    const double cosine = (a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / (norm(a) * norm(b));
    return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180.0 / std::numbers::pi;
}

}  // namespace

std::optional<SignedAxis> axisOf(const Vec3& g, double maxDegrees) {
    const double length = norm(g);
    // Held still, a device feels 1 g; well off it, a hand is moving it.
    if (!(length > 0.8 && length < 1.2))
        return std::nullopt;
    int axis = 0;
    for (int i = 1; i < 3; ++i) {
        if (std::abs(g[i]) > std::abs(g[axis]))
            axis = i;
    }
    Vec3 along{0, 0, 0};
    along[axis] = g[axis] < 0 ? -1.0 : 1.0;
    if (degreesBetween(g, along) > maxDegrees)
        return std::nullopt;
    return SignedAxis{axis, g[axis] < 0 ? -1 : 1};
}

std::optional<SignedAxis> PoseTracker::feed(double seconds, const Vec3& g) {
    const auto axis = axisOf(g);
    const bool fresh = axis && std::none_of(taken_.begin(), taken_.end(),
                                            [&](SignedAxis t) { return t.axis == axis->axis; });
    if (!fresh) {
        settled_.reset();
        return std::nullopt;
    }
    if (!settled_ || degreesBetween(*settled_, g) > kStillDegrees) {
        settled_ = g;
        since_ = seconds;
        return std::nullopt;
    }
    if (seconds - since_ < kStillSeconds)
        return std::nullopt;
    taken_.push_back(*axis);
    settled_.reset();
    return axis;
}

}  // namespace vekrsensors
