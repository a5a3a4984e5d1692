#pragma once

#include <atomic>
#include <chrono>

namespace vek {

// The time source behind vek::Stopwatch and vek::System::mssleep. The process uses the
// monotonic clock; a test can install a ManualClock so that time-outs run without sleeping.
class Clock {
public:
    using Duration = std::chrono::nanoseconds;

    virtual ~Clock() = default;
    virtual Duration now() const = 0;
    virtual void sleepFor(Duration d) = 0;

    // The clock in use (the monotonic one unless a test installed another).
    static Clock& current();
    // Installs `clock` for the whole process (nullptr restores the monotonic clock). The
    // clock must outlive its installation.
    static void installForTesting(Clock* clock);
    // The same, for a program that runs its sensor time faster (a replay with --fast).
    static void install(Clock* clock) { installForTesting(clock); }
};

class SteadyClock final : public Clock {
public:
    Duration now() const override;
    void sleepFor(Duration d) override;
};

// The monotonic clock run `factor` times faster: a replay of a recorded run (--fast) takes
// its sensor time, its tests' waits and time-outs at that pace. Thread-safe.
class FastClock final : public Clock {
public:
    explicit FastClock(double factor);
    Duration now() const override;
    void sleepFor(Duration d) override;

private:
    double factor_;
    Duration start_;
};

// A clock that moves only when told to, or when someone sleeps on it. Thread-safe.
class ManualClock final : public Clock {
public:
    Duration now() const override { return Duration(now_.load()); }
    void sleepFor(Duration d) override { advance(d); }
    void advance(Duration d) { now_.fetch_add(d.count()); }

private:
    std::atomic<Duration::rep> now_{0};
};

}  // namespace vek
