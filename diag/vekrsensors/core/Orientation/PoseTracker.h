#pragma once

#include <array>
#include <optional>
#include <vector>

namespace vekrsensors {

// One of the six directions along the sensor's axes: axis 0..2 (x, y, z), sign +1 or -1.
struct SignedAxis {
    int axis = 0;
    int sign = 1;
    bool operator==(const SignedAxis&) const = default;
};

// An acceleration in g, as the accelerometer reports it after its mount matrix.
using Vec3 = std::array<double, 3>;

// The axis a still device's reading lies along, when gravity is within `maxDegrees` of one
// (a reading of about 1 g: a device being moved reads more or less and is no pose).
std::optional<SignedAxis> axisOf(const Vec3& g, double maxDegrees = 20.0);

// Takes the poses a person holds, in turn, from a stream of readings: a pose is taken once the
// reading has stayed along one axis, within a few degrees of where it settled, for a second,
// and that axis is not the axis of an earlier pose (either sign: the person turns the device
// between poses, which is not an error). Plain values, no clock: the caller gives the time.
// Owned by one thread.
class PoseTracker {
public:
    static constexpr double kStillSeconds = 1.0;
    static constexpr double kStillDegrees = 5.0;

    // One reading at `seconds` of sensor time; the pose's axis when this reading completes it.
    std::optional<SignedAxis> feed(double seconds, const Vec3& g);
    const std::vector<SignedAxis>& taken() const { return taken_; }

private:
    std::vector<SignedAxis> taken_;
    std::optional<Vec3> settled_;  // where the current still period began
    double since_ = 0.0;
};

}  // namespace vekrsensors
