#include "libOrra/Scenario.h"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "libOrra/IioAttribute.h"
#include "vek/Json.h"

namespace libOrra {
namespace {

using nlohmann::json;

// Reads one scenario document, naming the place of every fault.
class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    [[noreturn]] void fail(const std::string& where, const std::string& expected) const {
        throw ScenarioError("scenario " + file_ + ": at " + (where.empty() ? "/" : where) +
                            ": expected " + expected);
    }

    const json& object(const json& v, const std::string& where) const {
        if (!v.is_object())
            fail(where, "an object");
        return v;
    }
    const json& array(const json& v, const std::string& where) const {
        if (!v.is_array())
            fail(where, "an array");
        return v;
    }
    double number(const json& v, const std::string& where) const {
        if (!v.is_number() || !std::isfinite(v.get<double>()))
            fail(where, "a finite number");
        return v.get<double>();
    }
    double seconds(const json& v, const std::string& where) const {
        const double s = number(v, where);
        if (s < 0)
            fail(where, "seconds, 0 or more");
        return s;
    }
    bool boolean(const json& v, const std::string& where) const {
        if (!v.is_boolean())
            fail(where, "true or false");
        return v.get<bool>();
    }
    std::string text(const json& v, const std::string& where) const {
        if (!v.is_string())
            fail(where, "a string");
        return v.get<std::string>();
    }
    // A whole number in [min, max]; large unsigned values are compared, never wrapped.
    long long integer(const json& v, const std::string& where, long long min, long long max,
                      const std::string& expected) const {
        if (v.is_number_unsigned()) {
            const std::uint64_t u = v.get<std::uint64_t>();
            if (u > static_cast<std::uint64_t>(max) || static_cast<long long>(u) < min)
                fail(where, expected);
            return static_cast<long long>(u);
        }
        if (!v.is_number_integer() || v.get<std::int64_t>() < min || v.get<std::int64_t>() > max)
            fail(where, expected);
        return v.get<std::int64_t>();
    }
    // Text that must be one of `names` (a misspelt name would otherwise never match).
    std::string oneOf(const json& v, const std::string& where,
                      std::initializer_list<std::string_view> names) const {
        const std::string t = text(v, where);
        std::string list;
        for (auto n : names) {
            if (n == t)
                return t;
            list += (list.empty() ? "" : ", ") + std::string(n);
        }
        fail(where, "one of " + list);
    }

    // Only these keys may appear: a misspelt key would otherwise be silently ignored.
    void keys(const json& obj, const std::string& where,
              std::initializer_list<std::string_view> allowed) const {
        for (const auto& [k, v] : obj.items()) {
            bool ok = false;
            for (auto a : allowed)
                ok = ok || a == k;
            if (!ok) {
                std::string list;
                for (auto a : allowed)
                    list += (list.empty() ? "" : ", ") + std::string(a);
                fail(where + "/" + k, "one of the keys " + list);
            }
        }
    }

    std::int32_t state(const json& v, const std::string& where) const {
        static const std::pair<std::string_view, std::int32_t> names[] = {
            {"READY", 0},        {"NOT_AVAILABLE", 1}, {"NO_DATA", 2},
            {"INITIALIZING", 3}, {"ACCESS_DENIED", 4}, {"ERROR", 5}};
        if (v.is_number_integer())
            return static_cast<std::int32_t>(
                integer(v, where, INT32_MIN, INT32_MAX, "a 32-bit state value"));
        if (v.is_string()) {
            for (const auto& [n, s] : names) {
                if (n == v.get<std::string>())
                    return s;
            }
        }
        fail(where,
             "a state name (READY, NOT_AVAILABLE, NO_DATA, INITIALIZING, "
             "ACCESS_DENIED, ERROR) or an integer");
    }

