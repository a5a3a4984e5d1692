#include "libLumo/CanvasDialog.h"

#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cmath>

#include "vek/Resource.h"
#include "vek/VekValue.h"

namespace libLumo {
namespace {

#define LOG(priority, expr) VEK_LOG(logger_, loggerName_, priority, expr)

std::string hex(HRESULT hr) {
    return vek::VekValue(hr).toHexString(true).toStdString();
}

// The plain child that the picture is drawn into; it paints through its dialog.
class CanvasWidget final : public QWidget {
public:
    CanvasWidget(CanvasDialog* dialog) : QWidget(dialog), dialog_(dialog) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        dialog_->render(painter);
    }

private:
    CanvasDialog* dialog_;
};

}  // namespace

CanvasDialog::CanvasDialog(const DialogTemplate& dialog, QWidget* parent, std::string operatorName,
                           std::vector<CanvasImage> images, std::atomic<vek::Logger*>& logger,
                           const char* loggerName)
    : VekDialog(dialog, parent, std::move(operatorName)),
      logger_(logger),
      loggerName_(loggerName),
      images_(std::move(images)),
      bitmaps_(images_.size()) {
    const HRESULT hr = CreateDeviceIndependentResources();
    if (FAILED(hr)) {
        LOG(4, "Error creating resources: " << hex(hr));
    } else {
        const QSize client = clientSize();
        canvas_ = new CanvasWidget(this);
        canvas_->setObjectName(QStringLiteral("canvas"));
        canvas_->setGeometry(10, 10, client.width() - 20, client.height() - 60);
    }
    startFrameClock();
}

CanvasDialog::~CanvasDialog() = default;

HRESULT CanvasDialog::CreateDeviceIndependentResources() {
    // The decoder is the one device-independent resource: without PNG support there is
    // nothing to draw with.
    if (!QImageReader::supportedImageFormats().contains("png")) {
        LOG(4, "Failed to create the WIC factory: " << hex(WINCODEC_ERR_COMPONENTNOTFOUND));
        return WINCODEC_ERR_COMPONENTNOTFOUND;
    }
    return S_OK;
}

HRESULT CanvasDialog::CreateDeviceResources() {
    if (renderTarget_)
        return S_OK;
    if (!canvas_) {
        LOG(4, "Could not create render target: " << hex(E_POINTER));
        return E_POINTER;
    }
    renderTarget_ = canvas_->size();
    // The screen's device pixels per pixel (1.5 and 2 on tablets): images are made for it.
    const double ratio = canvas_->devicePixelRatioF();
    for (std::size_t i = 0; i < images_.size(); ++i) {
        loadResource(images_[i].path, images_[i].width, images_[i].height, bitmaps_[i], ratio);
    }
    return S_OK;
}

void CanvasDialog::DiscardDeviceResources() {
    renderTarget_.reset();
    for (QImage& bitmap : bitmaps_)
        bitmap = QImage();
}

std::optional<std::filesystem::path> resolveImage(const char* path, double ratio) {
    const std::string plain(path);
    if (ratio > 1.0 && plain.ends_with(".png")) {
        const std::string twice = plain.substr(0, plain.size() - 4) + "@2x.png";
        if (auto found = vek::Resource::resolve(twice))
            return found;
    }
    return vek::Resource::resolve(plain);
}

bool CanvasDialog::loadResource(const char* path, int width, int height, QImage& bitmap,
                                double ratio) {
    // The working directory first, then the installed resources beside the executable.
    const auto found = resolveImage(path, ratio);
    const std::string file = found ? found->string() : std::string(path);
    const HRESULT hr = LoadBitmapFromFile(vek::String(file), width, height, bitmap, ratio);
    if (FAILED(hr)) {
        LOG(4, "Could not load bitmap '" << path << "': " << hex(hr));
        return false;
    }
    return true;
}

