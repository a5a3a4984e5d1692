#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "BufferStream.h"
#include "IioChannels.h"
#include "IioConversion.h"
#include "SysfsFile.h"
#include "libOrra/IioBackend.h"
#include "libOrra/SensorBackend.h"
#include "platform/WindowsNames.h"

namespace libOrra::iio {

namespace fs = std::filesystem;

// Notes about devices, posted from the sensors' reader threads and taken by the host after
// each run. Shared by the backend and every sensor it opened.
class NoteBoard {
public:
    void add(const std::string& locator, DeviceNote note) {
        std::lock_guard lock(mutex_);
        auto& list = notes_[locator];
        for (const auto& n : list) {
            if (n.text == note.text)
                return;
        }
        list.push_back(std::move(note));
    }
    std::vector<DeviceNote> take(const std::string& locator) {
        std::lock_guard lock(mutex_);
        auto it = notes_.find(locator);
        if (it == notes_.end())
            return {};
        auto out = std::move(it->second);
        notes_.erase(it);
        return out;
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::vector<DeviceNote>> notes_;
};

// A calibration value chosen when the sensor opens, with the attribute or udev property it came
// from as the device report and the orientation check name it ("udev ACCEL_MOUNT_MATRIX \"...\"",
// "in_mount_matrix \"...\"", "none (identity)").
template <typename T>
struct Sourced {
    T value;
    std::string source;
};

// How long one sysfs access may take before it counts as failed (1 s; tests shorten it).
std::chrono::milliseconds readTimeout();
void setReadTimeout(std::chrono::milliseconds timeout);
// An errno as the log and the notes name it.
std::string errorText(int err);
// The names in a device folder, and those of its buffer's channels as "scan_elements/<name>".
// Listing a sysfs folder never reaches the driver, so it needs no bound.
FileNames listFiles(const fs::path& dir);
// The state of a sensor that cannot be read for `err` (0: READY).
SensorState stateFromErrno(int err);

// The live channels of one sensor. Opened and read only on the sensor's reader thread (a
// stuck read may outlive the sensor object, hence shared); `frequency` is also read by the
// event thread.
struct Channels {
    struct Axis {
        iio::SysfsFile value;
        double scale = 1.0;
        double offset = 0.0;
    };
    fs::path dir;
    std::string locator;
    std::string name;
    fs::path node;
    iio::ChannelPlan plan;
    std::shared_ptr<iio::NoteBoard> notes;

    bool opened = false;
    std::vector<Axis> axes;
    std::unique_ptr<iio::BufferStream> buffer;
    Sourced<iio::Matrix3> mount{iio::kIdentity, {}};
    std::optional<double> nearLevel;
    std::string nearSource;
    std::atomic<double> frequency{10.0};
    int lastError = 0;
    std::string lastLogged;
    bool busyNoted = false;

    std::string device() const { return dir.filename().string(); }

    // Records why the sensor cannot be read now: the errno that its state reflects, one log
    // line per new cause, and for EBUSY a note for the report naming who holds the device.
    bool fail(int err, const fs::path& file);

    // A number attribute that must be usable when it is present.
    bool readInfo(const std::string& attribute, double& out);

    bool open();

    // For accelerometers udev's ACCEL_MOUNT_MATRIX first: systemd's hwdb sets it for machines
    // whose firmware matrix is wrong, and documents it as replacing the kernel's (as
    // iio-sensor-proxy reads it). Then the driver's matrix by the kernel's names, best first.
    // A matrix that cannot be read, does not parse or is degenerate is passed over for the
    // next; none gives the identity.
    Sourced<iio::Matrix3> chooseMountMatrix();

    // The axis whose reading made most of corrected axis `i` (the matrix mixes them).
    std::size_t sourceAxis(std::size_t i, const std::array<double, 3>& unmounted) const;

    // A reading that no part of its kind can give: the update fails as for a number that is
    // not finite. The log names the attribute, the raw value, the scale and offset and the
    // result, once per attribute; the run's note says it in a technician's words. `raw` is
    // the number the device gave for `axis`.
    bool implausible(double value, std::size_t axis, double raw);

    // The driver's near level, else udev's PROXIMITY_NEAR_LEVEL; without either the sensor
    // sees something above zero, and the report says so.
    bool chooseNearLevel();

    // Each axis's numbers as the device gives them now (the buffer's latest scan or the value
    // attributes), with the scale and offset read at open; false as for read().
    bool readNumbers(std::array<AxisNumbers, 3>& out);

    // Reads one sample (the arithmetic is convert()'s); false (with lastError) when the sensor
    // cannot be read or its reading is not finite or not plausible.
    bool read(Sample& out);
};

// A sensor's channels, not yet opened: they open on first use, on the sensor's own thread.
std::shared_ptr<Channels> channelsFor(const fs::path& dir, const std::string& locator,
                                      const std::string& name, const fs::path& node,
                                      const iio::ChannelPlan& plan,
                                      std::shared_ptr<iio::NoteBoard> notes);

}  // namespace libOrra::iio

namespace libOrra {

// One IIO device the backend's scan found, with the channels its kind reads.
struct IioBackend::Found {
    SensorKind kind;
    std::filesystem::path dir;
    std::string locator;
    std::string name;
    std::filesystem::path node;
    iio::ChannelPlan plan;
    std::string label;  // the kernel's label, "" where the driver gives none
};

}  // namespace libOrra
