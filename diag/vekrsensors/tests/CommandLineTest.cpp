#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "FakeSysfs.h"
#include "ModuleProcess.h"
#include "ScratchDir.h"

namespace fs = std::filesystem;

namespace {

// The executable as a host starts it, from an empty working directory: resources are found
// beside the executable.
class CommandLine : public ::testing::Test {
protected:
    ModuleOutcome run(const std::vector<std::string>& args) { return runModule(args, dir_); }
    vekr::testing::ScratchDir scratch_{"vekr-cli"};
    fs::path dir_ = scratch_.path();
};

TEST_F(CommandLine, VersionAndHelp) {
    ModuleOutcome o = run({"--version"});
    EXPECT_EQ(o.exitCode, 0);
    EXPECT_EQ(o.out, "vekrsensors.vkm 6.5 (build 000000001)\n");
    o = run({"--help"});
    EXPECT_EQ(o.exitCode, 0);
    for (const char* option :
         {"--list", "--devices", "--test", "--device", "--param", "--profile", "--backend",
          "--scenario", "--lang", "--report", "--junit", "--log", "--log-level"}) {
        EXPECT_NE(o.out.find(option), std::string::npos) << option;
    }
}

// The declared catalogue as --list prints it (list.txt, written out from the catalogue:
// capabilities, flags, parameters in declaration order with type, unit and shipped default).
TEST_F(CommandLine, ListPrintsTheCatalogueAsDeclared) {
    const ModuleOutcome o = run({"--list"});
    EXPECT_EQ(o.exitCode, 0);
    std::ifstream expected(VEKR_SOURCE_DIR "/list.txt");
    EXPECT_EQ(o.out, std::string(std::istreambuf_iterator<char>(expected), {}));
}

// Everything a person can get wrong on the command line, or in a file it names, is one line
// naming the program and the problem, exit 64, and no test started.
struct UsageRow {
    std::vector<std::string> args;
    std::string err;  // the whole of stderr, without the leading "vekrsensors.vkm: "
};

TEST_F(CommandLine, UsageErrorsAreOneLineBeforeAnyTest) {
    scratch_.write("bad.json", "{ \"parameters\": ");
    scratch_.write("unknown.json", R"({"parameters": {"Speed": 1}})");
    scratch_.write("malformed.json", R"({"sensors": [{"kind": "light", "locator": 5}]})");
    scratch_.write("rotation.json", R"({"sensors": [], "display": {"rotation": 4294967296}})");
    scratch_.write("huge.json", std::string(5u << 20, ' '));
    ASSERT_EQ(mkfifo((dir_ / "fifo.json").c_str(), 0600), 0);
    const std::string params =
        "known parameters: SensorStateTimeout LuxValueThreshold LuxValueWaitTime "
        "WarnOnBelowThreshold AccelerometerThreshold AccelerometerWaitTime AccelerometerTarget "
        "DegreesThreshold MagnetometerWaitTime IncludeFailButton UseTimeoutPrompt "
        "TimeoutPromptIntervalSeconds SensorNoDataTimeoutSeconds";
    const UsageRow rows[] = {
        {{"--frobnicate"}, "unexpected argument: --frobnicate (see --help)"},
        {{"first", "second"}, "unexpected arguments: first second (see --help)"},
        // A quoted word never breaks the one line, nor drives the terminal.
        {{"two\nlines\x1b[2J"}, "unexpected argument: two\\x0alines\\x1b[2J (see --help)"},
        {{"--test", "CoffeeTest"},
         "unknown test \"CoffeeTest\"; known tests: AmbientLightSensorTest AccelerometerTest "
         "MagnetometerTest GyrometerTest ProximitySensorTest (see --help)"},
        {{"--param", "Nope=1"}, "unknown parameter \"Nope\"; " + params + " (see --help)"},
        {{"--backend", "usb"}, "--backend: usb not in {iio,sim} (see --help)"},
        {{"--log", "-"}, "--log needs a file name (the log does not share the terminal) (see --help)"},
        {{"--lang", "xx"}, "no texts in language \"xx\"; available: de en fr (see --help)"},
        {{"--lang", "../../x"},
         "--lang \"../../x\" is not a language code (like de, de_DE or de_DE.UTF-8) (see --help)"},
        {{"--profile", "nope.json"}, "profile nope.json: cannot be read: No such file or directory"},
        {{"--profile", "bad.json"}, "profile bad.json: not valid JSON (line 1, column 17)"},
        {{"--profile", "unknown.json"}, "profile unknown.json: unknown parameter \"Speed\"; " + params},
        {{"--scenario", "nope.json"}, "scenario nope.json: cannot be read: No such file or directory"},
        {{"--scenario", "malformed.json"},
         "scenario malformed.json: at /sensors/0/locator: expected a string"},
        {{"--scenario", "rotation.json"},
         "scenario rotation.json: at /display/rotation: expected 0, 1, 2, 3 or null"},
        {{"--scenario", "/dev/zero"}, "scenario /dev/zero: is not a regular file"},
        {{"--scenario", "fifo.json"}, "scenario fifo.json: is not a regular file"},
        {{"--scenario", "huge.json"}, "scenario huge.json: is larger than 4 MiB"},
        {{"--profile", "."}, "profile .: is not a regular file"},
        {{"--param", "AccelerometerThreshold"},
         "--param expects NAME=VALUE, got \"AccelerometerThreshold\" (see --help)"},
        {{"--param", "=1"}, "--param expects NAME=VALUE, got \"=1\" (see --help)"},
        {{"--backend", "iio", "--scenario", "x.json"}, "--scenario goes with --backend sim (see --help)"},
        {{"--log-level", "2"}, "--log-level needs --log FILE (see --help)"},
        {{"--log", "log.txt", "--log-level", "9"},
         "--log-level: Value 9 not in range 1 to 4 (see --help)"},
        {{"--log", "/no/such/dir/log.txt"}, "cannot open log file /no/such/dir/log.txt (see --help)"},
        {{"--junit", "missing/r.xml"}, "junit missing/r.xml: folder missing: No such file or directory (see --help)"},
    };
    for (const UsageRow& row : rows) {
        std::vector<std::string> args = row.args;
        args.insert(args.end(), {"--report", "r.json"});
        const ModuleOutcome o = run(args);
        EXPECT_EQ(o.exitCode, 64) << row.args[0];
        EXPECT_EQ(o.out, "") << row.args[0];
        EXPECT_EQ(o.err, "vekrsensors.vkm: " + row.err + "\n");
        EXPECT_FALSE(fs::exists(dir_ / "r.json"));
    }
}

TEST_F(CommandLine, ReportIsValidJsonWithTheModuleIdentity) {
    const ModuleOutcome o = run({"--report", "r.json", "--backend", "iio", "--quiet"});
    EXPECT_EQ(o.out.find("[1/"), std::string::npos) << "--quiet keeps only the summary";
    EXPECT_NE(o.out.find("Result: NODEVICE (exit code 4)"), std::string::npos) << o.out;
    std::ifstream in(dir_ / "r.json");
    const auto report = nlohmann::json::parse(in);
    EXPECT_EQ(report["module"]["file"], "vekrsensors.vkm");
    EXPECT_EQ(report["module"]["version"], "6.5");
    EXPECT_EQ(report["module"]["build"], "000000001");
    EXPECT_EQ(report["code"], o.exitCode);
    EXPECT_EQ(report["runs"].size(), 5u) << "every declared test is accounted for";
}

TEST_F(CommandLine, LogFileFollowsTheLoggingConvention) {
    run({"--version"});  // no log without --log
    EXPECT_TRUE(fs::is_empty(dir_));
    run({"--log", "m.log", "--log-level", "1", "--list"});
    std::ifstream in(dir_ / "m.log");
    const std::string log((std::istreambuf_iterator<char>(in)), {});
    EXPECT_NE(log.find(" 1 kiva5: "), std::string::npos) << log;
    EXPECT_NE(log.find("vekrsensors.vkm 6.5 (build 000000001) started: vekrsensors.vkm --log"),
              std::string::npos)
        << log;
}

}  // namespace

