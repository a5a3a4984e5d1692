#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace libOrra {

// A property that udev keeps for a device, e.g. ACCEL_MOUNT_MATRIX, ACCEL_LOCATION or
// PROXIMITY_NEAR_LEVEL, which systemd's hwdb (60-sensor.hwdb) sets for machines whose drivers
// lack them. Read through libudev, so umockdev recordings supply them in tests. A device libudev
// cannot know, because its tree was moved away from /sys (VEKR_SYSFS_ROOT), gives the
// KEY=VALUE lines of its uevent file, where umockdev's testbed also keeps a device's
// properties. nullopt where neither has the property. Any thread.
std::optional<std::string> udevProperty(const std::filesystem::path& sysPath, const char* name);

}  // namespace libOrra
