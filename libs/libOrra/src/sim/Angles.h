#pragma once

#include <cmath>

namespace libOrra::sim {

// `d` degrees brought into [0, 360).
inline double wrap360(double d) {
    d = std::fmod(d, 360.0);
    return d < 0 ? d + 360.0 : d;
}

}  // namespace libOrra::sim
