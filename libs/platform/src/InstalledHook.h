#pragma once

#include <mutex>

namespace platform {

// A process-wide callback that one party installs and may later remove: the display's
// rotation, the simulated operator's script. Installing returns a token; clearing with an
// old token does nothing, so a party that was replaced cannot remove its successor's hook.
// Thread-safe; get() hands out a copy to call without the lock.
template <typename Function>
class InstalledHook {
public:
    unsigned set(Function function) {
        std::lock_guard lock(mutex_);
        function_ = std::move(function);
        return ++token_;
    }
    void clear(unsigned token) {
        std::lock_guard lock(mutex_);
        if (token == token_)
            function_ = nullptr;
    }
    Function get() const {
        std::lock_guard lock(mutex_);
        return function_;
    }

private:
    mutable std::mutex mutex_;
    Function function_;
    unsigned token_ = 0;
};

}  // namespace platform
