#include "vek/Json.h"

namespace vek {

std::string JsonSyntaxError::describe() const {
    if (numberOutOfRange)
        return "a number out of range";
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

std::optional<nlohmann::json> parseJson(std::string_view text, JsonSyntaxError& error) {
    try {
        return nlohmann::json::parse(text.begin(), text.end());
    } catch (const nlohmann::json::parse_error& e) {
        // Turn the parser's byte offset into a line and column people can find.
        error = JsonSyntaxError{1, 1, false};
        for (std::size_t i = 0; i + 1 < e.byte && i < text.size(); ++i) {
            if (text[i] == '\n') {
                ++error.line;
                error.column = 1;
            } else {
                ++error.column;
            }
        }
    } catch (const nlohmann::json::exception&) {
        error = JsonSyntaxError{0, 0, true};
    }
    return std::nullopt;
}

}  // namespace vek
