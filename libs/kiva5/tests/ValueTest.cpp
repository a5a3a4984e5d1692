#include <gtest/gtest.h>

#include <locale>

#include "Capture.h"
#include "kiva5/TestResult.h"
#include "kiva5/Value.h"

namespace {

using kiva5::DataType;
using kiva5::TestResult;
using kiva5::Value;

struct ParseRow {
    const char* text;
    const DataType* type;
    bool valid;
    double asDouble;  // what the matching accessor gives
};

void PrintTo(const ParseRow& r, std::ostream* os) {
    *os << r.type->name() << ":" << r.text;
}

class ValueParsing : public ::testing::TestWithParam<ParseRow> {};

TEST_P(ValueParsing, TextIsReadInTheCLocale) {
    const auto& row = GetParam();
    const Value v(row.text, *row.type);
    EXPECT_EQ(v.isValid(), row.valid);
    if (*row.type == DataType::DOUBLE()) {
        EXPECT_DOUBLE_EQ(v.valueDouble(), row.asDouble);
    } else if (*row.type == DataType::INT32()) {
        EXPECT_EQ(v.valueInt32(), static_cast<int>(row.asDouble));
    } else {
        EXPECT_EQ(v.valueBool(), row.asDouble != 0.0);
    }
}

const DataType* D = &DataType::DOUBLE();
const DataType* I = &DataType::INT32();
const DataType* B = &DataType::BOOLEAN();

INSTANTIATE_TEST_SUITE_P(
    Table, ValueParsing,
    ::testing::Values(ParseRow{"1.5", D, true, 1.5}, ParseRow{" 0.1 ", D, true, 0.1},
                      ParseRow{"+3", D, true, 3.0}, ParseRow{"-2e-3", D, true, -0.002},
                      ParseRow{"", D, false, 0.0}, ParseRow{"1,5", D, false, 0.0},
                      ParseRow{"abc", D, false, 0.0}, ParseRow{"nan", D, false, 0.0},
                      ParseRow{"inf", D, false, 0.0}, ParseRow{"1e999", D, false, 0.0},
                      ParseRow{"3 g", D, false, 0.0}, ParseRow{"15", I, true, 15},
                      ParseRow{"-4", I, true, -4}, ParseRow{"2.5", I, false, 0},
                      ParseRow{"99999999999", I, false, 0}, ParseRow{"", I, false, 0},
                      ParseRow{"true", B, true, 1}, ParseRow{"TRUE", B, true, 1},
                      ParseRow{"1", B, true, 1}, ParseRow{"false", B, true, 0},
                      ParseRow{"0", B, true, 0}, ParseRow{"yes", B, false, 0},
                      ParseRow{"", B, false, 0}));

TEST(Value, DoublesFormatShortestAndIgnoreTheProcessLocale) {
    vekr::testing::CommaLocale comma;
    if (!comma.installed())
        GTEST_SKIP() << "de_DE.UTF-8 is not installed";
    EXPECT_EQ(Value(255.0, DataType::DOUBLE()).text(), "255");
    EXPECT_EQ(Value(-0.5, DataType::DOUBLE()).text(), "-0.5");
    EXPECT_DOUBLE_EQ(Value("0.25", DataType::DOUBLE()).valueDouble(), 0.25);
}

// The codes themselves are in every command-line case's report and exit code.
TEST(TestResult, AResultNobodySetIsCannotRun) {
    EXPECT_EQ(TestResult(), TestResult::CANNOTRUN());
}

TEST(TestResult, WorstResultDecidesTheOverallVerdict) {
    struct Row {
        const TestResult& a;
        const TestResult& b;
        const TestResult& worst;
    };
    const Row rows[] = {
        {TestResult::PASS(), TestResult::WARN(), TestResult::WARN()},
        {TestResult::WARN(), TestResult::NODEVICE(), TestResult::NODEVICE()},
        {TestResult::CANNOTRUN(), TestResult::BADPARAMS(), TestResult::BADPARAMS()},
        {TestResult::USERABORTED(), TestResult::TIMEDOUT(), TestResult::TIMEDOUT()},
        {TestResult::FAIL(), TestResult::TIMEDOUT(), TestResult::FAIL()},
        {TestResult::FAIL(), TestResult::EXITEDABNORMALLY(), TestResult::EXITEDABNORMALLY()},
        {TestResult::PASS(), TestResult::PASS(), TestResult::PASS()},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(TestResult::worse(row.a, row.b), row.worst) << row.a.name() << row.b.name();
        EXPECT_EQ(TestResult::worse(row.b, row.a), row.worst) << row.b.name() << row.a.name();
    }
}

}  // namespace
