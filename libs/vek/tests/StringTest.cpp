#include <gtest/gtest.h>

#include "vek/String.h"
#include "vek/VekValue.h"

namespace {

struct NoCaseRow {
    const char* a;
    const char* b;
    bool equal;
};

void PrintTo(const NoCaseRow& r, std::ostream* os) {
    *os << r.a << "~" << r.b;
}

class EqualNoCase : public ::testing::TestWithParam<NoCaseRow> {};

TEST_P(EqualNoCase, FoldsLettersOnly) {
    const auto& row = GetParam();
    EXPECT_EQ(vek::String(row.a).equalNoCase(vek::String(row.b)), row.equal)
        << row.a << " ~ " << row.b;
    EXPECT_EQ(vek::String(row.b).equalNoCase(vek::String(row.a)), row.equal);
}

INSTANTIATE_TEST_SUITE_P(
    Table, EqualNoCase,
    ::testing::Values(NoCaseRow{"SIM\\ACCEL\\0", "sim\\accel\\0", true},
                      NoCaseRow{"/sys/devices/IIO:DEVICE0", "/sys/devices/iio:device0", true},
                      NoCaseRow{"abc", "abd", false}, NoCaseRow{"abc", "abcd", false},
                      NoCaseRow{"", "", true}, NoCaseRow{"@", "`", false},  // 0x40 vs 0x60
                      NoCaseRow{"[", "{", false}, NoCaseRow{"ÄÖÜ", "äöü", true},
                      NoCaseRow{"×", "÷", false},  // not a letter pair in Latin-1
                      NoCaseRow{"ДАТЧИК", "датчик", true}, NoCaseRow{"ΣΑ", "σα", true},
                      NoCaseRow{"Łódź", "łÓDŹ", true}, NoCaseRow{"ß", "ss", false}));

TEST(String, Utf8RoundTripsThroughUtf16) {
    for (const char* text : {"", "plain", "Näherungssensor", "датчик", "😀 emoji", "中文"}) {
        const vek::String s(text);
        EXPECT_STREQ(s.getUTF8String().c_str(), text);
    }
    EXPECT_EQ(vek::String("😀").length(), 2u);  // a surrogate pair
    EXPECT_EQ(vek::String("é").getUCS2Buffer()[0], u'\u00e9');
}

TEST(String, MalformedUtf8BecomesReplacementCharacter) {
    EXPECT_EQ(vek::String("a\xff"
                          "b")
                  .units(),
              std::u16string(u"a\uFFFDb"));
    EXPECT_EQ(vek::String("\xc3").units(), std::u16string(u"\uFFFD"));          // truncated
    EXPECT_EQ(vek::String("\xc0\xaf").units(), std::u16string(u"\uFFFD"));      // overlong
    EXPECT_EQ(vek::String("\xed\xa0\x80").units(), std::u16string(u"\uFFFD"));  // surrogate
    EXPECT_EQ(vek::utf16ToUtf8(u"\xD800x"), "\xEF\xBF\xBDx");                   // lone surrogate
}

struct UIntRow {
    const char* text;
    int base;
    bool ok;
    std::uint32_t value;
};

void PrintTo(const UIntRow& r, std::ostream* os) {
    *os << r.text << "/" << r.base;
}

class StrToUInt : public ::testing::TestWithParam<UIntRow> {};

TEST_P(StrToUInt, ParsesWholeTextOrFails) {
    const auto& row = GetParam();
    std::uint32_t v = 77;
    EXPECT_EQ(vek::String::strToUInt(vek::String(row.text), v, row.base), row.ok) << row.text;
    EXPECT_EQ(v, row.ok ? row.value : 77u) << "output untouched on failure";
}

INSTANTIATE_TEST_SUITE_P(
    Table, StrToUInt,
    ::testing::Values(UIntRow{"15", 10, true, 15}, UIntRow{"0", 10, true, 0},
                      UIntRow{"4294967295", 10, true, 4294967295u},
                      UIntRow{"4294967296", 10, false, 0}, UIntRow{"abc", 10, false, 0},
                      UIntRow{"", 10, false, 0}, UIntRow{"-1", 10, false, 0},
                      UIntRow{"12a", 10, false, 0}, UIntRow{" 12", 10, false, 0}));

TEST(VekValue, HexForms) {
    EXPECT_EQ(vek::VekValue(3).toHexString(true).toStdString(), "0x00000003");
    EXPECT_EQ(vek::VekValue(static_cast<std::int32_t>(0x80004005)).toHexString(true).toStdString(),
              "0x80004005");
    EXPECT_EQ(vek::VekValue(-1).toHexString(false).toStdString(), "FFFFFFFF");
}

}  // namespace
