#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ScratchDir.h"
#include "kiva5/DiagModule.h"
#include "kiva5/Host.h"
#include "libOrra/SystemBackends.h"
#include "vek/Resource.h"

namespace fs = std::filesystem;
using namespace kiva5;

namespace {

// What the fake tests do, set per case. Test functions are plain function pointers, so they
// reach the case's behaviour through these globals.
std::function<TestResult(const DiagDevice&)> g_accel;
std::vector<std::string> g_calls;

TestResult accelTest(const DiagDevice& d) {
    g_calls.push_back("ATest " + d.osLocator().str());
    return g_accel ? g_accel(d) : TestResult::PASS();
}
TestResult gyroTest(const DiagDevice& d) {
    g_calls.push_back("BTest " + d.osLocator().str());
    return TestResult::PASS();
}

// Notes the machine hands out after the next run, e.g. that another program held the device.
std::vector<libOrra::DeviceNote> g_notes;

// A machine that lists the case's devices, has no sensors to read and hands out g_notes.
class FakeMachine : public libOrra::SensorBackend, public libOrra::DeviceInspector {
public:
    explicit FakeMachine(std::vector<libOrra::DeviceEntry> d) : devices_(std::move(d)) {}
    std::vector<libOrra::SensorInfo> sensors() override { return {}; }
    bool open(libOrra::SensorKind, std::vector<std::unique_ptr<libOrra::SensorDevice>>&,
              std::vector<libOrra::SensorInfo>&) override {
        return false;
    }
    std::unique_ptr<libOrra::ProximityStream> openProximity(const std::string&) override {
        return nullptr;
    }
    std::vector<libOrra::DeviceEntry> devices() override { return devices_; }
    std::vector<libOrra::DeviceNote> takeNotes(const std::string&) override {
        return std::move(g_notes);
    }
    std::string unsupported(libOrra::SensorKind kind) const override {
        return kind == libOrra::SensorKind::Gyrometer ? "no gyrometer support here" : "";
    }

private:
    std::vector<libOrra::DeviceEntry> devices_;
};

// A small catalogue (a threshold test and an interactive one) and a resource folder of its
// own in a temporary working directory. The rules the module's own command line reaches are
// tested through it (cases/*.json); these are the host's rules that only a fake test can set
// off: events and tips as raised, verdicts on a device held elsewhere, an escaping exception,
// and the interactive check.
class HostFixture : public ::testing::Test {
protected:
    void SetUp() override {
        writeGoodResources();
        catalogue_.createLocalizedString("Title");
        event_ = catalogue_.createEvent("Ev");
        catalogue_.createTest("ATest", DeviceCapability::Accelerometer(), accelTest);
        catalogue_.createTest("BTest", DeviceCapability::Gyrometer(), gyroTest)
            ->setInteractive(true);
        devices_ = {{"Accelerometer", "SIM\\ACCEL\\0", "Accel", ""},
                    {"Gyrometer", "SIM\\GYRO\\0", "Gyro", ""}};
        g_accel = nullptr;
        g_calls.clear();
        DiagModule::requestStop();  // a stale request must not leak into the next start()
    }
    void TearDown() override { vek::Resource::resetForTesting(); }
    void writeGoodResources() {
        vek::Resource::resetForTesting();
        vek::Resource::setExecutableDirForTesting(std::nullopt);
        fs::remove(root_ / "resources/testmod/settings.json");
        scratch_.write("resources/testmod/strings/en.json", R"({"Title": "Title in English"})");
        scratch_.write("resources/testmod/profile.json", R"({"parameters": {}})");
    }
    // Runs with a report; `code` gets the exit code.
    nlohmann::json run(std::vector<std::string> args, int* code = nullptr) {
        args.insert(args.begin(), "testmod.vkm");
        args.insert(args.end(), {"--report", "report.json"});
        std::ostringstream out, err;
        Host host(
            catalogue_, "testmod.vkm", ModuleVersion{6, 5, "000000001"},
            [this](const libOrra::MachineChoice& choice) {
                auto fake = std::make_shared<FakeMachine>(devices_);
                return std::make_unique<libOrra::Machine>(fake, fake, choice.backend == "sim");
            },
            out, err);
        if (check_)
            host.setInteractiveCheck(check_);
        const int exit = host.start(args);
        if (code)
            *code = exit;
        return nlohmann::json::parse(std::ifstream(root_ / "report.json"));
    }

