#include "libOrra/Recorder.h"

#include <cmath>

#include "vek/Clock.h"

namespace libOrra {
namespace {

// Six significant digits keep a key measurement well within 1 % and a reading under 100
// bytes; times to the millisecond.
double significant(double v) {
    if (v == 0.0 || !std::isfinite(v))
        return v;
    const double scale = std::pow(10.0, 5 - std::floor(std::log10(std::abs(v))));
    return std::round(v * scale) / scale;
}

double millis(double seconds) {
    return std::round(seconds * 1000.0) / 1000.0;
}

}  // namespace

Recorder::Recorder() = default;
Recorder::~Recorder() = default;

double Recorder::now() const {
    return static_cast<double>(vek::Clock::current().now().count() - originNs_) * 1e-9;
}

void Recorder::testStarting() {
    std::lock_guard lock(mutex_);
    originNs_ = vek::Clock::current().now().count();
    target_.reset();
}

ScenarioSensor& Recorder::find(const std::string& locator) {
    for (auto& s : recorded_.sensors) {
        if (s.locator == locator)
            return s;
    }
    recorded_.sensors.emplace_back().locator = locator;
    return recorded_.sensors.back();
}

void Recorder::sensor(const SensorInfo& info) {
    std::lock_guard lock(mutex_);
    ScenarioSensor& s = find(info.locator);
    s.kind = info.kind;
    s.name = info.name;
    s.label = info.label;
}

void Recorder::state(const std::string& locator, std::int32_t state) {
    std::lock_guard lock(mutex_);
    find(locator).states.push_back(state);
}

void Recorder::update(const std::string& locator, SensorKind kind,
                      const std::optional<Sample>& sample) {
    std::lock_guard lock(mutex_);
    ScenarioUpdate u;
    u.at = millis(now());
    if (!sample) {
        u.fail = true;
    } else {
        switch (kind) {
            case SensorKind::Accelerometer:
            case SensorKind::Gyrometer:
                u.x = significant(sample->x);
                u.y = significant(sample->y);
                u.z = significant(sample->z);
                if (kind == SensorKind::Gyrometer && sample->kind != 2)
                    u.kind = sample->kind;
                break;
            case SensorKind::Magnetometer:
                u.heading = significant(sample->heading);
                if (!sample->headingValid)
                    u.valid = false;
                if (target_)
                    u.fromTarget = significant(std::remainder(sample->heading - *target_, 360.0));
                break;
            case SensorKind::Light:
                u.lux = significant(sample->lux);
                break;
            case SensorKind::Proximity:
                break;
        }
    }
    find(locator).updates.push_back(u);
}

void Recorder::proximity(const std::string& locator, bool detected, std::uint32_t mm) {
    std::lock_guard lock(mutex_);
    find(locator).readings.push_back({millis(now()), detected, mm});
}

void Recorder::proximityError(const std::string& locator) {
    std::lock_guard lock(mutex_);
    ScenarioSensor& s = find(locator);
    if (!s.errorAt)
        s.errorAt = millis(now());
}

void Recorder::press(const std::string& dialog, const std::string& control, double at) {
    std::lock_guard lock(mutex_);
    recorded_.operatorActions.push_back({millis(at), dialog, control});
}

void Recorder::stop(int run) {
    std::lock_guard lock(mutex_);
    if (!recorded_.stopAt) {
        recorded_.stopAt = millis(now());
        recorded_.stopRun = run;
    }
}

void Recorder::headingTarget(double degrees) {
    std::lock_guard lock(mutex_);
    target_ = degrees;
}

// The first rotation seen is the one the replay shows; none seen, the scenario's default.
void Recorder::rotation(std::optional<std::uint32_t> rotation) {
    std::lock_guard lock(mutex_);
    if (!rotationSeen_) {
        recorded_.rotation = rotation;
        rotationSeen_ = true;
    }
}

std::string Recorder::scenarioText(const std::string& recordingBlockJson) const {
    Scenario scenario;
    {
        std::lock_guard lock(mutex_);
        scenario = recorded_;
    }
    scenario.recording = recordingBlockJson;
    return writeScenario(scenario);
}

}  // namespace libOrra
