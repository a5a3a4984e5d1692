#pragma once

#include "vek/String.h"

namespace vek {

// The core library's exception. Test outcomes never travel as exceptions; only failures of
// the platform underneath (a missing entry point, a broken invariant) do, and the application
// object turns them into one line on vek::cerr.
class Exception {
public:
    explicit Exception(String message) : message_(std::move(message)) {}
    virtual ~Exception() = default;
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;

    virtual String toString() const { return message_; }

private:
    String message_;
};

// A symbol that a dynamic library does not export.
class DynamicLookupFailed : public Exception {
public:
    explicit DynamicLookupFailed(String symbol)
        : Exception("Dynamic lookup failed: " + symbol), symbol_(std::move(symbol)) {}
    const String& symbol() const { return symbol_; }

private:
    String symbol_;
};

// A broken invariant, such as an array index beyond the array's size. Logged where it is
// detected (AssertionFailure::logAssert) and then thrown, so the process reports it and ends
// with the framework's abnormal-exit code instead of reading stray memory.
class AssertionFailure : public Exception {
public:
    AssertionFailure(const char* file, int line, const char* expression);

    [[noreturn]] static void logAssert(const char* file, int line, const char* expression);
};

}  // namespace vek
