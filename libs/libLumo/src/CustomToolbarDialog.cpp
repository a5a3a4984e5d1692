#include "libLumo/CustomToolbarDialog.h"

#include <QMouseEvent>

namespace libLumo {

CustomToolbarDialog::CustomToolbarDialog(const DialogTemplate& dialog, QWidget* parent,
                                         int toolbarHeight, std::string operatorName)
    : VekDialog(dialog, parent, std::move(operatorName)), toolbarHeight_(toolbarHeight) {
    setWindowFlag(Qt::FramelessWindowHint);
}

void CustomToolbarDialog::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && event->position().y() < toolbarHeight_) {
        dragging_ = true;
        grab_ = event->globalPosition().toPoint() - frameGeometry().topLeft();
        event->accept();
        return;
    }
    VekDialog::mousePressEvent(event);
}

void CustomToolbarDialog::mouseMoveEvent(QMouseEvent* event) {
    if (dragging_) {
        move(event->globalPosition().toPoint() - grab_);
        event->accept();
        return;
    }
    VekDialog::mouseMoveEvent(event);
}

void CustomToolbarDialog::mouseReleaseEvent(QMouseEvent* event) {
    dragging_ = false;
    VekDialog::mouseReleaseEvent(event);
}

}  // namespace libLumo
