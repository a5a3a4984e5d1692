#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace libOrra::iio {

// A property that udev keeps for a device, e.g. ACCEL_MOUNT_MATRIX or PROXIMITY_NEAR_LEVEL,
// which systemd's hwdb (60-sensor.hwdb) sets for machines whose drivers lack them. Read
// through libudev, so umockdev recordings supply them in tests. nullopt when udev does not
// know the device (a fake sysfs tree) or has no such property.
std::optional<std::string> udevProperty(const std::filesystem::path& sysPath, const char* name);

}  // namespace libOrra::iio
