#pragma once

#include <atomic>
#include <thread>

#include "vek/String.h"

namespace vek {

// A named worker thread running `function(*this)`. Owned by the thread that built it, which
// alone calls run(), join() and getExitCode(); the worker reaches its context through
// getContext(). The destructor joins a thread still running, so a worker never outlives the
// object whose context it uses.
class ManagedThread {
public:
    using Function = int (*)(ManagedThread&);

    ManagedThread(Function function, void* context) : function_(function), context_(context) {}
    ~ManagedThread();
    ManagedThread(const ManagedThread&) = delete;
    ManagedThread& operator=(const ManagedThread&) = delete;

    // Starts the thread under `name` (the first 15 bytes show in ps/top). False when it is
    // already started or the system refused a thread.
    bool run(const String& name);
    // Waits for the thread; false when it was never started or is already joined.
    bool join();
    // The function's return value; false until the function has returned.
    bool getExitCode(int* code) const;
    void* getContext() const { return context_; }
    const String& name() const { return name_; }

private:
    Function function_;
    void* context_;
    String name_;
    std::thread thread_;
    std::atomic<bool> finished_{false};
    std::atomic<int> exitCode_{0};
};

}  // namespace vek
