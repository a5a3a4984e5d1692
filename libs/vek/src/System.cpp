#include "vek/System.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "vek/Clock.h"

namespace vek {

void System::mssleep(std::int64_t milliseconds) {
    if (milliseconds > 0)
        Clock::current().sleepFor(std::chrono::milliseconds(milliseconds));
}

int System::getSystemError() {
    return errno;
}

String System::getSystemErrorMsg(int code, bool withCode) {
    char buf[256];
    // GNU strerror_r may return a static string instead of filling buf.
    const char* text = strerror_r(code, buf, sizeof buf);
    std::string msg = text ? text : "Unknown error";
    if (withCode)
        msg += " (" + std::to_string(code) + ")";
    return String(msg);
}

}  // namespace vek
