#pragma once

#include <string>
#include <vector>

namespace libLumo {

// A dialog as its resource describes it: sizes in dialog units, which scale with the dialog
// font so that a layout keeps its proportions whatever the font. Plain values.

// The font's base units: average character width and character height in pixels.
struct DialogBaseUnits {
    int cx = 6;
    int cy = 13;
};

struct DialogUnitRect {
    int x = 0, y = 0, cx = 0, cy = 0;
};

struct PixelRect {
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const PixelRect&) const = default;
};

// number * numerator / denominator, rounded half away from zero (0 when denominator is 0).
int mulDiv(int number, int numerator, int denominator);
// Horizontal units are quarters of the average character width, vertical ones eighths of the
// character height.
PixelRect mapDialogRect(const DialogUnitRect& rect, const DialogBaseUnits& units);
// Base units from a font's measures: `alphabetWidth` is the width of the 52 letters A-Z a-z.
DialogBaseUnits baseUnitsFromFont(int alphabetWidth, int lineHeight);

struct ButtonTemplate {
    int id = 0;
    std::string text;  // shown until the dialog sets its localized text
    DialogUnitRect rect;
    bool isDefault = false;  // the button Enter presses (DEFPUSHBUTTON)
};

struct DialogTemplate {
    int id = 0;
    std::string caption;
    int cx = 0, cy = 0;  // client size in dialog units
    bool topmost = false;
    std::vector<ButtonTemplate> buttons;
};

}  // namespace libLumo
