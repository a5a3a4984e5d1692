#include <gtest/gtest.h>

#include "vek/Stopwatch.h"

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

// How sleeping moves the installed clock is pinned by the sampling loops' pace
// (SamplingPace, StateCheck).

}  // namespace
