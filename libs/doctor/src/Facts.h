#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "KnownSensors.h"
#include "doctor/Doctor.h"
#include "libOrra/SensorBackend.h"

// What the doctor reads, fact by fact, before it judges a chain. Each reader is a function of
// the roots alone; none writes anything.
namespace doctor {

// A device the firmware declares that the known-sensor table names.
struct FirmwareDevice {
    std::string name;            // "BOSC0200:00", or the device-tree node's device
    std::filesystem::path path;  // its folder under the sysfs root
    bool acpi = true;
    std::string id;                  // the _HID or the "compatible"
    std::optional<unsigned> status;  // ACPI _STA; none where the node has no _STA
    std::string modalias;
    std::optional<std::filesystem::path> physicalNode;  // the device a driver binds
    std::vector<const KnownSensor*> known;

    bool enabled() const { return !status || (*status & 1u) != 0; }
};

// A sensor hub: Intel's ISH or AMD's sensor fusion hub on the PCI bus, or a HID device whose
// report descriptor declares sensors.
struct SensorHub {
    std::string what;            // "Intel Integrated Sensor Hub"
    std::filesystem::path path;  // the PCI device's folder
    std::string expectedDriver;  // as /sys/bus/pci/drivers names it
};

std::vector<FirmwareDevice> declaredSensors(const Roots& roots);
std::vector<SensorHub> sensorHubs(const Roots& roots);

// A bounded read of a small text file, trailing white space removed; nullopt with `why`.
std::optional<std::string> readText(const std::filesystem::path& file, std::string* why = nullptr);
// The name of the driver bound to the device at `node` ("" for none).
std::string boundDriver(const std::filesystem::path& node);
// The entries of a folder in name order; none where it cannot be listed.
std::vector<std::filesystem::path> entries(const std::filesystem::path& folder);

// The running kernel's modules: which one claims a modalias, whether it is built in or loaded.
class KernelModules {
public:
    explicit KernelModules(const Roots& roots);
    bool readable() const { return readable_; }
    const std::string& why() const { return why_; }
    // The module whose modules.alias pattern matches `modalias` ("" for none).
    std::string moduleFor(const std::string& modalias) const;
    bool builtIn(const std::string& module) const;
    bool loaded(const std::string& module) const;
    const std::filesystem::path& folder() const { return folder_; }

private:
    std::filesystem::path folder_;
    std::filesystem::path sysModule_;
    std::vector<std::pair<std::string, std::string>> aliases_;  // pattern, module
    std::vector<std::string> builtIn_;
    bool readable_ = false;
    std::string why_;
};

// The kernel's log in /dev/kmsg's record format: the warnings and errors naming a device.
class KernelLog {
public:
    explicit KernelLog(const Roots& roots);
    bool readable() const { return readable_; }
    const std::string& why() const { return why_; }
    const std::filesystem::path& source() const { return source_; }
    // The first warning or error whose text names `device` ("" for none).
    std::string problemNaming(const std::string& device) const;

private:
    std::filesystem::path source_;
    std::vector<std::string> problems_;  // messages at level warning or worse
    bool readable_ = false;
    std::string why_;
};

// The iio and readings links of a sensor, and the mean of the readings taken (none where no
// reading could be taken): what the consumer link compares the desktop's reader with.
struct IioReadings {
    std::vector<Link> links;
    std::optional<libOrra::Sample> mean;
};

// The iio and readings links of the sensors of `kind` among `iioDevices` (IIO device folders).
IioReadings iioAndReadings(const Roots& roots, libOrra::SensorKind kind,
                           const std::vector<std::filesystem::path>& iioDevices);

}  // namespace doctor
