#pragma once

#include <map>
#include <string>
#include <vector>

#include "vek/String.h"

namespace kiva5 {

// The texts of localized-string keys, from "resources/<module>/strings/<language>.json".
// Loaded by the host on the main thread before any test runs, or named then and read at the
// first lookup; read from any thread afterwards.
class Localization {
public:
    // A locale name as people and environments write it: "de", "de_DE", "de-DE",
    // "de_DE.UTF-8", "sr_RS@latin", "C", "POSIX". Nothing that could name a path.
    static bool isLanguageCode(const std::string& code);
    // The languages the environment asks for, best first: LANGUAGE's list, then the first of
    // LC_ALL, LC_MESSAGES and LANG.
    static std::vector<std::string> preferencesFromEnvironment();
    // The string table that serves the first of `preferences` that has one: "de_DE.UTF-8"
    // finds de_DE, then de; "C" and "POSIX" are English. "" when none has a table.
    static std::string firstAvailable(const std::string& module,
                                      const std::vector<std::string>& preferences);
    // The languages the module has tables for, sorted ("de en").
    static std::vector<std::string> available(const std::string& module);
    // Loads English and, when different, the table `language` (a name firstAvailable gave).
    // Throws KivaException when a table is missing or malformed, or English lacks one of
    // `requiredKeys`.
    static void load(const std::string& module, const std::string& language,
                     const std::vector<std::string>& requiredKeys);
    // As load(), but the tables are read at the first lookup: a run whose tests show no text
    // reads none. A lookup that then finds a table missing or malformed throws as load() does.
    static void loadOnFirstUse(const std::string& module, const std::string& language,
                               const std::vector<std::string>& requiredKeys);
    // The text in the loaded language, else in English, else the key itself.
    static vek::String lookup(const std::string& key);
    static const std::string& language();
    // Installs tables directly, for tests.
    static void setForTesting(std::string language, std::map<std::string, std::string> chosen,
                              std::map<std::string, std::string> english);
};

}  // namespace kiva5