namespace {

TEST_F(CommandLine, SimulatedMachineListsItsDevices) {
    const ModuleOutcome o = run({"--backend", "sim", "--devices"});
    EXPECT_EQ(o.exitCode, 0);
    EXPECT_EQ(o.out,
              "AmbientLightSensor\tSIM\\ALS\\0\tSimulated ambient light sensor\n"
              "Accelerometer\tSIM\\ACCEL\\0\tSimulated accelerometer\n"
              "Magnetometer\tSIM\\COMPASS\\0\tSimulated compass\n"
              "Gyrometer\tSIM\\GYRO\\0\tSimulated gyrometer\n"
              "ProximitySensor\tSIM\\PROX\\0\tSimulated proximity sensor\n");
}

// Listing and opening agree: a two-axis gyroscope is no gyrometer. The label tells two alike
// accelerometers apart; a name that never answers costs its time bound, not the listing.
TEST_F(CommandLine, IioTreeListsItsDevices) {
    FakeSysfs sysfs;
    sysfs.add(0, layouts::named("hidAccel3d"));
    sysfs.add(1, layouts::named("hidAls"));
    sysfs.add(2, layouts::named("vl53l0x"));
    sysfs.add(3, layouts::named("bmc150"));
    sysfs.addDevice(4, "two-axis", {{"in_anglvel_x_raw", "1"}, {"in_anglvel_y_raw", "2"}});
    sysfs.add(5, layouts::named("mxc4005"));
    sysfs.makeSilent(5, "name");
    const ModuleOutcome o = runModule({"--backend", "iio", "--devices"}, dir_,
                                      {"VEKR_SYSFS_ROOT=" + sysfs.root().string()});
    EXPECT_EQ(o.exitCode, 0) << o.err;
    const std::string base = fs::canonical(sysfs.root() / "bus/iio/devices").string();
    EXPECT_EQ(o.out, "Accelerometer\t" + base + "/iio:device0\taccel_3d\n" +
                         "AmbientLightSensor\t" + base + "/iio:device1\tals\n" +
                         "ProximitySensor\t" + base + "/iio:device2\tvl53l0x\n" +
                         "Accelerometer\t" + base + "/iio:device3\tbmc150_accel (accel-base)\n" +
                         "Accelerometer\t" + base + "/iio:device5\tiio:device5\n");
    const ModuleOutcome gyro = runModule({"--backend", "iio", "--test", "GyrometerTest"}, dir_,
                                         {"VEKR_SYSFS_ROOT=" + sysfs.root().string()});
    EXPECT_EQ(gyro.exitCode, 4) << gyro.out;
}

}  // namespace
