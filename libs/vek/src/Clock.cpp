#include "vek/Clock.h"

#include <thread>

namespace vek {
namespace {
SteadyClock s_steady;
std::atomic<Clock*> s_current{nullptr};
}  // namespace

Clock::Duration SteadyClock::now() const {
    return std::chrono::duration_cast<Duration>(
        std::chrono::steady_clock::now().time_since_epoch());
}

void SteadyClock::sleepFor(Duration d) {
    std::this_thread::sleep_for(d);
}

FastClock::FastClock(double factor) : factor_(factor), start_(s_steady.now()) {}

Clock::Duration FastClock::now() const {
    const auto real = s_steady.now() - start_;
    return start_ +
           Duration(static_cast<Duration::rep>(static_cast<double>(real.count()) * factor_));
}

void FastClock::sleepFor(Duration d) {
    s_steady.sleepFor(
        Duration(static_cast<Duration::rep>(static_cast<double>(d.count()) / factor_)));
}

Clock& Clock::current() {
    Clock* c = s_current.load(std::memory_order_acquire);
    return c ? *c : s_steady;
}

void Clock::installForTesting(Clock* clock) {
    s_current.store(clock, std::memory_order_release);
}

}  // namespace vek
