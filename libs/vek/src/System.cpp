#include "vek/System.h"

#include "vek/Clock.h"

namespace vek {

void System::mssleep(std::int64_t milliseconds) {
    if (milliseconds > 0)
        Clock::current().sleepFor(std::chrono::milliseconds(milliseconds));
}

}  // namespace vek
