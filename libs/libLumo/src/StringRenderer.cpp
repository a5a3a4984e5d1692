#include "libLumo/StringRenderer.h"

#include <QFontMetricsF>
#include <QPainter>

#include "libLumo/VekDialog.h"

namespace libLumo {
namespace {
// The largest size tried: about two lines in a 50-pixel rectangle.
constexpr int kMaxPixelSize = 20;
constexpr int kMinPixelSize = 8;
constexpr int kFlags = Qt::TextWordWrap;
}  // namespace

StringRenderer::StringRenderer(const QRectF& rect, const vek::String& fontName) : rect_(rect) {
    font_.setFamily(toQString(fontName));
    font_.setPixelSize(kMaxPixelSize);
}

void StringRenderer::setString(QPainter& painter, const vek::String& text, bool bold) {
    text_ = toQString(text);
    font_.setBold(bold);
    for (int size = std::min(kMaxPixelSize, static_cast<int>(rect_.height()));
         size >= kMinPixelSize; --size) {
        font_.setPixelSize(size);
        const QRectF needed =
            QFontMetricsF(font_, painter.device()).boundingRect(rect_, kFlags, text_);
        if (needed.height() <= rect_.height() && needed.width() <= rect_.width())
            return;
    }
    font_.setPixelSize(kMinPixelSize);
}

void StringRenderer::renderString(QPainter& painter, Qt::Alignment alignment,
                                  const QColor& colour) {
    painter.save();
    painter.setFont(font_);
    painter.setPen(colour);
    painter.drawText(rect_, static_cast<int>(alignment | Qt::AlignVCenter) | kFlags, text_);
    painter.restore();
}

}  // namespace libLumo
