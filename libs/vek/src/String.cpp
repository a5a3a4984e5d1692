#include "vek/String.h"

#include <algorithm>

namespace vek {
namespace {

// Simple case folding for the scripts that appear in device identifiers and product names.
char16_t foldCase(char16_t c) {
    if (c >= u'A' && c <= u'Z')
        return static_cast<char16_t>(c + 0x20);
    // Latin-1 capitals, except the multiplication sign.
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7)
        return static_cast<char16_t>(c + 0x20);
    // Latin Extended-A pairs capitals and small letters on even/odd code points.
    if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 &&
        c != 0x17F) {
        const bool oddPairs = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
        const bool capital = oddPairs ? (c % 2 == 1) : (c % 2 == 0);
        return capital ? static_cast<char16_t>(c + 1) : c;
    }
    if (c >= 0x391 && c <= 0x3AB && c != 0x3A2)
        return static_cast<char16_t>(c + 0x20);
    if (c >= 0x410 && c <= 0x42F)
        return static_cast<char16_t>(c + 0x20);
    if (c >= 0x400 && c <= 0x40F)
        return static_cast<char16_t>(c + 0x50);
    return c;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

constexpr char16_t kReplacement = 0xFFFD;

}  // namespace

std::u16string utf8ToUtf16(std::string_view in) {
    std::u16string out;
    out.reserve(in.size());
    std::size_t i = 0;
    while (i < in.size()) {
        const auto b0 = static_cast<unsigned char>(in[i]);
        int extra = 0;
        char32_t cp = 0;
        char32_t minimum = 0;
        if (b0 < 0x80) {
            out.push_back(b0);
            ++i;
            continue;
        } else if ((b0 & 0xE0) == 0xC0) {
            extra = 1, cp = b0 & 0x1F, minimum = 0x80;
        } else if ((b0 & 0xF0) == 0xE0) {
            extra = 2, cp = b0 & 0x0F, minimum = 0x800;
        } else if ((b0 & 0xF8) == 0xF0) {
            extra = 3, cp = b0 & 0x07, minimum = 0x10000;
        } else {
            out.push_back(kReplacement);
            ++i;
            continue;
        }
        std::size_t j = i + 1;
        bool ok = true;
        for (int k = 0; k < extra; ++k, ++j) {
            if (j >= in.size() || (static_cast<unsigned char>(in[j]) & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (static_cast<unsigned char>(in[j]) & 0x3F);
        }
        if (!ok || cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            out.push_back(kReplacement);
            i = ok ? j : std::max(j, i + 1);
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
        i = j;
    }
    return out;
}

std::string utf16ToUtf8(std::u16string_view in) {
    std::string out;
    out.reserve(in.size());
    for (std::size_t i = 0; i < in.size(); ++i) {
        char32_t cp = in[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < in.size() && in[i + 1] >= 0xDC00 &&
            in[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        appendUtf8(out, cp);
    }
    return out;
}

std::string toValidUtf8(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : utf16ToUtf8(utf8ToUtf16(bytes));
}

bool isValidUtf8(std::string_view bytes) {
    // A round trip through UTF-16 changes exactly the malformed sequences.
    return utf16ToUtf8(utf8ToUtf16(bytes)) == bytes;
}

std::string escapeInvalidUtf8(std::string_view bytes) {
    static const char* hex = "0123456789abcdef";
    std::string out;
    std::size_t i = 0;
    while (i < bytes.size()) {
        // The longest prefix of at most four bytes that decodes cleanly is one character.
        std::size_t length = 0;
        for (std::size_t n = 1; n <= 4 && i + n <= bytes.size() && !length; ++n) {
            const std::string_view piece = bytes.substr(i, n);
            if (isValidUtf8(piece))
                length = n;
        }
        if (length == 1 && bytes[i] == '\\') {
            out += "\\\\";
        } else if (length) {
            out.append(bytes.substr(i, length));
        } else {
            const auto b = static_cast<unsigned char>(bytes[i]);
            out += "\\x";
            out += hex[b >> 4];
            out += hex[b & 0xF];
            length = 1;
        }
        i += length;
    }
    return out;
}

String::String(const char* utf8) : units_(utf8 ? utf8ToUtf16(utf8) : std::u16string()) {}
String::String(std::string_view utf8) : units_(utf8ToUtf16(utf8)) {}
String::String(const char16_t* utf16) : units_(utf16 ? utf16 : u"") {}

String& String::operator=(const char* utf8) {
    units_ = utf8 ? utf8ToUtf16(utf8) : std::u16string();
    return *this;
}

String& String::operator=(const char16_t* utf16) {
    units_ = utf16 ? utf16 : u"";
    return *this;
}

int String::compare(const String& other) const {
    return units_.compare(other.units_);
}

bool String::equalNoCase(const String& other) const {
    return std::equal(units_.begin(), units_.end(), other.units_.begin(), other.units_.end(),
                      [](char16_t a, char16_t b) { return foldCase(a) == foldCase(b); });
}

CString String::getUTF8String() const {
    return CString(utf16ToUtf8(units_));
}

String& String::operator+=(const String& other) {
    units_ += other.units_;
    return *this;
}

bool String::strToUInt(const String& text, std::uint32_t& value, int base) {
    if (base < 2 || base > 36)
        return false;
    std::u16string_view digits = text.units_;
    if (base == 16 && digits.size() > 2 && digits[0] == u'0' &&
        (digits[1] == u'x' || digits[1] == u'X')) {
        digits.remove_prefix(2);
    }
    if (digits.empty())
        return false;
    std::uint64_t result = 0;
    for (char16_t c : digits) {
        int d = -1;
        if (c >= u'0' && c <= u'9')
            d = c - u'0';
        else if (c >= u'a' && c <= u'z')
            d = c - u'a' + 10;
        else if (c >= u'A' && c <= u'Z')
            d = c - u'A' + 10;
        if (d < 0 || d >= base)
            return false;
        result = result * static_cast<unsigned>(base) + static_cast<unsigned>(d);
        if (result > 0xFFFFFFFFull)
            return false;
    }
    value = static_cast<std::uint32_t>(result);
    return true;
}

String operator+(const char* utf8, const String& s) {
    return String(utf8) += s;
}
String operator+(const String& s, const char* utf8) {
    return String(s) += String(utf8);
}
String operator+(const String& a, const String& b) {
    return String(a) += b;
}

}  // namespace vek
