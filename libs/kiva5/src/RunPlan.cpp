#include "RunPlan.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "kiva5/HostHooks.h"
#include "kiva5/KivaException.h"
#include "kiva5/Localization.h"
#include "kiva5/Report.h"
#include "vek/Exception.h"
#include "vek/Json.h"
#include "vek/Logging.h"
#include "vek/Resource.h"

namespace kiva5 {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "kiva5";

std::string joined(const std::vector<std::string>& words) {
    std::string out;
    for (const auto& w : words)
        out += (out.empty() ? "" : " ") + w;
    return out;
}

std::filesystem::path shippedProfilePath(const std::string& module) {
    return std::filesystem::path("resources") / module / "profile.json";
}

// A profile: {"parameters": {"Name": "text" | number | boolean, ...}}. Problems in a file the
// person named are input errors; in the shipped one, framework failures.
std::vector<std::pair<std::string, std::string>> readProfile(const std::filesystem::path& file,
                                                             bool named) {
    const auto fail = [&](const std::string& why) {
        const std::string text = "profile " + file.string() + ": " + why;
        if (named)
            throw InputError(text);
        throw KivaException(text);
    };
    std::string problem;
    const auto content = vek::readTextFile(file, &problem);
    if (!content)
        fail(problem);
    vek::JsonSyntaxError error;
    auto parsed = vek::parseJson(*content, error);
    if (!parsed)
        fail("not valid JSON (" + error.describe() + ")");
    nlohmann::json& doc = *parsed;
    if (!doc.is_object() || !doc.contains("parameters") || !doc["parameters"].is_object())
        fail("expected an object with a \"parameters\" object");
    std::vector<std::pair<std::string, std::string>> values;
    for (const auto& [name, v] : doc["parameters"].items()) {
        std::string text;
        if (v.is_string()) {
            text = v.get<std::string>();
        } else if (v.is_boolean()) {
            text = v.get<bool>() ? "true" : "false";
        } else if (v.is_number_integer()) {
            text = std::to_string(v.get<long long>());
        } else if (v.is_number()) {
            text = Value::formatDouble(v.get<double>());
        } else {
            fail("parameter \"" + name + "\" must be a string, number or boolean");
        }
        values.emplace_back(name, std::move(text));
    }
    return values;
}

std::string knownParameters(const Catalogue& catalogue) {
    std::vector<std::string> names;
    for (const auto& p : catalogue.parameters())
        names.push_back(p->name());
    return joined(names);
}

}  // namespace

std::string moduleStem(const std::string& file) {
    return std::filesystem::path(file).stem().string();
}

// The declared catalogue, each parameter with its unit and the shipped profile's value.
void printCatalogue(const Catalogue& c, const std::string& module, std::ostream& out) {
    std::map<std::string, std::string> defaults;
    if (const auto shipped = vek::Resource::resolve(shippedProfilePath(module))) {
        try {
            for (auto& [name, text] : readProfile(*shipped, false))
                defaults[name] = text;
        } catch (const KivaException&) {
            // --list still lists; the run itself will name the broken file.
        }
    }
    const auto describe = [&](const Parameter& p) {
        std::string text(p.type().name());
        if (!p.unit().empty())
            text += ", " + p.unit();
        const auto d = defaults.find(p.name());
        return text + (d == defaults.end() ? ", no default" : ", default " + d->second);
    };
    out << "Tests:\n";
    for (const auto& t : c.tests()) {
        out << "  " << t->name() << "  capability " << t->capability().name();
        if (t->interactive())
            out << "  interactive";
        if (t->createsOwnGUI())
            out << "  own GUI";
        out << "\n";
        for (const Parameter* p : t->parameters())
            out << "    " << p->name() << " (" << describe(*p) << ")\n";
    }
    out << "Parameters:\n";
    for (const auto& p : c.parameters())
        out << "  " << p->name() << " (" << describe(*p) << ")\n";
    out << "Events:\n";
    for (const auto& e : c.events())
        out << "  " << e->name() << "\n";
    out << "Localized strings:\n";
    for (const auto& s : c.strings())
        out << "  " << s->key() << "\n";
}

