#pragma once

#include <QAbstractButton>
#include <QImage>

#include "vek/String.h"

namespace libLumo {

// A static control that shows one picture, scaled smoothly to fit its rectangle with its
// proportions kept and centred. A "notify" control is clickable (it is a button to Qt, so
// click() and the clicked signal work); a plain one lets the mouse through. Main thread only.
class PngControl : public QAbstractButton {
public:
    PngControl(QWidget* parent, int id, bool notify);

    // Shows `image`; the three flags are kept for the callers' sake and do not change how the
    // picture is drawn.
    void SetImage(const QImage& image, bool redraw, bool, bool);
    // Loads the file (resolved as resources are) and shows it; false when it cannot be read.
    bool SetImage(const vek::String& path, bool redraw, bool, bool);
    const QImage& image() const { return image_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage image_;
};

}  // namespace libLumo