HRESULT CanvasDialog::LoadBitmapFromFile(const vek::String& path, int width, int height,
                                         QImage& bitmap, double ratio) {
    QImageReader reader(toQString(path));
    QImage frame;
    if (!reader.read(&frame)) {
        switch (reader.error()) {
            case QImageReader::FileNotFoundError:
                return HRESULT_FILE_NOT_FOUND;
            case QImageReader::UnsupportedFormatError:
                return WINCODEC_ERR_COMPONENTNOTFOUND;
            default:
                return WINCODEC_ERR_BADIMAGE;
        }
    }
    if (width != 0 || height != 0) {
        // A missing side keeps the aspect ratio, computed in single precision and truncated.
        if (width == 0) {
            width =
                static_cast<int>(static_cast<float>(frame.width()) *
                                 (static_cast<float>(height) / static_cast<float>(frame.height())));
        }
        if (height == 0) {
            height =
                static_cast<int>(static_cast<float>(frame.height()) *
                                 (static_cast<float>(width) / static_cast<float>(frame.width())));
        }
        const QSize pixels(static_cast<int>(std::lround(width * ratio)),
                           static_cast<int>(std::lround(height * ratio)));
        if (frame.size() != pixels)
            frame = frame.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    frame.setDevicePixelRatio(ratio);
    bitmap = frame.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return bitmap.isNull() ? E_FAIL : S_OK;
}

void CanvasDialog::OnResize(int /*type*/, int width, int height) {
    // The target follows the dialog's new client size; the canvas itself stays where it is.
    if (renderTarget_)
        renderTarget_ = QSize(width, height);
}

void CanvasDialog::resizeEvent(QResizeEvent* event) {
    VekDialog::resizeEvent(event);
    // Only a real change of size counts: Qt also reports the size the dialog was given
    // before it first showed, which is no resize.
    if (event->oldSize().isValid() && event->oldSize() != event->size())
        OnResize(0, event->size().width(), event->size().height());
}

void CanvasDialog::render(QPainter& painter) {
    if (!renderTarget_) {
        const HRESULT hr = CreateDeviceResources();
        if (FAILED(hr)) {
            LOG(4, "Could not create device resources: " << hex(hr));
            return;
        }
    }
    // One missing image leaves the whole canvas blank, deliberately: a half-drawn picture
    // would mislead the person turning the device.
    if (std::any_of(bitmaps_.begin(), bitmaps_.end(), [](const QImage& b) { return b.isNull(); }))
        return;
    const PixelRect picture =
        fitAspect(renderTarget_->width(), renderTarget_->height(), pictureAspect());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(QRect(QPoint(0, 0), *renderTarget_), palette().color(QPalette::Window));
    // The picture draws in its own coordinates; its turns are saved and restored, never
    // reset, so this placement holds.
    painter.save();
    painter.translate(picture.x, picture.y);
    drawPicture(painter, static_cast<float>(picture.width), static_cast<float>(picture.height),
                bitmaps_);
    painter.restore();
    if (!titleBarShown())
        drawCaption(painter, QRectF(picture.x, picture.y, picture.width, picture.height));
}

bool CanvasDialog::titleBarShown() const {
    const QWindow* window = windowHandle();
    return window && !window->frameMargins().isNull();
}

void CanvasDialog::drawCaption(QPainter& painter, const QRectF& area) {
    const QString text = windowTitle();
    if (text.isEmpty())
        return;
    QFont font = painter.font();
    font.setBold(true);
    painter.setFont(font);
    const float margin = 8;
    const QRectF bounds = painter.fontMetrics().boundingRect(
        QRect(0, 0, static_cast<int>(area.width() * 0.45), 10000), Qt::TextWordWrap, text);
    const QRectF box = captionBox(area, bounds.size(), margin);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 170));
    painter.drawRoundedRect(box, 6, 6);
    painter.setPen(QColor(240, 244, 248));
    painter.drawText(box.adjusted(margin, margin, -margin, -margin), Qt::TextWordWrap, text);
}

