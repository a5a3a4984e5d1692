#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <regex>
#include <sstream>

#include "Capture.h"
#include "vek/Logging.h"

namespace {

// Captures log lines and restores the closed gate afterwards.
class Logging : public ::testing::Test {
protected:
    std::string lines() const { return log_.text(); }
    vekr::testing::LogCapture log_{vek::kLogOff};
};

struct GateRow {
    int gate;
    int ownLevel;
    int parentLevel;
    int priority;
    bool written;
};

void PrintTo(const GateRow& r, std::ostream* os) {
    *os << "gate" << r.gate << "/own" << r.ownLevel << "/parent" << r.parentLevel << "/P"
        << r.priority;
}

class LogGate : public Logging, public ::testing::WithParamInterface<GateRow> {};

TEST_P(LogGate, LineIsWrittenOnlyWhenEveryLevelIsAtMostItsPriority) {
    const auto& row = GetParam();
    static int unit = 0;
    // A fresh logger name per row, so levels set by other rows do not leak in.
    const std::string parent = "GateUnit" + std::to_string(++unit);
    const std::string name = parent + ".Dlg";
    vek::LogFactory::setLoggerLevel(parent, row.parentLevel);
    vek::LogFactory::setLoggerLevel(name, row.ownLevel);
    vek::LogFactory::setPriority(row.gate);
    std::atomic<vek::Logger*> slot{nullptr};
    VEK_LOG(slot, name.c_str(), row.priority, "message");
    EXPECT_EQ(lines().find("message") != std::string::npos, row.written) << lines();
}

INSTANTIATE_TEST_SUITE_P(Table, LogGate,
                         ::testing::Values(GateRow{1, 1, 1, 1, true}, GateRow{2, 1, 1, 1, false},
                                           GateRow{2, 1, 1, 2, true}, GateRow{1, 3, 1, 2, false},
                                           GateRow{1, 3, 1, 3, true}, GateRow{1, 1, 4, 3, false},
                                           GateRow{1, 1, 4, 4, true}, GateRow{4, 1, 1, 4, true},
                                           GateRow{5, 1, 1, 4, false}));

TEST_F(Logging, ClosedGateCreatesNoLogger) {
    vek::LogFactory::setPriority(vek::kLogError);
    std::atomic<vek::Logger*> slot{nullptr};
    VEK_LOG(slot, "LazyUnit", vek::kLogProgress, "dropped");
    EXPECT_EQ(slot.load(), nullptr);
    VEK_LOG(slot, "LazyUnit", vek::kLogError, "kept");
    ASSERT_NE(slot.load(), nullptr);
    EXPECT_EQ(slot.load()->name(), "LazyUnit");
    std::atomic<vek::Logger*> other{nullptr};
    EXPECT_EQ(vek::LogFactory::createLogger("LazyUnit", other), slot.load()) << "one per name";
}

TEST_F(Logging, MessageLineIsSourceLineBlankTextAndValues) {
    vek::LogFactory::setPriority(vek::kLogProgress);
    std::atomic<vek::Logger*> slot{nullptr};
    const int line = __LINE__ + 1;
    VEK_LOG(slot, "FormatUnit", 4, "Read Value: " << 0.5 << ", " << 7 << " " << vek::String("é"));
    const std::regex shape(R"(^\d\d:\d\d:\d\d\.\d{3} \d+ 4 FormatUnit: (\d+) (.*)\n$)");
    std::smatch m;
    const std::string text = lines();
    ASSERT_TRUE(std::regex_match(text, m, shape)) << text;
    EXPECT_EQ(m[1], std::to_string(line));
    EXPECT_EQ(m[2], "Read Value: 0.5, 7 é");
}

TEST_F(Logging, NumbersUseThePointWhateverTheProcessLocale) {
    {
        vekr::testing::CommaLocale comma;
        if (!comma.installed())
            GTEST_SKIP() << "de_DE.UTF-8 is not installed";
        vek::LogFactory::setPriority(vek::kLogProgress);
        std::atomic<vek::Logger*> slot{nullptr};
        VEK_LOG(slot, "LocaleUnit", 1, 1234.5 << " " << 0.25f);
    }
    EXPECT_NE(lines().find("1234.5 0.25"), std::string::npos) << lines();
}

TEST_F(Logging, TraceScopeMarksEntryAndExitOnlyAtProgressLevel) {
    std::atomic<vek::Logger*> slot{nullptr};
    vek::LogFactory::setPriority(vek::kLogWarning);
    { VEK_TRACE(slot, "TraceUnit", "quiet"); }
    EXPECT_EQ(lines(), "");
    vek::LogFactory::setPriority(vek::kLogProgress);
    { VEK_TRACE(slot, "TraceUnit", "checkSensorState"); }
    EXPECT_NE(lines().find("TraceUnit: > checkSensorState (LoggingTest.cpp:"), std::string::npos);
    EXPECT_NE(lines().find("TraceUnit: < checkSensorState"), std::string::npos);
    std::atomic<vek::Logger*> quietSlot{nullptr};
    vek::LogFactory::setLoggerLevel("QuietTraceUnit", vek::kLogWarning);
    EXPECT_EQ(vek::LogFactory::traceLogger(quietSlot, "QuietTraceUnit"), nullptr);
}

}  // namespace
