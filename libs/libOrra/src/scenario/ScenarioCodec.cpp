// A scenario document as a whole: its parts in the order they are read and written, the
// JSON syntax and the file around them.
#include "Sections.h"
#include "libOrra/Scenario.h"
#include "vek/Json.h"

namespace libOrra {
namespace {

using scenario::Json;

const scenario::DocumentSection* const kDocumentParts[] = {
    &scenario::kRecording, &scenario::kDisplay, &scenario::kSensors,
    &scenario::kOperator,  &scenario::kDevices, &scenario::kFailEnumeration,
    &scenario::kDmi,       &scenario::kPanel,   &scenario::kStop};

Scenario readDocument(const scenario::Reader& r, const Json& doc) {
    r.object(doc, "");
    // "recording": what a recording says about itself (module, command line, verdicts).
    r.keys(doc, "",
           {"display", "sensors", "operator", "devices", "failEnumeration", "stop", "dmi", "panel",
            "recording"});
    Scenario sc;
    for (const scenario::DocumentSection* part : kDocumentParts)
        part->read(r, doc, "", sc);
    return sc;
}

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
    return readDocument(scenario::Reader(fileName), *doc);
}

Scenario loadScenario(const std::string& path) {
    std::string problem;
    const auto text = vek::readTextFile(path, &problem, vek::kMaxScenarioBytes);
    if (!text)
        throw ScenarioError("scenario " + path + ": " + problem);
    return parseScenario(*text, path);
}

std::string writeScenario(const Scenario& sc) {
    std::string out = "{";
    scenario::Members members(out, " ", false);
    for (const scenario::DocumentSection* part : kDocumentParts)
        part->write(sc, members);
    out += "\n}\n";
    return out;
}

}  // namespace libOrra
