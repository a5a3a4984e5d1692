#include "libOrra/Recorder.h"

#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string_view>

#include "vek/Clock.h"

namespace libOrra {

struct Recorder::Sensor {
    SensorInfo info;
    nlohmann::json states = nlohmann::json::array();
    nlohmann::json updates = nlohmann::json::array();
    nlohmann::json readings = nlohmann::json::array();
    std::optional<double> errorAt;
};

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

Recorder::Sensor& Recorder::find(const std::string& locator) {
    for (auto& s : sensors_) {
        if (s->info.locator == locator)
            return *s;
    }
    sensors_.push_back(std::make_unique<Sensor>());
    sensors_.back()->info.locator = locator;
    return *sensors_.back();
}

void Recorder::sensor(const SensorInfo& info) {
    std::lock_guard lock(mutex_);
    Sensor& s = find(info.locator);
    s.info = info;
}

void Recorder::state(const std::string& locator, std::int32_t state) {
    std::lock_guard lock(mutex_);
    find(locator).states.push_back(state);
}

void Recorder::update(const std::string& locator, SensorKind kind,
                      const std::optional<Sample>& sample) {
    std::lock_guard lock(mutex_);
    nlohmann::json u{{"at", millis(now())}};
    if (!sample) {
        u["fail"] = true;
    } else {
        switch (kind) {
            case SensorKind::Accelerometer:
            case SensorKind::Gyrometer:
                u["x"] = significant(sample->x);
                u["y"] = significant(sample->y);
                u["z"] = significant(sample->z);
                if (kind == SensorKind::Gyrometer && sample->kind != 2)
                    u["kind"] = sample->kind;
                break;
            case SensorKind::Magnetometer:
                u["heading"] = significant(sample->heading);
                if (!sample->headingValid)
                    u["valid"] = false;
                if (target_)
                    u["fromTarget"] =
                        significant(std::remainder(sample->heading - *target_, 360.0));
                break;
            case SensorKind::Light:
                u["lux"] = significant(sample->lux);
                break;
            case SensorKind::Proximity:
                break;
        }
    }
    find(locator).updates.push_back(std::move(u));
}

void Recorder::proximity(const std::string& locator, bool detected, std::uint32_t mm) {
    std::lock_guard lock(mutex_);
    find(locator).readings.push_back({{"at", millis(now())}, {"detected", detected}, {"mm", mm}});
}

void Recorder::proximityError(const std::string& locator) {
    std::lock_guard lock(mutex_);
    Sensor& s = find(locator);
    if (!s.errorAt)
        s.errorAt = millis(now());
}

void Recorder::press(const std::string& dialog, const std::string& control, double at) {
    std::lock_guard lock(mutex_);
    presses_.push_back({millis(at), dialog, control});
}

void Recorder::stop(int run) {
    std::lock_guard lock(mutex_);
    if (!stop_)
        stop_ = std::pair(millis(now()), run);
}

void Recorder::headingTarget(double degrees) {
    std::lock_guard lock(mutex_);
    target_ = degrees;
}

void Recorder::rotation(std::optional<std::uint32_t> rotation) {
    std::lock_guard lock(mutex_);
    if (!rotation_)
        rotation_ = rotation;
}

namespace {

std::string compact(const nlohmann::json& j) {
    return j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Appends each piece. (Piecewise, not by operator+: g++ 12 at -O3 misreads a chain of
// std::string temporaries as an overlapping copy, GCC bug 105329.)
void add(std::string& out, std::initializer_list<std::string_view> pieces) {
    for (std::string_view p : pieces)
        out.append(p);
}

// `items` one to a line after `indent`, so a long run stays readable and diffs well.
void addLines(std::string& out, const nlohmann::json& items, std::string_view indent) {
    out += '[';
    for (std::size_t i = 0; i < items.size(); ++i)
        add(out, {i ? ",\n" : "\n", indent, compact(items[i])});
    if (!items.empty())
        add(out, {"\n", indent.substr(2)});
    out += ']';
}

}  // namespace

std::string Recorder::scenarioText(const std::string& recordingBlockJson) const {
    std::lock_guard lock(mutex_);
    std::string out;
    const auto rotation = rotation_.value_or(std::optional<std::uint32_t>(0));
    add(out, {"{\n \"recording\": ", recordingBlockJson, ",\n \"display\": ",
              compact({{"rotation", rotation ? nlohmann::json(*rotation) : nlohmann::json()}}),
              ",\n \"sensors\": ["});
    for (std::size_t i = 0; i < sensors_.size(); ++i) {
        const Sensor& s = *sensors_[i];
        add(out,
            {i ? ",\n" : "\n", "  {\"kind\": ", compact(kindName(s.info.kind)),
             ", \"locator\": ", compact(s.info.locator), ", \"name\": ", compact(s.info.name)});
        if (!s.info.label.empty())
            add(out, {", \"label\": ", compact(s.info.label)});
        if (!s.states.empty())
            add(out, {",\n   \"states\": ", compact(s.states)});
        if (!s.updates.empty()) {
            out += ",\n   \"updates\": ";
            addLines(out, s.updates, "    ");
        }
        if (s.info.kind == SensorKind::Proximity) {
            out += ",\n   \"readings\": ";
            addLines(out, s.readings, "    ");
        }
        if (s.errorAt)
            add(out, {",\n   \"error\": ", compact({{"at", *s.errorAt}})});
        out += '}';
    }
    nlohmann::json presses = nlohmann::json::array();
    for (const auto& p : presses_)
        presses.push_back({{"at", p.at}, {"dialog", p.dialog}, {"press", p.control}});
    out += "\n ],\n \"operator\": ";
    addLines(out, presses, "   ");
    if (stop_)
        add(out, {",\n \"stop\": ", compact({{"at", stop_->first}, {"run", stop_->second}})});
    out += "\n}\n";
    return out;
}

}  // namespace libOrra
