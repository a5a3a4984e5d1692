#include "kiva5/Metrics.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <iomanip>
#include <sstream>

#include "vek/String.h"

namespace kiva5 {
namespace {

// A label value: valid UTF-8, with backslash, double quote and newline escaped.
std::string labelValue(const std::string& text) {
    std::string out;
    for (const char c : vek::toValidUtf8(text)) {
        if (c == '\\')
            out += "\\\\";
        else if (c == '"')
            out += "\\\"";
        else if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

std::string number(double v) {
    std::ostringstream out;
    out << std::setprecision(10) << v;
    return out.str();
}

double unixSeconds(std::chrono::system_clock::time_point t) {
    return std::chrono::duration<double>(t.time_since_epoch()).count();
}

// The text exposition, every name under the module's prefix ("").
class Exposition {
public:
    explicit Exposition(std::string prefix) : prefix_(std::move(prefix) + "_") {}
    void family(const std::string& name, const char* type, const std::string& help) {
        out_ << "# HELP " << prefix_ << name << " " << help << "\n# TYPE " << prefix_ << name
             << " " << type << "\n";
    }
    void sample(const std::string& name,
                const std::vector<std::pair<const char*, std::string>>& labels, double value) {
        out_ << prefix_ << name;
        for (std::size_t i = 0; i < labels.size(); ++i) {
            out_ << (i ? "," : "{") << labels[i].first << "=\"" << labelValue(labels[i].second)
                 << "\"";
        }
        out_ << (labels.empty() ? "" : "}") << " " << number(value) << "\n";
    }
    std::string text() const { return out_.str(); }

private:
    std::string prefix_;
    std::ostringstream out_;
};

std::vector<std::pair<const char*, std::string>> identity(const RunRecord& run) {
    return {{"test", run.test},
            {"locator", run.device ? run.device->osLocator().str() : ""},
            {"device", run.device ? run.device->name().str() : ""}};
}

}  // namespace

std::string metricsText(const Report& report, const std::vector<SensorHealth>& sensors,
                        int exitCode) {
    Exposition e(std::filesystem::path(report.moduleFile).stem().string());
    e.family("build_info", "gauge", "The module's version; always 1.");
    e.sample("build_info", {{"version", report.version}, {"build", report.build}}, 1);
    e.family("exit_code", "gauge",
             "The module's exit code: 0 when every run passed (see the README's result codes).");
    e.sample("exit_code", {}, exitCode);
    e.family("last_run_timestamp_seconds", "gauge",
             "When the module's last run ended, in seconds since the epoch.");
    e.sample("last_run_timestamp_seconds", {}, unixSeconds(report.ended));
    e.family("last_run_duration_seconds", "gauge",
             "How long the module's last run took, all tests together.");
    e.sample("last_run_duration_seconds", {},
             std::chrono::duration<double>(report.ended - report.started).count());

    e.family("run_result", "gauge",
             "One series per test run, labelled with its result; always 1.");
    for (const RunRecord& run : report.runs) {
        auto labels = identity(run);
        labels.emplace_back("result", std::string(run.result.name()));
        e.sample("run_result", labels, 1);
    }
    e.family("run_result_code", "gauge",
             "Each test run's result code: 0 PASS, 1 FAIL, 2 WARN, 3 CANNOTRUN, 4 NODEVICE, "
             "5 BADPARAMS, 6 TIMEDOUT, 7 USERABORTED, 8 EXITEDABNORMALLY.");
    for (const RunRecord& run : report.runs)
        e.sample("run_result_code", identity(run), run.result.value());
    e.family("run_duration_seconds", "gauge", "How long each test run took.");
    for (const RunRecord& run : report.runs)
        e.sample("run_duration_seconds", identity(run), run.seconds);
    e.family("run_finished_timestamp_seconds", "gauge",
             "When each test run ended, in seconds since the epoch.");
    for (const RunRecord& run : report.runs) {
        const auto finished =
            run.started + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                              std::chrono::duration<double>(run.seconds));
        e.sample("run_finished_timestamp_seconds", identity(run),
                 unixSeconds(finished));
    }
    // Each run's key measurement in its base unit, a family per quantity and unit, named as
    // the test words it (run_acceleration_meters_per_second_squared).
    std::map<std::string, std::vector<const RunRecord*>> keyed;
    for (const RunRecord& run : report.runs) {
        if (run.key)
            keyed["run_" + run.key->quantity + "_" + run.key->baseUnit].push_back(&run);
    }
    for (const auto& [name, runs] : keyed) {
        e.family(name, "gauge", runs.front()->key->description);
        for (const RunRecord* run : runs)
            e.sample(name, identity(*run), run->key->value * run->key->toBase);
    }
    e.family("sensors", "gauge",
             "How many sensors of each capability the machine has (0: missing).");
    for (const DeviceCapability* c :
         {&DeviceCapability::Accelerometer(), &DeviceCapability::AmbientLightSensor(),
          &DeviceCapability::Gyrometer(), &DeviceCapability::Magnetometer(),
          &DeviceCapability::ProximitySensor()}) {
        double count = 0;
        for (const SensorHealth& s : sensors)
            count += s.capability == c->name() ? 1 : 0;
        e.sample("sensors", {{"capability", std::string(c->name())}}, count);
    }
    e.family("sensor_readable", "gauge",
             "Each sensor the machine has, by capability: 1 when one reading could be taken, "
             "0 when it could not.");
    for (const SensorHealth& s : sensors) {
        e.sample("sensor_readable",
                 {{"capability", s.capability}, {"locator", s.locator}, {"device", s.name}},
                 s.readable ? 1 : 0);
    }
    return e.text();
}

}  // namespace kiva5
