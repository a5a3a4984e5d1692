#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

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

private:
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace libOrra