    ScenarioUpdate update(const json& v, const std::string& where, SensorKind kind) const {
        object(v, where);
        keys(v, where,
             {"fail", "x", "y", "z", "lux", "heading", "valid", "kind", "at", "fromTarget"});
        ScenarioUpdate u;
        if (v.contains("fail"))
            u.fail = boolean(v["fail"], where + "/fail");
        if (v.contains("at"))
            u.at = seconds(v["at"], where + "/at");
        if (v.contains("fromTarget")) {
            if (kind != SensorKind::Magnetometer || !v.contains("heading"))
                fail(where + "/fromTarget", "no fromTarget (magnetometer headings only)");
            u.fromTarget = number(v["fromTarget"], where + "/fromTarget");
        }
        for (auto [key, field] : {std::pair{"x", &u.x}, std::pair{"y", &u.y}, std::pair{"z", &u.z},
                                  std::pair{"lux", &u.lux}, std::pair{"heading", &u.heading}}) {
            if (v.contains(key))
                *field = number(v[key], where + "/" + key);
        }
        if (v.contains("valid"))
            u.valid = boolean(v["valid"], where + "/valid");
        if (v.contains("kind")) {
            if (kind != SensorKind::Gyrometer)
                fail(where + "/kind", "no kind (gyrometers only)");
            // 1 and 2 are the kinds a gyrometer reports; 0 stands for one the module does not
            // know, so that case can be played too.
            u.kind = static_cast<int>(
                integer(v["kind"], where + "/kind", 0, 2, "0 (a kind not known), 1 or 2"));
        }
        if (!u.fail && !u.x && !u.y && !u.z && !u.lux && !u.heading) {
            fail(where, "a reading (x, y, z, lux or heading) or \"fail\": true");
        }
        return u;
    }

