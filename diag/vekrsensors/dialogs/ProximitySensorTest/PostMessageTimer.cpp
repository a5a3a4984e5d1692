#include "PostMessageTimer.h"

#include <chrono>
#include <system_error>

#include "libLumo/PostedMessage.h"
#include "vek/Clock.h"

namespace vekrsensors {
namespace {

// vek's clock is the monotonic one; a test may install one that it steps itself.
std::int64_t nowNanoseconds() {
    return vek::Clock::current().now().count();
}

constexpr auto kStep = std::chrono::milliseconds(200);

}  // namespace

PostMessageTimer::PostMessageTimer(QObject* window, unsigned message, unsigned seconds)
    : window_(window), message_(message), seconds_(seconds) {}

PostMessageTimer::~PostMessageTimer() {
    stop();
}

void PostMessageTimer::start() {
    running_.store(false);
    if (thread_.joinable()) {
        if (thread_.get_id() == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        thread_.join();
    }
    startTime_.store(nowNanoseconds());
    running_.store(true);
    thread_ = std::thread([this] { countdown(); });  // std::system_error when refused
}

void PostMessageTimer::resetCountdown() {
    startTime_.store(nowNanoseconds());
}

void PostMessageTimer::stop() {
    running_.store(false);
    if (thread_.joinable()) {
        if (thread_.get_id() == std::this_thread::get_id())
            throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
        thread_.join();
    }
}

void PostMessageTimer::countdown() {
    if (!running_.load())
        return;
    const std::int64_t length = static_cast<std::int64_t>(seconds_) * 1'000'000'000;
    while (nowNanoseconds() < startTime_.load() + length) {
        vek::Clock::current().sleepFor(kStep);
        if (!running_.load())
            return;
    }
    if (running_.exchange(false))
        libLumo::PostMessageA(window_, message_, 0, 0);
}

}  // namespace vekrsensors
