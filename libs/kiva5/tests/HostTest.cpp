#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ScratchDir.h"
#include "kiva5/DiagModule.h"
#include "kiva5/Host.h"
#include "kiva5/KivaException.h"
#include "vek/Resource.h"

namespace fs = std::filesystem;
using namespace kiva5;

namespace {

// What the fake tests do, set per case. Test functions are plain function pointers, so they
// reach the case's behaviour through these globals.
std::function<TestResult(const DiagDevice&)> g_accel;
std::function<TestResult(const DiagDevice&)> g_gyro;
std::vector<std::string> g_calls;

TestResult accelTest(const DiagDevice& d) {
    g_calls.push_back("ATest " + d.osLocator().str());
    return g_accel ? g_accel(d) : TestResult::PASS();
}
TestResult gyroTest(const DiagDevice& d) {
    g_calls.push_back("BTest " + d.osLocator().str());
    return g_gyro ? g_gyro(d) : TestResult::PASS();
}

// Notes the source hands out after the next run, e.g. that another program held the device.
std::vector<SourceNote> g_notes;

class FakeSource : public DeviceSource {
public:
    explicit FakeSource(std::vector<DiagDevice> d) : devices_(std::move(d)) {}
    std::vector<DiagDevice> devices() override { return devices_; }
    std::vector<SourceNote> takeNotes(const DiagDevice&) override { return std::move(g_notes); }

private:
    std::vector<DiagDevice> devices_;
};

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

// A small catalogue and a resource folder of its own in a temporary working directory.
class HostFixture : public ::testing::Test {
protected:
    void SetUp() override {
        writeGoodResources();

        title_ = catalogue_.createLocalizedString("Title");
        event_ = catalogue_.createEvent("Ev");
        threshold_ = catalogue_.createParameter("Threshold", DataType::DOUBLE(), "", false, true)
                         ->setUnit("g");
        count_ = catalogue_.createParameter("Count", DataType::INT32(), "", false, true);
        flag_ = catalogue_.createParameter("Flag", DataType::BOOLEAN(), "", false, true);
        catalogue_.createTest("ATest", DeviceCapability::Accelerometer(), accelTest)
            ->addParameter(threshold_)
            ->addParameter(flag_);
        catalogue_.createTest("BTest", DeviceCapability::Gyrometer(), gyroTest)
            ->addParameter(count_)
            ->setInteractive(true);
        devices_ = {DiagDevice(DeviceCapability::Accelerometer(), "SIM\\ACCEL\\0", "Accel"),
                    DiagDevice(DeviceCapability::Gyrometer(), "SIM\\GYRO\\0", "Gyro")};
        g_accel = nullptr;
        g_gyro = nullptr;
        g_calls.clear();
        DiagModule::requestStop();  // a stale request must not leak into the next start()
    }
    void TearDown() override {
        vek::Resource::resetForTesting();
    }
    void writeGoodResources() {
        vek::Resource::resetForTesting();
        vek::Resource::setExecutableDirForTesting(std::nullopt);
        fs::remove(root_ / "resources/testmod/settings.json");
        writeFile("resources/testmod/strings/en.json", R"({"Title": "Title in English"})");
        writeFile("resources/testmod/strings/de.json", R"({"Title": "Titel auf Deutsch"})");
        writeFile("resources/testmod/profile.json",
                  R"({"parameters": {"Threshold": 0.5, "Count": 3}})");
    }
    void writeFile(const fs::path& p, const std::string& text) { scratch_.write(p, text); }

    Outcome run(std::vector<std::string> args) {
        args.insert(args.begin(), "testmod.vkm");
        std::ostringstream out, err;
        Host host(
            catalogue_, "testmod.vkm", ModuleVersion{6, 5, "000000001"},
            [this](const BackendSelection& s) {
                selection_ = s;
                return std::make_unique<FakeSource>(devices_);
            },
            out, err);
        const int code = host.start(args);
        return {code, out.str(), err.str()};
    }
    nlohmann::json runForReport(std::vector<std::string> args, int* code = nullptr) {
        args.insert(args.end(), {"--report", "report.json"});
        const Outcome o = run(args);
        if (code)
            *code = o.code;
        std::ifstream in(root_ / "report.json");
        return nlohmann::json::parse(in);
    }

