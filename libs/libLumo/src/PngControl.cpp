#include "libLumo/PngControl.h"

#include <QPainter>

#include "libLumo/VekDialog.h"
#include "vek/Resource.h"

namespace libLumo {

PngControl::PngControl(QWidget* parent, int id, bool notify) : QAbstractButton(parent) {
    setObjectName(QString::number(id));
    setFocusPolicy(Qt::NoFocus);
    if (!notify)
        setAttribute(Qt::WA_TransparentForMouseEvents);
    else
        setCursor(Qt::PointingHandCursor);
}

void PngControl::SetImage(const QImage& image, bool redraw, bool, bool) {
    image_ = image;
    if (redraw)
        update();
}

bool PngControl::SetImage(const vek::String& path, bool redraw, bool, bool) {
    const auto file = vek::Resource::resolve(path.toStdString());
    QImage image;
    if (!file || !image.load(QString::fromStdString(file->string())))
        return false;
    SetImage(image, redraw, false, false);
    return true;
}

void PngControl::paintEvent(QPaintEvent*) {
    if (image_.isNull())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QSize fitted = image_.size().scaled(size(), Qt::KeepAspectRatio);
    const QRect target(QPoint((width() - fitted.width()) / 2, (height() - fitted.height()) / 2),
                       fitted);
    painter.drawImage(target, image_);
}

}  // namespace libLumo