    ScenarioSensor sensor(const json& v, const std::string& where) const {
        object(v, where);
        keys(v, where,
             {"kind", "locator", "name", "label", "states", "updates", "motion", "heading",
              "readings", "error", "faults", "poses", "mounting", "matrix", "modalias"});
        ScenarioSensor s;
        if (!v.contains("kind"))
            fail(where + "/kind", "the sensor's kind");
        const auto kind = kindFromName(text(v["kind"], where + "/kind"));
        if (!kind) {
            fail(where + "/kind",
                 "one of accelerometer, light, gyrometer, magnetometer, proximity");
        }
        s.kind = *kind;
        if (!v.contains("locator"))
            fail(where + "/locator", "the sensor's locator");
        s.locator = text(v["locator"], where + "/locator");
        if (s.locator.empty())
            fail(where + "/locator", "a non-empty locator");
        s.name = v.contains("name") ? text(v["name"], where + "/name")
                                    : "Simulated " + std::string(kindName(s.kind));
        s.label = v.contains("label") ? text(v["label"], where + "/label") : "";
        if (v.contains("states")) {
            const auto& a = array(v["states"], where + "/states");
            for (std::size_t i = 0; i < a.size(); ++i) {
                s.states.push_back(state(a[i], where + "/states/" + std::to_string(i)));
            }
        }
        if (v.contains("updates")) {
            const auto& a = array(v["updates"], where + "/updates");
            for (std::size_t i = 0; i < a.size(); ++i) {
                s.updates.push_back(update(a[i], where + "/updates/" + std::to_string(i), s.kind));
            }
        }
        if (v.contains("motion")) {
            if (s.kind != SensorKind::Gyrometer)
                fail(where + "/motion", "no motion (gyrometers)");
            const auto& a = array(v["motion"], where + "/motion");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::string w = where + "/motion/" + std::to_string(i);
                object(a[i], w);
                keys(a[i], w, {"seconds", "rate"});
                MotionSegment m;
                if (!a[i].contains("seconds"))
                    fail(w + "/seconds", "the segment's length");
                m.seconds = seconds(a[i]["seconds"], w + "/seconds");
                if (!a[i].contains("rate") || !a[i]["rate"].is_array() ||
                    a[i]["rate"].size() != 3) {
                    fail(w + "/rate", "three rates [x, y, z] in degrees per second");
                }
                for (int k = 0; k < 3; ++k) {
                    m.rate[k] = number(a[i]["rate"][k], w + "/rate/" + std::to_string(k));
                }
                s.motion.push_back(m);
            }
        }
        if (v.contains("heading")) {
            if (s.kind != SensorKind::Magnetometer) {
                fail(where + "/heading", "no heading (magnetometers)");
            }
            const std::string w = where + "/heading";
            object(v["heading"], w);
            keys(v["heading"], w, {"start", "follow", "degreesPerSecond"});
            HeadingScript h;
            if (v["heading"].contains("start"))
                h.start = number(v["heading"]["start"], w + "/start");
            if (v["heading"].contains("follow")) {
                if (text(v["heading"]["follow"], w + "/follow") != "target") {
                    fail(w + "/follow", "\"target\"");
                }
                h.followTarget = true;
            }
            if (v["heading"].contains("degreesPerSecond")) {
                h.degreesPerSecond =
                    number(v["heading"]["degreesPerSecond"], w + "/degreesPerSecond");
                if (h.degreesPerSecond <= 0)
                    fail(w + "/degreesPerSecond", "a positive number");
            }
            s.heading = h;
        }
        if (v.contains("readings")) {
            if (s.kind != SensorKind::Proximity)
                fail(where + "/readings", "no readings (proximity)");
            const auto& a = array(v["readings"], where + "/readings");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::string w = where + "/readings/" + std::to_string(i);
                object(a[i], w);
                keys(a[i], w, {"at", "detected", "mm"});
                ProximityReading r;
                if (!a[i].contains("at"))
                    fail(w + "/at", "the reading's time in seconds");
                r.at = seconds(a[i]["at"], w + "/at");
                if (a[i].contains("detected"))
                    r.detected = boolean(a[i]["detected"], w + "/detected");
                if (a[i].contains("mm")) {
                    const double mm = number(a[i]["mm"], w + "/mm");
                    if (mm < 0 || mm > 4294967295.0)
                        fail(w + "/mm", "millimetres, 0 or more");
                    r.mm = static_cast<std::uint32_t>(mm);
                }
                if (!s.readings.empty() && r.at < s.readings.back().at) {
                    fail(w + "/at", "times in ascending order");
                }
                s.readings.push_back(r);
            }
        }
        if (v.contains("error")) {
            const std::string w = where + "/error";
            object(v["error"], w);
            keys(v["error"], w, {"at"});
            if (!v["error"].contains("at"))
                fail(w + "/at", "the error's time in seconds");
            s.errorAt = seconds(v["error"]["at"], w + "/at");
        }
        poses(v, where, s);
        if (v.contains("faults")) {
            const std::string w = where + "/faults";
            const auto& f = object(v["faults"], w);
            keys(f, w, {"disappearAt", "failEvery", "stuckAxis", "chatterSeconds", "silent"});
            if (f.contains("silent"))
                s.faults.silent = boolean(f["silent"], w + "/silent");
            if (f.contains("disappearAt")) {
                s.faults.disappearAt = seconds(f["disappearAt"], w + "/disappearAt");
            }
            if (f.contains("failEvery")) {
                s.faults.failEvery = static_cast<int>(integer(
                    f["failEvery"], w + "/failEvery", 1, INT32_MAX, "a whole number, 1 or more"));
            }
            if (f.contains("stuckAxis")) {
                const std::string axis = text(f["stuckAxis"], w + "/stuckAxis");
                if (axis != "x" && axis != "y" && axis != "z")
                    fail(w + "/stuckAxis", "x, y or z");
                s.faults.stuckAxis = axis[0] - 'x';
            }
            if (f.contains("chatterSeconds")) {
                s.faults.chatterSeconds = seconds(f["chatterSeconds"], w + "/chatterSeconds");
                if (*s.faults.chatterSeconds <= 0)
                    fail(w + "/chatterSeconds", "a positive time");
            }
        }
        return s;
    }

    // An accelerometer's poses, how it sits in its case, the matrix applied, its modalias.
    void poses(const json& v, const std::string& where, ScenarioSensor& s) const {
        for (const char* key : {"poses", "mounting", "matrix", "modalias"}) {
            if (v.contains(key) && s.kind != SensorKind::Accelerometer)
                fail(where + "/" + key, std::string("no ") + key + " (accelerometers)");
        }
        for (auto [key, into] :
             {std::pair{"mounting", &s.mounting}, std::pair{"matrix", &s.matrix}}) {
            if (!v.contains(key))
                continue;
            const std::string w = where + "/" + key;
            *into = iio::parseMountMatrix(text(v[key], w));
            if (!*into)
                fail(w, "a matrix as the kernel writes it (\"0, -1, 0; 1, 0, 0; 0, 0, 1\")");
        }
        if (v.contains("modalias"))
            s.modalias = text(v["modalias"], where + "/modalias");
        if (!v.contains("poses"))
            return;
        const auto& a = array(v["poses"], where + "/poses");
        for (std::size_t i = 0; i < a.size(); ++i) {
            const std::string w = where + "/poses/" + std::to_string(i);
            object(a[i], w);
            keys(a[i], w, {"at", "hold"});
            PoseStep p;
            if (!a[i].contains("at"))
                fail(w + "/at", "the pose's time in seconds");
            p.at = seconds(a[i]["at"], w + "/at");
            if (!a[i].contains("hold"))
                fail(w + "/hold", "the pose held");
            p.hold = text(a[i]["hold"], w + "/hold");
            if (!poseDirection(p.hold))
                fail(w + "/hold",
                     "upright, left-up, face-up, upside-down, right-up, face-down or moving");
            if (!s.poses.empty() && p.at < s.poses.back().at)
                fail(w + "/at", "times in ascending order");
            s.poses.push_back(p);
        }
    }

    Scenario scenario(const json& doc) const {
        object(doc, "");
        // "recording": what a recording says about itself (module, command line, verdicts);
        // replay leaves it alone.
        keys(doc, "",
             {"display", "sensors", "operator", "devices", "failEnumeration", "stop", "dmi",
              "recording"});
        Scenario sc;
        if (doc.contains("recording")) {
            // Replay reads one thing of it: the arguments the recorded run was started with,
            // whose choice of tests and device a replay makes again.
            const json& r = object(doc["recording"], "/recording");
            if (r.contains("commandLine")) {
                const json& args = array(r["commandLine"], "/recording/commandLine");
                for (std::size_t i = 0; i < args.size(); ++i)
                    sc.recordedCommandLine.push_back(
                        text(args[i], "/recording/commandLine/" + std::to_string(i)));
            }
        }
        if (doc.contains("display")) {
            const auto& d = object(doc["display"], "/display");
            keys(d, "/display", {"rotation"});
            if (d.contains("rotation")) {
                if (d["rotation"].is_null()) {
                    sc.rotation.reset();
                } else {
                    sc.rotation = static_cast<std::uint32_t>(
                        integer(d["rotation"], "/display/rotation", 0, 3, "0, 1, 2, 3 or null"));
                }
            }
        }
        if (!doc.contains("sensors"))
            fail("/sensors", "a list of sensors");
        const auto& sensors = array(doc["sensors"], "/sensors");
        for (std::size_t i = 0; i < sensors.size(); ++i) {
            sc.sensors.push_back(sensor(sensors[i], "/sensors/" + std::to_string(i)));
        }
        if (doc.contains("operator")) {
            const auto& a = array(doc["operator"], "/operator");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::string w = "/operator/" + std::to_string(i);
                object(a[i], w);
                keys(a[i], w, {"at", "dialog", "press"});
                OperatorAction act;
                if (!a[i].contains("at"))
                    fail(w + "/at", "the press's time in seconds");
                act.at = seconds(a[i]["at"], w + "/at");
                if (!a[i].contains("dialog"))
                    fail(w + "/dialog", "the dialog's name");
                // The dialogs the module opens, by the names they give the operator.
                act.dialog = oneOf(a[i]["dialog"], w + "/dialog",
                                   {"GyrometerTest", "MagnetometerTest", "ProximitySensorTest",
                                    "DetectionProblem", "OrientationCheck", "Results"});
                if (!a[i].contains("press"))
                    fail(w + "/press", "the control to press");
                act.press = oneOf(
                    a[i]["press"], w + "/press",
                    {"Fail", "Cancel", "Close", "Escape", "Enter", "Space", "Restart", "Exit"});
                sc.operatorActions.push_back(act);
            }
        }
        if (doc.contains("devices")) {
            const auto& a = array(doc["devices"], "/devices");
            std::vector<ScenarioDevice> devices;
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::string w = "/devices/" + std::to_string(i);
                object(a[i], w);
                keys(a[i], w, {"capability", "locator", "name", "label"});
                ScenarioDevice d;
                if (!a[i].contains("capability"))
                    fail(w + "/capability", "a device capability");
                d.capability = text(a[i]["capability"], w + "/capability");
                if (!kindFromCapability(d.capability)) {
                    fail(w + "/capability",
                         "Accelerometer, AmbientLightSensor, Gyrometer, Magnetometer or "
                         "ProximitySensor");
                }
                if (!a[i].contains("locator"))
                    fail(w + "/locator", "the device's locator");
                d.locator = text(a[i]["locator"], w + "/locator");
                d.name = a[i].contains("name") ? text(a[i]["name"], w + "/name") : d.locator;
                d.label = a[i].contains("label") ? text(a[i]["label"], w + "/label") : "";
                devices.push_back(d);
            }
            sc.devices = std::move(devices);
        }
        if (doc.contains("failEnumeration")) {
            const auto& a = array(doc["failEnumeration"], "/failEnumeration");
            for (std::size_t i = 0; i < a.size(); ++i) {
                const std::string w = "/failEnumeration/" + std::to_string(i);
                const auto kind = kindFromName(text(a[i], w));
                if (!kind)
                    fail(w, "one of accelerometer, light, gyrometer, magnetometer, proximity");
                sc.failEnumeration.push_back(*kind);
            }
        }
        if (doc.contains("dmi")) {
            const auto& d = object(doc["dmi"], "/dmi");
            keys(d, "/dmi", {"vendor", "product"});
            if (d.contains("vendor"))
                sc.dmiVendor = text(d["vendor"], "/dmi/vendor");
            if (d.contains("product"))
                sc.dmiProduct = text(d["product"], "/dmi/product");
        }
        if (doc.contains("stop")) {
            const auto& s = object(doc["stop"], "/stop");
            keys(s, "/stop", {"at", "run"});
            if (!s.contains("at"))
                fail("/stop/at", "the stop request's time in seconds");
            sc.stopAt = seconds(s["at"], "/stop/at");
            if (s.contains("run")) {
                sc.stopRun = static_cast<int>(
                    integer(s["run"], "/stop/run", 1, INT32_MAX, "a test run's number, 1 or more"));
            }
        }
        return sc;
    }

private:
    std::string file_;
};

}  // namespace

Scenario parseScenario(std::string_view text, const std::string& fileName) {
    vek::JsonSyntaxError error;
    const auto doc = vek::parseJson(text, error);
    if (!doc) {
        throw ScenarioError("scenario " + fileName + ": " +
                            (error.numberOutOfRange
                                 ? std::string("expected valid JSON with numbers in range")
                                 : error.describe() + ": expected valid JSON"));
    }
    return Reader(fileName).scenario(*doc);
}

Scenario loadScenario(const std::string& path) {
    std::string problem;
    const auto text = vek::readTextFile(path, &problem, vek::kMaxScenarioBytes);
    if (!text)
        throw ScenarioError("scenario " + path + ": " + problem);
    return parseScenario(*text, path);
}

}  // namespace libOrra
