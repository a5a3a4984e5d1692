// What a technician and a host program rely on when a run ends badly: where the report may
// go, that it is whole or said to be missing, and how stop signals end a run.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <nlohmann/json.hpp>
#include <thread>

#include "DriverLayouts.h"
#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

nlohmann::json readReport(const fs::path& file) {
    std::ifstream in(file);
    return nlohmann::json::parse(in, nullptr, false);
}

bool isCharDevice(const fs::path& p) {
    struct stat st {};
    return ::stat(p.c_str(), &st) == 0 && S_ISCHR(st.st_mode);
}

struct DestinationRow {
    const char* label;
    std::string report;                         // --report's value
    std::function<void(const fs::path&)> prepare;  // in the working folder
    std::optional<std::string> stdoutTo;        // as ModuleRun::Start
    int exitCode;
    std::string err;  // what stderr must hold; "" for nothing
    // Checked after the run (working folder given), when set.
    std::function<void(const fs::path&, const ModuleOutcome&)> check = {};
};

void PrintTo(const DestinationRow& r, std::ostream* os) {
    *os << r.label;
}

class ReportDestination : public ::testing::TestWithParam<DestinationRow> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-destination"};
};

// One quick passing test, so only the destination decides the outcome.
TEST_P(ReportDestination, IsCheckedFirstAndWrittenInPlaceOrWhole) {
    const DestinationRow& row = GetParam();
    if (row.report == "ro/r.json" && ::geteuid() == 0)
        GTEST_SKIP() << "root writes into any folder";
    if (row.prepare)
        row.prepare(scratch_.path());
    const ModuleOutcome o =
        ModuleRun({"--backend", "sim", "--test", "AccelerometerTest", "--report", row.report},
                  scratch_.path(), ModuleRun::Start{{}, row.stdoutTo, false})
            .finish();
    EXPECT_EQ(o.exitCode, row.exitCode) << o.out << o.err;
    if (row.err.empty()) {
        EXPECT_EQ(o.err, "");
    } else {
        EXPECT_NE(o.err.find(row.err), std::string::npos) << o.err;
    }
    if (row.exitCode == 64) {
        EXPECT_EQ(o.out, "") << "no test may start before the destination is known good";
        EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
    }
    if (row.check)
        row.check(scratch_.path(), o);
}

const auto kNoSuchFolder = [](const fs::path&) {};
const auto kReadOnlyFolder = [](const fs::path& dir) {
    fs::create_directory(dir / "ro");
    fs::permissions(dir / "ro", fs::perms::owner_read | fs::perms::owner_exec);
};

INSTANTIATE_TEST_SUITE_P(
    Report, ReportDestination,
    ::testing::Values(
        DestinationRow{"missing_folder", "nope/r.json", kNoSuchFolder, {}, 64,
                       "vekrsensors.vkm: report nope/r.json: folder nope: No such file"},
        DestinationRow{"a_folder", ".", {}, {}, 64, "report .: is a folder"},
        DestinationRow{"empty_name", "", {}, {}, 64, "--report needs a file name"},
        DestinationRow{"read_only_folder", "ro/r.json", kReadOnlyFolder, {}, 64,
                       "report ro/r.json: folder ro is not writable"},
        // A device node stays a device node: no rename over /dev/null.
        DestinationRow{"device_node", "/dev/null", {}, {}, 0, "",
                       [](const fs::path&, const ModuleOutcome&) {
                           EXPECT_TRUE(isCharDevice("/dev/null"));
                       }},
        DestinationRow{"link_to_a_device_node", "null-link",
                       [](const fs::path& dir) { fs::create_symlink("/dev/null", dir / "null-link"); },
                       {}, 0, "",
                       [](const fs::path& dir, const ModuleOutcome&) {
                           EXPECT_TRUE(fs::is_symlink(dir / "null-link"));
                           EXPECT_TRUE(isCharDevice("/dev/null"));
                       }},
        // The link stays where it is; the file it names gets the report.
        DestinationRow{"link_to_a_file", "link.json",
                       [](const fs::path& dir) {
                           std::ofstream(dir / "real.json") << "old";
                           fs::create_symlink("real.json", dir / "link.json");
                       },
                       {}, 0, "",
                       [](const fs::path& dir, const ModuleOutcome&) {
                           EXPECT_TRUE(fs::is_symlink(dir / "link.json"));
                           EXPECT_EQ(readReport(dir / "real.json")["result"], "PASS");
                       }},
        // A report that cannot be written is said before the summary, whose exit code is the
        // process's own.
        DestinationRow{"full_device", "/dev/full", {}, {}, 8,
                       "vekrsensors.vkm: cannot write report /dev/full: No space left on device\n",
                       [](const fs::path&, const ModuleOutcome& o) {
                           EXPECT_NE(o.out.find("Result: PASS, report not written (exit code 8)"),
                                     std::string::npos)
                               << o.out;
                       }},
        DestinationRow{"full_stdout", "-", {}, "/dev/full", 8,
                       "cannot write the report to standard output"},
        DestinationRow{"closed_stdout", "-", {}, "", 8,
                       "cannot write the report to standard output"}),
    [](const auto& row) { return std::string(row.param.label); });

