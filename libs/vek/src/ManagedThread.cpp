#include "vek/ManagedThread.h"

#include <pthread.h>

#include <system_error>

namespace vek {

ManagedThread::~ManagedThread() {
    if (thread_.joinable())
        thread_.join();
}

bool ManagedThread::run(const String& name) {
    if (thread_.joinable() || finished_.load() || !function_)
        return false;
    name_ = name;
    try {
        thread_ = std::thread([this] {
            const std::string shortName = name_.toStdString().substr(0, 15);
            pthread_setname_np(pthread_self(), shortName.c_str());
            exitCode_.store(function_(*this));
            finished_.store(true);
        });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

bool ManagedThread::join() {
    if (!thread_.joinable())
        return false;
    if (thread_.get_id() == std::this_thread::get_id())
        return false;
    thread_.join();
    return true;
}

bool ManagedThread::getExitCode(int* code) const {
    if (!code || !finished_.load())
        return false;
    *code = exitCode_.load();
    return true;
}

}  // namespace vek
