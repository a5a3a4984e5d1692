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
    // The value in base 2..36 (signed); base 16 gives the same digits as toHexString.
    String toString(int base = 10) const;

    // The value that stands for "no position" in array searches.
    static const VekValue& nilValue();
    bool operator==(const VekValue& other) const { return value_ == other.value_; }

private:
    std::int32_t value_;
};

}  // namespace vek
