#pragma once

#include <cstdint>

#include "vek/String.h"

namespace vek {

// A 32-bit integer with the text forms the logs use for codes and states.
class VekValue {
public:
    explicit VekValue(std::int32_t value) : value_(value) {}
    std::int32_t value() const { return value_; }

    // "0x" and eight upper-case hexadecimal digits of the two's-complement value
    // (0x00000003, 0x80004005); without the prefix when `withPrefix` is false.
    String toHexString(bool withPrefix) const;

private:
    std::int32_t value_;
};

}  // namespace vek
