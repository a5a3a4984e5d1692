#include "libLumo/DialogTemplate.h"

#include <cstdint>

namespace libLumo {

int mulDiv(int number, int numerator, int denominator) {
    if (denominator == 0)
        return 0;
    const std::int64_t product = static_cast<std::int64_t>(number) * numerator;
    const std::int64_t half = (denominator > 0 ? denominator : -denominator) / 2;
    const bool negative = (product < 0) != (denominator < 0);
    const std::int64_t magnitude = (product < 0 ? -product : product) + half;
    const std::int64_t quotient = magnitude / (denominator > 0 ? denominator : -denominator);
    return static_cast<int>(negative ? -quotient : quotient);
}

PixelRect mapDialogRect(const DialogUnitRect& r, const DialogBaseUnits& u) {
    return {mulDiv(r.x, u.cx, 4), mulDiv(r.y, u.cy, 8), mulDiv(r.cx, u.cx, 4),
            mulDiv(r.cy, u.cy, 8)};
}

DialogBaseUnits baseUnitsFromFont(int alphabetWidth, int lineHeight) {
    // The average of the 52 letters, rounded: (width / 26 + 1) / 2.
    return {(alphabetWidth / 26 + 1) / 2, lineHeight};
}

}  // namespace libLumo
