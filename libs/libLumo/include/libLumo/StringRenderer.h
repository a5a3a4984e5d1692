#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

#include "vek/String.h"

class QPainter;

namespace libLumo {

// Draws one text into a fixed rectangle in a given face: word-wrapped, in the largest size up
// to a ceiling that still fits, so that a long translation shrinks instead of being cut off.
// Main thread only.
class StringRenderer {
public:
    StringRenderer(const QRectF& rect, const vek::String& fontName);

    // Takes the text and picks its size for `painter`'s device. `bold` draws it bold.
    void setString(QPainter& painter, const vek::String& text, bool bold);
    void renderString(QPainter& painter, Qt::Alignment alignment, const QColor& colour);

    const QRectF& rect() const { return rect_; }
    // The size picked by the last setString, in pixels.
    int pixelSize() const { return font_.pixelSize(); }

private:
    QRectF rect_;
    QFont font_;
    QString text_;
};

}  // namespace libLumo