// Text that is not UTF-8, from each place it can come in, costs nothing: the report is whole,
// the text shows replacement characters and an escaped copy keeps the bytes.
struct Utf8Row {
    const char* label;
    std::vector<std::string> args;
    const char* sysfsPrefix;  // an IIO tree in a folder of this name, with a device
    const char* deviceName;   // of this name; null for the simulated machine
    const char* pointer;      // to the escaped copy in the report
    const char* escaped;      // found in it
    int exitCode;
};

void PrintTo(const Utf8Row& r, std::ostream* os) {
    *os << r.label;
}

class InvalidUtf8 : public ::testing::TestWithParam<Utf8Row> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-utf8"};
};

TEST_P(InvalidUtf8, StillGivesAWholeReport) {
    const Utf8Row& row = GetParam();
    std::vector<std::string> args{"--test", "AccelerometerTest", "--report", "r.json"};
    args.insert(args.end(), row.args.begin(), row.args.end());
    std::vector<std::string> env;
    std::optional<FakeSysfs> sysfs;
    if (row.deviceName) {
        sysfs.emplace(row.sysfsPrefix);
        sysfs->add(0, {row.deviceName, layouts::named("hidAccel3d").attributes});
        env.push_back("VEKR_SYSFS_ROOT=" + sysfs->root().string());
        args.insert(args.end(), {"--backend", "iio"});
    } else {
        args.insert(args.end(), {"--backend", "sim"});
    }
    const ModuleOutcome o = runModule(args, scratch_.path(), env);
    EXPECT_EQ(o.exitCode, row.exitCode) << o.err;
    const auto report = readReport(scratch_ / "r.json");
    ASSERT_FALSE(report.is_discarded()) << o.err;
    EXPECT_EQ(report["code"], row.exitCode);
    const auto& kept = report.at(nlohmann::json::json_pointer(row.pointer));
    EXPECT_NE(kept.get<std::string>().find(row.escaped), std::string::npos) << kept;
}

INSTANTIATE_TEST_SUITE_P(
    Report, InvalidUtf8,
    ::testing::Values(
        // No device has that locator; the note quotes it.
        Utf8Row{"device_option", {"--device", "SIM\\ACCEL\\0\xff"}, "", nullptr,
                "/runs/0/notes/0", "no Accelerometer device with locator SIM\\ACCEL\\0\uFFFD", 4},
        Utf8Row{"parameter_value", {"--param", "AccelerometerTarget=1\xff"}, "", nullptr,
                "/runs/0/parametersEscaped/AccelerometerTarget", "1\\xff", 5},
        Utf8Row{"iio_name", {}, "vekr-sysfs", "accel\xc3", "/runs/0/device/nameEscaped",
                "accel\\xc3", 0},
        Utf8Row{"folder_name", {}, "vekr-sysfs-\xfe", "accel_3d",
                "/runs/0/device/locatorEscaped", "vekr-sysfs-\\xfe", 0}),
    [](const auto& row) { return std::string(row.param.label); });

// How each stop request ends a run: the scenario's proximity sensor never sees a hand, so
// only the stop can end its dialog before its own time-outs (30 s here).
struct StopRow {
    const char* label;
    std::vector<int> signals;  // sent one right after the other
    const char* scenario;
    std::vector<std::string> params;
    std::chrono::milliseconds after;  // from the test's start line to the signal
    int exitCode;                     // 128 + n when the process ended by signal n
    const char* logged = "";          // in the module's log, when set
};

void PrintTo(const StopRow& r, std::ostream* os) {
    *os << r.label;
}

