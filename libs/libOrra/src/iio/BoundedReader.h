#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace libOrra::iio {

// Runs reads on a thread of its own so that the caller waits a bounded time. A sysfs read of
// a HID sensor hub can block for seconds while the hub powers up; the caller then gets "no
// reading" in time and the read finishes in the background. At most one read is in flight.
// Owned by one sensor; run() may be called from several threads.
class BoundedReader {
public:
    BoundedReader();
    ~BoundedReader();
    BoundedReader(const BoundedReader&) = delete;
    BoundedReader& operator=(const BoundedReader&) = delete;

    // The job's answer, or nullopt when it did not finish within `timeout` (or a previous job
    // is still stuck). The job must only touch state it co-owns (a stuck job outlives this
    // object's owner).
    std::optional<bool> run(std::function<bool()> job, std::chrono::milliseconds timeout);

private:
    struct Shared {
        std::mutex mutex;
        std::condition_variable cv;
        std::function<bool()> job;
        bool busy = false;
        bool quit = false;
        bool result = false;
        unsigned long long finished = 0;
    };
    static void loop(std::shared_ptr<Shared> shared);
    std::shared_ptr<Shared> shared_;
    std::mutex callers_;  // one caller posts and waits at a time
};

}  // namespace libOrra::iio
