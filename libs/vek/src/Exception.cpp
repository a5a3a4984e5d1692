#include "vek/Exception.h"

#include <iostream>
#include <string>

#include "vek/ErrorStream.h"
#include "vek/Logging.h"

namespace vek {
namespace {
std::atomic<Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "vek";
}  // namespace

ErrorStream cerr;

AssertionFailure::AssertionFailure(const char* file, int line, const char* expression)
    : Exception(String("Assertion failed: ") + String(expression) + " at " + String(file) + ":" +
                String(std::to_string(line))) {}

void AssertionFailure::logAssert(const char* file, int line, const char* expression) {
    VEK_LOG(s_logger, kLoggerName, 4,
            "Assertion failed: " << expression << " at " << file << ":" << line);
    throw AssertionFailure(file, line, expression);
}

ErrorStream& ErrorStream::operator<<(std::string_view text) {
    std::lock_guard lock(mutex_);
    target() << text;
    return *this;
}

ErrorStream& ErrorStream::operator<<(EndLine) {
    std::lock_guard lock(mutex_);
    target() << '\n' << std::flush;
    return *this;
}

void ErrorStream::redirectForTesting(std::ostream* target) {
    std::lock_guard lock(mutex_);
    target_ = target;
}

std::ostream& ErrorStream::target() {
    return target_ ? *target_ : std::cerr;
}

}  // namespace vek
