#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "Capture.h"
#include "vek/Array.h"
#include "vek/Logging.h"

namespace {

TEST(Array, IndexAtOrBeyondSizeRaisesTheAssertionAndLogsIt) {
    vekr::testing::LogCapture log;
    vek::Array<std::unique_ptr<int>> a;
    a.add(std::make_unique<int>(1));
    for (std::size_t index : {std::size_t{1}, std::size_t{1000}}) {
        try {
            (void)a[index];
            GTEST_FAIL() << "index " << index << " was served";
        } catch (const vek::AssertionFailure& e) {
            EXPECT_NE(e.toString().toStdString().find("index < size()"), std::string::npos);
        }
    }
    vek::Array<int> empty;
    EXPECT_THROW((void)empty[0], vek::AssertionFailure);
    EXPECT_EQ(log.count("Assertion failed: index < size()"), 3) << log.text();
}

TEST(Array, ImpossibleSizeIsReportedWithTheSize) {
    try {
        vek::Array<int> a(std::size_t{1} << 40);
        GTEST_FAIL() << "built an array of 2^40 elements";
    } catch (const vek::Exception& e) {
        EXPECT_EQ(e.toString().toStdString(), "Asked for array of size: 1099511627776");
    }
}

}  // namespace
