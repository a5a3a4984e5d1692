#pragma once

#include <QPoint>

#include "libLumo/VekDialog.h"

namespace libLumo {

// A dialog without the window manager's frame: its own strip of `toolbarHeight` pixels at
// the top moves the window when dragged, and the dialog draws its own close control there.
// Escape still cancels, as in every dialog. Main thread only.
class CustomToolbarDialog : public VekDialog {
public:
    CustomToolbarDialog(const DialogTemplate& dialog, QWidget* parent, int toolbarHeight,
                        std::string operatorName);

    int toolbarHeight() const { return toolbarHeight_; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int toolbarHeight_;
    bool dragging_ = false;
    QPoint grab_;
};

}  // namespace libLumo
