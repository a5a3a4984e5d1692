#include <stdexcept>

#include "kiva5/DeviceSource.h"
#include "kiva5/KivaException.h"
#include "libOrra/Backends.h"
#include "libOrra/Recorder.h"
#include "libOrra/Scenario.h"
#include "libOrra/SimBackend.h"

namespace kiva5 {
namespace {

class SensorDeviceSource : public DeviceSource {
public:
    SensorDeviceSource(std::shared_ptr<libOrra::SensorBackend> backend,
                       std::shared_ptr<libOrra::Recorder> recorder)
        : recorded_(recordedBy(*backend)),
          backend_(recorder ? libOrra::recordingBackend(std::move(backend), recorder)
                            : std::move(backend)),
          recorder_(std::move(recorder)) {
        libOrra::installBackend(backend_);
    }
    ~SensorDeviceSource() override { libOrra::installBackend(nullptr); }

    std::vector<DiagDevice> devices() override {
        std::vector<DiagDevice> out;
        for (const auto& d : backend_->devices()) {
            if (auto cap = DeviceCapability::fromName(d.capability)) {
                out.emplace_back(*cap, KivaString(d.locator), KivaString(d.name));
            }
        }
        return out;
    }
    void testStarting(const std::string&, const DiagDevice&) override { backend_->testStarting(); }
    bool stopDue() const override { return backend_->stopDue(); }
    std::vector<SourceNote> takeNotes(const DiagDevice& device) override {
        std::vector<SourceNote> out;
        for (auto& n : backend_->takeNotes(device.osLocator().str()))
            out.push_back({std::move(n.text), n.heldElsewhere});
        return out;
    }

    std::vector<std::string> recordedCommandLine() const override { return recorded_; }
    std::string lookedIn() const override { return backend_->lookedIn(); }
    bool readable(const DiagDevice& device) override {
        const auto kind = libOrra::kindFromCapability(device.capability().name());
        std::vector<std::unique_ptr<libOrra::SensorDevice>> devices;
        std::vector<libOrra::SensorInfo> infos;
        if (!kind || !backend_->open(*kind, devices, infos))
            return false;
        for (std::size_t i = 0; i < devices.size() && i < infos.size(); ++i) {
            libOrra::Sample sample;
            if (infos[i].locator != device.osLocator().str())
                continue;
            // A hub waking up may fail its first read; three in a row is a dead sensor.
            for (int attempt = 0; attempt < 3; ++attempt) {
                if (devices[i]->read(sample))
                    return true;
            }
            return false;
        }
        return false;
    }
    std::string recording(const std::string& block) const override {
        return recorder_ ? recorder_->scenarioText(block) : std::string();
    }
    void stopSeen(int run) override {
        if (recorder_)
            recorder_->stop(run);
    }
    std::vector<std::string> explain(const DiagDevice& device) override {
        const auto kind = libOrra::kindFromCapability(device.capability().name());
        return kind ? backend_->explain(*kind, device.osLocator().str())
                    : std::vector<std::string>{};
    }

private:
    static std::vector<std::string> recordedBy(const libOrra::SensorBackend& backend) {
        const auto* sim = dynamic_cast<const libOrra::SimBackend*>(&backend);
        return sim ? sim->scenario().recordedCommandLine : std::vector<std::string>{};
    }

    std::vector<std::string> recorded_;
    std::shared_ptr<libOrra::SensorBackend> backend_;
    std::shared_ptr<libOrra::Recorder> recorder_;
};

}  // namespace

std::unique_ptr<DeviceSource> makeSensorDeviceSource(const BackendSelection& selection) {
    try {
        return std::make_unique<SensorDeviceSource>(
            libOrra::makeBackend(selection.backend, selection.scenario),
            selection.record ? std::make_shared<libOrra::Recorder>() : nullptr);
    } catch (const libOrra::ScenarioError& e) {
        throw InputError(e.what());
    } catch (const std::invalid_argument& e) {
        throw KivaException(e.what());
    }
}

}  // namespace kiva5
