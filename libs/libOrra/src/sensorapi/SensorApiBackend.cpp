#include "SensorApiBackend.h"

#include <cstdio>
#include <optional>

#include "../SensorObject.h"
#include "libOrra/SystemBackends.h"

namespace libOrra {
namespace {

constexpr const char* kNoProximity =
    "this build has no proximity support yet (proximity sensors are Windows Runtime sensors, "
    "which the Sensor API does not offer)";

std::optional<sapi::SapiType> sapiType(SensorKind kind) {
    switch (kind) {
        case SensorKind::Accelerometer:
            return sapi::SapiType::Accelerometer3D;
        case SensorKind::Light:
            return sapi::SapiType::AmbientLight;
        case SensorKind::Gyrometer:
            return sapi::SapiType::Gyrometer3D;
        case SensorKind::Magnetometer:
            return sapi::SapiType::Compass3D;
        case SensorKind::Proximity:
            break;
    }
    return std::nullopt;
}

// The Sensor API's state numbers are the module's; named one by one so that a change on
// either side shows here. A number neither knows is handed on as it is.
::SensorState moduleState(std::int32_t state) {
    switch (state) {
        case sapi::kReady:
            return SENSOR_STATE_READY;
        case sapi::kNotAvailable:
            return SENSOR_STATE_NOT_AVAILABLE;
        case sapi::kNoData:
            return SENSOR_STATE_NO_DATA;
        case sapi::kInitializing:
            return SENSOR_STATE_INITIALIZING;
        case sapi::kAccessDenied:
            return SENSOR_STATE_ACCESS_DENIED;
        case sapi::kError:
            return SENSOR_STATE_ERROR;
        default:
            return static_cast<::SensorState>(state);
    }
}

std::string hex(std::int32_t hr) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
    return text;
}

// A Sensor API sensor's module face. Its events reach it in the sensor's mailbox on the
// Sensor API's threads; they are handed to the module's sink here, on the thread that asks
// for the sensor's state or reading: the module's objects are never touched from the Sensor
// API's threads.
class SapiSensorObject final : public SensorObject {
public:
    explicit SapiSensorObject(std::shared_ptr<sapi::SapiSensor> sensor)
        : sensor_(std::move(sensor)) {}

    HRESULT GetState(::SensorState* state) override {
        if (!state)
            return E_POINTER;
        deliver();
        std::int32_t s = sapi::kError;
        const std::int32_t hr = sensor_->state(&s);
        if (hr < 0)
            return static_cast<HRESULT>(hr);
        *state = moduleState(s);
        return S_OK;
    }
    // The data updates that arrived since the last call, one OnDataUpdated each.
    void deliver() {
        const sapi::SapiMailbox::Taken taken = sensor_->mailbox().take();
        for (unsigned i = 0; i < taken.dataUpdates; ++i)
            notifyData();
    }

private:
    std::shared_ptr<sapi::SapiSensor> sensor_;
};

// One opened sensor, owned by its record; called on the record's thread.
class SapiDevice final : public SensorDevice {
public:
    explicit SapiDevice(std::shared_ptr<sapi::SapiSensor> sensor)
        : sensor_(sensor),
          object_(ComPtr<SapiSensorObject>::adopt(new SapiSensorObject(std::move(sensor)))) {}
    ISensor* sensor() override { return object_.get(); }
    bool read(Sample& out) override {
        object_->deliver();
        sapi::SapiReading r;
        if (!sensor_->read(r))
            return false;
        Sample s;
        switch (sensor_->type()) {
            case sapi::SapiType::AmbientLight:
                s.lux = r.lux;
                break;
            case sapi::SapiType::Compass3D:
                s.heading = r.heading;
                s.headingValid = r.headingValid;
                break;
            default:  // acceleration in g, angular velocity in degrees per second
                s.x = r.x, s.y = r.y, s.z = r.z;
                s.kind = 2;
                break;
        }
        out = s;
        return true;
    }

private:
    std::shared_ptr<sapi::SapiSensor> sensor_;
    ComPtr<SapiSensorObject> object_;
};

SensorInfo infoOf(SensorKind kind, const sapi::SapiSensor& sensor) {
    return SensorInfo{kind, sensor.locator(), sensor.name(), ""};
}

}  // namespace

std::shared_ptr<sapi::SapiManager> SensorApiBackend::manager() {
    std::lock_guard lock(mutex_);
    if (!manager_)
        manager_ = sapi::SapiManager::open(&openResult_);
    return manager_;
}

std::vector<SensorInfo> SensorApiBackend::sensors() {
    std::vector<SensorInfo> out;
    const auto m = manager();
    if (!m)
        return out;
    for (SensorKind kind : kAllSensorKinds) {
        const auto type = sapiType(kind);
        std::vector<std::unique_ptr<sapi::SapiSensor>> found;
        if (!type || !m->sensors(*type, found))
            continue;
        for (const auto& s : found)
            out.push_back(infoOf(kind, *s));
    }
    return out;
}

bool SensorApiBackend::open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
                            std::vector<SensorInfo>& infos) {
    devices.clear();
    infos.clear();
    const auto type = sapiType(kind);
    if (!type)
        return true;  // no proximity sensor is offered
    const auto m = manager();
    std::vector<std::unique_ptr<sapi::SapiSensor>> found;
    if (!m || !m->sensors(*type, found))
        return false;
    for (auto& s : found) {
        infos.push_back(infoOf(kind, *s));
        devices.push_back(
            std::make_unique<SapiDevice>(std::shared_ptr<sapi::SapiSensor>(std::move(s))));
    }
    return true;
}

std::unique_ptr<ProximityStream> SensorApiBackend::openProximity(const std::string&) {
    return nullptr;
}

std::string SensorApiBackend::lookedIn() const {
    std::string where =
        "the Windows Sensor API (accelerometers, ambient light sensors, gyrometers and "
        "compasses); this build has no proximity support yet";
    std::lock_guard lock(mutex_);
    if (!manager_ && openResult_ < 0)
        where += "; its sensor manager could not be made (" + hex(openResult_) + ")";
    return where;
}

std::string SensorApiBackend::unsupported(SensorKind kind) const {
    return sapiType(kind) ? std::string() : std::string(kNoProximity);
}

std::vector<std::string> SensorApiBackend::explain(SensorKind kind, const std::string& locator) {
    if (!sapiType(kind))
        return {kNoProximity};
    return {"Windows Sensor API sensor " + locator +
            ": state from ISensor::GetState, readings from ISensor::GetData"};
}

// The "sensorapi" backend SystemBackends offers on Windows (src/windows/SystemBackends.cpp).
SystemBackend openSensorApiBackend() {
    auto backend = std::make_shared<SensorApiBackend>();
    return SystemBackend{backend, backend};
}

}  // namespace libOrra
