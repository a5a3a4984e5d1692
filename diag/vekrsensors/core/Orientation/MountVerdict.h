#pragma once

#include <array>
#include <string>

#include "PoseTracker.h"
#include "libOrra/IioAttribute.h"
#include "libOrra/SensorBackend.h"

namespace vekrsensors {

// The three poses of the orientation check, in the order the person is asked for them, and
// what a correctly mounted accelerometer reads in each after its matrix. The convention is the
// kernel's mount-matrix binding, the one systemd's hwdb entries are tuned with and
// iio-sensor-proxy (3.6 and later) judges by: corrected = M x raw, rows separated by ';'.
//   upright, screen facing the person ("normal")            (0, -1 g, 0)
//   standing on its right-hand edge, left edge up ("left-up") (+1 g, 0, 0)
//   lying flat, screen up ("face-up")                       (0, 0, +1 g)
inline constexpr std::array<SignedAxis, 3> kExpectedPoses{SignedAxis{1, -1}, SignedAxis{0, 1},
                                                          SignedAxis{2, 1}};

struct MountVerdict {
    enum class Kind {
        Pass,  // every pose read as it should
        Warn,  // x and y right, z opposite: rotation works, tilt reads inverted
        Fail,  // anything else
    };
    Kind kind = Kind::Pass;
    // For Warn and Fail: the matrix that maps the sensor's raw readings to correct ones (a
    // hwdb entry replaces the kernel's matrix, so it must map raw values, not corrected ones).
    libOrra::iio::Matrix3 proposed = libOrra::iio::kIdentity;
};

// Judges the axes the three poses read along (after `applied`, the matrix in force when they
// were read) and, when they are wrong, works out the matrix that puts them right.
MountVerdict judgeMount(const std::array<SignedAxis, 3>& read,
                        const libOrra::iio::Matrix3& applied);

// "0, -1, 0; 1, 0, 0; 0, 0, 1": a matrix as ACCEL_MOUNT_MATRIX and the kernel write it.
std::string matrixText(const libOrra::iio::Matrix3& m);

// A stanza for /etc/udev/hwdb.d/61-sensor-local.hwdb that sets `matrix` on the sensor
// `mounting` describes, as systemd's 60-sensor.hwdb writes its entries: a comment naming the
// machine, the match udev's 60-sensor.rules looks up (the sensor's label where it has one,
// its parent's modalias, the DMI vendor and product, or the BIOS vendor, version and date
// where those are the firmware's placeholders), the property indented by one space.
std::string hwdbStanza(const libOrra::Mounting& mounting, const libOrra::iio::Matrix3& matrix);

}  // namespace vekrsensors
