#include "RunContext.h"

#include <mutex>

#include "StopRequests.h"
#include "vek/Logging.h"

namespace kiva5 {
namespace {

std::atomic<vek::Logger*> s_logger{nullptr};
constexpr const char* kLoggerName = "kiva5";

std::mutex s_mutex;
RunRecord* s_run = nullptr;
std::function<void(const std::string&)> s_speaker;

// Lock-free, so the signal handler may use them.
std::atomic<bool> s_requested{false};
std::atomic<int> s_signal{0};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

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

void RunContext::addNote(const std::string& text) {
    std::lock_guard lock(s_mutex);
    if (s_run)
        s_run->notes.push_back(text);
}

void RunContext::setSpeaker(std::function<void(const std::string&)> speaker) {
    std::lock_guard lock(s_mutex);
    s_speaker = std::move(speaker);
}

void RunContext::say(const std::string& text) {
    std::lock_guard lock(s_mutex);
    if (s_speaker)
        s_speaker(text);
}

void RunContext::setKey(const KeyMeasurement& key) {
    std::lock_guard lock(s_mutex);
    if (s_run)
        s_run->key = key;
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

bool StopFlag::isSet() {
    return s_requested.load() || s_signal.load() != 0;
}
void StopFlag::set() {
    s_requested.store(true);
}
void StopFlag::clear() {
    s_requested.store(false);
}
int StopFlag::signalNumber() {
    return s_signal.load();
}

void StopFlag::installSignalHandlers() {
    stops::install(&StopFlag::noteSystemRequest);
}

std::string StopFlag::requestName() {
    return stops::name(signalNumber());
}

bool StopFlag::noteSystemRequest(int code) {
    int none = 0;
    return s_signal.compare_exchange_strong(none, code);
}

}  // namespace kiva5
