#pragma once

#include <QImage>
#include <QTimer>
#include <atomic>
#include <filesystem>
#include <optional>
#include <vector>

#include "libLumo/DialogTemplate.h"
#include "libLumo/VekDialog.h"
#include "platform/WindowsNames.h"
#include "vek/Logging.h"

class QPainter;

namespace libLumo {

// An image a canvas dialog draws, loaded once at this pixel size.
struct CanvasImage {
    const char* path;  // relative: resolved against the working directory
    int width;
    int height;
};

// The frame shared by the drawing dialogs: a plain child widget over the dialog's client area
// (10 pixels in, leaving a 50-pixel strip below for the buttons) into which the dialog draws
// its picture from images decoded and scaled once. The "render target" is the canvas's pixel
// size: made on the first paint together with the images, dropped when the dialog moves to
// another screen (the images are rebuilt on the next paint). Failures are logged and
// survived: a missing image leaves the canvas blank on every paint while the buttons still
// work. A frame clock ticks once per display frame and by default repaints the canvas; the
// dialog draws whatever values its worker last wrote. Main thread only.
class CanvasDialog : public VekDialog {
public:
    CanvasDialog(const DialogTemplate& dialog, QWidget* parent, std::string operatorName,
                 std::vector<CanvasImage> images, std::atomic<vek::Logger*>& logger,
                 const char* loggerName);
    ~CanvasDialog() override;

    HRESULT CreateDeviceIndependentResources();
    HRESULT CreateDeviceResources();
    void DiscardDeviceResources();
    // Loads `path` at width x height pixels for a screen at `ratio` device pixels per pixel
    // (see resolveImage): the image holds width x height x ratio pixels and says so in its
    // device pixel ratio, so the painter draws it sharp at the size the dialog expects.
    bool loadResource(const char* path, int width, int height, QImage& bitmap, double ratio = 1.0);
    // Decodes the first frame of `path` and scales it smoothly to width x height x `ratio`; a
    // zero width or height keeps the image's aspect ratio.
    static HRESULT LoadBitmapFromFile(const vek::String& path, int width, int height,
                                      QImage& bitmap, double ratio = 1.0);
    // The target follows the dialog's new client size; the canvas itself stays.
    virtual void OnResize(int type, int width, int height);
    // Draws one frame of the canvas with `painter`.
    void render(QPainter& painter);

    QWidget* canvas() const { return canvas_; }
    bool hasRenderTarget() const { return renderTarget_.has_value(); }
    // The canvas as it was last painted, e.g. to save a frame to a file.
    QImage grabCanvas();
    // Milliseconds between two frames (the primary screen's refresh, about 60 Hz).
    int frameInterval() const { return frameClock_.interval(); }
    // Asks for one repaint of the canvas; any thread (queued to the dialog's thread).
    void requestRepaint();

protected:
    // The dialog's own picture on a target of W x H pixels, with its images in the order given
    // at construction (none of them null). The target is the canvas, or the part of it that
    // pictureAspect() leaves; the rest shows the dialog's background colour. The painter comes
    // translated to the picture's corner: turn with save()/restore(), never resetTransform().
    virtual void drawPicture(QPainter& painter, float width, float height,
                             const std::vector<QImage>& bitmaps) = 0;
    // Width/height of the picture's artwork, kept whatever the canvas's shape; 0 stretches it
    // over the whole canvas.
    virtual double pictureAspect() const { return 0.0; }
    // True when a window manager draws a frame (and so the title) around the dialog. Without
    // one (a kiosk session, a bare X server) the caption is drawn on the canvas instead, so the
    // instruction it carries is never lost.
    bool titleBarShown() const;
    // One tick of the frame clock; the default repaints the canvas.
    virtual void OnFrame();
    void startFrameClock();
    // A dialog that repaints only on request stops the frame clock.
    void stopFrameClock() { frameClock_.stop(); }
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

    std::atomic<vek::Logger*>& logger_;
    const char* loggerName_;

private:
    // The window's title in a box at the top-left corner of `area` (the picture).
    void drawCaption(QPainter& painter, const QRectF& area);

    QWidget* canvas_ = nullptr;
    std::vector<CanvasImage> images_;
    std::vector<QImage> bitmaps_;
    std::optional<QSize> renderTarget_;
    QTimer frameClock_;
    bool screenWatched_ = false;
};

// The file to load for the resource `path` ("resources/vekrsensors/x.png") on a screen at
// `ratio` device pixels per pixel: above 1 its 2x rendition ("x@2x.png") when there is one,
// else `path` itself; resolved as every resource is.
std::optional<std::filesystem::path> resolveImage(const char* path, double ratio);

// The largest rectangle of width/height ratio `aspect` centred in a W x H area (the whole
// area when `aspect` is 0): where a picture goes so that it keeps its proportions whatever the
// dialog font made of the canvas.
PixelRect fitAspect(int width, int height, double aspect);

// Where the caption goes when no window manager draws a title bar: a box in the canvas's
// top-left corner around the wrapped text, `margin` in from the edges and around the text.
QRectF captionBox(const QRectF& canvas, const QSizeF& textSize, float margin);

// Draws `image` into the rectangle with these edges. When right < left (or bottom < top) the
// image comes out mirrored, as a painter of rectangles with swapped edges would draw it: one
// image serves both sides of an axis.
void drawBitmap(QPainter& painter, const QImage& image, float left, float top, float right,
                float bottom);

}  // namespace libLumo
