#pragma once

#include "kiva5/KivaString.h"

namespace kiva5 {

// A failure of the framework itself (an unreadable profile, a malformed scenario, a report that
// cannot be written). It reaches the module's application object, which writes it as one line.
class KivaException {
public:
    explicit KivaException(std::string message) : message_(std::move(message)) {}
    KivaString toString() const { return message_; }

private:
    KivaString message_;
};

// A file the person named on the command line cannot be used (a missing or malformed profile
// or scenario): a usage error, answered with one line and exit 64 before any test runs.
class InputError : public KivaException {
public:
    using KivaException::KivaException;
};

}  // namespace kiva5
