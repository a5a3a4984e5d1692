#include "BoundedReader.h"

namespace libOrra::iio {

BoundedReader::BoundedReader() : shared_(std::make_shared<Shared>()) {
    std::thread(loop, shared_).detach();
}

BoundedReader::~BoundedReader() {
    {
        std::lock_guard lock(shared_->mutex);
        shared_->quit = true;
    }
    shared_->cv.notify_all();
}

void BoundedReader::loop(std::shared_ptr<Shared> s) {
    std::unique_lock lock(s->mutex);
    for (;;) {
        s->cv.wait(lock, [&] { return s->quit || (s->busy && s->job); });
        if (s->quit)
            return;
        auto job = std::move(s->job);
        s->job = nullptr;
        lock.unlock();
        const bool ok = job();
        lock.lock();
        s->result = ok;
        s->busy = false;
        ++s->finished;
        s->cv.notify_all();
    }
}

std::optional<bool> BoundedReader::run(std::function<bool()> job,
                                       std::chrono::milliseconds timeout) {
    std::lock_guard caller(callers_);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::unique_lock lock(shared_->mutex);
    if (!shared_->cv.wait_until(lock, deadline, [&] { return !shared_->busy; })) {
        return std::nullopt;  // the last read is still stuck
    }
    shared_->job = std::move(job);
    shared_->busy = true;
    const auto ticket = shared_->finished + 1;
    shared_->cv.notify_all();
    if (!shared_->cv.wait_until(lock, deadline, [&] { return shared_->finished >= ticket; })) {
        return std::nullopt;
    }
    return shared_->result;
}

}  // namespace libOrra::iio
