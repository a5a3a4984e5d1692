#include <gtest/gtest.h>

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

// Usage errors (one line, exit 64, nothing run or written) are cases/usage.json.

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
