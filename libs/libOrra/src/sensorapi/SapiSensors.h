#pragma once

// The Windows Sensor API as plain C++: no Windows type crosses this header, so the code that
// maps these sensors onto the module's own interfaces (SensorApiBackend.cpp, written with the
// module's Windows names) never meets <sensorsapi.h>, whose ISensor and SensorState are other
// types under the same names.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace libOrra::sapi {

// The Sensor API types the module tests.
enum class SapiType { Accelerometer3D, AmbientLight, Gyrometer3D, Compass3D };

// A sensor's state with the Sensor API's numbers (SENSOR_STATE_READY = 0 ... ERROR = 5); any
// other number a driver reports is kept as it is.
enum SapiState : std::int32_t {
    kReady = 0,
    kNotAvailable = 1,
    kNoData = 2,
    kInitializing = 3,
    kAccessDenied = 4,
    kError = 5,
};

// One data report's values in the Sensor API's units: g, lux, degrees per second, degrees
// from magnetic north (compensated where the sensor gives it, else uncompensated).
struct SapiReading {
    double x = 0.0, y = 0.0, z = 0.0;
    float lux = 0.0f;
    double heading = 0.0;
    bool headingValid = false;
};

// What the sensor's events left for its reader since the last take(): filled by the COM
// thread that raises the events, emptied by the thread that reads the sensor. The hand-off
// between the two: neither thread touches the other's objects. Any thread may call.
class SapiMailbox {
public:
    struct Taken {
        unsigned dataUpdates = 0;
        bool stateChanged = false;
        std::int32_t state = kReady;
        bool left = false;
    };
    void dataUpdated();
    void stateChanged(std::int32_t state);
    void left();
    Taken take();
    // Whether the sensor has gone (OnLeave): sticky, take() does not clear it.
    bool hasLeft() const;

private:
    mutable std::mutex mutex_;
    Taken pending_;
    bool gone_ = false;
};

// One Sensor API sensor, holding its COM object and the event relay attached to it for its
// whole life. Owned by one device; its calls come from the thread that owns the device, which
// they put in a COM apartment first; the relay's events arrive on the sensor's own threads and
// only reach the mailbox.
class SapiSensor {
public:
    struct Impl;
    explicit SapiSensor(std::unique_ptr<Impl> impl);
    ~SapiSensor();
    SapiSensor(const SapiSensor&) = delete;
    SapiSensor& operator=(const SapiSensor&) = delete;

    SapiType type() const;
    // SENSOR_PROPERTY_DEVICE_PATH, or the sensor ID as "{xxxxxxxx-...}" where it has none.
    const std::string& locator() const;
    // GetFriendlyName, "" where the sensor gives none.
    const std::string& name() const;
    // GetState's answer (kNotAvailable once the sensor has left); the call's HRESULT.
    std::int32_t state(std::int32_t* out);
    // One GetData report's values; false when there is none (failed call, missing value, the
    // sensor gone).
    bool read(SapiReading& out);
    SapiMailbox& mailbox();

private:
    std::unique_ptr<Impl> impl_;
};

// The sensor manager (CLSID_SensorManager). Made by open(); used from any thread, each call
// entering that thread into COM's multithreaded apartment (a thread already in a
// single-threaded one stays there).
class SapiManager {
public:
    struct Impl;
    // The HRESULT of CoCreateInstance on failure (REGDB_E_CLASSNOTREG where no Sensor API is
    // installed, as on Wine) and null; or the manager and S_OK.
    static std::shared_ptr<SapiManager> open(std::int32_t* hr);
    explicit SapiManager(std::unique_ptr<Impl> impl);
    ~SapiManager();
    SapiManager(const SapiManager&) = delete;
    SapiManager& operator=(const SapiManager&) = delete;

    // Every sensor of `type`, each with its relay attached. False when the enumeration fails;
    // no sensor of the type (the API's "not found") is true and empty.
    bool sensors(SapiType type, std::vector<std::unique_ptr<SapiSensor>>& out,
                 std::int32_t* hr = nullptr);

private:
    std::unique_ptr<Impl> impl_;
};

// Enters the calling thread into COM's multithreaded apartment once, for as long as the thread
// runs; answers the CoInitializeEx result (RPC_E_CHANGED_MODE for a thread already in a
// single-threaded apartment, which is then used as it is).
std::int32_t enterComOnThisThread();

}  // namespace libOrra::sapi
