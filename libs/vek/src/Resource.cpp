#include "vek/Resource.h"

#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>
#include <vector>

#include "vek/Exception.h"
#include "vek/Json.h"
#include "Process.h"

namespace vek {
namespace fs = std::filesystem;
namespace {

struct Settings {
    std::map<std::string, std::string> common;
    std::map<std::string, std::map<std::string, std::string>> byLanguage;
};

struct State {
    std::mutex mutex;
    std::map<std::string, std::optional<Settings>> modules;  // nullopt: no settings file
    std::optional<fs::path> exeDirOverride;
    bool exeDirOverridden = false;
    // Every locale ever set stays alive: getGlobalLocale() hands out references.
    std::deque<VekLocale> locales{VekLocale("en")};
};

State& state() {
    static State* s = new State;
    return *s;
}

std::optional<fs::path> executableDir() {
    State& s = state();
    if (s.exeDirOverridden)
        return s.exeDirOverride;
    const std::optional<fs::path> exe = process::executablePath();
    if (!exe)
        return std::nullopt;
    return exe->parent_path();
}

std::string valueText(const nlohmann::json& v) {
    if (v.is_string())
        return v.get<std::string>();
    if (v.is_number_unsigned())
        return std::to_string(v.get<unsigned long long>());
    if (v.is_number_integer())
        return std::to_string(v.get<long long>());
    if (v.is_boolean())
        return v.get<bool>() ? "true" : "false";
    return v.dump();
}

std::map<std::string, std::string> readBlock(const nlohmann::json& block, const fs::path& file,
                                             const std::string& where) {
    if (!block.is_object()) {
        throw Exception(String(file.string() + ": \"" + where + "\" must be an object"));
    }
    std::map<std::string, std::string> out;
    for (const auto& [key, v] : block.items()) {
        if (v.is_object() || v.is_array() || v.is_null()) {
            throw Exception(String(file.string() + ": setting \"" + key + "\" in \"" + where +
                                   "\" must be a string, number or boolean"));
        }
        out[key] = valueText(v);
    }
    return out;
}

std::optional<Settings> parseSettings(const std::string& module) {
    const fs::path relative = fs::path("resources") / module / "settings.json";
    const auto file = Resource::resolve(relative);
    if (!file)
        return std::nullopt;
    std::string problem;
    const auto text = readTextFile(*file, &problem);
    if (!text)
        throw Exception(String(file->string() + ": " + problem));
    JsonSyntaxError error;
    const auto parsed = parseJson(*text, error);
    if (!parsed)
        throw Exception(String(file->string() + ": not valid JSON (" + error.describe() + ")"));
    const nlohmann::json& doc = *parsed;
    if (!doc.is_object())
        throw Exception(String(file->string() + ": must be a JSON object"));
    Settings settings;
    if (doc.contains("settings"))
        settings.common = readBlock(doc["settings"], *file, "settings");
    if (doc.contains("languages")) {
        const auto& langs = doc["languages"];
        if (!langs.is_object()) {
            throw Exception(String(file->string() + ": \"languages\" must be an object"));
        }
        for (const auto& [lang, block] : langs.items()) {
            settings.byLanguage[lang] = readBlock(block, *file, "languages." + lang);
        }
    }
    return settings;
}

const std::optional<Settings>& settingsFor(const std::string& module) {
    State& s = state();
    auto it = s.modules.find(module);
    if (it == s.modules.end())
        it = s.modules.emplace(module, parseSettings(module)).first;
    return it->second;
}

}  // namespace

const VekLocale& VekLocale::getGlobalLocale() {
    State& s = state();
    std::lock_guard lock(s.mutex);
    return s.locales.back();
}

void VekLocale::setGlobalLocale(const std::string& language) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    s.locales.emplace_back(language);
}

