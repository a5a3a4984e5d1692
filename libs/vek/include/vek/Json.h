#pragma once

#include <cstddef>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace vek {

// Why a JSON document could not be read: where the syntax broke, or a number too large for a
// double (which the parser reports apart from syntax errors).
struct JsonSyntaxError {
    std::size_t line = 0;
    std::size_t column = 0;
    bool numberOutOfRange = false;
    // "line 3, column 14" or "a number out of range".
    std::string describe() const;
};

// The one place the module's JSON files (profile, strings, settings, scenarios) are parsed.
std::optional<nlohmann::json> parseJson(std::string_view text, JsonSyntaxError& error);
// The file's whole text, or nullopt when it cannot be read.
std::optional<std::string> readTextFile(const std::filesystem::path& path);

}  // namespace vek
