#include "libOrra/IioAttribute.h"

#include <charconv>
#include <cmath>

namespace libOrra::iio {
namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\n' ||
                          s.back() == '\r' || s.back() == '\0')) {
        s.remove_suffix(1);
    }
    return s;
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    if (text.empty())
        return std::nullopt;
    double v = 0.0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(v)) {
        return std::nullopt;
    }
    return v;
}

std::optional<Matrix3> parseMountMatrix(std::string_view text) {
    text = trim(text);
    Matrix3 m{};
    std::size_t n = 0;
    std::size_t row = 0;
    std::size_t pos = 0;
    while (pos <= text.size()) {
        const std::size_t next = text.find_first_of(",;", pos);
        const std::string_view part =
            text.substr(pos, next == std::string_view::npos ? std::string_view::npos : next - pos);
        const auto v = parseNumber(part);
        if (!v || n >= 9)
            return std::nullopt;
        m[n++] = *v;
        if (next == std::string_view::npos)
            break;
        if (text[next] == ';') {
            if (n != (row + 1) * 3)
                return std::nullopt;  // three entries per row
            ++row;
        }
        pos = next + 1;
    }
    if (n != 9 || row != 2)
        return std::nullopt;
    return m;
}

}  // namespace libOrra::iio
