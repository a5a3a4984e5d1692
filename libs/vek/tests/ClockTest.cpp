#include <gtest/gtest.h>

#include "vek/Stopwatch.h"
#include "vek/System.h"

namespace {

class ManualTime : public ::testing::Test {
protected:
    void SetUp() override { vek::Clock::installForTesting(&clock_); }
    void TearDown() override { vek::Clock::installForTesting(nullptr); }
    vek::ManualClock clock_;
};

TEST_F(ManualTime, StopwatchMeasuresFromConstructionAndReset) {
    vek::Stopwatch watch;
    clock_.advance(std::chrono::milliseconds(1500));
    EXPECT_DOUBLE_EQ(watch.getElapsed(), 1.5);
    EXPECT_EQ(watch.getElapsedMilliseconds(), 1500);
    watch.reset();
    clock_.advance(std::chrono::microseconds(250));
    EXPECT_EQ(watch.elapsed(), std::chrono::microseconds(250));
    EXPECT_EQ(watch.getElapsedMilliseconds(), 0);
}

TEST_F(ManualTime, SleepingAdvancesTheInstalledClock) {
    vek::Stopwatch watch;
    vek::System::mssleep(100);
    vek::System::mssleep(-5);  // never goes back
    vek::System::mssleep(0);
    EXPECT_EQ(watch.getElapsedMilliseconds(), 100);
}

TEST(SystemError, MessageNamesTheError) {
    EXPECT_EQ(vek::System::getSystemErrorMsg(2, false).toStdString(), "No such file or directory");
    EXPECT_EQ(vek::System::getSystemErrorMsg(13, true).toStdString(), "Permission denied (13)");
}

}  // namespace
