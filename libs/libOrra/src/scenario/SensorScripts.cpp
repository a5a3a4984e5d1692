// A sensor's scripts, read from a scenario and written back: the states it reports, its
// updates, a gyrometer's motion, a magnetometer's heading, a proximity sensor's readings and
// its error.
#include <array>
#include <climits>
#include <utility>

#include "Sections.h"

namespace libOrra::scenario {
namespace {

std::int32_t readState(const Reader& r, const Json& v, const std::string& where) {
    static const std::pair<std::string_view, std::int32_t> names[] = {
        {"READY", 0},        {"NOT_AVAILABLE", 1}, {"NO_DATA", 2},
        {"INITIALIZING", 3}, {"ACCESS_DENIED", 4}, {"ERROR", 5}};
    if (v.is_number_integer())
        return static_cast<std::int32_t>(
            r.integer(v, where, INT32_MIN, INT32_MAX, "a 32-bit state value"));
    if (v.is_string()) {
        for (const auto& [n, s] : names) {
            if (n == v.get<std::string>())
                return s;
        }
    }
    r.fail(where,
           "a state name (READY, NOT_AVAILABLE, NO_DATA, INITIALIZING, "
           "ACCESS_DENIED, ERROR) or an integer");
}

void readStates(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (v.contains("states")) {
        r.each(v["states"], where + "/states", [&](const Json& item, const std::string& w) {
            s.states.push_back(readState(r, item, w));
        });
    }
}

// The values a reading may carry, each by its key.
template <typename Update>
auto readingFields(Update& u) {
    return std::array{std::pair{"x", &u.x}, std::pair{"y", &u.y}, std::pair{"z", &u.z},
                      std::pair{"lux", &u.lux}, std::pair{"heading", &u.heading}};
}

ScenarioUpdate readUpdate(const Reader& r, const Json& v, const std::string& where,
                          SensorKind kind) {
    r.object(v, where);
    r.keys(v, where,
           {"fail", "x", "y", "z", "lux", "heading", "valid", "kind", "at", "fromTarget"});
    ScenarioUpdate u;
    if (v.contains("fail"))
        u.fail = r.boolean(v["fail"], where + "/fail");
    if (v.contains("at"))
        u.at = r.seconds(v["at"], where + "/at");
    if (v.contains("fromTarget")) {
        if (kind != SensorKind::Magnetometer || !v.contains("heading"))
            r.fail(where + "/fromTarget", "no fromTarget (magnetometer headings only)");
        u.fromTarget = r.number(v["fromTarget"], where + "/fromTarget");
    }
    for (auto [key, field] : readingFields(u)) {
        if (v.contains(key))
            *field = r.number(v[key], where + "/" + key);
    }
    if (v.contains("valid"))
        u.valid = r.boolean(v["valid"], where + "/valid");
    if (v.contains("kind")) {
        if (kind != SensorKind::Gyrometer)
            r.fail(where + "/kind", "no kind (gyrometers only)");
        // 1 and 2 are the kinds a gyrometer reports; 0 stands for one the module does not
        // know, so that case can be played too.
        u.kind = static_cast<int>(
            r.integer(v["kind"], where + "/kind", 0, 2, "0 (a kind not known), 1 or 2"));
    }
    if (!u.fail && !u.x && !u.y && !u.z && !u.lux && !u.heading) {
        r.fail(where, "a reading (x, y, z, lux or heading) or \"fail\": true");
    }
    return u;
}

Json updateJson(const ScenarioUpdate& u) {
    Json j = Json::object();
    if (u.fail)
        j["fail"] = true;
    if (u.at)
        j["at"] = *u.at;
    if (u.fromTarget)
        j["fromTarget"] = *u.fromTarget;
    for (auto [key, field] : readingFields(u)) {
        if (*field)
            j[key] = **field;
    }
    if (u.valid)
        j["valid"] = *u.valid;
    if (u.kind)
        j["kind"] = *u.kind;
    return j;
}

void readUpdates(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (v.contains("updates")) {
        r.each(v["updates"], where + "/updates", [&](const Json& item, const std::string& w) {
            s.updates.push_back(readUpdate(r, item, w, s.kind));
        });
    }
}

void readMotion(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (!v.contains("motion"))
        return;
    if (s.kind != SensorKind::Gyrometer)
        r.fail(where + "/motion", "no motion (gyrometers)");
    r.each(v["motion"], where + "/motion", [&](const Json& item, const std::string& w) {
        r.object(item, w);
        r.keys(item, w, {"seconds", "rate"});
        MotionSegment m;
        if (!item.contains("seconds"))
            r.fail(w + "/seconds", "the segment's length");
        m.seconds = r.seconds(item["seconds"], w + "/seconds");
        if (!item.contains("rate") || !item["rate"].is_array() || item["rate"].size() != 3)
            r.fail(w + "/rate", "three rates [x, y, z] in degrees per second");
        for (int k = 0; k < 3; ++k)
            m.rate[k] = r.number(item["rate"][k], w + "/rate/" + std::to_string(k));
        s.motion.push_back(m);
    });
}

void readHeading(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (!v.contains("heading"))
        return;
    if (s.kind != SensorKind::Magnetometer)
        r.fail(where + "/heading", "no heading (magnetometers)");
    const std::string w = where + "/heading";
    const Json& o = r.object(v["heading"], w);
    r.keys(o, w, {"start", "follow", "degreesPerSecond"});
    HeadingScript h;
    if (o.contains("start"))
        h.start = r.number(o["start"], w + "/start");
    if (o.contains("follow")) {
        if (r.text(o["follow"], w + "/follow") != "target")
            r.fail(w + "/follow", "\"target\"");
        h.followTarget = true;
    }
    if (o.contains("degreesPerSecond")) {
        h.degreesPerSecond = r.number(o["degreesPerSecond"], w + "/degreesPerSecond");
        if (h.degreesPerSecond <= 0)
            r.fail(w + "/degreesPerSecond", "a positive number");
    }
    s.heading = h;
}

void writeHeading(const ScenarioSensor& s, Members& out) {
    if (!s.heading)
        return;
    Json h{{"start", s.heading->start}, {"degreesPerSecond", s.heading->degreesPerSecond}};
    if (s.heading->followTarget)
        h["follow"] = "target";
    out.addCompact("heading", h);
}

ProximityReading readReading(const Reader& r, const Json& item, const std::string& w) {
    r.object(item, w);
    r.keys(item, w, {"at", "detected", "mm"});
    ProximityReading p;
    if (!item.contains("at"))
        r.fail(w + "/at", "the reading's time in seconds");
    p.at = r.seconds(item["at"], w + "/at");
    if (item.contains("detected"))
        p.detected = r.boolean(item["detected"], w + "/detected");
    if (item.contains("mm")) {
        const double mm = r.number(item["mm"], w + "/mm");
        if (mm < 0 || mm > 4294967295.0)
            r.fail(w + "/mm", "millimetres, 0 or more");
        p.mm = static_cast<std::uint32_t>(mm);
    }
    return p;
}

void readReadings(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (!v.contains("readings"))
        return;
    if (s.kind != SensorKind::Proximity)
        r.fail(where + "/readings", "no readings (proximity)");
    r.each(v["readings"], where + "/readings", [&](const Json& item, const std::string& w) {
        const ProximityReading p = readReading(r, item, w);
        if (!s.readings.empty() && p.at < s.readings.back().at)
            r.fail(w + "/at", "times in ascending order");
        s.readings.push_back(p);
    });
}

void readError(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    if (!v.contains("error"))
        return;
    const std::string w = where + "/error";
    const Json& e = r.object(v["error"], w);
    r.keys(e, w, {"at"});
    if (!e.contains("at"))
        r.fail(w + "/at", "the error's time in seconds");
    s.errorAt = r.seconds(e["at"], w + "/at");
}

void writeStates(const ScenarioSensor& s, Members& out) {
    if (!s.states.empty())
        out.addCompact("states", s.states);
}

void writeUpdates(const ScenarioSensor& s, Members& out) {
    if (!s.updates.empty())
        out.add("updates", lines(s.updates, "    ", updateJson));
}

void writeMotion(const ScenarioSensor& s, Members& out) {
    if (s.motion.empty())
        return;
    out.add("motion", lines(s.motion, "    ", [](const MotionSegment& m) {
                return Json{{"seconds", m.seconds}, {"rate", m.rate}};
            }));
}

// A proximity sensor's readings are written even when there are none, as a recording has
// them.
void writeReadings(const ScenarioSensor& s, Members& out) {
    if (s.kind != SensorKind::Proximity)
        return;
    out.add("readings", lines(s.readings, "    ", [](const ProximityReading& p) {
                return Json{{"at", p.at}, {"detected", p.detected}, {"mm", p.mm}};
            }));
}

void writeError(const ScenarioSensor& s, Members& out) {
    if (s.errorAt)
        out.addCompact("error", {{"at", *s.errorAt}});
}

}  // namespace

const SensorSection kStates{readStates, writeStates};
const SensorSection kUpdates{readUpdates, writeUpdates};
const SensorSection kMotion{readMotion, writeMotion};
const SensorSection kHeading{readHeading, writeHeading};
const SensorSection kReadings{readReadings, writeReadings};
const SensorSection kError{readError, writeError};

}  // namespace libOrra::scenario
