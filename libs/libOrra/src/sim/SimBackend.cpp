#include "libOrra/SimBackend.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <thread>

#include "../SensorObject.h"
#include "../StoppableThread.h"
#include "Angles.h"
#include "SampleScripts.h"
#include "libOrra/IioAttribute.h"
#include "platform/Screen.h"
#include "platform/WindowsNames.h"
#include "vek/Clock.h"

namespace libOrra {

// A sensor's counters and script in the current test; all start over with each test.
struct SimBackend::SensorState {
    std::size_t stateCalls = 0;
    std::size_t updateCalls = 0;
    std::optional<double> stuckValue;
    std::unique_ptr<sim::SampleScript> script;
};

namespace {

// A simulated sensor's COM face: its state comes from the scenario's sequence.
class SimSensorObject final : public SensorObject {
public:
    SimSensorObject(std::shared_ptr<SimBackend> backend, std::size_t index)
        : backend_(std::move(backend)),
          index_(index),
          silent_(backend_->scenario().sensors[index].faults.silent) {}
    // A healthy simulated sensor always has a fresh sample: one data event as a sink attaches,
    // then one per read.
    void dataRead() {
        if (!silent_)
            notifyData();
    }
    HRESULT GetState(::SensorState* state) override {
        if (!state)
            return E_POINTER;
        *state = static_cast<::SensorState>(backend_->nextState(index_));
        return S_OK;
    }

protected:
    void sinkChanged(bool attached) override {
        if (attached)
            dataRead();
    }

private:
    std::shared_ptr<SimBackend> backend_;
    std::size_t index_;
    bool silent_;
};

// A simulated sensor as a record sees it. Data events go to the attached sink on the
// reading thread, once per successful read.
class SimDevice final : public SensorDevice {
public:
    SimDevice(std::shared_ptr<SimBackend> backend, std::size_t index)
        : backend_(backend),
          index_(index),
          sensor_(ComPtr<SimSensorObject>::adopt(new SimSensorObject(backend, index))) {}
    ISensor* sensor() override { return sensor_.get(); }
    bool read(Sample& out) override {
        if (!backend_->nextSample(index_, out))
            return false;
        sensor_->dataRead();
        return true;
    }

private:
    std::shared_ptr<SimBackend> backend_;
    std::size_t index_;
    ComPtr<SimSensorObject> sensor_;
};

// Delivers the scenario's proximity readings at their times after start(), then its error.
class SimProximityStream final : public ProximityStream {
public:
    explicit SimProximityStream(ScenarioSensor sensor) : sensor_(std::move(sensor)) {}
    ~SimProximityStream() override { stop(); }

    bool start(ReadingFn onReading, ErrorFn onError) override {
        thread_.start([this, onReading = std::move(onReading), onError = std::move(onError)](
                          StoppableThread& self) { run(self, onReading, onError); });
        return true;
    }
    void stop() override { thread_.stop(); }

private:
    void run(StoppableThread& self, const ReadingFn& onReading, const ErrorFn& onError) {
        // The scenario's time line runs on vek::Clock, as the dialog's countdowns do: a replay
        // with --fast delivers the readings ten times sooner, and a test's clock steps them.
        const vek::Clock& clock = vek::Clock::current();
        const vek::Clock::Duration start = clock.now();
        std::vector<std::pair<double, std::function<void()>>> script;
        for (const auto& r : sensor_.readings) {
            script.emplace_back(r.at, [&onReading, r] { onReading(r.detected, r.mm); });
        }
        if (sensor_.faults.chatterSeconds && !sensor_.readings.empty()) {
            // After the last scripted reading the sensor flips between seeing and not seeing.
            const auto last = sensor_.readings.back();
            double at = last.at;
            for (int i = 1; i <= 200; ++i) {
                at += *sensor_.faults.chatterSeconds;
                const bool seen = i % 2 == 0;
                script.emplace_back(
                    at, [&onReading, seen, last] { onReading(seen, seen ? last.mm : 0); });
            }
        }
        if (sensor_.errorAt)
            script.emplace_back(*sensor_.errorAt, [&onError] { onError(); });
        std::stable_sort(script.begin(), script.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [at, deliver] : script) {
            const auto due = start + std::chrono::duration_cast<vek::Clock::Duration>(
                                         std::chrono::duration<double>(at));
            if (!self.waitUntil(clock, due))
                return;
            deliver();
        }
    }