PixelRect fitAspect(int width, int height, double aspect) {
    if (aspect <= 0 || width <= 0 || height <= 0)
        return {0, 0, std::max(width, 0), std::max(height, 0)};
    int w = width;
    int h = static_cast<int>(std::lround(w / aspect));
    if (h > height) {
        h = height;
        w = static_cast<int>(std::lround(h * aspect));
    }
    return {(width - w) / 2, (height - h) / 2, w, h};
}

QRectF captionBox(const QRectF& canvas, const QSizeF& textSize, float margin) {
    return {canvas.left() + margin, canvas.top() + margin, textSize.width() + 2 * margin,
            textSize.height() + 2 * margin};
}

void CanvasDialog::requestRepaint() {
    if (canvas_)
        QMetaObject::invokeMethod(canvas_, "update", Qt::QueuedConnection);
}

QImage CanvasDialog::grabCanvas() {
    return canvas_ ? canvas_->grab().toImage() : QImage();
}

void CanvasDialog::OnFrame() {
    if (canvas_)
        canvas_->update();
}

void CanvasDialog::startFrameClock() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    const double hz = screen && screen->refreshRate() > 1.0 ? screen->refreshRate() : 60.0;
    frameClock_.setTimerType(Qt::PreciseTimer);
    frameClock_.setInterval(std::clamp(static_cast<int>(std::lround(1000.0 / hz)), 4, 50));
    QObject::connect(&frameClock_, &QTimer::timeout, this, [this] { OnFrame(); });
    frameClock_.start();
}

void CanvasDialog::showEvent(QShowEvent* event) {
    VekDialog::showEvent(event);
    // On another screen the images are made again for it.
    if (!screenWatched_ && windowHandle()) {
        screenWatched_ = true;
        QObject::connect(windowHandle(), &QWindow::screenChanged, this,
                         [this](QScreen*) { DiscardDeviceResources(); });
    }
}

namespace {

// A picture is redrawn every frame at the same sizes, and resampling a canvas-sized image each
// time is most of a frame's cost. Images drawn unrotated at a whole-pixel size are therefore
// resampled once and then copied. Keyed by the image's identity, so a reloaded image is
// resampled afresh; a few entries cover one dialog's picture. Painting thread only.
const QImage* resampled(const QImage& image, QSize size) {
    struct Entry {
        qint64 key;
        QSize size;
        QImage image;
    };
    constexpr std::size_t kEntries = 8;
    thread_local std::vector<Entry> cache;
    for (const Entry& e : cache) {
        if (e.key == image.cacheKey() && e.size == size)
            return &e.image;
    }
    if (cache.size() == kEntries)
        cache.erase(cache.begin());
    // At the image's own device pixel ratio, so it stays as sharp as it was made.
    const qreal ratio = image.devicePixelRatio();
    QImage scaled = image
                        .scaled(QSize(static_cast<int>(std::lround(size.width() * ratio)),
                                      static_cast<int>(std::lround(size.height() * ratio))),
                                Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    scaled.setDevicePixelRatio(ratio);
    cache.push_back({image.cacheKey(), size, std::move(scaled)});
    return &cache.back().image;
}

bool wholePixels(float v) {
    return std::abs(v - std::round(v)) < 1e-3f;
}

}  // namespace

void drawBitmap(QPainter& painter, const QImage& image, float left, float top, float right,
                float bottom) {
    const float w = right - left, h = bottom - top;
    if (w >= 0 && h >= 0) {
        const QSize size(static_cast<int>(std::round(w)), static_cast<int>(std::round(h)));
        if (painter.transform().type() <= QTransform::TxTranslate && wholePixels(w) &&
            wholePixels(h) && size != image.deviceIndependentSize().toSize() && !size.isEmpty()) {
            painter.drawImage(QPointF(left, top), *resampled(image, size));
            return;
        }
        painter.drawImage(QRectF(left, top, w, h), image);
        return;
    }
    painter.save();
    painter.translate(left, top);
    painter.scale(w < 0 ? -1.0 : 1.0, h < 0 ? -1.0 : 1.0);
    painter.drawImage(QRectF(0, 0, std::abs(w), std::abs(h)), image);
    painter.restore();
}

}  // namespace libLumo
