#pragma once

#include <QString>

#include "kiva5/Localization.h"
#include "libLumo/VekDialog.h"

namespace vekrsensors {

// The text of `key` in the run's language, for a window's words and accessible descriptions.
// The dialogs' thread only (Qt text).
inline QString localizedText(const char* key) {
    return libLumo::toQString(kiva5::Localization::lookup(key));
}

}  // namespace vekrsensors
