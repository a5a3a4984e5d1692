#pragma once

#include <atomic>
#include <iosfwd>
#include <sstream>
#include <string>
#include <string_view>

#include "vek/String.h"

namespace vek {

// Log priorities the module uses: 1 progress and trace scopes, 2 a warning the test goes on
// past, 3 a frame that failed to render, 4 an error. kLogOff closes the gate for everything.
inline constexpr int kLogProgress = 1;
inline constexpr int kLogWarning = 2;
inline constexpr int kLogRender = 3;
inline constexpr int kLogError = 4;
inline constexpr int kLogOff = 5;

// One message line under construction: the caller streams the source line number, a blank,
// the text and any values into it. Numbers are formatted in the C locale whatever the
// process's locale is, so log files read the same on every machine.
class LoggerStream {
public:
    LoggerStream();
    LoggerStream& operator<<(double v);
    LoggerStream& operator<<(float v);
    LoggerStream& operator<<(int v);
    LoggerStream& operator<<(long v);
    LoggerStream& operator<<(long long v);
    LoggerStream& operator<<(unsigned v);
    LoggerStream& operator<<(unsigned long v);
    LoggerStream& operator<<(unsigned long long v);
    LoggerStream& operator<<(const String& v);
    LoggerStream& operator<<(const char* v);
    LoggerStream& operator<<(std::string_view v);
    LoggerStream& operator<<(char v);
    std::string str() const { return out_.str(); }

private:
    std::ostringstream out_;
};

// A named logger. Created by LogFactory, owned by it for the life of the process, shared by
// every thread of the source unit it belongs to.
class Logger {
public:
    explicit Logger(std::string name) : name_(std::move(name)) {}

    const std::string& name() const { return name_; }
    // The logger's own level: lines below it are dropped.
    int level() const { return level_.load(std::memory_order_relaxed); }
    void setLevel(int level) { level_.store(level, std::memory_order_relaxed); }
    // The level that applies once the logger's parents ("A" for "A.B") and the global gate are
    // taken into account.
    int resolvePriority() const;
    // True when a line of priority p passes every level.
    bool accepts(int p) const;
    void log(int p, const LoggerStream& line);

private:
    std::string name_;
    std::atomic<int> level_{kLogProgress};
};

// The process-wide logging switchboard: the global gate, the loggers by name and where lines
// go. Safe to call from any thread.
class LogFactory {
public:
    static int getPriority();
    static void setPriority(int p);

    // Fills `slot` with the logger of that name (the same logger for the same name, so two
    // threads that race both store the same pointer) and returns it.
    static Logger* createLogger(const char* name, std::atomic<Logger*>& slot);
    static Logger* loggerFor(std::atomic<Logger*>& slot, const char* name);
    // The logger for a trace scope, or null when the gate or the logger's own level is above 1.
    static Logger* traceLogger(std::atomic<Logger*>& slot, const char* name);

    // Lines go to this file (truncated); false when it cannot be opened.
    static bool openFile(const std::string& path);
    // Lines go to `stream` (nullptr: nowhere). For tests.
    static void setStreamForTesting(std::ostream* stream);
    // Sets the level of one logger by name (created when needed).
    static void setLoggerLevel(const std::string& name, int level);
    static void write(int p, const std::string& logger, std::string_view text);
};

// Marks a function's entry and exit in the log. With a null logger it does nothing.
class TraceLogger {
public:
    TraceLogger(Logger* logger, const char* function, const char* file, int line);
    ~TraceLogger();
    TraceLogger(const TraceLogger&) = delete;
    TraceLogger& operator=(const TraceLogger&) = delete;

private:
    Logger* logger_;
    const char* function_;
};

}  // namespace vek

// The logging convention of every source unit: a unit keeps `std::atomic<vek::Logger*>` slot
// and a logger name, and writes lines made of the source line number, a blank and the text.
#define VEK_LOG(slot, name, priority, expr)                                       \
    do {                                                                          \
        if (::vek::LogFactory::getPriority() <= (priority)) {                     \
            ::vek::Logger* vekLogger_ = ::vek::LogFactory::loggerFor(slot, name); \
            if (vekLogger_->accepts(priority)) {                                  \
                ::vek::LoggerStream vekLine_;                                     \
                vekLine_ << __LINE__ << " " << expr;                              \
                vekLogger_->log(priority, vekLine_);                              \
            }                                                                     \
        }                                                                         \
    } while (0)

#define VEK_TRACE(slot, name, function)                                                          \
    ::vek::TraceLogger vekTrace_(::vek::LogFactory::traceLogger(slot, name), function, __FILE__, \
                                 __LINE__)
