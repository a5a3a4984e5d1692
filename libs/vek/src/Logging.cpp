#include "vek/Logging.h"

#include <chrono>
#include <ctime>
#include <fstream>
#include <locale>
#include <map>
#include <memory>
#include <mutex>

#include "Process.h"
#include "vek/CalendarTime.h"

namespace vek {
namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<Logger>, std::less<>> loggers;
    std::ofstream file;
    std::ostream* out = nullptr;
};

Registry& registry() {
    static Registry* r = new Registry;  // never destroyed: workers may log during exit
    return *r;
}

std::atomic<int> s_gate{kLogOff};

Logger* findOrCreate(const std::string& name) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto it = r.loggers.find(name);
    if (it == r.loggers.end()) {
        it = r.loggers.emplace(name, std::make_unique<Logger>(name)).first;
    }
    return it->second.get();
}

std::string timestamp() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t t = system_clock::to_time_t(now);
    const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    const std::tm tm = localCalendarTime(t);
    char buf[32];
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d.%03d", tm.tm_hour, tm.tm_min, tm.tm_sec,
                  static_cast<int>(ms));
    return buf;
}

}  // namespace

LoggerStream::LoggerStream() {
    out_.imbue(std::locale::classic());
}
LoggerStream& LoggerStream::operator<<(double v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(float v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(int v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(long v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(long long v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(unsigned v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(unsigned long v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(unsigned long long v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(const String& v) {
    return out_ << v.toStdString(), *this;
}
LoggerStream& LoggerStream::operator<<(const char* v) {
    return out_ << (v ? v : ""), *this;
}
LoggerStream& LoggerStream::operator<<(std::string_view v) {
    return out_ << v, *this;
}
LoggerStream& LoggerStream::operator<<(char v) {
    return out_ << v, *this;
}

int Logger::resolvePriority() const {
    int resolved = LogFactory::getPriority();
    // A parent's level ("GyrometerTest" for "GyrometerTest.GyrometerTestDlg") also applies.
    std::string parent = name_;
    for (auto dot = parent.rfind('.'); dot != std::string::npos; dot = parent.rfind('.')) {
        parent.resize(dot);
        Registry& r = registry();
        std::lock_guard lock(r.mutex);
        if (auto it = r.loggers.find(parent); it != r.loggers.end()) {
            resolved = std::max(resolved, it->second->level());
        }
    }
    return resolved;
}

bool Logger::accepts(int p) const {
    return LogFactory::getPriority() <= p && level() <= p && resolvePriority() <= p;
}

void Logger::log(int p, const LoggerStream& line) {
    LogFactory::write(p, name_, line.str());
}

int LogFactory::getPriority() {
    return s_gate.load(std::memory_order_relaxed);
}
void LogFactory::setPriority(int p) {
    s_gate.store(p, std::memory_order_relaxed);
}

Logger* LogFactory::createLogger(const char* name, std::atomic<Logger*>& slot) {
    Logger* logger = findOrCreate(name);
    slot.store(logger, std::memory_order_release);
    return logger;
}

Logger* LogFactory::loggerFor(std::atomic<Logger*>& slot, const char* name) {
    Logger* logger = slot.load(std::memory_order_acquire);
    return logger ? logger : createLogger(name, slot);
}

Logger* LogFactory::traceLogger(std::atomic<Logger*>& slot, const char* name) {
    if (getPriority() > kLogProgress)
        return nullptr;
    Logger* logger = loggerFor(slot, name);
    return logger->level() <= kLogProgress ? logger : nullptr;
}

bool LogFactory::openFile(const std::string& path) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    r.file.close();
    r.file.clear();
    r.file.open(path, std::ios::out | std::ios::trunc);
    if (!r.file) {
        r.out = nullptr;
        return false;
    }
    r.out = &r.file;
    return true;
}

void LogFactory::setStreamForTesting(std::ostream* stream) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    r.out = stream;
}

void LogFactory::setLoggerLevel(const std::string& name, int level) {
    findOrCreate(name)->setLevel(level);
}

void LogFactory::write(int p, const std::string& logger, std::string_view text) {
    const std::string stamp = timestamp();
    const long tid = process::currentThreadId();
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    if (!r.out)
        return;
    *r.out << stamp << ' ' << tid << ' ' << p << ' ' << logger << ": " << text << '\n';
    r.out->flush();
}

TraceLogger::TraceLogger(Logger* logger, const char* function, const char* file, int line)
    : logger_(logger), function_(function) {
    if (!logger_)
        return;
    LoggerStream s;
    const std::string_view path(file);
    const auto slash = path.rfind('/');
    s << "> " << function_ << " (" << path.substr(slash == std::string_view::npos ? 0 : slash + 1)
      << ":" << line << ")";
    logger_->log(kLogProgress, s);
}

TraceLogger::~TraceLogger() {
    if (!logger_)
        return;
    LoggerStream s;
    s << "< " << function_;
    logger_->log(kLogProgress, s);
}

}  // namespace vek
