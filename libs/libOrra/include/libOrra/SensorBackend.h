#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "libOrra/SensorKind.h"
#include "platform/WindowsNames.h"

namespace libOrra {

struct SensorInfo {
    SensorKind kind;
    std::string locator;
    std::string name;   // as a person reads it, with the label: "bmc150_accel (accel-base)"
    std::string label;  // the kernel's label telling alike sensors apart ("accel-base"), or ""
};

// One reading in the units every backend delivers: acceleration in g, angular velocity in
// degrees per second (kind 2) or its rate of change (kind 1), illuminance in lux, heading in
// degrees from magnetic north with a validity flag, proximity as detected plus millimetres.
struct Sample {
    double x = 0.0, y = 0.0, z = 0.0;
    int kind = 2;
    float lux = 0.0f;
    double heading = 0.0;
    bool headingValid = false;
    bool detected = false;  // proximity: something is near; x then holds the distance in mm
};

// One sensor opened by a backend, owned by the record that represents it. read() is called
// from the thread that owns the record; it must return within a bounded time.
class SensorDevice {
public:
    virtual ~SensorDevice() = default;
    // The sensor's COM face; valid while the device lives.
    virtual ISensor* sensor() = 0;
    // False when no new reading could be taken (the record's update() fails).
    virtual bool read(Sample& out) = 0;
};

// A running proximity sensor: calls onReading(detected, millimetres) and onError() from a
// thread of its own between start() and stop().
class ProximityStream {
public:
    using ReadingFn = std::function<void(bool detected, std::uint32_t mm)>;
    using ErrorFn = std::function<void()>;
    virtual ~ProximityStream() = default;
    virtual bool start(ReadingFn onReading, ErrorFn onError) = 0;
    // Stops and joins the thread; no callback runs after it returns.
    virtual void stop() = 0;
};

// Something a person should know about a device after a run, beside its verdict: that
// another program held it, or that a value had to be taken on an assumption.
struct DeviceNote {
    std::string text;
    // The device could not be read because something outside the sensor held it: a failing
    // verdict from such a run says nothing about the sensor.
    bool heldElsewhere = false;
};

// How an accelerometer's readings are turned to the screen, and what udev's hwdb matches it
// by: for a person told to fix its matrix.
struct Mounting {
    std::array<double, 9> applied{1, 0, 0, 0, 1, 0, 0, 0, 1};  // corrected = applied x raw
    std::string source;          // "udev ACCEL_MOUNT_MATRIX", "in_mount_matrix", "none"
    std::string parentModalias;  // the sensor's parent device, e.g. "acpi:BOSC0200:BOSC0200:"
    std::string dmiVendor;       // as /sys/class/dmi/id/modalias writes them (svn, pn)
    std::string dmiProduct;
    std::string dmiModalias;  // all of it: "dmi:bvn...:bvr...:bd...:svn...:pn...:"
    std::string machine;      // in plain words for a person: "ASUSTeK COMPUTER INC. T100TA"
    std::string label;        // the kernel's label; udev's hwdb key then begins with it
    // The built-in panel as the kernel tells it: the quarter turns clockwise the device must be
    // turned from its casing's normal for the panel's own top to be up (DRM's "panel
    // orientation": 1 "Right Side Up", 2 "Upside Down", 3 "Left Side Up"), nullopt where the
    // kernel does not say; where that was read, or why not; the panel's connector and native
    // mode where known ("DSI-1", 800 x 1280).
    std::optional<int> panelTurns;
    std::string panelSource;
    std::string panelConnector;
    int panelWidth = 0;
    int panelHeight = 0;
    std::string node;  // the device node udev knows the sensor by, e.g. "/dev/iio:device0"
};

// A field of a DMI modalias ("dmi:bvn...:svnASUSTeKCOMPUTERINC.:pnT100TA:..."), which is what
// the hwdb's "dmi:" part is matched against: the kernel has already dropped the spaces and
// colons of the plain attributes there. "" where the field is absent.
std::string dmiModaliasField(std::string_view modalias, std::string_view prefix);
// Whether a DMI string is one of the firmware's placeholders ("Default string", "To be filled
// by O.E.M.", "System Product Name"...), plain or as the modalias writes it: cheap tablets
// carry them, and a hwdb entry must then match on the BIOS version and date instead.
bool dmiPlaceholder(std::string_view text);
// The quarter turns of a panel orientation as the kernel's video= option names it ("normal"
// 0, "right_side_up" 1, "upside_down" 2, "left_side_up" 3); nullopt for any other text.
std::optional<int> panelTurnsNamed(std::string_view name);

// A device the framework hands to the tests.
struct DeviceEntry {
    std::string capability;
    std::string locator;
    std::string name;
    std::string label;  // see SensorInfo::label
};

// A source of sensors: the Linux IIO subsystem or a simulated machine, what a Machine reads
// its sensors through. Enumeration happens on the test threads, so implementations are
// thread-safe.
class SensorBackend {
public:
    virtual ~SensorBackend() = default;
    virtual std::vector<SensorInfo> sensors() = 0;
    // Opens every sensor of `kind`; false when the enumeration itself fails.
    virtual bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
                      std::vector<SensorInfo>& infos) = 0;
    virtual std::unique_ptr<ProximityStream> openProximity(const std::string& locator) = 0;
    // The devices to test: by default one per sensor.
    virtual std::vector<DeviceEntry> devices();
};

}  // namespace libOrra
