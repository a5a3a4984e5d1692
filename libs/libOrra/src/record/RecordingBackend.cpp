#include <memory>
#include <optional>

#include "../SensorObject.h"
#include "libOrra/Recorder.h"
#include "platform/Screen.h"
#include "platform/WindowsNames.h"

// The recording decorator: a backend that hands out the inner backend's sensors and writes
// every state, reading, proximity event and press to the recorder on the way.
namespace libOrra {

namespace {

// A sensor's COM face that writes each state it reports.
class RecordingSensor final : public ISensor {
public:
    RecordingSensor(ISensor* inner, std::shared_ptr<Recorder> recorder, std::string locator)
        : inner_(inner), recorder_(std::move(recorder)), locator_(std::move(locator)) {
        inner_->AddRef();
    }
    HRESULT QueryInterface(REFIID riid, void** ppv) override {
        return inner_->QueryInterface(riid, ppv);
    }
    ULONG AddRef() override { return refs_.fetch_add(1) + 1; }
    ULONG Release() override {
        const ULONG left = refs_.fetch_sub(1) - 1;
        if (left == 0) {
            inner_->Release();
            delete this;
        }
        return left;
    }
    HRESULT GetState(::SensorState* state) override {
        const HRESULT hr = inner_->GetState(state);
        if (SUCCEEDED(hr) && state)
            recorder_->state(locator_, *state);
        return hr;
    }
    HRESULT SetEventSink(ISensorEvents* sink) override { return inner_->SetEventSink(sink); }

private:
    ~RecordingSensor() = default;
    ISensor* inner_;
    std::shared_ptr<Recorder> recorder_;
    std::string locator_;
    std::atomic<ULONG> refs_{1};
};

class RecordingDevice final : public SensorDevice {
public:
    RecordingDevice(std::unique_ptr<SensorDevice> inner, std::shared_ptr<Recorder> recorder,
                    SensorInfo info)
        : inner_(std::move(inner)),
          recorder_(std::move(recorder)),
          info_(std::move(info)),
          sensor_(inner_->sensor() ? new RecordingSensor(inner_->sensor(), recorder_, info_.locator)
                                   : nullptr) {}
    ~RecordingDevice() override {
        if (sensor_)
            sensor_->Release();
    }
    ISensor* sensor() override { return sensor_; }
    bool read(Sample& out) override {
        const bool ok = inner_->read(out);
        recorder_->update(info_.locator, info_.kind, ok ? std::optional(out) : std::nullopt);
        return ok;
    }

private:
    std::unique_ptr<SensorDevice> inner_;
    std::shared_ptr<Recorder> recorder_;
    SensorInfo info_;
    ISensor* sensor_;
};

class RecordingProximity final : public ProximityStream {
public:
    RecordingProximity(std::unique_ptr<ProximityStream> inner, std::shared_ptr<Recorder> recorder,
                       std::string locator)
        : inner_(std::move(inner)), recorder_(std::move(recorder)), locator_(std::move(locator)) {}
    bool start(ReadingFn onReading, ErrorFn onError) override {
        return inner_->start(
            [this, onReading = std::move(onReading)](bool detected, std::uint32_t mm) {
                recorder_->proximity(locator_, detected, mm);
                onReading(detected, mm);
            },
            [this, onError = std::move(onError)] {
                recorder_->proximityError(locator_);
                onError();
            });
    }
    void stop() override { inner_->stop(); }

private:
    std::unique_ptr<ProximityStream> inner_;
    std::shared_ptr<Recorder> recorder_;
    std::string locator_;
};

// Forwards to the machine it records; its sensors report to the recorder on the way.
class RecordingBackend final : public SensorBackend {
public:
    RecordingBackend(std::shared_ptr<SensorBackend> inner, std::shared_ptr<Recorder> recorder)
        : inner_(std::move(inner)), recorder_(std::move(recorder)) {
        platform::OperatorLog log;
        log.press = [recorder = recorder_](const std::string& dialog, const std::string& control,
                                           double at) { recorder->press(dialog, control, at); };
        // The heading a dialog asks the person to turn toward (see Recorder::headingTarget).
        log.shown = [recorder = recorder_](const std::string&, const std::string& item,
                                           double value) {
            if (item == "heading")
                recorder->headingTarget(value);
        };
        log_ = platform::setOperatorLog(std::move(log));
    }
    ~RecordingBackend() override { platform::clearOperatorLog(log_); }
    std::vector<SensorInfo> sensors() override {
        auto list = inner_->sensors();
        for (const auto& s : list)
            recorder_->sensor(s);
        return list;
    }
    bool open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
              std::vector<SensorInfo>& infos) override {
        std::vector<std::unique_ptr<SensorDevice>> opened;
        const bool ok = inner_->open(kind, opened, infos);
        for (std::size_t i = 0; i < opened.size() && i < infos.size(); ++i) {
            recorder_->sensor(infos[i]);
            devices.push_back(
                std::make_unique<RecordingDevice>(std::move(opened[i]), recorder_, infos[i]));
        }
        return ok;
    }
    std::unique_ptr<ProximityStream> openProximity(const std::string& locator) override {
        auto stream = inner_->openProximity(locator);
        if (!stream)
            return stream;
        return std::make_unique<RecordingProximity>(std::move(stream), recorder_, locator);
    }
    // Every device is kept, read or not, so a replay offers the tests the same devices.
    std::vector<DeviceEntry> devices() override {
        auto list = inner_->devices();
        for (const auto& d : list) {
            if (const auto kind = kindFromCapability(d.capability))
                recorder_->sensor({*kind, d.locator, d.name, d.label});
        }
        return list;
    }

private:
    std::shared_ptr<SensorBackend> inner_;
    std::shared_ptr<Recorder> recorder_;
    unsigned log_ = 0;
};

// Tells the recorder where each test's time line starts, the display's rotation then, and
// which run a stop ended.
class RecordingListener final : public MachineListener {
public:
    explicit RecordingListener(std::shared_ptr<Recorder> recorder)
        : recorder_(std::move(recorder)) {}
    void testStarting() override {
        recorder_->testStarting();
        DEVMODEW mode;
        const bool known = EnumDisplaySettingsW(nullptr, ENUM_CURRENT_SETTINGS, &mode) &&
                           (mode.dmFields & DM_DISPLAYORIENTATION);
        recorder_->rotation(known ? std::optional(mode.dmDisplayOrientation) : std::nullopt);
    }
    void stopped(int run) override { recorder_->stop(run); }

private:
    std::shared_ptr<Recorder> recorder_;
};

}  // namespace

std::shared_ptr<MachineListener> recordingListener(std::shared_ptr<Recorder> recorder) {
    return std::make_shared<RecordingListener>(std::move(recorder));
}

std::shared_ptr<SensorBackend> recordingBackend(std::shared_ptr<SensorBackend> inner,
                                                std::shared_ptr<Recorder> recorder) {
    return std::make_shared<RecordingBackend>(std::move(inner), std::move(recorder));
}

}  // namespace libOrra
