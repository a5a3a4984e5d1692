#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace vek {

// Narrow (UTF-8) text handed out by vek::String::getUTF8String(). Owns its bytes.
class CString {
public:
    CString() = default;
    explicit CString(std::string text) : text_(std::move(text)) {}
    const char* c_str() const { return text_.c_str(); }
    const std::string& str() const { return text_; }
    std::size_t length() const { return text_.size(); }

private:
    std::string text_;
};

// The string of every module interface: UTF-16 code units, converted to and from UTF-8 at the
// edges. A value type; not synchronised (each thread uses its own copies).
class String {
public:
    String() = default;
    String(const char* utf8);  // NOLINT(google-explicit-constructor): literals convert freely
    String(std::string_view utf8);
    String(const char16_t* utf16);
    explicit String(std::u16string utf16) : units_(std::move(utf16)) {}

    String& operator=(const char* utf8);
    String& operator=(const char16_t* utf16);

    // Lexicographic comparison of the code units: <0, 0 or >0.
    int compare(const String& other) const;
    // Case-blind equality over the scripts that device identifiers use (ASCII, Latin-1,
    // Greek, Cyrillic); other characters must match exactly.
    bool equalNoCase(const String& other) const;

    const char16_t* getUCS2Buffer() const { return units_.c_str(); }
    CString getUTF8String() const;
    std::string toStdString() const { return getUTF8String().str(); }
    const std::u16string& units() const { return units_; }
    std::size_t length() const { return units_.size(); }
    bool isEmpty() const { return units_.empty(); }

    String& operator+=(const String& other);
    bool operator==(const String& other) const { return units_ == other.units_; }
    std::strong_ordering operator<=>(const String& other) const { return units_ <=> other.units_; }

    // Parses an unsigned number in the given base (2..36). The whole text must be digits of
    // that base (an optional "0x" prefix is accepted for base 16) and the value must fit.
    static bool strToUInt(const String& text, std::uint32_t& value, int base);

private:
    std::u16string units_;
};

String operator+(const char* utf8, const String& s);
String operator+(const String& s, const char* utf8);
String operator+(const String& a, const String& b);

// UTF-8 <-> UTF-16. Malformed input becomes U+FFFD rather than failing: identifiers read from
// devices are shown to people, never rejected.
std::u16string utf8ToUtf16(std::string_view utf8);
std::string utf16ToUtf8(std::u16string_view utf16);

// Text from outside (device names, folder names, command-line words) as valid UTF-8: each
// malformed sequence becomes U+FFFD.
std::string toValidUtf8(std::string_view bytes);
bool isValidUtf8(std::string_view bytes);
// The original bytes, readable and reversible: valid UTF-8 as it is, a backslash as "\\",
// any other byte as "\xHH". For hosts that must match the exact bytes a device reported.
std::string escapeInvalidUtf8(std::string_view bytes);

}  // namespace vek
