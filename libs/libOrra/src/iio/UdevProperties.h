#pragma once

#include "libOrra/UdevProperty.h"

namespace libOrra::iio {

using libOrra::udevProperty;

}  // namespace libOrra::iio
