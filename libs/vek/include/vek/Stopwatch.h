#pragma once

#include <chrono>
#include <cstdint>

#include "vek/Clock.h"

namespace vek {

// Measures time from its construction (or the last reset()) on vek::Clock::current().
// Owned and used by one thread.
class Stopwatch {
public:
    Stopwatch() : start_(Clock::current().now()) {}

    // Elapsed seconds.
    double getElapsed() const { return std::chrono::duration<double>(elapsed()).count(); }
    // Elapsed whole milliseconds.
    std::int64_t getElapsedMilliseconds() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(elapsed()).count();
    }
    std::chrono::nanoseconds elapsed() const { return Clock::current().now() - start_; }
    void reset() { start_ = Clock::current().now(); }

private:
    Clock::Duration start_;
};

}  // namespace vek
