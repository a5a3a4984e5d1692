#include <gtest/gtest.h>

#include "libLumo/DialogTemplate.h"

namespace {

using libLumo::DialogBaseUnits;
using libLumo::PixelRect;

TEST(MulDiv, RoundsHalfAwayFromZero) {
    struct Row {
        int number, numerator, denominator, expected;
    };
    const Row rows[] = {
        {379, 6, 4, 569},   // 568.5
        {370, 13, 8, 601},  // 601.25
        {1, 1, 2, 1},       // 0.5
        {-1, 1, 2, -1},     // -0.5
        {3, 1, -2, -2},     // -1.5
        {7, 0, 3, 0},
        {5, 3, 0, 0},                    // no denominator: 0, never a trap
        {2000000000, 3, 3, 2000000000},  // no overflow in the product
    };
    for (const Row& r : rows) {
        EXPECT_EQ(libLumo::mulDiv(r.number, r.numerator, r.denominator), r.expected)
            << r.number << "*" << r.numerator << "/" << r.denominator;
    }
}

TEST(MapDialogRect, QuartersOfTheWidthAndEighthsOfTheHeight) {
    struct Row {
        DialogBaseUnits units;
        libLumo::DialogUnitRect rect;
        PixelRect expected;
    };
    const Row rows[] = {
        // The gyrometer dialog and its Fail button with the classic 6 x 13 base units.
        {{6, 13}, {0, 0, 379, 370}, {0, 0, 569, 601}},
        {{6, 13}, {127, 349, 50, 14}, {191, 567, 75, 23}},
        // A larger font scales everything in proportion.
        {{8, 17}, {201, 349, 50, 14}, {402, 742, 100, 30}},
    };
    for (const Row& r : rows)
        EXPECT_EQ(libLumo::mapDialogRect(r.rect, r.units), r.expected);
}

TEST(BaseUnits, AverageLetterWidthAndLineHeight) {
    // 52 letters 312 pixels wide: 6 per letter; 338 pixels: 6.5, which rounds up to 7.
    EXPECT_EQ(libLumo::baseUnitsFromFont(312, 13).cx, 6);
    EXPECT_EQ(libLumo::baseUnitsFromFont(338, 13).cx, 7);
    EXPECT_EQ(libLumo::baseUnitsFromFont(312, 15).cy, 15);
}

}  // namespace
