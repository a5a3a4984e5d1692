#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "kiva5/DiagModule.h"
#include "vek/ErrorStream.h"
#include "vek/Exception.h"
#include "vekrsensors.h"

namespace {

// Runs the application object with a stand-in for the framework's start().
class AppRun : public ::testing::Test {
protected:
    void SetUp() override { vek::cerr.redirectForTesting(&err_); }
    void TearDown() override {
        vek::cerr.redirectForTesting(nullptr);
        kiva5::DiagModule::setStartForTesting(nullptr);
    }
    int run(std::function<int()> start) {
        kiva5::DiagModule::setStartForTesting(std::move(start));
        CWinApp* app = CWinApp::instance();
        EXPECT_NE(dynamic_cast<CSensorTestApp*>(app), nullptr);
        EXPECT_TRUE(app->InitInstance());
        EXPECT_EQ(app->m_pMainWnd, nullptr);
        return app->Run();
    }
    std::ostringstream err_;
};

TEST_F(AppRun, EscapedExceptionsBecomeOneLineAndTheAbnormalExitCode) {
    struct Row {
        std::function<int()> start;
        const char* line;
    };
    const Row rows[] = {
        {[]() -> int { throw vek::Exception("sensor library gone"); },
         "Exception: sensor library gone\n"},
        {[]() -> int { throw vek::DynamicLookupFailed("SetDisplayAutoRotationPreferences"); },
         "Exception: Dynamic lookup failed: SetDisplayAutoRotationPreferences\n"},
        {[]() -> int { throw kiva5::KivaException("profile broken"); },
         "KivaException: profile broken\n"},
        {[]() -> int { throw std::runtime_error("not shown"); }, "unknown exception\n"},
        {[]() -> int { throw 42; }, "unknown exception\n"},
    };
    for (const Row& row : rows) {
        err_.str("");
        EXPECT_EQ(run(row.start), kiva5::TestResult::EXITEDABNORMALLY().value());
        EXPECT_EQ(err_.str(), row.line);
    }
}

// The start's own exit code, the module's name and version reach the host through the real
// start: the command-line cases (exit code = report code) and the installed package's --version.

}  // namespace
