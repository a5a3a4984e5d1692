#include "kiva5/Localization.h"

#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>

#include "kiva5/KivaException.h"
#include "vek/Json.h"
#include "vek/Resource.h"

namespace kiva5 {
namespace {

struct Tables {
    std::mutex mutex;
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
    const auto content = vek::readTextFile(*file);
    if (!content)
        throw KivaException(file->string() + ": cannot be read");
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

void Localization::load(const std::string& module, const std::string& language, bool explicitChoice,
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
        if (auto table = readTable(module, language)) {
            chosen = std::move(*table);
            effective = language;
        } else if (explicitChoice) {
            throw KivaException("no strings for language \"" + language + "\" (resources/" +
                                module + "/strings/" + language + ".json)");
        }
    }
    setForTesting(effective, std::move(chosen), std::move(*english));
}

vek::String Localization::lookup(const std::string& key) {
    Tables& t = tables();
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
    t.language = std::move(language);
    t.chosen = std::move(chosen);
    t.english = std::move(english);
}

}  // namespace kiva5
