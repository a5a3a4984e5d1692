// The poses a simulated person holds an accelerometer in, and the scenario's accelerometer
// section that scripts them: the poses, how the sensor sits in its case, the matrix the system
// applies and the modalias a hwdb entry matches.
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "Sections.h"
#include "libOrra/IioAttribute.h"

namespace libOrra {

std::optional<std::array<double, 3>> poseDirection(std::string_view hold) {
    // What a correctly mounted accelerometer reads in each pose, in g (the kernel's
    // convention: upright reads -y, standing on its right-hand edge +x, flat screen up +z).
    // Moving: no axis near gravity.
    static const std::pair<std::string_view, std::array<double, 3>> kPoses[] = {
        {"upright", {0, -1, 0}},
        {"left-up", {1, 0, 0}},
        {"face-up", {0, 0, 1}},
        {"upside-down", {0, 1, 0}},
        {"right-up", {-1, 0, 0}},
        {"face-down", {0, 0, -1}},
        {"moving", {0.57735, 0.57735, 0.57735}}};
    for (const auto& [name, g] : kPoses) {
        if (name == hold)
            return g;
    }
    return std::nullopt;
}

namespace scenario {
namespace {

// The modalias of an accelerometer the scenario does not name.
const std::string kDefaultModalias = ScenarioSensor{}.modalias;

PoseStep readPose(const Reader& r, const Json& item, const std::string& w) {
    r.object(item, w);
    r.keys(item, w, {"at", "hold"});
    PoseStep p;
    if (!item.contains("at"))
        r.fail(w + "/at", "the pose's time in seconds");
    p.at = r.seconds(item["at"], w + "/at");
    if (!item.contains("hold"))
        r.fail(w + "/hold", "the pose held");
    p.hold = r.text(item["hold"], w + "/hold");
    if (!poseDirection(p.hold))
        r.fail(w + "/hold",
               "upright, left-up, face-up, upside-down, right-up, face-down or moving");
    return p;
}

void readPoses(const Reader& r, const Json& v, const std::string& where, ScenarioSensor& s) {
    for (const char* key : {"poses", "mounting", "matrix", "matrixFrom", "modalias"}) {
        if (v.contains(key) && s.kind != SensorKind::Accelerometer)
            r.fail(where + "/" + key, std::string("no ") + key + " (accelerometers)");
    }
    for (auto [key, into] : {std::pair{"mounting", &s.mounting}, std::pair{"matrix", &s.matrix}}) {
        if (!v.contains(key))
            continue;
        const std::string w = where + "/" + key;
        *into = iio::parseMountMatrix(r.text(v[key], w));
        if (!*into)
            r.fail(w, "a matrix as the kernel writes it (\"0, -1, 0; 1, 0, 0; 0, 0, 1\")");
    }
    if (v.contains("matrixFrom")) {
        const std::string from = r.text(v["matrixFrom"], where + "/matrixFrom");
        if (from != "udev" || !s.matrix)
            r.fail(where + "/matrixFrom", "\"udev\", beside a matrix");
        s.matrixFromUdev = true;
    }
    if (v.contains("modalias"))
        s.modalias = r.text(v["modalias"], where + "/modalias");
    if (!v.contains("poses"))
        return;
    r.each(v["poses"], where + "/poses", [&](const Json& item, const std::string& w) {
        const PoseStep p = readPose(r, item, w);
        if (!s.poses.empty() && p.at < s.poses.back().at)
            r.fail(w + "/at", "times in ascending order");
        s.poses.push_back(p);
    });
}

// A matrix as the kernel writes it, "0.0, -1.0, 0.0; 1.0, 0.0, 0.0; 0.0, 0.0, 1.0", each
// number as it reads back.
std::string matrixText(const iio::Matrix3& m) {
    std::string out;
    for (std::size_t i = 0; i < m.size(); ++i)
        add(out, {i == 0 ? "" : i % 3 == 0 ? "; " : ", ", compact(m[i])});
    return out;
}

void writePoses(const ScenarioSensor& s, Members& out) {
    for (auto [key, from] : {std::pair{"mounting", &s.mounting}, std::pair{"matrix", &s.matrix}}) {
        if (*from)
            out.addCompact(key, matrixText(**from));
    }
    if (s.matrixFromUdev)
        out.addCompact("matrixFrom", "udev");
    if (s.modalias != kDefaultModalias)
        out.addCompact("modalias", s.modalias);
    if (s.poses.empty())
        return;
    out.add("poses", lines(s.poses, "    ", [](const PoseStep& p) {
                return Json{{"at", p.at}, {"hold", p.hold}};
            }));
}

}  // namespace

const SensorSection kPoses{readPoses, writePoses};

}  // namespace scenario
}  // namespace libOrra
