// The module as a host runs it, case by case from the tables in cases/*.json: a scenario for
// the simulated machine or a fake IIO tree shaped like real drivers', the arguments, and what
// the report, the output and the log must say. One case:
//
//   {"label": "upper_bound_is_outside",
//    "args": ["--test", "AccelerometerTest"],   \xHH in an argument is that byte
//    "scenario": {...}                 the simulated machine (written to s.json), or
//    "tree": {"layout": "hidAccel3d",  a fake sysfs with one device of a driver's layout
//             "name": "...", "set": {"attr": "text"}, "silent": "attr", "busyBuffer": true,
//             "udev": {"ACCEL_LOCATION": "base"}   udev's properties (its uevent file),
//             "buffer": "bytes its node holds",
//             "timestamps": {"everyMs": 10, "count": 50}  a buffer of timestamps only,
//             "root": "folder name", "devices": [{...}, ...]}   or several devices (n: number)
//             and the firmware, modules, kernel log and hubs beside them (FakeFirmware.h)
//    "env": ["DISPLAY=@X"] or {...},   @X: Xvfb, @S: an X server that never answers,
//                                      @W (WAYLAND_DISPLAY): a headless weston (TestDisplay.h)
//    "systemBus": {"reader": "iio-sensor-proxy" or "dbusmock", ...}   a system bus of the case's
//                                      own with the desktop's sensor reader (TestSystemBus.h);
//                                      a --doctor case without one gets a bus address where
//                                      nothing listens, never this machine's own bus
//    "files": {"name": "text" or JSON}, "links": {"name": "target"}, "readOnlyDir": "name",
//    "fifo": "name", "bigFile": {"name": bytes},   more in the working folder
//    "reportTo": "r.json" (default; null: no --report), "reportAt": where it then lies,
//    "stdoutTo": "/dev/full" ("" closed), "termWaiting": true (SIGTERM pending at start),
//    "signal": {"when": "text on the terminal", "times": 1, "send": ["INT"]}, or
//              {"logged": "text in the log", ...}       sent as soon as the text is there
//    "runs": [{"result": "FAIL", "events": ["Sensor_Timeout"], "note": "part of a note",
//              "...": ...}],           any other key: that part of the run, as a subset
//    "report": {...},                  a subset of the report's top level
//    "within": {"/json/pointer": "part of that text in the report", or parts},
//    "out", "err", "log": "text" or ["text", "!text that must not be there"],
//    "outFile": "fixtures/list.txt" (stdout exactly),
//    "after": {"path": "symlink|file|char device|absent"}, "exit": 64 or [130, 143],
//    "replay": ["--param", "..."]}     the run again from its recording rec.json (--record
//                                      rec.json in "args"): same verdicts, events, key values
//
// Every case also holds the host's promises: the exit code is the report's code, nothing
// reaches stderr unless "err" says what, a case without "runs" leaves no report, and a usage
// error (64) is one line on stderr and nothing on stdout.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "FakeFirmware.h"
#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"
#include "TableRows.h"
#include "TestDisplay.h"
#include "TestSystemBus.h"
#include "Unprivileged.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using vekr::testing::TableRow;

// Every case of every table, named after its file and label. "presses": {"Fail": "FAIL", ...}
// makes one case per press, made 0.3 s after the dialog opened (the case's "dialog", else its
// test's); the run ends with that result, a FAIL with the person's UserClickedFail and anything
// else without events, or as the run an object describes.
std::vector<TableRow> loadCases() {
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(fs::path(VEKR_SOURCE_DIR) / "cases"))
        files.push_back(e.path());
    std::sort(files.begin(), files.end());
    std::vector<TableRow> cases;
    for (const auto& file : files) {
        for (TableRow row : vekr::testing::tableRows(
                 file, nullptr, fs::path(VEKR_SOURCE_DIR) / "fixtures/scenarios.json")) {
            row.label = file.stem().string() + "_" + row.label;
            const json presses = row.entry.value("presses", json::object());
            row.entry.erase("presses");
            if (presses.empty()) {
                cases.push_back(row);
                continue;
            }
            const auto& args = row.entry.at("args");
            const json dialog = row.entry.value(
                "dialog", *std::next(std::find(args.begin(), args.end(), "--test")));
            for (const auto& [press, result] : presses.items()) {
                TableRow one = row;
                one.label += "_" + press;
                one.entry["scenario"]["operator"] =
                    json::array({json{{"at", 0.3}, {"dialog", dialog}, {"press", press}}});
                const json events =
                    result == "FAIL" ? json::array({"UserClickedFail"}) : json::array();
                one.entry["runs"] = json::array(
                    {result.is_object() ? result : json{{"result", result}, {"events", events}}});
                cases.push_back(one);
            }
        }
    }
    return cases;
}