// $XDG_STATE_HOME/vekrsensors/report-<UTC time>.json (~/.local/state when unset), the folder
// made as needed; a run started from the desktop keeps its report there.
std::string stateReportPath() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    std::filesystem::path dir =
        state && *state && state[0] == '/'
            ? std::filesystem::path(state)
            : std::filesystem::path(home && *home ? home : "/tmp") / ".local/state";
    dir /= "vekrsensors";
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    std::string stamp = Report::utcText(std::chrono::system_clock::now());
    std::replace(stamp.begin(), stamp.end(), ':', '-');
    return (dir / ("report-" + stamp + ".json")).string();
}

// The orientation check turns with the screen: on a convertible with an accelerometer in the
// display and one in the base, the base's is left out. Its matrix is set so that it reads as
// the display's with the lid closed (systemd's hwdb notes), not by poses of the screen. Returns
// a note for each one left out.
std::vector<std::string> keepDisplayAccelerometers(std::vector<DiagDevice>& devices) {
    const auto isBase = [](const DiagDevice& d) {
        return d.capability() == DeviceCapability::Accelerometer() && d.label() == "accel-base";
    };
    const bool another = std::any_of(devices.begin(), devices.end(), [&](const DiagDevice& d) {
        return d.capability() == DeviceCapability::Accelerometer() && !isBase(d);
    });
    std::vector<std::string> notes;
    if (!another)
        return notes;
    for (const DiagDevice& d : devices) {
        if (isBase(d)) {
            notes.push_back(d.osLocator().str() + " (" + d.name().str() +
                            ") left alone: a base accelerometer does not turn with the screen; "
                            "its matrix makes it read as the display's with the lid closed");
        }
    }
    std::erase_if(devices, isBase);
    return notes;
}

// The tests to run, in the order asked for (each once); all of them by default.
std::vector<Test*> selectTests(const Catalogue& catalogue, const CommandLine& o) {
    std::vector<Test*> tests;
    for (const auto& name : o.tests) {
        Test* t = catalogue.findTest(name);
        if (!t) {
            std::vector<std::string> known;
            for (const auto& k : catalogue.tests())
                known.push_back(k->name());
            throw UsageError{"unknown test \"" + name + "\"; known tests: " + joined(known)};
        }
        if (std::find(tests.begin(), tests.end(), t) == tests.end())
            tests.push_back(t);
    }
    if (tests.empty()) {
        for (const auto& t : catalogue.tests())
            tests.push_back(t.get());
    }
    return tests;
}

// A replayed recording runs the tests, and on the device, its recorded run chose, unless the
// command line chooses itself: its --test and --device still win.
void takeRecordedSelection(CommandLine& o, const std::vector<std::string>& recorded) {
    if (recorded.empty() || o.orientation)
        return;
    CommandLine r;
    if (CommandLine::read(recorded, recorded.front(), "", r).settled || r.orientation)
        return;
    if (o.tests.empty())
        o.tests = r.tests;
    if (o.device.empty())
        o.device = r.device;
}

// --param assignments, checked against the catalogue.
std::vector<std::pair<Parameter*, std::string>> parameterOverrides(const Catalogue& catalogue,
                                                                   const CommandLine& o) {
    std::vector<std::pair<Parameter*, std::string>> overrides;
    for (const auto& assignment : o.params) {
        const auto eq = assignment.find('=');
        if (eq == std::string::npos || eq == 0)
            throw UsageError{"--param expects NAME=VALUE, got \"" + assignment + "\""};
        const std::string name = assignment.substr(0, eq);
        Parameter* p = catalogue.findParameter(name);
        if (!p) {
            throw UsageError{"unknown parameter \"" + name +
                             "\"; known parameters: " + knownParameters(catalogue)};
        }
        overrides.emplace_back(p, assignment.substr(eq + 1));
    }
    return overrides;
}

