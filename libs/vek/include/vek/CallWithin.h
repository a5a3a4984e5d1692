#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace vek {

namespace detail {
// Jobs that finished after their caller gave up. Never freed: the list and its lock outlive
// every static destructor that a late job could otherwise race with.
inline void keepForever(std::shared_ptr<void> job) {
    static auto* mutex = new std::mutex;
    static auto* kept = new std::vector<std::shared_ptr<void>>;
    std::lock_guard lock(*mutex);
    kept->push_back(std::move(job));
}
}  // namespace detail

// Calls `work` on a thread of its own and waits at most `timeout` for its result: for calls
// into the system that may block for ever (a wedged sysfs attribute, an X server that does not
// answer). nullopt when the call is late, throws, or no thread can be started.
//
// A late call is left to finish alone, as a std::async future would not allow (its destructor
// waits). `work` and what it holds are then never destroyed: the late call may end while the
// process exits, and destroying what it holds (a backend, hooks) would touch statics that exit
// has already torn down. On time, `work` is destroyed on the caller's thread.
template <typename Work>
std::optional<std::invoke_result_t<Work&>> callWithin(std::chrono::milliseconds timeout,
                                                      Work work) {
    using Result = std::invoke_result_t<Work&>;
    struct Job {
        explicit Job(Work w) : work(std::move(w)) {}
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
        bool abandoned = false;
        std::optional<Work> work;
        std::optional<Result> result;
    };
    auto job = std::make_shared<Job>(std::move(work));
    try {
        std::thread([job] {
            std::optional<Result> result;
            try {
                result.emplace((*job->work)());
            } catch (...) {
                // A call that throws answers nothing, like a late one.
            }
            std::lock_guard lock(job->mutex);
            if (job->abandoned) {
                detail::keepForever(job);
                return;
            }
            job->result = std::move(result);
            job->finished = true;
            job->done.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return std::nullopt;
    }
    std::unique_lock lock(job->mutex);
    if (!job->done.wait_for(lock, timeout, [&] { return job->finished; })) {
        job->abandoned = true;
        return std::nullopt;
    }
    job->work.reset();  // here, not on the thread that may still hold the job
    return std::move(job->result);
}

}  // namespace vek
