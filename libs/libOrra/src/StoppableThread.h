#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "vek/Clock.h"

namespace libOrra {

// A backend's own thread that sleeps between steps and stops promptly when asked. Owned by one
// object; start() and stop() come from its owner's threads, never from the thread itself.
class StoppableThread {
public:
    StoppableThread() = default;
    ~StoppableThread() { stop(); }
    StoppableThread(const StoppableThread&) = delete;
    StoppableThread& operator=(const StoppableThread&) = delete;

    // Runs body(*this) on a new thread (after stopping a previous one).
    void start(std::function<void(StoppableThread&)> body) {
        stop();
        std::lock_guard lock(mutex_);
        stopping_ = false;
        thread_ = std::thread([this, body = std::move(body)] { body(*this); });
    }

    // Asks the thread to stop, wakes it and waits for it.
    void stop() {
        std::thread t;
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
            t = std::move(thread_);
        }
        wake_.notify_all();
        if (t.joinable())
            t.join();
    }

    bool running() const {
        std::lock_guard lock(mutex_);
        return thread_.joinable() && !stopping_;
    }

    // For the body: sleep until `due`; false when a stop was asked first.
    bool waitUntil(std::chrono::steady_clock::time_point due) {
        std::unique_lock lock(mutex_);
        return !wake_.wait_until(lock, due, [this] { return stopping_; });
    }
    bool waitFor(std::chrono::duration<double> d) {
        return waitUntil(std::chrono::steady_clock::now() +
                         std::chrono::duration_cast<std::chrono::steady_clock::duration>(d));
    }

    // For the body: sleep until `clock` reads `due` (a scenario's time, which a replay runs
    // faster and a test steps itself); false when a stop was asked first. The clock is read
    // again at least every 20 ms, so a clock that jumps is followed within that.
    bool waitUntil(const vek::Clock& clock, vek::Clock::Duration due) {
        constexpr vek::Clock::Duration kSlice = std::chrono::milliseconds(20);
        std::unique_lock lock(mutex_);
        for (vek::Clock::Duration left;
             (left = due - clock.now()) > vek::Clock::Duration::zero();) {
            if (wake_.wait_for(lock, std::min(left, kSlice), [this] { return stopping_; }))
                return false;
        }
        return !stopping_;
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace libOrra