constexpr const char* kNoHand = R"({"kind": "proximity", "locator": "P", "readings": []})";
constexpr const char* kRestlessHand =
    R"({"kind": "proximity", "locator": "P", "readings": [{"at": 0.1, "detected": true, "mm": 100},
        {"at": 0.2, "detected": true, "mm": 200}], "faults": {"chatterSeconds": 0.2}})";
const std::vector<std::string> kLongTimeouts = {"SensorNoDataTimeoutSeconds=30",
                                                "TimeoutPromptIntervalSeconds=30"};
const std::vector<std::string> kPromptAfterFive = {"SensorNoDataTimeoutSeconds=30",
                                                   "TimeoutPromptIntervalSeconds=5"};

class StopSignal : public ::testing::TestWithParam<StopRow> {
protected:
    vekr::testing::ScratchDir scratch_{"vekr-stop"};
};

TEST_P(StopSignal, EndsTheOpenDialogAndKeepsTheReport) {
    const StopRow& row = GetParam();
    scratch_.write("s.json", std::string(R"({"sensors": [)") + row.scenario + "]}");
    std::vector<std::string> args{"--scenario", "s.json", "--test", "ProximitySensorTest",
                                  "--report",   "r.json", "--log",  "m.log"};
    for (const auto& p : row.params)
        args.insert(args.end(), {"--param", p});
    ModuleRun run(args, scratch_.path(), {});
    // Progress: the test's start is on the terminal while it still waits for a hand.
    ASSERT_TRUE(run.waitFor("[1/1] ProximitySensorTest on P", 20s));
    std::this_thread::sleep_for(row.after);
    for (const int sig : row.signals)
        run.signal(sig);
    const ModuleOutcome o = run.finish();
    const auto report = readReport(scratch_ / "r.json");
    if (row.exitCode >= 128) {
        // Either signal may be the one that ends it: they are handled on any thread.
        EXPECT_TRUE(o.exitCode == 128 + SIGINT || o.exitCode == 128 + SIGTERM) << o.exitCode;
        EXPECT_TRUE(report.is_discarded()) << "a second signal ends at once, without a report";
        return;
    }
    EXPECT_EQ(o.exitCode, row.exitCode) << o.out << o.err;
    ASSERT_FALSE(report.is_discarded()) << o.err;
    EXPECT_EQ(report["runs"][0]["result"], "USERABORTED");
    // Ended by the stop, not by the sensor's own 30 s time-outs.
    EXPECT_LT(report["runs"][0]["seconds"].get<double>(), 20.0);
    std::ifstream log(scratch_ / "m.log");
    const std::string logged((std::istreambuf_iterator<char>(log)), {});
    EXPECT_NE(logged.find(row.logged), std::string::npos) << logged;
}

INSTANTIATE_TEST_SUITE_P(
    Proximity, StopSignal,
    ::testing::Values(
        StopRow{"sigterm", {SIGTERM}, kNoHand, kLongTimeouts, 300ms, 7,
                "Stop requested: closing ProximitySensorTest"},
        StopRow{"sighup_is_a_stop", {SIGHUP}, kNoHand, kLongTimeouts, 300ms, 7},
        StopRow{"sigint", {SIGINT}, kNoHand, kLongTimeouts, 300ms, 7},
        // The detection-problem prompt opens after 5 s and would wait for a person for ever.
        StopRow{"sigterm_with_the_prompt_open", {SIGTERM}, kRestlessHand, kPromptAfterFive, 6500ms,
                7, "Stop requested: closing DetectionProblem"},
        StopRow{"second_signal_of_another_kind", {SIGINT, SIGTERM}, kNoHand, kLongTimeouts, 300ms,
                128 + SIGTERM}),
    [](const auto& row) { return std::string(row.param.label); });

// A stop that arrives before the command line is read still ends in a whole report.
TEST(StopSignalEarly, LeavesAReportOfTestsNotStarted) {
    vekr::testing::ScratchDir scratch{"vekr-stop-early"};
    ModuleRun::Start start;
    start.termWaiting = true;
    const ModuleOutcome o =
        ModuleRun({"--backend", "sim", "--test", "AccelerometerTest", "--report", "r.json"},
                  scratch.path(), start)
            .finish();
    EXPECT_EQ(o.exitCode, 7) << o.out << o.err;
    const auto report = readReport(scratch / "r.json");
    ASSERT_FALSE(report.is_discarded()) << o.err;
    EXPECT_EQ(report["runs"][0]["notes"][0], "not started: stop requested by SIGTERM");
}

}  // namespace
