#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/Machine.h"
#include "libOrra/SensorBackend.h"

namespace libOrra {

namespace iio {
struct ChannelPlan;
class NoteBoard;
}  // namespace iio

// Sensors from the kernel's Industrial I/O subsystem, read through sysfs or, for drivers
// without sysfs values, through their buffer. The sysfs root is "/sys" unless VEKR_SYSFS_ROOT
// names another folder, and the device nodes are in "/dev" unless VEKR_DEV_ROOT names another
// (fake trees in tests). Works unchanged under umockdev, which redirects /sys for the process.
//
// Every access to a device's files runs on a thread of the device's own or within
// vek::callWithin, bounded by the read time-out: a driver that never answers costs a failed
// update or a state, never a hang of the caller.
class IioBackend : public SensorBackend, public DeviceInspector {
public:
    explicit IioBackend(std::filesystem::path sysfsRoot = defaultSysfsRoot(),
                        std::filesystem::path devRoot = defaultDevRoot());
    ~IioBackend() override;

    // SensorBackend
    std::vector<SensorInfo> sensors() override;
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override;
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override;
    // DeviceInspector
    std::vector<DeviceNote> takeNotes(const std::string& locator) override;
    std::string lookedIn() const override;
    std::vector<std::string> explain(SensorKind kind, const std::string& locator) override;
    std::optional<Mounting> mounting(const std::string& locator) override;

    // The times a device's buffer gives its scans (scan_elements/in_timestamp), read for
    // `span`, in nanoseconds, with the device's published sampling frequency. The buffer is
    // enabled for that time and left as found. No times, and `why`, where none can be read (no
    // timestamps, no node, another program streaming it). Blocking: call it on a thread that
    // may wait.
    struct BufferTimes {
        std::vector<std::int64_t> nanoseconds;
        std::optional<double> frequency;
        std::string why;
    };
    BufferTimes bufferTimes(const std::string& locator, std::chrono::milliseconds span) const;
    // The `kind` sensor at `locator` read through its buffer although it also has sysfs
    // values, converted as they are (scale, offset, mount matrix), so that the two can be
    // compared; null where the device has no sysfs values or its buffer does not carry the
    // kind's channels. Its buffer is enabled while it is open and left as found.
    std::unique_ptr<SensorDevice> openThroughBuffer(SensorKind kind, const std::string& locator);

    static std::filesystem::path defaultSysfsRoot();
    static std::filesystem::path defaultDevRoot();
    // How long one access to a device may take before the caller gives up on it (a HID sensor
    // hub can stall for seconds while the hub wakes up).
    static void setReadTimeout(std::chrono::milliseconds timeout);

private:
    struct Found;
    std::vector<Found> scan() const;
    std::filesystem::path root_;
    std::filesystem::path devRoot_;
    std::shared_ptr<iio::NoteBoard> notes_;
};

}  // namespace libOrra
