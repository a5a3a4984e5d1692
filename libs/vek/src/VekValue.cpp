#include "vek/VekValue.h"

#include <cstdio>
#include <string>

namespace vek {

String VekValue::toHexString(bool withPrefix) const {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%s%08X", withPrefix ? "0x" : "",
                  static_cast<std::uint32_t>(value_));
    return String(buf);
}

String VekValue::toString(int base) const {
    if (base == 16)
        return toHexString(false);
    if (base < 2 || base > 36)
        base = 10;
    std::int64_t v = value_;
    const bool negative = v < 0;
    if (negative)
        v = -v;
    std::string digits;
    do {
        const int d = static_cast<int>(v % base);
        digits.insert(digits.begin(), static_cast<char>(d < 10 ? '0' + d : 'A' + d - 10));
        v /= base;
    } while (v > 0);
    if (negative)
        digits.insert(digits.begin(), '-');
    return String(digits);
}

const VekValue& VekValue::nilValue() {
    static const VekValue nil(-1);
    return nil;
}

}  // namespace vek
