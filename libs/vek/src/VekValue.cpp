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

}  // namespace vek
