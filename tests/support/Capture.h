#pragma once

#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>

#include "vek/Logging.h"

namespace vekr::testing {

// Takes the module's log lines at `priority` and above for as long as it lives, then closes
// the gate and gives the log its stream back, also when a test ends early.
class LogCapture {
public:
    explicit LogCapture(int priority = vek::kLogError) {
        vek::LogFactory::setStreamForTesting(&lines_);
        vek::LogFactory::setPriority(priority);
    }
    ~LogCapture() {
        vek::LogFactory::setStreamForTesting(nullptr);
        vek::LogFactory::setPriority(vek::kLogOff);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string text() const { return lines_.str(); }
    int count(const std::string& part) const {
        const std::string s = text();
        int n = 0;
        for (auto at = s.find(part); at != std::string::npos; at = s.find(part, at + 1))
            ++n;
        return n;
    }

private:
    std::ostringstream lines_;
};

// The process in German's locale, whose decimal separator is a comma, for as long as it lives:
// numbers the module reads and writes must not follow it. installed() is false where the
// machine lacks the locale (scripts/setup.sh makes it).
class CommaLocale {
public:
    CommaLocale() {
        try {
            std::locale::global(std::locale("de_DE.UTF-8"));
            installed_ = true;
        } catch (const std::runtime_error&) {
        }
    }
    ~CommaLocale() { std::locale::global(previous_); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    bool installed() const { return installed_; }

private:
    std::locale previous_;
    bool installed_ = false;
};

}  // namespace vekr::testing
