#include "kiva5/Localization.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>

#include "kiva5/KivaException.h"
#include "vek/Json.h"
#include "vek/Resource.h"

namespace kiva5 {
namespace {

struct PendingLoad {
    std::string module;
    std::string language;
    std::vector<std::string> requiredKeys;
};

struct Tables {
    std::mutex mutex;
    // Held while a deferred load reads the tables, so a second reader waits for them.
    std::mutex loadMutex;
    std::optional<PendingLoad> pending;
    std::string language = "en";
    std::map<std::string, std::string> chosen;
    std::map<std::string, std::string> english;
};

Tables& tables() {
    static Tables* t = new Tables;
    return *t;
}

std::optional<std::map<std::string, std::string>> readTable(const std::string& module,
                                                            const std::string& language) {
    const auto file = vek::Resource::resolve(std::filesystem::path("resources") / module /
                                             "strings" / (language + ".json"));
    if (!file)
        return std::nullopt;
    std::string problem;
    const auto content = vek::readTextFile(*file, &problem);
    if (!content)
        throw KivaException(file->string() + ": " + problem);
    vek::JsonSyntaxError error;
    const auto parsed = vek::parseJson(*content, error);
    if (!parsed)
        throw KivaException(file->string() + ": not valid JSON (" + error.describe() + ")");
    const nlohmann::json& doc = *parsed;
    if (!doc.is_object())
        throw KivaException(file->string() + ": must be a JSON object");
    std::map<std::string, std::string> table;
    for (const auto& [key, text] : doc.items()) {
        if (!text.is_string()) {
            throw KivaException(file->string() + ": text of \"" + key + "\" must be a string");
        }
        table[key] = text.get<std::string>();
    }
    return table;
}

}  // namespace

bool Localization::isLanguageCode(const std::string& code) {
    if (code == "C" || code == "POSIX")
        return true;
    // language [_-] territory [. codeset] [@ modifier]
    std::size_t i = 0;
    const auto run = [&](auto accept) {
        const std::size_t from = i;
        while (i < code.size() && accept(static_cast<unsigned char>(code[i])))
            ++i;
        return i - from;
    };
    const std::size_t language = run([](unsigned char c) { return std::isalpha(c) != 0; });
    if (language < 2 || language > 3)
        return false;
    if (i < code.size() && (code[i] == '_' || code[i] == '-')) {
        ++i;
        const std::size_t territory = run([](unsigned char c) { return std::isalnum(c) != 0; });
        if (territory < 2 || territory > 3)
            return false;
    }
    if (i < code.size() && code[i] == '.') {
        ++i;
        if (run([](unsigned char c) { return std::isalnum(c) != 0 || c == '-' || c == '_'; }) == 0)
            return false;
    }
    if (i < code.size() && code[i] == '@') {
        ++i;
        if (run([](unsigned char c) { return std::isalnum(c) != 0; }) == 0)
            return false;
    }
    return i == code.size();
}

std::vector<std::string> Localization::preferencesFromEnvironment() {
    std::vector<std::string> out;
    if (const char* list = std::getenv("LANGUAGE")) {
        std::string rest(list);
        for (std::size_t at = 0; at <= rest.size();) {
            const std::size_t colon = std::min(rest.find(':', at), rest.size());
            if (colon > at)
                out.push_back(rest.substr(at, colon - at));
            at = colon + 1;
        }
    }
    for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* v = std::getenv(var);
        if (v && *v) {
            out.emplace_back(v);
            break;
        }
    }
    return out;
}

std::string Localization::firstAvailable(const std::string& module,
                                         const std::vector<std::string>& preferences) {
    for (const auto& code : preferences) {
        if (!isLanguageCode(code))
            continue;  // an environment may hold anything; only names are looked up
        if (code == "C" || code == "POSIX")
            return "en";
        const std::string base = code.substr(0, code.find_first_of(".@"));
        std::string language = base.substr(0, base.find_first_of("_-"));
        for (char& c : language)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        std::vector<std::string> names;
        if (base.size() > language.size()) {
            std::string territory = base.substr(language.size() + 1);
            for (char& c : territory)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            names.push_back(language + "_" + territory);
        }
        names.push_back(language);
        for (const auto& name : names) {
            if (vek::Resource::resolve(std::filesystem::path("resources") / module / "strings" /
                                       (name + ".json")))
                return name;
        }
    }
    return "";
}

std::vector<std::string> Localization::available(const std::string& module) {
    std::vector<std::string> out;
    const auto english =
        vek::Resource::resolve(std::filesystem::path("resources") / module / "strings/en.json");
    if (!english)
        return out;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(english->parent_path(), ec)) {
        if (entry.path().extension() == ".json")
            out.push_back(entry.path().stem().string());
    }
    std::sort(out.begin(), out.end());
    return out;
}

void Localization::load(const std::string& module, const std::string& language,
                        const std::vector<std::string>& requiredKeys) {
    auto english = readTable(module, "en");
    if (!english) {
        throw KivaException("resources/" + module + "/strings/en.json: not found beside the " +
                            "working directory or the executable");
    }
    for (const auto& key : requiredKeys) {
        if (!english->count(key)) {
            throw KivaException("resources/" + module + "/strings/en.json: no text for \"" + key +
                                "\"");
        }
    }
    std::map<std::string, std::string> chosen;
    std::string effective = "en";
    if (language != "en") {
        auto table = readTable(module, language);
        if (!table) {
            throw KivaException("resources/" + module + "/strings/" + language +
                                ".json: not found");
        }
        chosen = std::move(*table);
        effective = language;
    }
    setForTesting(effective, std::move(chosen), std::move(*english));
}

void Localization::loadOnFirstUse(const std::string& module, const std::string& language,
                                  const std::vector<std::string>& requiredKeys) {
    Tables& t = tables();
    std::lock_guard lock(t.mutex);
    t.pending = PendingLoad{module, language, requiredKeys};
    t.language = language;
}

vek::String Localization::lookup(const std::string& key) {
    Tables& t = tables();
    {
        std::lock_guard loading(t.loadMutex);
        std::optional<PendingLoad> pending;
        {
            std::lock_guard lock(t.mutex);
            pending.swap(t.pending);
        }
        if (pending)
            load(pending->module, pending->language, pending->requiredKeys);
    }
    std::lock_guard lock(t.mutex);
    if (auto it = t.chosen.find(key); it != t.chosen.end())
        return vek::String(it->second);
    if (auto it = t.english.find(key); it != t.english.end())
        return vek::String(it->second);
    return vek::String(key);
}

const std::string& Localization::language() {
    Tables& t = tables();
    std::lock_guard lock(t.mutex);
    return t.language;
}

void Localization::setForTesting(std::string language, std::map<std::string, std::string> chosen,
                                 std::map<std::string, std::string> english) {
    Tables& t = tables();
    std::lock_guard lock(t.mutex);
    t.pending.reset();
    t.language = std::move(language);
    t.chosen = std::move(chosen);
    t.english = std::move(english);
}

}  // namespace kiva5
