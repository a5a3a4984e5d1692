#include "libOrra/Records.h"

#include <mutex>
#include <utility>

#include "platform/ComPtr.h"

namespace libOrra {
namespace {

std::mutex s_mutex;
std::shared_ptr<SensorBackend> s_inUse;

template <typename Record>
bool enumerate(SensorKind kind, vek::Array<std::unique_ptr<Record>>& out) {
    out.clear();
    auto backend = SensorsInUse::current();
    if (!backend)
        return false;
    std::vector<std::unique_ptr<SensorDevice>> devices;
    std::vector<SensorInfo> infos;
    if (!backend->open(kind, devices, infos))
        return false;
    for (std::size_t i = 0; i < devices.size() && i < infos.size(); ++i) {
        out.add(std::make_unique<Record>(std::move(devices[i]), infos[i]));
    }
    return true;
}

}  // namespace

SensorsInUse::SensorsInUse(std::shared_ptr<SensorBackend> sensors) {
    std::lock_guard lock(s_mutex);
    previous_ = std::exchange(s_inUse, std::move(sensors));
}

SensorsInUse::~SensorsInUse() {
    std::lock_guard lock(s_mutex);
    s_inUse = std::move(previous_);
}

std::shared_ptr<SensorBackend> SensorsInUse::current() {
    std::lock_guard lock(s_mutex);
    return s_inUse;
}

std::vector<DeviceEntry> SensorBackend::devices() {
    std::vector<DeviceEntry> out;
    for (const auto& s : sensors()) {
        out.push_back({std::string(capabilityName(s.kind)), s.locator, s.name, s.label});
    }
    return out;
}

SensorRecord::SensorRecord(std::unique_ptr<SensorDevice> device, const SensorInfo& info)
    : m_osLocator(info.locator), m_friendlyName(info.name), device_(std::move(device)) {
    // The record's own reference, taken here and given back by the destructor; m_pSensor is
    // the raw view the tests call through.
    m_pSensor = platform::ComPtr<ISensor>(device_ ? device_->sensor() : nullptr).detach();
}

SensorRecord::~SensorRecord() {
    const auto held = platform::ComPtr<ISensor>::adopt(m_pSensor);
    m_pSensor = nullptr;
}

bool SensorRecord::update() {
    Sample s;
    if (!device_ || !device_->read(s))
        return false;
    take(s);
    return true;
}

void Accelerometer::take(const Sample& s) {
    x = s.x, y = s.y, z = s.z;
}
void AmbientLightSensor::take(const Sample& s) {
    lux = s.lux;
}
void Gyrometer::take(const Sample& s) {
    x = s.x, y = s.y, z = s.z, kind = s.kind;
}
void Magnetometer::take(const Sample& s) {
    heading = s.heading;
    headingValid = s.headingValid;
}

bool getAccelerometers(vek::Array<std::unique_ptr<Accelerometer>>& out) {
    return enumerate(SensorKind::Accelerometer, out);
}
bool getAmbientLightSensors(vek::Array<std::unique_ptr<AmbientLightSensor>>& out) {
    return enumerate(SensorKind::Light, out);
}
bool getGyrometers(vek::Array<std::unique_ptr<Gyrometer>>& out) {
    return enumerate(SensorKind::Gyrometer, out);
}
bool getMagnetometers(vek::Array<std::unique_ptr<Magnetometer>>& out) {
    return enumerate(SensorKind::Magnetometer, out);
}

}  // namespace libOrra