    vekr::testing::ScratchDir scratch_{"vekr-host", true};
    fs::path root_ = scratch_.path();
    Catalogue catalogue_;
    Event* event_ = nullptr;
    std::vector<libOrra::DeviceEntry> devices_;
    InteractiveCheck check_;
};

TEST_F(HostFixture, ReportCarriesEventsVariablesAndTips) {
    g_accel = [&](const DiagDevice&) {
        event_->setVariable("ParameterName", Value("Test.X.value"))
            .setVariable("ParameterValue", Value(-0.5, DataType::DOUBLE()));
        EXPECT_TRUE(event_->addTip(Tip::createTip("Hint", TipType::TEXT_TIP())));
        EXPECT_FALSE(event_->addTip(Tip::createTip("Hint", TipType::TEXT_TIP())));
        DiagModule::warning(event_, "/src/ATest.cpp", 97);
        DiagModule::error(event_, "ATest.cpp", 98);  // variables went with the first report
        return TestResult::WARN();
    };
    int code = -1;
    const auto report = run({}, &code);
    EXPECT_EQ(code, 2);
    const auto& run0 = report["runs"][0];
    EXPECT_EQ(run0["test"], "ATest");
    EXPECT_EQ(run0["device"], nlohmann::json({{"locator", "SIM\\ACCEL\\0"}, {"name", "Accel"}}));
    EXPECT_EQ(run0["result"], "WARN");
    EXPECT_EQ(run0["code"], 2);
    ASSERT_EQ(run0["events"].size(), 2u);
    EXPECT_EQ(run0["events"][0], nlohmann::json::parse(R"({
        "name": "Ev", "severity": "warning", "source": {"file": "ATest.cpp", "line": 97},
        "variables": {"ParameterName": "Test.X.value", "ParameterValue": -0.5},
        "tips": ["Hint"]})"));
    EXPECT_EQ(run0["events"][1]["variables"], nlohmann::json::object());
    EXPECT_EQ(run0["events"][1]["tips"], nlohmann::json({"Hint"})) << "tips stay on the event";
    EXPECT_EQ(report["runs"][1]["result"], "PASS");
    EXPECT_EQ(report["result"], "WARN");
    EXPECT_EQ(report["code"], 2);
}

// A failing verdict reached while another program held the device says nothing about the
// sensor: CANNOTRUN, with the source's note. Other verdicts stand, notes or not.
TEST_F(HostFixture, VerdictWhileTheDeviceWasHeldElsewhereIsCannotRun) {
    struct Row {
        TestResult result;
        bool held;
        const char* expected;
    };
    const Row rows[] = {{TestResult::FAIL(), true, "CANNOTRUN"},
                        {TestResult::TIMEDOUT(), true, "CANNOTRUN"},
                        {TestResult::PASS(), true, "PASS"},
                        {TestResult::USERABORTED(), true, "USERABORTED"},
                        {TestResult::FAIL(), false, "FAIL"}};
    for (const Row& row : rows) {
        g_accel = [&](const DiagDevice&) {
            g_notes = {{"held by somebody", row.held}};
            return row.result;
        };
        const auto report = run({"--test", "ATest"});
        EXPECT_EQ(report["runs"][0]["result"], row.expected);
        EXPECT_EQ(report["runs"][0]["notes"][0], "held by somebody");
    }
}

// A test that found no device: NODEVICE, and where the backend cannot offer such a sensor at
// all, its reason beside the host's note.
TEST_F(HostFixture, NoDeviceCarriesTheBackendsReasonWhereItHasOne) {
    devices_ = {};
    const auto report = run({});
    EXPECT_EQ(report["runs"][0]["result"], "NODEVICE");
    EXPECT_EQ(report["runs"][0]["notes"], nlohmann::json::array({"no Accelerometer device"}));
    EXPECT_EQ(report["runs"][1]["result"], "NODEVICE");
    EXPECT_EQ(report["runs"][1]["notes"],
              nlohmann::json::array({"no Gyrometer device", "no gyrometer support here"}));
}

TEST_F(HostFixture, ExceptionOutOfATestIsRethrownAfterTheReportIsWritten) {
    g_accel = [](const DiagDevice&) -> TestResult { throw std::runtime_error("boom"); };
    EXPECT_THROW(run({}), std::runtime_error);
    const auto report = nlohmann::json::parse(std::ifstream(root_ / "report.json"));
    EXPECT_EQ(report["runs"][0]["result"], "EXITEDABNORMALLY");
    EXPECT_EQ(report["runs"][1]["result"], "USERABORTED");
    EXPECT_EQ(report["result"], "EXITEDABNORMALLY");
    EXPECT_EQ(g_calls.size(), 1u);
}

TEST_F(HostFixture, InteractiveTestsAreCheckedOnceAndOnlyWhenOneIsAboutToRun) {
    std::vector<bool> asked;  // the simulatedMachine argument of each call
    std::string answer = "no dialogs here";
    check_ = [&](bool simulated) {
        asked.push_back(simulated);
        return answer;
    };
    // A threshold-only run reads no string table and no settings, and probes nothing.
    scratch_.write("resources/testmod/strings/en.json", "{not json");
    scratch_.write("resources/testmod/settings.json", "{not json");
    auto report = run({"--test", "ATest"});
    EXPECT_EQ(report["runs"][0]["result"], "PASS");
    EXPECT_TRUE(asked.empty());
    writeGoodResources();

    g_calls.clear();
    devices_.push_back({"Gyrometer", "SIM\\GYRO\\1", "Gyro 2", ""});
    // A machine of the system's own (the fixture's devices stand in for its sensors).
    const std::string system = libOrra::defaultBackend();
    if (system == "sim")
        GTEST_SKIP() << "this build has only the simulated backend, no machine of its own";
    report = run({"--backend", system});
    EXPECT_EQ(report["runs"][0]["result"], "PASS") << "a test without a dialog still runs";
    for (int i : {1, 2}) {
        EXPECT_EQ(report["runs"][i]["result"], "CANNOTRUN");
        EXPECT_EQ(report["runs"][i]["notes"], nlohmann::json::array({"no dialogs here"}));
    }
    EXPECT_EQ(asked, std::vector<bool>{false}) << "asked once per start";
    EXPECT_EQ(g_calls, std::vector<std::string>{"ATest SIM\\ACCEL\\0"})
        << "the interactive test is not called";

    asked.clear();
    g_calls.clear();
    answer = "";
    report = run({"--backend", "sim", "--test", "BTest"});
    EXPECT_EQ(report["runs"][0]["result"], "PASS");
    EXPECT_EQ(asked, std::vector<bool>{true}) << "the check is told it is a simulated machine";
    EXPECT_EQ(g_calls.size(), 2u);
}

}  // namespace
