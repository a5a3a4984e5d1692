#pragma once

#include <QObject>
#include <atomic>
#include <cstdint>
#include <thread>

namespace vekrsensors {

// A one-shot countdown on a thread of its own that posts `message` to `window` when it runs
// out. Owned and driven (start, resetCountdown, stop) by the dialog on the user-interface
// thread; the countdown thread only reads the run flag and the start time and posts once. It
// checks every 200 ms and reads the deadline afresh each time, so a reset lengthens a running
// countdown and the message comes at most about 200 ms late. Time is vek::Clock's.
class PostMessageTimer {
public:
    PostMessageTimer(QObject* window, unsigned message, unsigned seconds);
    ~PostMessageTimer();
    PostMessageTimer(const PostMessageTimer&) = delete;
    PostMessageTimer& operator=(const PostMessageTimer&) = delete;

    // (Re)arms the countdown from now, after joining an earlier countdown thread. Throws
    // std::system_error when called from the countdown thread itself or when no thread can
    // be started.
    void start();
    // Moves the start of a running countdown to now; no effect once it has fired or stopped.
    void resetCountdown();
    // Disarms and joins; no message is posted afterwards.
    void stop();

    bool running() const { return running_.load(); }

private:
    void countdown();

    QObject* window_;
    unsigned message_;
    unsigned seconds_;
    std::atomic<bool> running_{false};
    std::atomic<std::int64_t> startTime_{0};  // vek::Clock, nanoseconds
    std::thread thread_;
};

}  // namespace vekrsensors
