#include "kiva5/Value.h"

#include <charconv>
#include <cmath>

namespace kiva5 {
namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const char x = (a[i] >= 'A' && a[i] <= 'Z') ? static_cast<char>(a[i] + 32) : a[i];
        if (x != b[i])
            return false;
    }
    return true;
}

}  // namespace

Value::Value(double value, const DataType& type) : text_(formatDouble(value)), type_(&type) {}

std::optional<double> Value::parseDouble(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    double v = 0.0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(v)) {
        return std::nullopt;
    }
    return v;
}

std::optional<bool> Value::parseBool(std::string_view text) {
    text = trim(text);
    if (equalsNoCase(text, "true") || text == "1")
        return true;
    if (equalsNoCase(text, "false") || text == "0")
        return false;
    return std::nullopt;
}

std::optional<std::int32_t> Value::parseInt32(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    std::int32_t v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return v;
}

std::string Value::formatDouble(double v) {
    char buf[64];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    return ec == std::errc() ? std::string(buf, end) : std::string("nan");
}

double Value::valueDouble() const {
    return parseDouble(text_).value_or(0.0);
}
bool Value::valueBool() const {
    return parseBool(text_).value_or(false);
}
std::int32_t Value::valueInt32() const {
    return parseInt32(text_).value_or(0);
}

bool Value::isValid() const {
    if (*type_ == DataType::DOUBLE())
        return parseDouble(text_).has_value();
    if (*type_ == DataType::BOOLEAN())
        return parseBool(text_).has_value();
    if (*type_ == DataType::INT32())
        return parseInt32(text_).has_value();
    return true;
}

}  // namespace kiva5
