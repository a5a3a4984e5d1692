#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "libOrra/SensorBackend.h"

namespace libOrra {

// Sensors from the kernel's Industrial I/O subsystem, read through sysfs. The sysfs root is
// "/sys" unless VEKR_SYSFS_ROOT names another folder (a fake tree in tests). Works unchanged
// under umockdev, which redirects /sys for the process.
class IioBackend : public SensorBackend {
public:
    explicit IioBackend(std::filesystem::path sysfsRoot = defaultSysfsRoot());

    // SensorBackend
    std::string name() const override { return "iio"; }
    std::vector<SensorInfo> sensors() override;
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override;
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override;

    static std::filesystem::path defaultSysfsRoot();
    // How long one reading may take before update() gives up on it (a HID sensor hub can
    // stall for seconds while the hub wakes up).
    static void setReadTimeout(std::chrono::milliseconds timeout);

private:
    struct Found {
        SensorKind kind;
        std::filesystem::path dir;
        std::string locator;
        std::string name;
    };
    std::vector<Found> scan() const;
    std::filesystem::path root_;
};

}  // namespace libOrra
