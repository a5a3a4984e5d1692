#include "SapiSensors.h"

// The mailbox alone needs no Windows: the module's side of the hand-off is built and tested
// on every platform.

namespace libOrra::sapi {

void SapiMailbox::dataUpdated() {
    std::lock_guard lock(mutex_);
    ++pending_.dataUpdates;
}

void SapiMailbox::stateChanged(std::int32_t state) {
    std::lock_guard lock(mutex_);
    pending_.stateChanged = true;
    pending_.state = state;
}

void SapiMailbox::left() {
    std::lock_guard lock(mutex_);
    pending_.left = true;
    gone_ = true;
}

SapiMailbox::Taken SapiMailbox::take() {
    std::lock_guard lock(mutex_);
    Taken out = pending_;
    pending_ = Taken{};
    return out;
}

bool SapiMailbox::hasLeft() const {
    std::lock_guard lock(mutex_);
    return gone_;
}

}  // namespace libOrra::sapi