    vekr::testing::ScratchDir scratch_{"vekr-host", true};
    fs::path root_ = scratch_.path();
    Catalogue catalogue_;
    LocalizedString* title_ = nullptr;
    Event* event_ = nullptr;
    Parameter *threshold_ = nullptr, *count_ = nullptr, *flag_ = nullptr;
    std::vector<DiagDevice> devices_;
    BackendSelection selection_;
};

TEST_F(HostFixture, UsageErrorsAreOneLineAndRunNothing) {
    const std::vector<std::vector<std::string>> cases = {
        {"--bogus"},
        {"--test", "Nope"},
        {"--param", "Nope=1"},
        {"--param", "Threshold"},
        {"--param", "=1"},
        {"--backend", "xyz"},
        {"--backend", "iio", "--scenario", "x.json"},
        {"--log-level", "2"},
        {"--log", "log.txt", "--log-level", "9"},
        {"--log", "/no/such/dir/log.txt"},
        {"stray"},
    };
    for (const auto& args : cases) {
        const Outcome o = run(args);
        EXPECT_EQ(o.code, Host::kUsageError) << args[0];
        EXPECT_EQ(o.out, "") << args[0];
        ASSERT_FALSE(o.err.empty()) << args[0];
        EXPECT_EQ(o.err.find('\n'), o.err.size() - 1) << "one line: " << o.err;
        EXPECT_EQ(o.err.rfind("testmod.vkm: ", 0), 0u) << o.err;
    }
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(HostFixture, HelpAndVersionExitZero) {
    Outcome o = run({"--version"});
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.out, "testmod.vkm 6.5 (build 000000001)\n");
    o = run({"--help"});
    EXPECT_EQ(o.code, 0);
    EXPECT_NE(o.out.find("--scenario"), std::string::npos);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(HostFixture, ParameterThatDoesNotParseGivesBadParamsWithoutCallingTheTest) {
    for (const char* value : {"abc", "nan", "inf", "1e999", "1,5", ""}) {
        g_calls.clear();
        const auto report =
            runForReport({"--test", "ATest", "--param", std::string("Threshold=") + value});
        EXPECT_TRUE(g_calls.empty()) << value;
        ASSERT_EQ(report["runs"].size(), 1u);
        EXPECT_EQ(report["runs"][0]["result"], "BADPARAMS") << value;
        EXPECT_NE(report["runs"][0]["notes"][0].get<std::string>().find("Threshold"),
                  std::string::npos);
    }
    // Only the test that takes the parameter is affected.
    const auto report = runForReport({"--param", "Threshold=abc"});
    EXPECT_EQ(report["runs"][1]["result"], "PASS");
}

TEST_F(HostFixture, CommandLineWinsOverProfileAndUnsetParametersStayUnset) {
    double seen = -1;
    bool flagSet = true;
    g_accel = [&](const DiagDevice&) {
        seen = threshold_->value().valueDouble();
        flagSet = flag_->isset();
        return TestResult::PASS();
    };
    auto report = runForReport({"--test", "ATest"});
    EXPECT_DOUBLE_EQ(seen, 0.5);
    EXPECT_FALSE(flagSet);
    EXPECT_EQ(report["runs"][0]["parameters"], nlohmann::json({{"Threshold", "0.5"}}));
    report = runForReport({"--test", "ATest", "--param", "Threshold=0.25", "--param", "Flag=1"});
    EXPECT_DOUBLE_EQ(seen, 0.25);
    EXPECT_TRUE(flagSet);
    // A profile of one parameter is laid over the shipped one; the report names both files.
    writeFile("other.json", R"({"parameters": {"Flag": true}})");
    report = runForReport({"--test", "ATest", "--profile", "other.json"});
    EXPECT_DOUBLE_EQ(seen, 0.5) << "the shipped value stays";
    EXPECT_TRUE(flagSet);
    ASSERT_EQ(report["profiles"].size(), 2u);
    EXPECT_EQ(fs::path(report["profiles"][0].get<std::string>()).filename(), "profile.json");
    EXPECT_EQ(report["profiles"][1], "other.json");
}

TEST_F(HostFixture, BrokenProfileOrStringsAreFrameworkFailuresNamingTheFile) {
    struct Row {
        const char* file;
        const char* text;
        const char* expected;
    };
    const Row rows[] = {
        {"resources/testmod/profile.json", "{", "profile.json: not valid JSON"},
        {"resources/testmod/profile.json", R"({"parameters": {"Count": 1e999}})",
         "profile.json: not valid JSON (a number out of range)"},
        {"resources/testmod/profile.json", R"({"parameters": {"Nope": 1}})",
         "unknown parameter \"Nope\""},
        {"resources/testmod/profile.json", R"({"parameters": {"Count": [1]}})",
         "\"Count\" must be a string, number or boolean"},
        {"resources/testmod/profile.json", R"({"params": {}})", "\"parameters\" object"},
        {"resources/testmod/strings/en.json", R"({"Other": "x"})", "no text for \"Title\""},
        {"resources/testmod/strings/en.json", "[", "en.json: not valid JSON"},
        {"resources/testmod/settings.json", "{", "settings.json: not valid JSON"},
    };
    for (const Row& row : rows) {
        writeGoodResources();
        writeFile(row.file, row.text);
        try {
            run({});
            ADD_FAILURE() << "accepted " << row.file << ": " << row.text;
        } catch (const KivaException& e) {
            EXPECT_NE(e.toString().str().find(row.expected), std::string::npos)
                << e.toString().str();
        }
        EXPECT_TRUE(g_calls.empty());
    }
}

TEST_F(HostFixture, LanguageIsMatchedAgainstTheTablesThatExist) {
    struct Row {
        std::vector<std::string> args;
        const char* language;  // LANGUAGE, or null
        const char* lang;      // LANG, or null
        const char* text;      // the title's text; null for a usage error
    };
    const Row rows[] = {
        {{"--lang", "de"}, nullptr, nullptr, "Titel auf Deutsch"},
        {{"--lang", "de_DE"}, nullptr, nullptr, "Titel auf Deutsch"},
        {{"--lang", "de_AT.UTF-8"}, nullptr, nullptr, "Titel auf Deutsch"},
        {{"--lang", "C"}, nullptr, "de_DE.UTF-8", "Title in English"},
        {{}, nullptr, "de_DE.UTF-8", "Titel auf Deutsch"},
        {{}, nullptr, "fr_FR.UTF-8", "Title in English"},
        {{}, "fr:de", "en_US.UTF-8", "Titel auf Deutsch"},
        {{}, nullptr, "../../etc", "Title in English"},
        {{"--lang", "fr"}, nullptr, nullptr, nullptr},
        {{"--lang", "../../x"}, nullptr, nullptr, nullptr},
        {{"--lang", "de/../en"}, nullptr, nullptr, nullptr},
    };
    std::string text;
    g_accel = [&](const DiagDevice&) {
        text = title_->localizedString().toStdString();
        return TestResult::PASS();
    };
    for (const Row& row : rows) {
        row.language ? setenv("LANGUAGE", row.language, 1) : unsetenv("LANGUAGE");
        row.lang ? setenv("LANG", row.lang, 1) : unsetenv("LANG");
        text.clear();
        std::vector<std::string> args{"--test", "ATest"};
        args.insert(args.end(), row.args.begin(), row.args.end());
        const Outcome o = run(args);
        const std::string label = row.args.empty() ? std::string(row.lang) : row.args[1];
        if (row.text) {
            EXPECT_EQ(text, row.text) << label;
        } else {
            EXPECT_EQ(o.code, Host::kUsageError) << label;
            EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << o.err;
            EXPECT_TRUE(text.empty()) << label;
        }
    }
    unsetenv("LANGUAGE");
    unsetenv("LANG");
}

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
    const auto report = runForReport({}, &code);
    EXPECT_EQ(code, 2);
    EXPECT_EQ(
        report["module"],
        nlohmann::json({{"file", "testmod.vkm"}, {"version", "6.5"}, {"build", "000000001"}}));
    EXPECT_EQ(report["backend"], "iio");
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

TEST_F(HostFixture, OverallResultIsTheWorstRunAndItsCodeIsTheExitCode) {
    struct Row {
        TestResult a, b;
        int code;
    };
    const Row rows[] = {{TestResult::PASS(), TestResult::PASS(), 0},
                        {TestResult::PASS(), TestResult::WARN(), 2},
                        {TestResult::FAIL(), TestResult::WARN(), 1},
                        {TestResult::USERABORTED(), TestResult::PASS(), 7}};
    for (const Row& row : rows) {
        g_accel = [&](const DiagDevice&) { return row.a; };
        g_gyro = [&](const DiagDevice&) { return row.b; };
        EXPECT_EQ(run({}).code, row.code);
    }
    devices_.clear();
    const auto report = runForReport({});
    EXPECT_EQ(report["result"], "NODEVICE") << "nothing tested is never a pass";
    EXPECT_EQ(report["runs"][0]["device"], nullptr);
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
        const auto report = runForReport({"--test", "ATest"});
        EXPECT_EQ(report["runs"][0]["result"], row.expected);
        EXPECT_EQ(report["runs"][0]["notes"][0], "held by somebody");
    }
}

TEST_F(HostFixture, DeviceFilterIgnoresCaseAndSelectsOnlyThatDevice) {
    devices_.emplace_back(DeviceCapability::Accelerometer(), "SIM\\ACCEL\\1", "Second");
    run({"--device", "sim\\accel\\1"});
    EXPECT_EQ(g_calls, std::vector<std::string>{"ATest SIM\\ACCEL\\1"});
    g_calls.clear();
    run({});
    EXPECT_EQ(g_calls, (std::vector<std::string>{"ATest SIM\\ACCEL\\0", "ATest SIM\\ACCEL\\1",
                                                 "BTest SIM\\GYRO\\0"}));
    g_calls.clear();
    run({"--test", "BTest", "--test", "ATest", "--test", "BTest"});
    EXPECT_EQ(g_calls.front(), "BTest SIM\\GYRO\\0") << "asked order, each test once";
    EXPECT_EQ(g_calls.size(), 3u);
}

TEST_F(HostFixture, StopRequestEndsTheRunAndTheReportIsStillWhole) {
    g_accel = [&](const DiagDevice&) {
        DiagModule::requestStop();
        EXPECT_TRUE(DiagModule::checkForStop());
        return TestResult::USERABORTED();
    };
    int code = -1;
    const auto report = runForReport({}, &code);
    EXPECT_EQ(g_calls.size(), 1u);
    ASSERT_EQ(report["runs"].size(), 2u);
    EXPECT_EQ(report["runs"][1]["result"], "USERABORTED");
    EXPECT_EQ(report["runs"][1]["notes"][0], "not started: stop requested");
    EXPECT_EQ(code, 7);
}

TEST_F(HostFixture, ExceptionOutOfATestIsRethrownAfterTheReportIsWritten) {
    g_accel = [](const DiagDevice&) -> TestResult { throw std::runtime_error("boom"); };
    EXPECT_THROW(run({"--report", "report.json"}), std::runtime_error);
    std::ifstream in(root_ / "report.json");
    const auto report = nlohmann::json::parse(in);
    EXPECT_EQ(report["runs"][0]["result"], "EXITEDABNORMALLY");
    EXPECT_EQ(report["runs"][1]["result"], "USERABORTED");
    EXPECT_EQ(report["result"], "EXITEDABNORMALLY");
    EXPECT_EQ(g_calls.size(), 1u);
}

TEST_F(HostFixture, ReportIsWrittenWholeOrNotAtAll) {
    EXPECT_EQ(run({"--report", "missing-dir/report.json"}).code, Host::kUsageError);
    EXPECT_TRUE(g_calls.empty()) << "the destination is checked before any test runs";
    EXPECT_FALSE(fs::exists(root_ / "missing-dir"));
    // To stdout: the JSON alone on stdout, the summary on stderr.
    const Outcome o = run({"--report", "-"});
    const auto report = nlohmann::json::parse(o.out);
    EXPECT_EQ(report["result"], "PASS");
    EXPECT_NE(o.err.find("Result: PASS (exit code 0)"), std::string::npos) << o.err;
    // No temporary files left behind.
    run({"--report", "r.json"});
    for (const auto& entry : fs::directory_iterator(root_)) {
        EXPECT_EQ(entry.path().filename().string().find(".r.json."), std::string::npos);
    }
}

TEST_F(HostFixture, BackendSelectionAndDeviceListing) {
    Outcome o = run({"--devices", "--scenario", "demo.json"});
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(selection_.backend, "sim") << "a scenario implies the simulated machine";
    EXPECT_EQ(selection_.scenario, "demo.json");
    EXPECT_EQ(o.out, "Accelerometer\tSIM\\ACCEL\\0\tAccel\nGyrometer\tSIM\\GYRO\\0\tGyro\n");
    run({"--devices"});
    EXPECT_EQ(selection_.backend, "iio");
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(HostFixture, ListPrintsTheCatalogueInDeclarationOrder) {
    const Outcome o = run({"--list"});
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.out,
              "Tests:\n"
              "  ATest  capability Accelerometer\n"
              "    Threshold (DOUBLE, g, default 0.5)\n"
              "    Flag (BOOLEAN, no default)\n"
              "  BTest  capability Gyrometer  interactive\n"
              "    Count (INT32, default 3)\n"
              "Parameters:\n"
              "  Threshold (DOUBLE, g, default 0.5)\n"
              "  Count (INT32, default 3)\n"
              "  Flag (BOOLEAN, no default)\n"
              "Events:\n  Ev\n"
              "Localized strings:\n  Title\n");
}

}  // namespace

