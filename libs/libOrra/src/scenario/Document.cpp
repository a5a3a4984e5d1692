// The scenario's parts beside its sensors: what a recording says about itself, the display,
// the person's presses, the devices handed to the tests, the enumerations that fail, the
// machine's DMI names and the framework's stop request.
#include <climits>

#include "Sections.h"
#include "libOrra/SensorBackend.h"

namespace libOrra::scenario {
namespace {

// Replay reads one thing of it: the arguments the recorded run was started with, whose choice
// of tests and device a replay makes again. The rest (module, verdicts) is kept as it is.
void readRecording(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("recording"))
        return;
    const Json& block = r.object(doc["recording"], "/recording");
    if (block.contains("commandLine")) {
        r.each(block["commandLine"], "/recording/commandLine",
               [&](const Json& arg, const std::string& w) {
                   sc.recordedCommandLine.push_back(r.text(arg, w));
               });
    }
    sc.recording = compact(block);
}

void writeRecording(const Scenario& sc, Members& out) {
    if (sc.recording)
        out.add("recording", *sc.recording);
}

void readDisplay(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("display"))
        return;
    const Json& d = r.object(doc["display"], "/display");
    r.keys(d, "/display", {"rotation"});
    if (!d.contains("rotation"))
        return;
    if (d["rotation"].is_null()) {
        sc.rotation.reset();
    } else {
        sc.rotation = static_cast<std::uint32_t>(
            r.integer(d["rotation"], "/display/rotation", 0, 3, "0, 1, 2, 3 or null"));
    }
}

void writeDisplay(const Scenario& sc, Members& out) {
    out.addCompact("display", {{"rotation", sc.rotation ? Json(*sc.rotation) : Json()}});
}

OperatorAction readPress(const Reader& r, const Json& item, const std::string& w) {
    r.object(item, w);
    r.keys(item, w, {"at", "dialog", "press"});
    OperatorAction act;
    if (!item.contains("at"))
        r.fail(w + "/at", "the press's time in seconds");
    act.at = r.seconds(item["at"], w + "/at");
    if (!item.contains("dialog"))
        r.fail(w + "/dialog", "the dialog's name");
    // The dialogs the module opens, by the names they give the operator.
    act.dialog = r.oneOf(item["dialog"], w + "/dialog",
                         {"GyrometerTest", "MagnetometerTest", "ProximitySensorTest",
                          "DetectionProblem", "OrientationCheck", "Results"});
    if (!item.contains("press"))
        r.fail(w + "/press", "the control to press");
    act.press = r.oneOf(item["press"], w + "/press",
                        {"Fail", "Cancel", "Close", "Escape", "Enter", "Space", "Restart", "Exit"});
    return act;
}

void readOperator(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (doc.contains("operator")) {
        r.each(doc["operator"], "/operator", [&](const Json& item, const std::string& w) {
            sc.operatorActions.push_back(readPress(r, item, w));
        });
    }
}

// The list always, a press to a line.
void writeOperator(const Scenario& sc, Members& out) {
    out.add("operator", lines(sc.operatorActions, "   ", [](const OperatorAction& a) {
                return Json{{"at", a.at}, {"dialog", a.dialog}, {"press", a.press}};
            }));
}

ScenarioDevice readDevice(const Reader& r, const Json& item, const std::string& w) {
    r.object(item, w);
    r.keys(item, w, {"capability", "locator", "name", "label"});
    ScenarioDevice d;
    if (!item.contains("capability"))
        r.fail(w + "/capability", "a device capability");
    d.capability = r.text(item["capability"], w + "/capability");
    if (!kindFromCapability(d.capability)) {
        r.fail(w + "/capability",
               "Accelerometer, AmbientLightSensor, Gyrometer, Magnetometer or ProximitySensor");
    }
    if (!item.contains("locator"))
        r.fail(w + "/locator", "the device's locator");
    d.locator = r.text(item["locator"], w + "/locator");
    d.name = item.contains("name") ? r.text(item["name"], w + "/name") : d.locator;
    d.label = item.contains("label") ? r.text(item["label"], w + "/label") : "";
    return d;
}

void readDevices(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("devices"))
        return;
    std::vector<ScenarioDevice> devices;
    r.each(doc["devices"], "/devices", [&](const Json& item, const std::string& w) {
        devices.push_back(readDevice(r, item, w));
    });
    sc.devices = std::move(devices);
}

// An empty list too: no devices at all, where no list means one per sensor.
void writeDevices(const Scenario& sc, Members& out) {
    if (!sc.devices)
        return;
    out.add("devices", lines(*sc.devices, "   ", [](const ScenarioDevice& d) {
                Json j{{"capability", d.capability}, {"locator", d.locator}, {"name", d.name}};
                if (!d.label.empty())
                    j["label"] = d.label;
                return j;
            }));
}

