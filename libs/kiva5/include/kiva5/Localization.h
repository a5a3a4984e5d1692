#pragma once

#include <map>
#include <string>
#include <vector>

#include "vek/String.h"

namespace kiva5 {

// The texts of localized-string keys, from "resources/<module>/strings/<language>.json".
// Loaded once by the host on the main thread before any test runs; read from any thread
// afterwards.
class Localization {
public:
    // Loads English and, when different, `language`. Throws KivaException when the English
    // table is missing or malformed, or lacks one of `requiredKeys`, and when an explicitly
    // requested language has no table.
    static void load(const std::string& module, const std::string& language, bool explicitChoice,
                     const std::vector<std::string>& requiredKeys);
    // The text in the loaded language, else in English, else the key itself.
    static vek::String lookup(const std::string& key);
    static const std::string& language();
    // Installs tables directly, for tests.
    static void setForTesting(std::string language, std::map<std::string, std::string> chosen,
                              std::map<std::string, std::string> english);
};

}  // namespace kiva5
