#include "vek/CalendarTime.h"

namespace vek {

std::tm localCalendarTime(std::time_t t) {
    std::tm tm{};
    localtime_r(&t, &tm);
    return tm;
}

std::tm utcCalendarTime(std::time_t t) {
    std::tm tm{};
    gmtime_r(&t, &tm);
    return tm;
}

}  // namespace vek