namespace {

// `relative` under `base`, each component matched without regard to letter case when the
// exact name is missing (resource names were written for a file system that ignores case:
// "Resources/..." must find "resources/..."). Empty components from doubled slashes are
// skipped. The first match in directory order wins.
std::optional<fs::path> findIgnoringCase(const fs::path& base, const fs::path& relative) {
    fs::path at = base;
    std::error_code ec;
    for (const fs::path& part : relative) {
        if (part.empty() || part == ".")
            continue;
        if (fs::exists(at / part, ec)) {
            at /= part;
            continue;
        }
        const String wanted(part.string());
        std::optional<fs::path> found;
        for (fs::directory_iterator it(at, ec), end; !ec && it != end; it.increment(ec)) {
            if (String(it->path().filename().string()).equalNoCase(wanted)) {
                found = it->path();
                break;
            }
        }
        if (!found)
            return std::nullopt;
        at = *found;
    }
    return fs::is_regular_file(at, ec) ? std::optional<fs::path>(at) : std::nullopt;
}

}  // namespace

namespace {

// The install's data folder as seen from the installed executable, e.g. "../../share" from
// "<prefix>/lib/vekrsensors" (set by the build from the install layout).
#ifndef VEK_DATA_DIR_FROM_EXECUTABLE
#define VEK_DATA_DIR_FROM_EXECUTABLE "../../share"
#endif

// Where a shipped resource lies, as (folder, path under it): beside the executable as in the
// build tree ("<bin>/resources/vekrsensors/x.png"), and in the install's data folder, where
// the "resources" level is left out ("<prefix>/share/vekrsensors/x.png").
std::vector<std::pair<fs::path, fs::path>> shippedLocations(const fs::path& relative) {
    std::vector<std::pair<fs::path, fs::path>> out;
    const auto dir = executableDir();
    if (!dir)
        return out;
    out.emplace_back(*dir, relative);
    if (relative.is_relative()) {
        fs::path rest;
        bool first = true;
        bool underResources = false;
        for (const fs::path& part : relative) {
            if (part.empty() || part == ".")
                continue;
            if (first) {
                underResources = String(part.string()).equalNoCase(String("resources"));
                first = false;
                if (underResources)
                    continue;
            }
            rest /= part;
        }
        if (underResources && !rest.empty())
            out.emplace_back((*dir / VEK_DATA_DIR_FROM_EXECUTABLE).lexically_normal(), rest);
    }
    return out;
}

}  // namespace

std::optional<fs::path> Resource::resolve(const fs::path& relative) {
    std::error_code ec;
    if (fs::is_regular_file(relative, ec))
        return fs::absolute(relative, ec);
    const auto shipped = shippedLocations(relative);
    for (const auto& [base, rest] : shipped) {
        if (fs::is_regular_file(base / rest, ec))
            return base / rest;
    }
    if (relative.is_relative()) {
        if (auto found = findIgnoringCase(fs::current_path(ec), relative))
            return found;
        for (const auto& [base, rest] : shipped) {
            if (auto found = findIgnoringCase(base, rest))
                return found;
        }
    }
    return std::nullopt;
}

bool Resource::overridesInstalled(const fs::path& relative, const fs::path& file) {
    std::error_code ec;
    for (const auto& [base, rest] : shippedLocations(relative)) {
        const fs::path installed = base / rest;
        if (fs::is_regular_file(installed, ec))
            return !fs::equivalent(installed, file, ec);
    }
    return false;
}

bool Resource::getSetting(const String& module, const String& key, String& value,
                          const VekLocale& locale) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    const auto& settings = settingsFor(module.toStdString());
    if (!settings)
        return false;
    const std::string k = key.toStdString();
    if (auto lang = settings->byLanguage.find(locale.language());
        lang != settings->byLanguage.end()) {
        if (auto it = lang->second.find(k); it != lang->second.end()) {
            value = String(it->second);
            return true;
        }
    }
    if (auto it = settings->common.find(k); it != settings->common.end()) {
        value = String(it->second);
        return true;
    }
    return false;
}

void Resource::loadSettings(const String& module) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    settingsFor(module.toStdString());
}

void Resource::resetForTesting() {
    State& s = state();
    std::lock_guard lock(s.mutex);
    s.modules.clear();
    s.exeDirOverridden = false;
    s.exeDirOverride.reset();
}

void Resource::setExecutableDirForTesting(std::optional<fs::path> dir) {
    State& s = state();
    std::lock_guard lock(s.mutex);
    s.exeDirOverridden = true;
    s.exeDirOverride = std::move(dir);
}

}  // namespace vek
