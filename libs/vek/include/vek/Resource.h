#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "vek/String.h"

namespace vek {

// The language the module speaks to people, e.g. "en" or "de".
class VekLocale {
public:
    explicit VekLocale(std::string language) : language_(std::move(language)) {}
    const std::string& language() const { return language_; }

    static const VekLocale& getGlobalLocale();
    static void setGlobalLocale(const std::string& language);

private:
    std::string language_;
};

// The module's resource folder and its settings. Paths ("resources/<module>/...") resolve
// against the working directory first, then beside the running executable (the build tree),
// then in the install's data folder ("<prefix>/share/<module>/..." from an executable in
// "<prefix>/lib/<module>/"), so the module works from a build tree, an install and a test's
// temporary folder alike.
class Resource {
public:
    // The first existing file for `relative` (e.g. "resources/vekrsensors/settings.json").
    // Letter case is ignored where the exact name is missing ("Resources//vekrsensors//x.png"
    // finds "resources/vekrsensors/x.png").
    static std::optional<std::filesystem::path> resolve(const std::filesystem::path& relative);
    // True when resolve() found `file` in the working directory although the executable's
    // folder has the installed one: a local copy that overrides the install, which people
    // should be told about.
    static bool overridesInstalled(const std::filesystem::path& relative,
                                   const std::filesystem::path& file);

    // Reads setting `key` of module `module` from "resources/<module>/settings.json": the
    // locale's language block first, then the common block. False when the file or key is
    // missing. A settings file that is not valid JSON of that shape throws vek::Exception
    // naming the file and the fault: a broken install must not pass for default settings.
    static bool getSetting(const String& module, const String& key, String& value,
                           const VekLocale& locale);

    // Parses the module's settings file now (it is otherwise read on first use); throws as
    // getSetting does.
    static void loadSettings(const String& module);
    // Forgets parsed settings and the executable's folder, for tests.
    static void resetForTesting();
    static void setExecutableDirForTesting(std::optional<std::filesystem::path> dir);
};

}  // namespace vek
