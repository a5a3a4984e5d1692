// The module as a host runs it, case by case from the tables in cases/*.json: a scenario for
// the simulated machine or a fake IIO tree shaped like a real driver's, the arguments, and what
// the report must say about each run. One case:
//
//   {"label": "upper_bound_is_outside",
//    "args": ["--test", "AccelerometerTest", "--param", "AccelerometerWaitTime=0.2"],
//    "scenario": {...}                 the simulated machine (written to s.json), or
//    "tree": {"layout": "hidAccel3d",  a fake sysfs with one device of a driver's layout
//             "set": {"attr": "text"}, "silent": "attr", "busyBuffer": true},
//    "env": ["DISPLAY=@X"],            @X: a virtual X server, @S: one that never answers
//    "runs": [{"result": "FAIL", "events": ["Sensor_Timeout"], "note": "part of a note",
//              "...": ...}],           any other key: that part of the run, as a subset
//    "log": "part of the module log or a note", "logLacks": "text that must not be there",
//    "files": {"name": "text"},        more files in the working folder (profiles, resources)
//    "report": {...},                  a subset of the report's top level
//    "fifo": "name", "bigFile": {"name": bytes},   a FIFO nobody writes, a file of blanks
//    "exit": 64, "err": "part of stderr"}
//
// Every case also holds the host's promises: the exit code is the report's code, nothing
// reaches stderr unless "err" says what, a case without "runs" leaves no report, and a usage
// error (64) is one line on stderr and nothing on stdout.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"
#include "SilentXServer.h"
#include "VirtualXServer.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

struct Case {
    std::string name;  // file stem and label
    json entry;
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << c.name;
}

std::vector<Case> loadCases() {
    std::vector<Case> cases;
    std::vector<fs::path> files;
    for (const auto& e : fs::directory_iterator(fs::path(VEKR_SOURCE_DIR) / "cases"))
        files.push_back(e.path());
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        for (const json& entry : json::parse(std::ifstream(file))) {
            cases.push_back(
                {file.stem().string() + "_" + entry.at("label").get<std::string>(), entry});
        }
    }
    return cases;
}

// True when every key of `expected` is in `actual` with an equal value (objects compared the
// same way, one level at a time).
bool subset(const json& expected, const json& actual) {
    if (!expected.is_object())
        return expected == actual;
    if (!actual.is_object())
        return false;
    for (const auto& [key, value] : expected.items()) {
        if (!actual.contains(key) || !subset(value, actual[key]))
            return false;
    }
    return true;
}

class CliCase : public ::testing::TestWithParam<Case> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-cli-case"};
};

TEST_P(CliCase, ReportSaysWhatTheTableSays) {
    const json& entry = GetParam().entry;
    std::vector<std::string> args = entry.value("args", std::vector<std::string>{});
    std::vector<std::string> env = entry.value("env", std::vector<std::string>{});
    std::optional<VirtualXServer> x;
    std::optional<SilentXServer> silent;
    for (std::string& e : env) {
        if (e.ends_with("@X")) {
            x.emplace();
            if (!x->available())
                GTEST_SKIP() << "Xvfb is not installed";
            e.replace(e.size() - 2, 2, x->display());
        } else if (e.ends_with("@S")) {
            silent.emplace();
            ASSERT_TRUE(silent->available());
            e.replace(e.size() - 2, 2, silent->display());
        }
    }
    const json files = entry.value("files", json::object());
    for (const auto& [name, text] : files.items())
        scratch_.write(name, text.get<std::string>());
    if (entry.contains("fifo")) {
        ASSERT_EQ(mkfifo((scratch_ / entry["fifo"].get<std::string>()).c_str(), 0600), 0);
    }
    const json big = entry.value("bigFile", json::object());
    for (const auto& [name, bytes] : big.items())
        scratch_.write(name, std::string(bytes.get<std::size_t>(), ' '));
    if (entry.contains("scenario")) {
        scratch_.write("s.json", entry["scenario"].dump());
        args.insert(args.end(), {"--scenario", "s.json"});
    }
    std::optional<FakeSysfs> sysfs;
    std::ifstream holder;
    if (entry.contains("tree")) {
        const json& tree = entry["tree"];
        sysfs.emplace();
        const DriverLayout& layout = layouts::named(tree.at("layout"));
        sysfs->add(0, layout);
        const json set = tree.value("set", json::object());
        for (const auto& [attribute, text] : set.items())
            sysfs->set(0, attribute, text.get<std::string>());
        if (tree.value("busyBuffer", false)) {
            sysfs->set(0, "buffer/enable", "1");
            sysfs->addBuffer(0, layout.name, "");
            holder.open(sysfs->devRoot() / "iio:device0");
        }
        if (tree.contains("silent"))
            sysfs->makeSilent(0, tree["silent"]);
        env.push_back("VEKR_SYSFS_ROOT=" + sysfs->root().string());
        env.push_back("VEKR_DEV_ROOT=" + sysfs->devRoot().string());
    }
    args.insert(args.end(), {"--report", "r.json"});
    if (entry.contains("log") || entry.contains("logLacks"))
        args.insert(args.end(), {"--log", "log.txt"});
    const ModuleOutcome o = runModule(args, scratch_.path().string(), env);

    if (entry.contains("exit")) {
        EXPECT_EQ(o.exitCode, entry["exit"].get<int>()) << o.err;
    }
    if (o.exitCode == 64) {
        EXPECT_EQ(o.out, "");
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
    }
    if (entry.contains("err")) {
        EXPECT_NE(o.err.find(entry["err"].get<std::string>()), std::string::npos) << o.err;
    } else {
        EXPECT_EQ(o.err, "") << "nothing but the report's own troubles on stderr";
    }
    if (!entry.contains("runs")) {
        EXPECT_FALSE(fs::exists(scratch_ / "r.json")) << "no report when nothing was run";
        return;
    }
    std::ifstream in(scratch_ / "r.json");
    ASSERT_TRUE(in) << o.out << o.err;
    const json report = json::parse(in);
    EXPECT_EQ(o.exitCode, report["code"]) << o.err;
    if (entry.contains("report")) {
        EXPECT_TRUE(subset(entry["report"], report)) << entry["report"].dump() << " in "
                                                     << report.dump(2);
    }
    const json& want = entry.at("runs");
    ASSERT_EQ(report["runs"].size(), want.size()) << report["runs"].dump(2);
    std::string notes;
    for (std::size_t i = 0; i < want.size(); ++i) {
        const json& run = report["runs"][i];
        for (const auto& [key, value] : want[i].items()) {
            if (key == "events") {
                // Names in order; an object instead of a name is matched as a subset.
                ASSERT_EQ(run["events"].size(), value.size()) << run.dump(2);
                for (std::size_t k = 0; k < value.size(); ++k) {
                    const json& e = run["events"][k];
                    EXPECT_TRUE(value[k].is_string() ? e["name"] == value[k] : subset(value[k], e))
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
    std::ifstream logFile(scratch_ / "log.txt");
    const std::string said = std::string(std::istreambuf_iterator<char>(logFile), {}) + notes;
    if (entry.contains("log")) {
        EXPECT_NE(said.find(entry["log"].get<std::string>()), std::string::npos) << said;
    }
    if (entry.contains("logLacks")) {
        EXPECT_EQ(said.find(entry["logLacks"].get<std::string>()), std::string::npos) << said;
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, CliCase, ::testing::ValuesIn(loadCases()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
