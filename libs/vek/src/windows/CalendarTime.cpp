#include "vek/CalendarTime.h"

namespace vek {

// The C runtime's secure forms take the arguments the other way round from POSIX's.
std::tm localCalendarTime(std::time_t t) {
    std::tm tm{};
    localtime_s(&tm, &t);
    return tm;
}

std::tm utcCalendarTime(std::time_t t) {
    std::tm tm{};
    gmtime_s(&tm, &t);
    return tm;
}

}  // namespace vek
