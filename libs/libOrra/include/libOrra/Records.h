#pragma once

#include <cstdint>
#include <memory>

#include "libOrra/SensorBackend.h"
#include "platform/WindowsNames.h"
#include "vek/Array.h"
#include "vek/String.h"

namespace libOrra {

// One sensor as the tests see it: identity strings, the COM interface, the last state the
// state check read, and (in the subclasses) the latest reading. Owned by the array the
// enumeration filled; used by one thread at a time.
class SensorRecord {
public:
    SensorRecord(std::unique_ptr<SensorDevice> device, const SensorInfo& info);
    virtual ~SensorRecord();
    SensorRecord(const SensorRecord&) = delete;
    SensorRecord& operator=(const SensorRecord&) = delete;

    // Refreshes the reading from the sensor; true when a new reading is held.
    virtual bool update();

    ISensor* m_pSensor = nullptr;  // one reference held by the record
    std::int32_t m_state = SENSOR_STATE_NO_DATA;
    vek::String m_osLocator;
    vek::String m_friendlyName;

    const vek::String& osLocator() const { return m_osLocator; }

protected:
    virtual void take(const Sample& s) = 0;
    std::unique_ptr<SensorDevice> device_;
};

class Accelerometer : public SensorRecord {
public:
    using SensorRecord::SensorRecord;
    double x = 0.0, y = 0.0, z = 0.0;  // g

protected:
    void take(const Sample& s) override;
};

class AmbientLightSensor : public SensorRecord {
public:
    using SensorRecord::SensorRecord;
    float lux = 0.0f;

protected:
    void take(const Sample& s) override;
};

class Gyrometer : public SensorRecord {
public:
    using SensorRecord::SensorRecord;
    double x = 0.0, y = 0.0, z = 0.0;  // degrees per second (kind 2)
    int kind = 2;

protected:
    void take(const Sample& s) override;
};

class Magnetometer : public SensorRecord {
public:
    using SensorRecord::SensorRecord;
    double heading = 0.0;  // degrees from magnetic north
    bool headingValid = false;

protected:
    void take(const Sample& s) override;
};

// The sensors the tests' enumeration calls reach. Those calls have the Sensor API's shape,
// with no argument to carry a machine (on Windows they reach the system's sensor manager), so
// the host puts its machine's sensors in use for the time of its runs, as a scope on the main
// thread; scopes nest, the innermost wins. Reading the sensors in use is thread-safe.
class SensorsInUse {
public:
    explicit SensorsInUse(std::shared_ptr<SensorBackend> sensors);
    ~SensorsInUse();
    SensorsInUse(const SensorsInUse&) = delete;
    SensorsInUse& operator=(const SensorsInUse&) = delete;

    // The sensors in use now, or null outside every scope.
    static std::shared_ptr<SensorBackend> current();

private:
    std::shared_ptr<SensorBackend> previous_;
};

// The enumeration functions: fill `out` with one record per sensor of the kind, in the
// backend's order; false when the enumeration failed or no sensors are in use (`out` is then
// empty).
bool getAccelerometers(vek::Array<std::unique_ptr<Accelerometer>>& out);
bool getAmbientLightSensors(vek::Array<std::unique_ptr<AmbientLightSensor>>& out);
bool getGyrometers(vek::Array<std::unique_ptr<Gyrometer>>& out);
bool getMagnetometers(vek::Array<std::unique_ptr<Magnetometer>>& out);

}  // namespace libOrra
