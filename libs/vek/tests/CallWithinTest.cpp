#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include "vek/CallWithin.h"

namespace {

using namespace std::chrono_literals;

// Notes on which thread it was destroyed, and whether at all.
struct Witness {
    std::shared_ptr<std::atomic<std::thread::id>> destroyedOn =
        std::make_shared<std::atomic<std::thread::id>>();
    Witness() = default;
    Witness(const Witness&) = default;
    Witness(Witness&& other) noexcept : destroyedOn(other.destroyedOn) { other.moved = true; }
    ~Witness() {
        if (!moved)
            destroyedOn->store(std::this_thread::get_id());
    }
    bool moved = false;
};

TEST(CallWithin, OnTimeGivesTheResultAndDestroysTheCallHere) {
    Witness witness;
    auto destroyedOn = witness.destroyedOn;
    const std::optional<int> answer = vek::callWithin(5s, [w = std::move(witness)] { return 42; });
    ASSERT_EQ(answer, 42);
    EXPECT_EQ(destroyedOn->load(), std::this_thread::get_id());
}

TEST(CallWithin, AThrowingCallAnswersNothing) {
    EXPECT_EQ(vek::callWithin(5s, []() -> int { throw std::runtime_error("gone"); }), std::nullopt);
}

// A call that blocks: the caller is back without an answer while it still blocks, and what
// the call holds is never destroyed, even after it ends.
TEST(CallWithin, ALateCallIsLeftToFinishAloneAndKeepsWhatItHolds) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    auto ended = std::make_shared<std::promise<void>>();
    std::future<void> hasEnded = ended->get_future();
    Witness witness;
    auto destroyedOn = witness.destroyedOn;
    const std::optional<int> answer =
        vek::callWithin(20ms, [released, ended, w = std::move(witness)] {
            released.wait();
            ended->set_value();
            return 1;
        });
    EXPECT_EQ(answer, std::nullopt);
    release.set_value();
    ASSERT_EQ(hasEnded.wait_for(10s), std::future_status::ready);
    std::this_thread::sleep_for(50ms);  // let the late thread put its job away
    EXPECT_EQ(destroyedOn->load(), std::thread::id()) << "the late call's captures live on";
}

}  // namespace