// True when every key of `expected` is in `actual` with an equal value, objects compared the
// same way: laying `expected` over `actual` then changes nothing. (A null in `expected` would
// mean "absent" to the patch; no table expects a null.)
bool subset(const json& expected, json actual) {
    const json before = actual;
    actual.merge_patch(expected);
    return actual == before;
}

// JSON text cannot carry bytes that are not UTF-8: "\\xff" in a case stands for the byte.
std::string bytes(std::string text) {
    for (std::size_t at = text.find("\\x"); at != std::string::npos;
         at = text.find("\\x", at + 1)) {
        const auto hex = [&text](std::size_t i) {
            return i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i]));
        };
        if (hex(at + 2) && hex(at + 3))
            text.replace(at, 4, 1,
                         static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16)));
    }
    return text;
}

// `want` is a text or a list of them: each must be in `text`, or, written "!text", must not.
void expectTexts(const char* what, const std::string& text, const json& want) {
    for (const json& w : want.is_array() ? want : json::array({want})) {
        std::string part = w;
        const bool absent = part.starts_with("!");
        if (absent)
            part.erase(0, 1);
        EXPECT_EQ(text.find(part) == std::string::npos, absent)
            << what << (absent ? " holds \"" : " lacks \"") << part << "\":\n"
            << text;
    }
}

// A buffer whose scans are only the kernel's timestamp: `count` of them `everyMs` apart.
void addTimedScans(FakeSysfs& sysfs, int n, const std::string& name, const json& timed) {
    sysfs.set(n, "buffer/enable", "0");
    sysfs.set(n, "scan_elements/in_timestamp_en", "0");
    sysfs.set(n, "scan_elements/in_timestamp_index", "3");
    sysfs.set(n, "scan_elements/in_timestamp_type", "le:s64/64>>0");
    std::string scans;
    for (int i = 0; i < timed["count"].get<int>(); ++i) {
        const auto ns =
            static_cast<std::uint64_t>(i) * timed["everyMs"].get<std::uint64_t>() * 1000000u;
        for (int b = 0; b < 8; ++b)
            scans += static_cast<char>((ns >> (8 * b)) & 0xffu);
    }
    sysfs.addBuffer(n, name, scans);
}

// The fake sysfs a case describes; its variables go to `env`.
void buildTree(std::optional<FakeSysfs>& sysfs, std::ifstream& holder, const json& tree,
               std::vector<std::string>& env) {
    sysfs.emplace(bytes(tree.value("root", "vekr-sysfs")));
    fs::create_directories(sysfs->root() / "bus/iio/devices");
    const json devices = tree.value("devices", json::array({tree}));
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const json& d = devices[i];
        const int n = d.value("n", static_cast<int>(i));
        DriverLayout layout;
        if (d.contains("layout"))
            layout = layouts::named(d["layout"]);
        layout.attributes.merge(d.value("attributes", std::map<std::string, std::string>{}));
        layout.name = bytes(d.value("name", layout.name));
        sysfs->add(n, layout);
        const json set = d.value("set", json::object());
        for (const auto& [attribute, text] : set.items())
            sysfs->set(n, attribute, text.get<std::string>());
        std::string uevent;  // udev's properties, where a moved tree keeps them
        const json udev = d.value("udev", json::object());
        for (const auto& [property, value] : udev.items())
            uevent += property + "=" + value.get<std::string>() + "\n";
        if (!uevent.empty())
            sysfs->set(n, "uevent", uevent);
        if (d.contains("buffer"))
            sysfs->addBuffer(n, layout.name, bytes(d["buffer"]));
        if (d.contains("timestamps"))
            addTimedScans(*sysfs, n, layout.name, d["timestamps"]);
        if (d.value("busyBuffer", false)) {
            sysfs->set(n, "buffer/enable", "1");
            sysfs->addBuffer(n, layout.name, "");
            holder.open(sysfs->devRoot() / ("iio:device" + std::to_string(n)));
        }
        if (d.contains("silent"))
            sysfs->makeSilent(n, d["silent"]);
    }
    env.push_back("VEKR_SYSFS_ROOT=" + sysfs->root().string());
    env.push_back("VEKR_DEV_ROOT=" + sysfs->devRoot().string());
}

