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

// A whole unsigned number at the front of `text`, which is advanced past it.
std::optional<unsigned> takeUnsigned(std::string_view& text) {
    unsigned v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec != std::errc() || end == text.data())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return v;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
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
    // Mount matrices are rotations, perhaps with a mirror: |det| = 1. Anything near zero
    // loses an axis.
    const double det = m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
                       m[2] * (m[3] * m[7] - m[4] * m[6]);
    if (!std::isfinite(det) || std::fabs(det) < 1e-3)
        return std::nullopt;
    return m;
}

std::optional<ScanType> parseScanType(std::string_view text) {
    text = trim(text);
    ScanType t;
    if (takePrefix(text, "be:")) {
        t.bigEndian = true;
    } else if (!takePrefix(text, "le:")) {
        return std::nullopt;
    }
    if (takePrefix(text, "s")) {
        t.isSigned = true;
    } else if (!takePrefix(text, "u")) {
        return std::nullopt;
    }
    const auto real = takeUnsigned(text);
    if (!real || !takePrefix(text, "/"))
        return std::nullopt;
    const auto storage = takeUnsigned(text);
    if (!storage)
        return std::nullopt;
    if (takePrefix(text, "X")) {
        const auto repeat = takeUnsigned(text);
        if (!repeat || *repeat == 0 || *repeat > 16)
            return std::nullopt;
        t.repeat = *repeat;
    }
    if (!takePrefix(text, ">>"))
        return std::nullopt;
    const auto shift = takeUnsigned(text);
    if (!shift || !text.empty())
        return std::nullopt;
    t.realBits = *real;
    t.storageBits = *storage;
    t.shift = *shift;
    const bool storageOk =
        t.storageBits == 8 || t.storageBits == 16 || t.storageBits == 32 || t.storageBits == 64;
    if (!storageOk || t.realBits == 0 || t.realBits + t.shift > t.storageBits)
        return std::nullopt;
    return t;
}

std::int64_t decodeScanValue(const ScanType& type, const std::uint8_t* data) {
    const unsigned bytes = type.storageBits / 8;
    std::uint64_t raw = 0;
    for (unsigned i = 0; i < bytes; ++i) {
        const unsigned at = type.bigEndian ? i : bytes - 1 - i;
        raw = (raw << 8) | data[at];
    }
    raw >>= type.shift;
    if (type.realBits < 64)
        raw &= (std::uint64_t{1} << type.realBits) - 1;
    // Sign extension by shifting the value's top bit into the word's and back (arithmetic in
    // C++20); subtracting 2^realBits overflows for 63-bit values.
    if (type.isSigned && type.realBits < 64 && type.realBits > 0) {
        const unsigned unused = 64 - type.realBits;
        return static_cast<std::int64_t>(raw << unused) >> unused;
    }
    return static_cast<std::int64_t>(raw);
}

}  // namespace libOrra::iio
