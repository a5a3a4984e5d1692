#include "RunContext.h"

#include <csignal>
#include <mutex>

#include "vek/Logging.h"

namespace kiva5 {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "kiva5";

std::mutex s_mutex;
RunRecord* s_run = nullptr;
const DeviceSource* s_source = nullptr;

// Lock-free, so the signal handler may set it.
std::atomic<bool> s_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void onStopSignal(int) {
    s_stop.store(true);
}

std::string baseName(const char* file) {
    std::string f = file ? file : "";
    const auto slash = f.find_last_of("/\\");
    return slash == std::string::npos ? f : f.substr(slash + 1);
}

}  // namespace

void RunContext::begin(RunRecord* run) {
    std::lock_guard lock(s_mutex);
    s_run = run;
}

void RunContext::end() {
    std::lock_guard lock(s_mutex);
    s_run = nullptr;
}

void RunContext::raise(Event* event, const char* severity, const char* file, int line) {
    if (!event)
        return;
    EventRecord record;
    record.name = event->name();
    record.severity = severity;
    record.file = baseName(file);
    record.line = line;
    event->takeForReport(record.variables, record.tips);
    VEK_LOG(s_logger, kLoggerName, vek::kLogWarning,
            severity << " event " << record.name << " raised at " << record.file << ":" << line);
    std::lock_guard lock(s_mutex);
    if (s_run)
        s_run->events.push_back(std::move(record));
}

void RunContext::addDetail(const std::string& name, const Value& value) {
    std::lock_guard lock(s_mutex);
    if (!s_run)
        return;
    for (auto& d : s_run->details) {
        if (d.first == name) {
            d.second = value;
            return;
        }
    }
    s_run->details.emplace_back(name, value);
}

void RunContext::setSource(const DeviceSource* source) {
    std::lock_guard lock(s_mutex);
    s_source = source;
}

bool RunContext::sourceStopDue() {
    std::lock_guard lock(s_mutex);
    return s_source && s_source->stopDue();
}

bool StopFlag::isSet() {
    return s_stop.load();
}
void StopFlag::set() {
    s_stop.store(true);
}
void StopFlag::clear() {
    s_stop.store(false);
}

void StopFlag::installSignalHandlers() {
    struct sigaction sa {};
    sa.sa_handler = onStopSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESETHAND | SA_RESTART;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

}  // namespace kiva5
