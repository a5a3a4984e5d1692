// The proximity test's countdowns on a clock the test steps, a missing picture and a wedged
// sensor list.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <sstream>
#include <thread>

#include "Capture.h"
#include "ProximitySensorTest/PostMessageTimer.h"
#include "ProximitySensorTest/ProximitySensorTestDlg.h"
#include "ScratchDir.h"
#include "WithGui.h"
#include "libLumo/GdiResourceManager.h"
#include "libOrra/Records.h"
#include "libOrra/SimBackend.h"
#include "libTarra/Proximity.h"
#include "vek/Clock.h"
#include "vek/Logging.h"
#include "vek/Resource.h"

namespace {

using vekrsensors::PostMessageTimer;
using vekrsensors::ProximitySensorTestDlg;

// Counts the messages a countdown posts.
class Mailbox : public QObject {
public:
    int received = 0;

protected:
    void customEvent(QEvent*) override { ++received; }
};

// A clock that moves only when the countdown sleeps on it, by exactly the time asked, and then
// calls `onStep` with the new time on the countdown's thread: the tests act at exact times of
// the countdown and never wait for the machine.
class SteppingClock final : public vek::Clock {
public:
    explicit SteppingClock(std::function<void(Duration)> onStep) : onStep_(std::move(onStep)) {
        installForTesting(this);
    }
    ~SteppingClock() override { installForTesting(nullptr); }
    Duration now() const override { return Duration(now_.load()); }
    void sleepFor(Duration d) override { onStep_(Duration(now_ += d.count())); }

private:
    std::function<void(Duration)> onStep_;
    std::atomic<Duration::rep> now_{0};
};

bool waitUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!done() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return done();
}

// Waits for the countdown to end by itself, joins it and delivers what it posted.
void runOut(PostMessageTimer& timer, Mailbox& box) {
    ASSERT_TRUE(waitUntil([&] { return !timer.running(); })) << "the countdown never ended";
    timer.stop();
    QCoreApplication::sendPostedEvents(&box);
}

class Countdown : public vekr::testing::WithGui {
protected:
    Mailbox box_;
};

// A countdown fires once, at its time or at most one 200 ms check later, counted from its
// last reset; resets that keep coming (the readings that keep the dialog's phase) hold it off.
TEST_F(Countdown, FiresOnceAtItsTimeCountedFromTheLastReset) {
    struct Case {
        unsigned seconds;
        int resetsUntilMs;  // a reset at every check up to this time
        int firesAtMs;
    };
    for (const Case c : {Case{1, 0, 1000}, Case{1, 600, 1600}, Case{3, 5000, 8000}}) {
        Mailbox box;
        PostMessageTimer* running = nullptr;
        SteppingClock clock([&](vek::Clock::Duration now) {
            if (now <= std::chrono::milliseconds(c.resetsUntilMs))
                running->resetCountdown();
        });
        PostMessageTimer timer(&box, 1025, c.seconds);
        running = &timer;
        timer.start();
        runOut(timer, box);
        EXPECT_EQ(box.received, 1) << c.firesAtMs;
        EXPECT_GE(clock.now(), std::chrono::milliseconds(c.firesAtMs));
        EXPECT_LE(clock.now(), std::chrono::milliseconds(c.firesAtMs + 200));
    }
}

// A stop joins the countdown thread, so nothing comes after it; a start while one counts joins
// that one and arms a fresh countdown, which fires once.
TEST_F(Countdown, AStopPostsNothingAndAStartArmsItAgain) {
    PostMessageTimer* counting = nullptr;
    std::atomic<int> checks{0};
    std::atomic<bool> holdFirstCheck{true};
    SteppingClock clock([&](vek::Clock::Duration) {
        ++checks;
        // The countdown's first check waits here until the dialog's call has disarmed it.
        while (holdFirstCheck && counting->running())
            std::this_thread::yield();
        holdFirstCheck = false;
    });
    PostMessageTimer timer(&box_, 1025, 1);
    counting = &timer;
    timer.start();
    ASSERT_TRUE(waitUntil([&] { return checks > 0; }));
    timer.stop();
    QCoreApplication::sendPostedEvents(&box_);
    EXPECT_FALSE(timer.running());
    EXPECT_EQ(box_.received, 0) << "a stopped countdown posts nothing";

    holdFirstCheck = true;
    timer.start();
    ASSERT_TRUE(waitUntil([&] { return checks > 1; }));
    timer.start();  // joins the first thread before arming a second
    runOut(timer, box_);
    EXPECT_EQ(box_.received, 1);
    timer.resetCountdown();  // after it fired, no effect until the next start
    EXPECT_FALSE(timer.running());
}

// A picture that cannot be loaded is logged in the words every dialog uses for it.
TEST(ProximityFrames, AMissingPictureIsLoggedAsEveryDialogLogsIt) {
    libLumo::GdiResourceManager gui;
    ASSERT_TRUE(gui.ready());
    vekr::testing::ScratchDir empty{"vekr-no-pictures"};
    vek::Resource::setExecutableDirForTesting(empty.path());
    vekr::testing::LogCapture log;
    { ProximitySensorTestDlg dialog(nullptr, vek::String("none"), 3, 10, 15, true, false, 30, 30); }
    vek::Resource::resetForTesting();
    EXPECT_EQ(log.count("Could not load bitmap 'Resources//vekrsensors//proxHoldSteady.png'"), 1)
        << log.text();
}

// A sensor list that takes too long is no list: the lookup keeps its bound and is back while
// the backend still holds its answer.
class WedgedBackend : public libOrra::SimBackend {
public:
    using SimBackend::SimBackend;
    std::vector<libOrra::SensorInfo> sensors() override {
        released_.wait_for(std::chrono::seconds(60));
        answered = true;
        return SimBackend::sensors();
    }
    std::promise<void> release;
    std::atomic<bool> answered{false};

private:
    std::shared_future<void> released_ = release.get_future().share();
};

TEST(ProximityLookup, AWedgedSensorListDoesNotHoldTheLookup) {
    auto backend = std::make_shared<WedgedBackend>(
        libOrra::parseScenario(R"({"sensors": [{"kind": "proximity", "locator": "P"}]})", "t"));
    const libOrra::SensorsInUse inUse(backend);
    EXPECT_TRUE(libTarra::ProximitySensorEnumerator::getOsLocators(100).empty());
    EXPECT_FALSE(backend->answered) << "the lookup waited for the wedged list";
    backend->release.set_value();
}

}  // namespace
