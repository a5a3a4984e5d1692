// The proximity test's countdowns in real time (a second or two), a missing picture and a
// wedged sensor list.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <chrono>
#include <sstream>
#include <thread>

#include "ProximitySensorTest/PostMessageTimer.h"
#include "ProximitySensorTest/ProximitySensorTestDlg.h"
#include "ScratchDir.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/SimBackend.h"
#include "libTarra/Proximity.h"
#include "vek/Logging.h"
#include "vek/Resource.h"

namespace {

using vekrsensors::PostMessageTimer;
using vekrsensors::ProximitySensorTestDlg;
using Clock = std::chrono::steady_clock;

// Counts the messages a countdown posts, with the time of the first.
class Mailbox : public QObject {
public:
    int received = 0;
    Clock::time_point first;

protected:
    void customEvent(QEvent*) override {
        if (received++ == 0)
            first = Clock::now();
    }
};

void pumpFor(std::chrono::milliseconds span, const std::function<void()>& each = {}) {
    const auto end = Clock::now() + span;
    while (Clock::now() < end) {
        QCoreApplication::processEvents();
        if (each)
            each();
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

double secondsSince(Clock::time_point start, Clock::time_point t) {
    return std::chrono::duration<double>(t - start).count();
}

class Countdown : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(gui_.ready()); }
    libLumo::GdiResourceManager gui_;
    Mailbox box_;
};

// A one-second countdown fires once, at most a step late; a reset at 0.6 s moves it to 1.6 s.
TEST_F(Countdown, FiresOnceAtMostAStepLateAndAResetLengthensIt) {
    for (const int resetAtMs : {0, 600}) {
        Mailbox box;
        PostMessageTimer timer(&box, 1025, 1);
        const auto start = Clock::now();
        timer.start();
        pumpFor(std::chrono::milliseconds(resetAtMs));
        if (resetAtMs)
            timer.resetCountdown();
        pumpFor(std::chrono::milliseconds(2000));
        ASSERT_EQ(box.received, 1) << resetAtMs;
        const double due = 1.0 + resetAtMs / 1000.0;
        EXPECT_GE(secondsSince(start, box.first), due);
        EXPECT_LT(secondsSince(start, box.first), due + 0.5);
        EXPECT_FALSE(timer.running());
    }
}

// Three seconds of countdown against resets every 100 ms: only a test thread starved for
// seconds on a loaded machine could let it fire.
TEST_F(Countdown, AResetEvery100MillisecondsNeverFires) {
    PostMessageTimer timer(&box_, 1025, 3);
    timer.start();
    auto lastReset = Clock::now();
    pumpFor(std::chrono::milliseconds(3500), [&] {
        if (Clock::now() - lastReset >= std::chrono::milliseconds(100)) {
            timer.resetCountdown();
            lastReset = Clock::now();
        }
    });
    EXPECT_EQ(box_.received, 0);
    timer.stop();
}

TEST_F(Countdown, StopJoinsAndStartArmsItAgain) {
    PostMessageTimer timer(&box_, 1025, 1);
    timer.start();
    pumpFor(std::chrono::milliseconds(100));
    timer.stop();
    EXPECT_FALSE(timer.running());
    pumpFor(std::chrono::milliseconds(1400));
    EXPECT_EQ(box_.received, 0) << "a stopped countdown posts nothing";
    timer.start();
    timer.start();  // joins the first thread before arming a second
    pumpFor(std::chrono::milliseconds(1600));
    EXPECT_EQ(box_.received, 1);
    // After it fired a reset has no effect until the next start.
    timer.resetCountdown();
    pumpFor(std::chrono::milliseconds(1400));
    EXPECT_EQ(box_.received, 1);
}

// A picture that cannot be loaded is logged in the words every dialog uses for it.
TEST(ProximityFrames, AMissingPictureIsLoggedAsEveryDialogLogsIt) {
    libLumo::GdiResourceManager gui;
    ASSERT_TRUE(gui.ready());
    vekr::testing::ScratchDir empty{"vekr-no-pictures"};
    vek::Resource::setExecutableDirForTesting(empty.path());
    std::ostringstream log;
    vek::LogFactory::setStreamForTesting(&log);
    vek::LogFactory::setPriority(vek::kLogError);
    { ProximitySensorTestDlg dialog(nullptr, vek::String("none"), 3, 10, 15, true, false, 30, 30); }
    vek::LogFactory::setStreamForTesting(nullptr);
    vek::LogFactory::setPriority(vek::kLogOff);
    vek::Resource::resetForTesting();
    EXPECT_NE(log.str().find("Could not load bitmap 'Resources//vekrsensors//proxHoldSteady.png'"),
              std::string::npos)
        << log.str();
}

// A sensor list that takes too long is no list: the lookup keeps its half-second bound.
class WedgedBackend : public libOrra::SimBackend {
public:
    using SimBackend::SimBackend;
    std::vector<libOrra::SensorInfo> sensors() override {
        std::this_thread::sleep_for(std::chrono::seconds(2));
        return SimBackend::sensors();
    }
};

TEST(ProximityLookup, AWedgedSensorListDoesNotHoldTheLookup) {
    libOrra::installBackend(std::make_shared<WedgedBackend>(
        libOrra::parseScenario(R"({"sensors": [{"kind": "proximity", "locator": "P"}]})", "t")));
    const auto start = Clock::now();
    EXPECT_TRUE(libTarra::ProximitySensorEnumerator::getOsLocators(100).empty());
    EXPECT_LT(secondsSince(start, Clock::now()), 1.0);
    libOrra::installBackend(nullptr);
}

}  // namespace