// The string table to speak in: the one --lang names (a usage error when there is none), else
// the environment's first language that has one, else English.
std::string chooseLanguage(const CommandLine& o, const std::string& module) {
    if (o.lang.empty()) {
        const std::string found =
            Localization::firstAvailable(module, Localization::preferencesFromEnvironment());
        return found.empty() ? "en" : found;
    }
    const std::string found = Localization::firstAvailable(module, {o.lang});
    if (found.empty()) {
        throw UsageError{"no texts in language \"" + o.lang +
                         "\"; available: " + joined(Localization::available(module))};
    }
    return found;
}

// Texts and settings serve the dialogs and their instructions. When an interactive test is
// selected they are read before any test starts, so a broken install fails at once; for a
// threshold-only run the texts are read only if a test looks one up, and settings on first use.
void loadResources(const Catalogue& catalogue, const std::vector<Test*>& tests,
                   const std::string& language, const std::string& module) {
    std::vector<std::string> keys;
    for (const auto& s : catalogue.strings())
        keys.push_back(s->key());
    vek::VekLocale::setGlobalLocale(language);
    if (std::none_of(tests.begin(), tests.end(), [](const Test* t) { return t->interactive(); })) {
        Localization::loadOnFirstUse(module, language, keys);
        return;
    }
    Localization::load(module, language, keys);
    try {
        vek::Resource::loadSettings(vek::String(module));
    } catch (const vek::Exception& e) {
        throw KivaException(e.toString().toStdString());
    }
}

// Parameters: every one unset, then the shipped profile, then --profile laid over it, then
// --param. Returns the profile files read, in that order.
std::vector<std::string> applyParameters(
    const Catalogue& catalogue, const CommandLine& o, const std::string& module,
    const std::vector<std::pair<Parameter*, std::string>>& overrides) {
    for (const auto& p : catalogue.parameters())
        p->unset();
    const auto relative = shippedProfilePath(module);
    const auto shipped = vek::Resource::resolve(relative);
    if (!shipped) {
        throw KivaException(relative.string() +
                            ": not found beside the working directory or the executable");
    }
    if (vek::Resource::overridesInstalled(relative, *shipped)) {
        VEK_LOG(s_logger, kLoggerName, vek::kLogWarning,
                "Profile " << shipped->string()
                           << " from the working folder is used in place of the installed one");
    }
    std::vector<std::pair<std::filesystem::path, bool>> files{{*shipped, false}};
    if (!o.profile.empty())
        files.emplace_back(o.profile, true);
    std::vector<std::string> used;
    for (const auto& [file, named] : files) {
        for (const auto& [name, text] : readProfile(file, named)) {
            Parameter* p = catalogue.findParameter(name);
            if (!p) {
                const std::string why = "profile " + file.string() + ": unknown parameter \"" +
                                        name +
                                        "\"; known parameters: " + knownParameters(catalogue);
                if (named)
                    throw InputError(why);
                throw KivaException(why);
            }
            p->set(text);
        }
        VEK_LOG(s_logger, kLoggerName, vek::kLogProgress, "Profile: " << file.string());
        used.push_back(file.string());
    }
    for (const auto& [p, text] : overrides)
        p->set(text);
    return used;
}

RunPlan RunPlan::begin(const CommandLine& o, const std::string& moduleFile) {
    RunPlan plan;
    plan.module = moduleStem(moduleFile);
    // The language is checked whatever else is asked, so --list and a run agree on it.
    plan.language = chooseLanguage(o, plan.module);
    return plan;
}

void RunPlan::settle(const Catalogue& catalogue, CommandLine& o, libOrra::Machine& machine,
                     Test* orientationCheck) {
    takeRecordedSelection(o, machine.recordedCommandLine());
    tests = o.orientation ? std::vector<Test*>{orientationCheck} : selectTests(catalogue, o);
    loadResources(catalogue, tests, language, module);
    profiles = applyParameters(catalogue, o, module, overrides);
    devices = devicesOf(machine);
    if (o.orientation)
        leftAlone = keepDisplayAccelerometers(devices);
}

}  // namespace kiva5