class CliCase : public ::testing::TestWithParam<TableRow> {
protected:
    // Runs are timed in real time, as the whole report is (a hurried replay clock included).
    static void expectRunsWithinTheWhole(const json& report) {
        double runs = 0;
        for (const json& run : report["runs"])
            runs += run["seconds"].get<double>();
        EXPECT_LE(runs, report["seconds"].get<double>() + 0.01) << report["runs"].dump(1);
    }

    // Runs the module again from the recording rec.json, with `args` besides: each run must
    // end as `first`'s did, with the same events in order and its key value within 1 %.
    void expectReplay(const json& args, const json& first) {
        std::vector<std::string> again = args.get<std::vector<std::string>>();
        again.insert(again.end(), {"--scenario", "rec.json", "--report", "replay.json"});
        const ModuleOutcome o = ModuleRun(again, scratch_.path().string(), {}).finish();
        std::ifstream in(scratch_ / "replay.json");
        ASSERT_TRUE(in) << o.out << o.err;
        const json second = json::parse(in);
        expectRunsWithinTheWhole(second);
        EXPECT_EQ(second["code"], first["code"]) << "the replay's exit code";
        ASSERT_EQ(second["runs"].size(), first["runs"].size()) << second["runs"].dump(1);
        for (std::size_t i = 0; i < first["runs"].size(); ++i) {
            const json &a = first["runs"][i], &b = second["runs"][i];
            EXPECT_EQ(b["result"], a["result"]) << a["test"];
            const auto names = [](const json& run) {
                std::vector<std::string> n;
                for (const auto& e : run["events"])
                    n.push_back(e["name"]);
                return n;
            };
            EXPECT_EQ(names(b), names(a)) << a["test"];
            if (a.contains("details") && a["details"].contains("last")) {
                const double want = a["details"]["last"];
                EXPECT_NEAR(b["details"]["last"].get<double>(), want, 0.01 * std::abs(want))
                    << a["test"];
            }
        }
    }

    vekr::testing::ScratchDir scratch_{"vekr-cli-case"};
};