    ScenarioSensor sensor_;
    StoppableThread thread_;
};

}  // namespace

SimBackend::SimBackend(Scenario scenario)
    : scenario_(std::move(scenario)), stopTimer_(std::make_unique<StoppableThread>()) {
    for (const auto& s : scenario_.sensors) {
        states_.push_back(std::make_unique<SensorState>());
        states_.back()->script = sim::makeScript(s);
    }
    originNs_ = vek::Clock::current().now().count();
    const std::optional<std::uint32_t> rotation = scenario_.rotation;
    rotationToken_ =
        platform::setRotationProvider([rotation]() -> std::optional<DWORD> { return rotation; });
    // The scripted person: each time a dialog opens, the presses the scenario lists for it.
    std::vector<OperatorAction> actions = scenario_.operatorActions;
    operatorToken_ = platform::setOperatorScript([actions](const std::string& dialog) {
        std::vector<platform::OperatorPress> presses;
        for (const auto& a : actions) {
            if (a.dialog == dialog)
                presses.push_back({a.at, a.press});
        }
        return presses;
    });
    // The person turns the device toward the heading a dialog asks for.
    watcherToken_ = platform::setOperatorWatcher(
        [this](const std::string&, const std::string& item, double value) {
            if (item == "heading")
                setHeadingTarget(value);
        });
}

SimBackend::~SimBackend() {
    stopTimer_->stop();
    platform::clearOperatorWatcher(watcherToken_);
    platform::clearOperatorScript(operatorToken_);
    platform::clearRotationProvider(rotationToken_);
}

double SimBackend::now() const {
    std::lock_guard lock(mutex_);
    return static_cast<double>(vek::Clock::current().now().count() - originNs_) * 1e-9;
}

void SimBackend::testStarting() {
    const int run = ++runs_;
    std::int64_t origin = 0;
    {
        std::lock_guard lock(mutex_);
        origin = originNs_ = vek::Clock::current().now().count();
        for (std::size_t i = 0; i < states_.size(); ++i) {
            *states_[i] = SensorState{};
            states_[i]->script = sim::makeScript(scenario_.sensors[i]);
        }
        headingTarget_.reset();
    }
    // A recording's stop came in one run and, like a signal, holds for the runs after it.
    if (scenario_.stopRun && run != *scenario_.stopRun) {
        if (run > *scenario_.stopRun && stopDue_)
            stopDue_();
        return;
    }
    if (!scenario_.stopAt || !stopDue_)
        return;
    const auto due =
        vek::Clock::Duration(origin) + std::chrono::duration_cast<vek::Clock::Duration>(
                                           std::chrono::duration<double>(*scenario_.stopAt));
    stopTimer_->start([due, handler = stopDue_](StoppableThread& self) {
        if (self.waitUntil(vek::Clock::current(), due))
            handler();
    });
}

void SimBackend::testFinished() {
    stopTimer_->stop();
}

void SimBackend::onStopDue(std::function<void()> handler) {
    stopDue_ = std::move(handler);
}

void SimBackend::setHeadingTarget(double degrees) {
    std::lock_guard lock(mutex_);
    headingTarget_ = sim::wrap360(degrees);
}

std::vector<SensorInfo> SimBackend::sensors() {
    std::vector<SensorInfo> out;
    for (const auto& s : scenario_.sensors)
        out.push_back({s.kind, s.locator, s.name, s.label});
    return out;
}

std::vector<DeviceEntry> SimBackend::devices() {
    if (!scenario_.devices)
        return SensorBackend::devices();
    std::vector<DeviceEntry> out;
    for (const auto& d : *scenario_.devices)
        out.push_back({d.capability, d.locator, d.name, d.label});
    return out;
}

bool SimBackend::open(SensorKind kind, std::vector<std::unique_ptr<SensorDevice>>& devices,
                      std::vector<SensorInfo>& infos) {
    if (std::find(scenario_.failEnumeration.begin(), scenario_.failEnumeration.end(), kind) !=
        scenario_.failEnumeration.end()) {
        return false;
    }
    const double t = now();
    for (std::size_t i = 0; i < scenario_.sensors.size(); ++i) {
        const auto& s = scenario_.sensors[i];
        if (s.kind != kind)
            continue;
        if (s.faults.disappearAt && t >= *s.faults.disappearAt)
            continue;  // gone from the bus
        devices.push_back(std::make_unique<SimDevice>(shared_from_this(), i));
        infos.push_back({s.kind, s.locator, s.name, s.label});
    }
    return true;
}

std::unique_ptr<ProximityStream> SimBackend::openProximity(const std::string& locator) {
    for (const auto& s : scenario_.sensors) {
        if (s.kind == SensorKind::Proximity && s.locator == locator) {
            return std::make_unique<SimProximityStream>(s);
        }
    }
    return nullptr;
}

std::optional<Mounting> SimBackend::mounting(const std::string& locator) {
    for (const auto& s : scenario_.sensors) {
        if (s.kind != SensorKind::Accelerometer || s.locator != locator)
            continue;
        Mounting m;
        m.applied = s.matrix.value_or(iio::kIdentity);
        m.source = !s.matrix ? "none" : "the scenario's matrix";
        if (s.matrix && s.matrixFromUdev) {
            // As the IIO backend names a matrix udev's hwdb set.
            m.source = "udev ACCEL_MOUNT_MATRIX \"";
            for (std::size_t i = 0; i < s.matrix->size(); ++i) {
                char number[24];
                std::snprintf(number, sizeof number, "%s%g",
                              i == 0  ? ""
                              : i % 3 ? ", "
                                      : "; ",
                              (*s.matrix)[i] == 0 ? 0.0 : (*s.matrix)[i]);
                m.source += number;
            }
            m.source += "\"";
        }
        m.parentModalias = s.modalias;
        m.dmiVendor = scenario_.dmiVendor;
        m.dmiProduct = scenario_.dmiProduct;
        m.dmiModalias = scenario_.dmiModalias.empty()
                            ? "dmi:svn" + m.dmiVendor + ":pn" + m.dmiProduct + ":"
                            : scenario_.dmiModalias;
        m.machine =
            scenario_.dmiName.empty() ? m.dmiVendor + " " + m.dmiProduct : scenario_.dmiName;
        m.label = s.label;
        m.panelTurns = panelTurnsNamed(scenario_.panelOrientation);
        m.panelSource =
            m.panelTurns ? "the scenario's panel" : "the scenario names no panel orientation";
        m.panelConnector = scenario_.panelConnector;
        std::sscanf(scenario_.panelMode.c_str(), "%dx%d", &m.panelWidth, &m.panelHeight);
        m.node = "/dev/iio:device0";
        return m;
    }
    return std::nullopt;
}

std::int32_t SimBackend::nextState(std::size_t index) {
    const auto& s = scenario_.sensors[index];
    if (s.faults.disappearAt && now() >= *s.faults.disappearAt)
        return SENSOR_STATE_NOT_AVAILABLE;
    std::lock_guard lock(mutex_);
    auto& st = *states_[index];
    if (s.states.empty())
        return SENSOR_STATE_READY;
    const std::size_t i = std::min(st.stateCalls++, s.states.size() - 1);
    return s.states[i];
}

bool SimBackend::nextSample(std::size_t index, Sample& out) {
    const auto& s = scenario_.sensors[index];
    const double t = now();
    if (s.faults.disappearAt && t >= *s.faults.disappearAt)
        return false;
    std::lock_guard lock(mutex_);
    auto& st = *states_[index];
    const std::size_t call = st.updateCalls++;
    if (s.faults.failEvery > 0 && (call + 1) % static_cast<std::size_t>(s.faults.failEvery) == 0) {
        return false;
    }
    if (!st.script->read({t, call, headingTarget_}, out))
        return false;
    if (s.faults.stuckAxis) {
        double* axes[3] = {&out.x, &out.y, &out.z};
        double& v = *axes[*s.faults.stuckAxis];
        if (!st.stuckValue)
            st.stuckValue = v;
        v = *st.stuckValue;
    }
    return true;
}

}  // namespace libOrra