namespace {

TEST_F(HostFixture, InteractiveTestsAreCheckedOnceAndOnlyWhenOneIsAboutToRun) {
    std::vector<bool> asked;  // the simulatedMachine argument of each call
    std::string answer = "no dialogs here";
    const auto runWithCheck = [&](std::vector<std::string> args) {
        args.insert(args.begin(), "testmod.vkm");
        std::ostringstream out, err;
        Host host(catalogue_, "testmod.vkm", ModuleVersion{6, 5, "000000001"},
                  [this](const BackendSelection&) { return std::make_unique<FakeSource>(devices_); },
                  out, err);
        host.setInteractiveCheck([&](bool simulated) {
            asked.push_back(simulated);
            return answer;
        });
        const fs::path report = root_ / "report.json";
        args.insert(args.end(), {"--report", report.string()});
        host.start(args);
        return nlohmann::json::parse(std::ifstream(report));
    };

    // A threshold-only run reads no string table and no settings, and probes nothing.
    writeFile("resources/testmod/strings/en.json", "{not json");
    writeFile("resources/testmod/settings.json", "{not json");
    auto report = runWithCheck({"--test", "ATest"});
    EXPECT_EQ(report["runs"][0]["result"], "PASS");
    EXPECT_TRUE(asked.empty());
    writeGoodResources();

    g_calls.clear();
    devices_.push_back(DiagDevice(DeviceCapability::Gyrometer(), "SIM\\GYRO\\1", "Gyro 2"));
    report = runWithCheck({"--backend", "iio"});
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
    report = runWithCheck({"--backend", "sim", "--test", "BTest"});
    EXPECT_EQ(report["runs"][0]["result"], "PASS");
    EXPECT_EQ(asked, std::vector<bool>{true}) << "the check is told it is a simulated machine";
    EXPECT_EQ(g_calls.size(), 2u);
}

}  // namespace
