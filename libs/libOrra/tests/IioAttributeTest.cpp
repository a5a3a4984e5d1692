#include <gtest/gtest.h>

#include <locale>

#include "Capture.h"
#include "libOrra/IioAttribute.h"

namespace {

using libOrra::iio::parseMountMatrix;
using libOrra::iio::parseNumber;

TEST(IioAttribute, NumbersAsTheKernelPrintsThem) {
    struct Row {
        const char* text;
        std::optional<double> value;
    };
    const Row rows[] = {{"-906\n", -906.0},    {"0.009806650\n", 0.00980665},
                        {"  15 ", 15.0},       {"+3", 3.0},
                        {"1e-3", 0.001},       {"", std::nullopt},
                        {"\n", std::nullopt},  {"0,5", std::nullopt},
                        {"abc", std::nullopt}, {"12abc", std::nullopt},
                        {"nan", std::nullopt}, {"inf", std::nullopt},
                        {"-", std::nullopt},   {"1 2", std::nullopt}};
    for (const Row& row : rows) {
        EXPECT_EQ(parseNumber(row.text), row.value) << '"' << row.text << '"';
    }
}

TEST(IioAttribute, ParsingIgnoresACommaDecimalLocale) {
    vekr::testing::CommaLocale comma;
    if (!comma.installed())
        GTEST_SKIP() << "de_DE.UTF-8 is not installed";
    EXPECT_EQ(parseNumber("0.009806650"), 0.00980665);
    EXPECT_EQ(parseNumber("0,009806650"), std::nullopt);
}

TEST(IioAttribute, MountMatrixIsThreeRowsOfThree) {
    EXPECT_EQ(parseMountMatrix("1, 0, 0; 0, 1, 0; 0, 0, 1\n"), libOrra::iio::kIdentity);
    const auto m = parseMountMatrix("0, 1, 0; -1, 0, 0; 0, 0, -1");
    ASSERT_TRUE(m);
    EXPECT_EQ((*m)[1], 1.0);
    EXPECT_EQ((*m)[3], -1.0);
    EXPECT_EQ((*m)[8], -1.0);
    for (const char* bad :
         {"", "1, 0, 0; 0, 1, 0", "1, 0; 0, 1, 0; 0, 0, 1, 1", "1, 0, 0, 0; 1, 0; 0, 0, 1",
          "a, 0, 0; 0, 1, 0; 0, 0, 1", "1, 0, 0; 0, 1, 0; 0, 0, 1; 1"}) {
        EXPECT_FALSE(parseMountMatrix(bad)) << bad;
    }
}

}  // namespace
