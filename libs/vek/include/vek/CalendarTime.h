#pragma once

#include <ctime>

namespace vek {

// A moment broken down into the calendar, thread-safely (localtime_r and gmtime_r on Linux,
// localtime_s and gmtime_s on Windows: src/posix/ or src/windows/). Any thread.
std::tm localCalendarTime(std::time_t t);
std::tm utcCalendarTime(std::time_t t);

}  // namespace vek