void readFailEnumeration(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("failEnumeration"))
        return;
    r.each(doc["failEnumeration"], "/failEnumeration", [&](const Json& item, const std::string& w) {
        const auto kind = kindFromName(r.text(item, w));
        if (!kind)
            r.fail(w, "one of accelerometer, light, gyrometer, magnetometer, proximity");
        sc.failEnumeration.push_back(*kind);
    });
}

void writeFailEnumeration(const Scenario& sc, Members& out) {
    if (sc.failEnumeration.empty())
        return;
    Json kinds = Json::array();
    for (SensorKind kind : sc.failEnumeration)
        kinds.push_back(std::string(kindName(kind)));
    out.addCompact("failEnumeration", kinds);
}

void readDmi(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("dmi"))
        return;
    const Json& d = r.object(doc["dmi"], "/dmi");
    r.keys(d, "/dmi", {"vendor", "product", "modalias", "name"});
    if (d.contains("modalias")) {
        sc.dmiModalias = r.text(d["modalias"], "/dmi/modalias");
        sc.dmiVendor = dmiModaliasField(sc.dmiModalias, "svn");
        sc.dmiProduct = dmiModaliasField(sc.dmiModalias, "pn");
    }
    if (d.contains("vendor"))
        sc.dmiVendor = r.text(d["vendor"], "/dmi/vendor");
    if (d.contains("product"))
        sc.dmiProduct = r.text(d["product"], "/dmi/product");
    if (d.contains("name"))
        sc.dmiName = r.text(d["name"], "/dmi/name");
}

// Only a machine that is not the default one.
void writeDmi(const Scenario& sc, Members& out) {
    const Scenario defaults;
    if (sc.dmiVendor == defaults.dmiVendor && sc.dmiProduct == defaults.dmiProduct &&
        sc.dmiModalias.empty() && sc.dmiName.empty()) {
        return;
    }
    Json dmi{{"vendor", sc.dmiVendor}, {"product", sc.dmiProduct}};
    if (!sc.dmiModalias.empty())
        dmi["modalias"] = sc.dmiModalias;
    if (!sc.dmiName.empty())
        dmi["name"] = sc.dmiName;
    out.addCompact("dmi", dmi);
}

void readPanel(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("panel"))
        return;
    const Json& p = r.object(doc["panel"], "/panel");
    r.keys(p, "/panel", {"orientation", "connector", "mode"});
    if (p.contains("orientation")) {
        sc.panelOrientation = r.text(p["orientation"], "/panel/orientation");
        if (!panelTurnsNamed(sc.panelOrientation))
            r.fail("/panel/orientation", "normal, right_side_up, upside_down or left_side_up");
    }
    if (p.contains("connector"))
        sc.panelConnector = r.text(p["connector"], "/panel/connector");
    if (p.contains("mode"))
        sc.panelMode = r.text(p["mode"], "/panel/mode");
}

void writePanel(const Scenario& sc, Members& out) {
    Json panel = Json::object();
    for (auto [key, value] :
         {std::pair{"orientation", &sc.panelOrientation},
          std::pair{"connector", &sc.panelConnector}, std::pair{"mode", &sc.panelMode}}) {
        if (!value->empty())
            panel[key] = *value;
    }
    if (!panel.empty())
        out.addCompact("panel", panel);
}

void readStop(const Reader& r, const Json& doc, const std::string&, Scenario& sc) {
    if (!doc.contains("stop"))
        return;
    const Json& s = r.object(doc["stop"], "/stop");
    r.keys(s, "/stop", {"at", "run"});
    if (!s.contains("at"))
        r.fail("/stop/at", "the stop request's time in seconds");
    sc.stopAt = r.seconds(s["at"], "/stop/at");
    if (s.contains("run")) {
        sc.stopRun = static_cast<int>(
            r.integer(s["run"], "/stop/run", 1, INT32_MAX, "a test run's number, 1 or more"));
    }
}

void writeStop(const Scenario& sc, Members& out) {
    if (!sc.stopAt)
        return;
    Json stop{{"at", *sc.stopAt}};
    if (sc.stopRun)
        stop["run"] = *sc.stopRun;
    out.addCompact("stop", stop);
}

}  // namespace

const DocumentSection kRecording{readRecording, writeRecording};
const DocumentSection kDisplay{readDisplay, writeDisplay};
const DocumentSection kOperator{readOperator, writeOperator};
const DocumentSection kDevices{readDevices, writeDevices};
const DocumentSection kFailEnumeration{readFailEnumeration, writeFailEnumeration};
const DocumentSection kDmi{readDmi, writeDmi};
const DocumentSection kPanel{readPanel, writePanel};
const DocumentSection kStop{readStop, writeStop};

}  // namespace libOrra::scenario
