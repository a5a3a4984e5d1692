#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

// What a machine's firmware, kernel and sensor hubs show in sysfs, laid beside a FakeSysfs's
// IIO devices under the same root, from a case's description:
//
//   "acpi": [{"dev": "BOSC0200:00", "status": 15, "bound": "bmc150_accel_i2c", "iio": [0]}]
//        the ACPI device (hid, status, modalias, path) and, unless its status disables it, its
//        I2C client i2c-<dev> as the physical node: the bound driver, its IIO devices
//   "pci": [{"addr": "0000:00:12.0", "vendor": "0x8086", "device": "0xe445", "bound": "..."}]
//   "ishtp": [] or ["<client>", ...]   the ISH transport bus's clients
//   "hid": [{"dev": "001F:8087:0AC2.0001", "descriptor": "05 20 09 01 ...", "bound": "..."}]
//        a HID device with its report descriptor (hex bytes) and bound driver
//   "modules": {"alias": ["acpi*:BOSC0200:* bmc150_accel_i2c"], "builtin": [...],
//               "loaded": ["bmc150_accel_i2c"]}   the running kernel's modules folder
//   "kmsg": ["3,1021,5203110,-;text"]          the kernel log, in /dev/kmsg's record format
//   "live": {"in_accel_x_raw": ["1023", "1025"]}   device 0's attribute keeps changing
//           ("iio:device1/in_accel_x_raw": another device's)
//   "dmi": {"chassis_type": "31"}      /sys/class/dmi/id's attributes
//   "input": [{"n": 5, "name": "Intel Virtual Switches", "sw": "22"}]
//        /sys/class/input/input<n> with its name, capabilities/sw and event<n> folder
//   "cmdline": "video=DSI-1:panel_orientation=right_side_up"   the proc root's cmdline
//
// Owned by the case; its writer thread (for "live") stops when it is destroyed.
class FakeFirmware {
public:
    FakeFirmware(const std::filesystem::path& root, const nlohmann::json& tree);
    ~FakeFirmware();
    FakeFirmware(const FakeFirmware&) = delete;
    FakeFirmware& operator=(const FakeFirmware&) = delete;

    // The module's environment for this machine (VEKR_MODULES_DIR, VEKR_KERNEL_LOG,
    // VEKR_PROC_ROOT).
    std::vector<std::string> environment() const;

private:
    void addAcpi(const nlohmann::json& device);
    void addPci(const nlohmann::json& device);
    void addHid(const nlohmann::json& device);
    void writeJournal(const nlohmann::json& messages);
    void addInput(const nlohmann::json& device);
    void keepChanging(std::vector<std::pair<std::filesystem::path, std::vector<std::string>>> live);

    std::filesystem::path root_;
    std::atomic<bool> stop_{false};
    std::thread writer_;
};