TEST_P(CliCase, ReportSaysWhatTheTableSays) {
    const json& entry = GetParam().entry;
    std::vector<std::string> args;
    for (const std::string& a : entry.value("args", std::vector<std::string>{}))
        args.push_back(bytes(a));
    ModuleRun::Start start;
    const json env = entry.value("env", json::array());
    for (const auto& [name, value] : env.items())
        start.env.push_back((env.is_object() ? name + "=" : "") + value.get<std::string>());
    // @X, @S and @W in a variable's value: a display started for the case (TestDisplay.h).
    const std::map<std::string, TestDisplay::Kind> displayKinds{{"@X", TestDisplay::Kind::Xvfb},
                                                                {"@S", TestDisplay::Kind::SilentX},
                                                                {"@W", TestDisplay::Kind::Weston}};
    std::vector<std::unique_ptr<TestDisplay>> displays;
    for (std::size_t i = 0, n = start.env.size(); i < n; ++i) {
        std::string& e = start.env[i];
        const auto kind = displayKinds.find(e.substr(e.size() < 2 ? 0 : e.size() - 2));
        if (kind == displayKinds.end())
            continue;
        const auto& display = displays.emplace_back(std::make_unique<TestDisplay>(kind->second));
        if (!display->installed())
            GTEST_SKIP() << kind->first << ": Xvfb or weston is not installed";
        ASSERT_TRUE(display->available()) << kind->first << " did not start:\n"
                                          << display->serverOutput();
        e.replace(e.size() - 2, 2, display->name());
        if (!display->runtimeDir().empty())
            start.env.push_back("XDG_RUNTIME_DIR=" + display->runtimeDir());
    }
    const auto part = [&entry](const char* key) -> const json& {
        static const json none = json::object();
        return entry.contains(key) ? entry[key] : none;
    };
    for (const auto& [name, text] : part("files").items())
        scratch_.write(name, text.is_string() ? text.get<std::string>() : text.dump());
    for (const auto& [name, target] : part("links").items())
        fs::create_symlink(target.get<std::string>(), scratch_ / name);
    if (entry.contains("readOnlyDir")) {
        // The module runs as a user of its own (root writes into any folder), who owns it.
        const fs::path dir = scratch_ / entry["readOnlyDir"].get<std::string>();
        fs::create_directory(dir);
        fs::permissions(dir, fs::perms::owner_read | fs::perms::owner_exec);
        start.unprivileged = true;
        if (::geteuid() == 0) {
            ASSERT_EQ(::chown(dir.c_str(), vekr::testing::kNobody, vekr::testing::kNobody), 0);
        }
    }
    if (entry.contains("fifo")) {
        ASSERT_EQ(mkfifo((scratch_ / entry["fifo"].get<std::string>()).c_str(), 0600), 0);
    }
    for (const auto& [name, size] : part("bigFile").items())
        scratch_.write(name, std::string(size.get<std::size_t>(), ' '));
    if (entry.contains("scenario")) {
        scratch_.write("s.json", entry["scenario"].dump());
        args.insert(args.end(), {"--scenario", "s.json"});
    }
    std::optional<FakeSysfs> sysfs;
    std::optional<FakeFirmware> firmware;
    std::ifstream holder;
    if (entry.contains("tree")) {
        buildTree(sysfs, holder, entry["tree"], start.env);
        firmware.emplace(sysfs->root(), entry["tree"]);
        for (const std::string& e : firmware->environment())
            start.env.push_back(e);
    }
    std::optional<TestSystemBus> systemBus;
    if (entry.contains("systemBus")) {
        systemBus.emplace(entry["systemBus"], VEKR_SOURCE_DIR);
        if (!systemBus->installed())
            GTEST_SKIP() << systemBus->output();
        ASSERT_TRUE(systemBus->available()) << systemBus->output();
        for (const std::string& e : systemBus->environment())
            start.env.push_back(e);
    } else if (std::find(args.begin(), args.end(), "--doctor") != args.end() &&
               std::none_of(start.env.begin(), start.env.end(), [](const std::string& e) {
                   return e.rfind("DBUS_SYSTEM_BUS_ADDRESS=", 0) == 0;
               })) {
        start.env.push_back("DBUS_SYSTEM_BUS_ADDRESS=unix:path=" +
                            (scratch_ / "no-system-bus").string());
    }
    const json reportTo = entry.value("reportTo", json("r.json"));
    if (!reportTo.is_null())
        args.insert(args.end(), {"--report", reportTo.get<std::string>()});
    const fs::path reportAt =
        scratch_ /
        entry.value("reportAt", reportTo.is_null() ? "r.json" : reportTo.get<std::string>());
    const json signal = entry.value("signal", json());
    if (entry.contains("log") || signal.contains("logged"))
        args.insert(args.end(), {"--log", "log.txt"});
    if (entry.contains("stdoutTo"))
        start.stdoutTo = entry["stdoutTo"].get<std::string>();
    start.termWaiting = entry.value("termWaiting", false);

    ModuleRun module(args, scratch_.path().string(), start);
    if (!signal.is_null()) {
        const fs::path log = scratch_ / "log.txt";
        const bool seen = signal.contains("logged")
                              ? module.waitUntil(
                                    [&](const ModuleOutcome&) {
                                        std::ifstream in(log);
                                        return std::string(std::istreambuf_iterator<char>(in), {})
                                                   .find(signal["logged"]) != std::string::npos;
                                    },
                                    std::chrono::seconds(60))
                              : module.waitFor(signal.at("when"), std::chrono::seconds(60),
                                               signal.value("times", 1));
        ASSERT_TRUE(seen) << "never saw " << signal.dump();
        const std::map<std::string, int> numbers{
            {"INT", SIGINT}, {"TERM", SIGTERM}, {"HUP", SIGHUP}};
        for (const std::string name : signal.at("send"))
            module.signal(numbers.at(name));
    }
    const ModuleOutcome o = module.finish();

    if (entry.contains("exit")) {
        const json exits = entry["exit"].is_array() ? entry["exit"] : json::array({entry["exit"]});
        EXPECT_TRUE(std::find(exits.begin(), exits.end(), o.exitCode) != exits.end())
            << "exit " << o.exitCode << "\n"
            << o.err;
    }
    if (o.exitCode == 64) {
        EXPECT_EQ(o.out, "");
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
    }
    if (entry.contains("err")) {
        expectTexts("stderr", o.err, entry["err"]);
    } else {
        EXPECT_EQ(o.err, "") << "nothing but the report's own troubles on stderr";
    }
    if (entry.contains("out")) {
        // @T: the tree's device folder, as the module names it.
        std::string want = entry["out"].dump();
        for (std::size_t at; sysfs && (at = want.find("@T")) != std::string::npos;)
            want.replace(at, 2, fs::canonical(sysfs->root() / "bus/iio/devices").string());
        expectTexts("stdout", o.out, json::parse(want));
    }
    if (entry.contains("outFile")) {
        std::ifstream expected(fs::path(VEKR_SOURCE_DIR) / entry["outFile"].get<std::string>());
        EXPECT_EQ(o.out, std::string(std::istreambuf_iterator<char>(expected), {}));
    }
    for (const auto& [path, kind] : part("after").items()) {
        const fs::path p = scratch_ / path;  // an absolute path stays as it is
        const std::map<std::string, bool> holds{{"symlink", fs::is_symlink(p)},
                                                {"file", fs::is_regular_file(p)},
                                                {"char device", fs::is_character_file(p)},
                                                {"absent", !fs::exists(fs::symlink_status(p))}};
        EXPECT_TRUE(holds.at(kind)) << path << " is no longer a " << kind.get<std::string>();
    }
    std::string notes;
    if (!entry.contains("runs")) {
        EXPECT_FALSE(fs::is_regular_file(reportAt)) << "no report when nothing was run";
    } else {
        std::ifstream in(reportAt);
        ASSERT_TRUE(in) << "no report; exit " << o.exitCode << "\n" << o.out << o.err;
        const json report = json::parse(in);
        EXPECT_EQ(o.exitCode, report["code"]) << o.err;
        expectRunsWithinTheWhole(report);
        if (entry.contains("report")) {
            EXPECT_TRUE(subset(entry["report"], report))
                << entry["report"].dump() << " in " << report.dump(2);
        }
        for (const auto& [pointer, pieces] : part("within").items())
            expectTexts(pointer.c_str(), report.value(json::json_pointer(pointer), ""), pieces);
        const json& want = entry.at("runs");
        ASSERT_EQ(report["runs"].size(), want.size()) << report["runs"].dump(2);
        for (std::size_t i = 0; i < want.size(); ++i) {
            const json& run = report["runs"][i];
            for (const auto& [key, value] : want[i].items()) {
                if (key == "events") {
                    // Names in order; an object instead of a name is matched as a subset.
                    ASSERT_EQ(run["events"].size(), value.size()) << run.dump(2);
                    for (std::size_t k = 0; k < value.size(); ++k) {
                        const json& e = run["events"][k];
                        EXPECT_TRUE(value[k].is_string() ? e["name"] == value[k]
                                                         : subset(value[k], e))
                            << value[k].dump() << " in " << run.dump(2);
                    }
                } else if (key == "note") {
                    const std::string all = run.value("notes", json::array()).dump();
                    EXPECT_NE(all.find(value.get<std::string>()), std::string::npos) << all;
                } else {
                    EXPECT_TRUE(run.contains(key) && subset(value, run[key]))
                        << key << ": wanted " << value.dump() << " in " << run.dump(2);
                }
            }
            notes += run.value("notes", json::array()).dump();
        }
        if (entry.contains("replay"))
            expectReplay(entry["replay"], report);
    }
    if (entry.contains("log")) {
        std::ifstream logFile(scratch_ / "log.txt");
        expectTexts("the log and the notes",
                    std::string(std::istreambuf_iterator<char>(logFile), {}) + notes, entry["log"]);
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, CliCase, ::testing::ValuesIn(loadCases()),
                         vekr::testing::rowLabel);

}  // namespace
