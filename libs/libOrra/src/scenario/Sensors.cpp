// The scenario's sensors: each one's kind, locator and name, then its parts in the order they
// are read and written (its scripts, its poses, its faults).
#include <climits>

#include "Sections.h"

namespace libOrra::scenario {
namespace {

const SensorSection* const kSensorParts[] = {&kStates,   &kUpdates, &kMotion, &kHeading,
                                             &kReadings, &kError,   &kPoses,  &kFaults};

ScenarioSensor readSensor(const Reader& r, const Json& v, const std::string& where) {
    r.object(v, where);
    r.keys(
        v, where,
        {"kind", "locator", "name", "label", "states", "updates", "motion", "heading", "readings",
         "error", "faults", "poses", "mounting", "matrix", "matrixFrom", "modalias"});
    ScenarioSensor s;
    if (!v.contains("kind"))
        r.fail(where + "/kind", "the sensor's kind");
    const auto kind = kindFromName(r.text(v["kind"], where + "/kind"));
    if (!kind)
        r.fail(where + "/kind", "one of accelerometer, light, gyrometer, magnetometer, proximity");
    s.kind = *kind;
    if (!v.contains("locator"))
        r.fail(where + "/locator", "the sensor's locator");
    s.locator = r.text(v["locator"], where + "/locator");
    if (s.locator.empty())
        r.fail(where + "/locator", "a non-empty locator");
    s.name = v.contains("name") ? r.text(v["name"], where + "/name")
                                : "Simulated " + std::string(kindName(s.kind));
    s.label = v.contains("label") ? r.text(v["label"], where + "/label") : "";
    for (const SensorSection* part : kSensorParts)
        part->read(r, v, where, s);
    return s;
}

// `{"kind": K, "locator": L, "name": N` (and the label, where there is one) on one line,
// each part a line below it.
void writeSensor(const ScenarioSensor& s, std::string& out) {
    add(out, {"{\"kind\": ", compact(kindName(s.kind)), ", \"locator\": ", compact(s.locator),
              ", \"name\": ", compact(s.name)});
    if (!s.label.empty())
        add(out, {", \"label\": ", compact(s.label)});
    Members members(out, "   ", true);
    for (const SensorSection* part : kSensorParts)
        part->write(s, members);
    out += '}';
}

void readSensors(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("sensors"))
        r.fail("/sensors", "a list of sensors");
    r.each(doc["sensors"], "/sensors", [&](const Json& item, const std::string& w) {
        sc.sensors.push_back(readSensor(r, item, w));
    });
}

// The list always, a sensor to a line (or several).
void writeSensors(const Scenario& sc, Members& out) {
    std::string list = "[";
    for (std::size_t i = 0; i < sc.sensors.size(); ++i) {
        list += i ? ",\n  " : "\n  ";
        writeSensor(sc.sensors[i], list);
    }
    list += "\n ]";
    out.add("sensors", list);
}

void readFaults(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (!v.contains("faults"))
        return;
    const std::string w = where + "/faults";
    const Json& f = r.object(v["faults"], w);
    r.keys(f, w, {"disappearAt", "failEvery", "stuckAxis", "chatterSeconds", "silent"});
    if (f.contains("silent"))
        s.faults.silent = r.boolean(f["silent"], w + "/silent");
    if (f.contains("disappearAt"))
        s.faults.disappearAt = r.seconds(f["disappearAt"], w + "/disappearAt");
    if (f.contains("failEvery")) {
        s.faults.failEvery = static_cast<int>(
            r.integer(f["failEvery"], w + "/failEvery", 1, INT32_MAX, "a whole number, 1 or more"));
    }
    if (f.contains("stuckAxis")) {
        const std::string axis = r.text(f["stuckAxis"], w + "/stuckAxis");
        if (axis != "x" && axis != "y" && axis != "z")
            r.fail(w + "/stuckAxis", "x, y or z");
        s.faults.stuckAxis = axis[0] - 'x';
    }
    if (f.contains("chatterSeconds")) {
        s.faults.chatterSeconds = r.seconds(f["chatterSeconds"], w + "/chatterSeconds");
        if (*s.faults.chatterSeconds <= 0)
            r.fail(w + "/chatterSeconds", "a positive time");
    }
}

// Only the faults there are; none, no member.
void writeFaults(const ScenarioSensor& s, Members& out) {
    const ScenarioFaults& f = s.faults;
    Json j = Json::object();
    if (f.silent)
        j["silent"] = true;
    if (f.disappearAt)
        j["disappearAt"] = *f.disappearAt;
    if (f.failEvery > 0)
        j["failEvery"] = f.failEvery;
    if (f.stuckAxis)
        j["stuckAxis"] = std::string(1, static_cast<char>('x' + *f.stuckAxis));
    if (f.chatterSeconds)
        j["chatterSeconds"] = *f.chatterSeconds;
    if (!j.empty())
        out.addCompact("faults", j);
}

}  // namespace

const SensorSection kFaults{readFaults, writeFaults};
const DocumentSection kSensors{readSensors, writeSensors};

}  // namespace libOrra::scenario
