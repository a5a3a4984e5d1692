#pragma once

#include <string>
#include <string_view>

#include "vek/String.h"

namespace kiva5 {

// The framework's string: UTF-8 text with UTF-16 and vek::String views.
class KivaString {
public:
    KivaString() = default;
    KivaString(const char* utf8) : utf8_(utf8 ? utf8 : "") {}  // NOLINT: literals convert
    explicit KivaString(std::string utf8) : utf8_(std::move(utf8)) {}
    explicit KivaString(const vek::String& s) : utf8_(s.toStdString()) {}

    const char* getUTF8Buffer() const { return utf8_.c_str(); }
    std::u16string getUCS2Buffer() const { return vek::utf8ToUtf16(utf8_); }
    vek::String vekString() const { return vek::String(std::string_view(utf8_)); }
    const std::string& str() const { return utf8_; }
    bool operator==(const KivaString& other) const = default;

private:
    std::string utf8_;
};

}  // namespace kiva5
