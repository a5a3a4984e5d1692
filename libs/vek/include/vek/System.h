#pragma once

#include <cstdint>

#include "vek/String.h"

namespace vek {

class System {
public:
    // Sleeps on vek::Clock::current(); negative values do not sleep.
    static void mssleep(std::int64_t milliseconds);
    // The calling thread's last operating-system error (errno).
    static int getSystemError();
    // The system's text for an error code. With `withCode` the number follows in brackets.
    static String getSystemErrorMsg(int code, bool withCode);
};

}  // namespace vek
