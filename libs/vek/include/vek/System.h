#pragma once

#include <cstdint>

namespace vek {

class System {
public:
    // Sleeps on vek::Clock::current(); negative values do not sleep.
    static void mssleep(std::int64_t milliseconds);
};

}  // namespace vek
