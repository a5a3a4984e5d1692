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
// Input files (scenarios, profiles, settings, string tables) are small; anything larger is a
// mistake, such as a scenario pointed at a disk image or /dev/zero.
constexpr std::size_t kMaxInputFileBytes = 4u << 20;
constexpr const char* kMaxInputFileText = "4 MiB";

// A scenario may be a recording of a long run: ten minutes of a gyrometer read at 100 Hz are
// about 5 MiB.
constexpr std::size_t kMaxScenarioBytes = 32u << 20;

// The whole text of a regular file of at most `maxBytes` (whole MiB), or nullopt with the
// reason in `problem` ("cannot be read: No such file or directory", "is not a regular file",
// "is larger than 4 MiB"). A FIFO or device is refused without blocking on it.
std::optional<std::string> readTextFile(const std::filesystem::path& path,
                                        std::string* problem = nullptr,
                                        std::size_t maxBytes = kMaxInputFileBytes);

}  // namespace vek
