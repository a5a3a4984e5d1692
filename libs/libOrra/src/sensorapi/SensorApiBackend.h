#pragma once

#include <memory>
#include <mutex>

#include "SapiSensors.h"
#include "libOrra/Machine.h"
#include "libOrra/SensorBackend.h"

namespace libOrra {

// The machine's sensors as the Windows Sensor API offers them: accelerometers, ambient light
// sensors, gyrometers and compasses (SENSOR_TYPE_*_3D, SENSOR_TYPE_AMBIENT_LIGHT). Proximity
// sensors are Windows Runtime sensors, which this backend does not reach: it offers none.
// Made by makeMachine("sensorapi") and shared by the records it opens; thread-safe: the sensor
// manager is made on first use, under a lock, and each calling thread enters COM itself.
class SensorApiBackend final : public SensorBackend, public DeviceInspector {
public:
    SensorApiBackend() = default;

    // SensorBackend
    std::vector<SensorInfo> sensors() override;
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override;
    // Null: no proximity sensor is offered.
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override;
    // DeviceInspector
    std::string lookedIn() const override;
    std::vector<std::string> explain(SensorKind kind, const std::string& locator) override;
    // Proximity: "this build has no proximity support yet".
    std::string unsupported(SensorKind kind) const override;

private:
    // The sensor manager, made now if it is not yet; null (and the HRESULT kept) if it cannot be.
    std::shared_ptr<sapi::SapiManager> manager();

    mutable std::mutex mutex_;
    std::shared_ptr<sapi::SapiManager> manager_;
    std::int32_t openResult_ = 0;
};

}  // namespace libOrra
