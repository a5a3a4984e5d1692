#include "MachineIdentityText.h"

namespace kiva5 {
namespace {

// Firmware strings are short; a firmware that fills one with junk gets this much of it.
constexpr std::size_t kLongestFirmwareText = 256;

// Firmware placeholders that name no machine.
bool meaningless(const std::string& text) {
    for (const char* filler :
         {"", "To be filled by O.E.M.", "To Be Filled By O.E.M.", "Default string",
          "System Product Name", "Not Specified", "None", "0123456789"}) {
        if (text == filler)
            return true;
    }
    return false;
}

}  // namespace

std::optional<std::string> firmwareText(std::string_view raw) {
    std::string value(raw.substr(0, kLongestFirmwareText));
    while (!value.empty() && (value.back() == '\n' || value.back() == ' '))
        value.pop_back();
    if (meaningless(value))
        return std::nullopt;
    return value;
}

std::string hexText(const unsigned char* bytes, std::size_t count) {
    static const char* hex = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += hex[bytes[i] >> 4];
        text += hex[bytes[i] & 0xF];
    }
    return text;
}

}  // namespace kiva5
