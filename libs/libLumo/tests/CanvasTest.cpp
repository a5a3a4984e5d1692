#include <gtest/gtest.h>

#include <QPainter>
#include <fstream>
#include <sstream>

#include "Capture.h"
#include "ScratchDir.h"
#include "WithGui.h"
#include "libLumo/CanvasDialog.h"
#include "vek/Logging.h"
#include "vek/Resource.h"

namespace {

std::atomic<vek::Logger*> s_logger{nullptr};

libLumo::DialogTemplate probeTemplate() {
    libLumo::DialogTemplate t;
    t.id = 999;
    t.caption = "Probe";
    t.cx = 200;
    t.cy = 150;
    t.buttons = {{1000, "Fail", {40, 130, 50, 14}}, {1001, "Cancel", {110, 130, 50, 14}}};
    return t;
}

// A canvas that paints its one image over the whole target.
class ProbeDialog : public libLumo::CanvasDialog {
public:
    explicit ProbeDialog(const char* image)
        : CanvasDialog(probeTemplate(), nullptr, "Probe", {{image, 8, 8}}, s_logger, "CanvasTest") {
    }
    int paints = 0;

protected:
    void drawPicture(QPainter& painter, float width, float height,
                     const std::vector<QImage>& bitmaps) override {
        ++paints;
        libLumo::drawBitmap(painter, bitmaps[0], 0, 0, width, height);
    }
};

class Canvas : public vekr::testing::WithGui {
protected:
    void SetUp() override {
        WithGui::SetUp();
        QImage green(4, 4, QImage::Format_ARGB32);
        green.fill(Qt::green);
        std::filesystem::create_directories(scratch_ / "resources/probe");
        ASSERT_TRUE(
            green.save(QString::fromStdString((scratch_ / "resources/probe/green.png").string())));
        std::ofstream(scratch_ / "resources/probe/garbage.png") << "not a picture";
        // Images resolve beside the "executable" when the working directory lacks them.
        vek::Resource::setExecutableDirForTesting(scratch_.path());
    }
    void TearDown() override { vek::Resource::setExecutableDirForTesting(std::nullopt); }
    int countInLog(const std::string& text) const { return log_.count(text); }
    static QRgb centre(const QImage& frame) {
        return frame.pixel(frame.width() / 2, frame.height() / 2);
    }
    vekr::testing::ScratchDir scratch_{"vekr-canvas"};
    vekr::testing::LogCapture log_;
};

TEST_F(Canvas, DrawsItsImageOncePerPaintAndLoadsItOnce) {
    ProbeDialog dialog("resources/probe/green.png");
    ASSERT_NE(dialog.canvas(), nullptr);
    EXPECT_EQ(dialog.canvas()->geometry(),
              QRect(10, 10, dialog.clientSize().width() - 20, dialog.clientSize().height() - 60));
    const QImage first = dialog.grabCanvas();
    // Loaded once: the second paint draws what the first load read, not the file as it is now.
    QImage red(4, 4, QImage::Format_ARGB32);
    red.fill(Qt::red);
    ASSERT_TRUE(red.save(QString::fromStdString((scratch_ / "resources/probe/green.png").string())));
    const QImage second = dialog.grabCanvas();
    EXPECT_EQ(dialog.paints, 2);
    EXPECT_EQ(centre(first), QColor(Qt::green).rgb());
    EXPECT_EQ(centre(second), QColor(Qt::green).rgb());
    EXPECT_EQ(log_.text(), "");
}

TEST_F(Canvas, AMissingImageLeavesTheCanvasBlankAndIsLoggedOncePerTarget) {
    ProbeDialog dialog("resources/probe/missing.png");
    const QImage frame = dialog.grabCanvas();
    dialog.grabCanvas();
    EXPECT_EQ(dialog.paints, 0);
    EXPECT_NE(centre(frame), QColor(Qt::black).rgb()) << "not even cleared";
    EXPECT_EQ(countInLog("Could not load bitmap 'resources/probe/missing.png': 0x80070002"), 1)
        << log_.text();

    // A lost target is rebuilt on the next paint, and the image is tried again.
    dialog.DiscardDeviceResources();
    EXPECT_FALSE(dialog.hasRenderTarget());
    dialog.grabCanvas();
    EXPECT_TRUE(dialog.hasRenderTarget());
    EXPECT_EQ(countInLog("Could not load bitmap"), 2);
}

// A picture keeps its proportions: the largest rectangle of its shape, centred.
TEST(FitAspect, CentresTheLargestRectangleOfTheShape) {
    struct Row {
        int width, height;
        double aspect;
        libLumo::PixelRect expected;
    };
    const Row rows[] = {
        {643, 588, 1.0, {27, 0, 588, 588}},     // 7x14 font: wider canvas, bands left and right
        {548, 541, 1.0, {3, 0, 541, 541}},      // 6x13 font: nearly square already
        {500, 600, 1.0, {0, 50, 500, 500}},     // taller: bands above and below
        {640, 480, 4.0 / 3.0, {0, 0, 640, 480}},
        {643, 588, 0.0, {0, 0, 643, 588}},      // no aspect: the whole canvas
        {0, 588, 1.0, {0, 0, 0, 588}},
    };
    for (const Row& r : rows)
        EXPECT_EQ(libLumo::fitAspect(r.width, r.height, r.aspect), r.expected) << r.width << "x" << r.height;
}

TEST_F(Canvas, LoadsBitmapsAtTheAskedSize) {
    struct Row {
        const char* file;
        int width, height;
        HRESULT hr;
        QSize size;
    };
    const Row rows[] = {
        {"green.png", 10, 6, S_OK, {10, 6}},
        {"green.png", 0, 12, S_OK, {12, 12}},  // a missing side keeps the aspect ratio
        {"green.png", 9, 0, S_OK, {9, 9}},
        {"green.png", 0, 0, S_OK, {4, 4}},  // the image's own size
        {"missing.png", 10, 10, HRESULT_FILE_NOT_FOUND, {}},
        {"garbage.png", 10, 10, WINCODEC_ERR_COMPONENTNOTFOUND, {}},
    };
    for (const Row& r : rows) {
        QImage bitmap;
        const auto path = scratch_ / "resources/probe" / r.file;
        EXPECT_EQ(libLumo::CanvasDialog::LoadBitmapFromFile(vek::String(path.string()), r.width,
                                                            r.height, bitmap),
                  r.hr)
            << r.file << " " << r.width << "x" << r.height;
        if (r.hr == S_OK) {
            EXPECT_EQ(bitmap.size(), r.size) << r.file;
        } else {
            EXPECT_TRUE(bitmap.isNull()) << r.file;
        }
    }
}

// On a screen at 150 or 200 % the 2x rendition is loaded, at the dialog's size times the
// ratio, never the 1x one stretched; without a 2x rendition the 1x one is used.
TEST_F(Canvas, LoadsTheTwiceRenditionForAHighDensityScreen) {
    QImage blue(8, 8, QImage::Format_ARGB32);
    blue.fill(Qt::blue);
    ASSERT_TRUE(
        blue.save(QString::fromStdString((scratch_ / "resources/probe/green@2x.png").string())));
    struct Row {
        const char* file;
        double ratio;
        QSize pixels;
        QRgb colour;
    };
    const Row rows[] = {
        {"resources/probe/green.png", 1.0, {4, 4}, qRgb(0, 255, 0)},
        {"resources/probe/green.png", 1.5, {6, 6}, qRgb(0, 0, 255)},
        {"resources/probe/green.png", 2.0, {8, 8}, qRgb(0, 0, 255)},
        {"resources/probe/garbage.png", 2.0, {0, 0}, 0},  // no 2x rendition: the 1x file
    };
    for (const Row& r : rows) {
        QImage bitmap;
        libLumo::CanvasDialog::LoadBitmapFromFile(
            vek::String(libLumo::resolveImage(r.file, r.ratio).value_or("").string()), 4, 4,
            bitmap, r.ratio);
        EXPECT_EQ(bitmap.size(), r.pixels) << r.file << " at " << r.ratio;
        if (!bitmap.isNull()) {
            EXPECT_EQ(bitmap.deviceIndependentSize(), QSizeF(4, 4)) << r.ratio;
            EXPECT_EQ(bitmap.pixel(0, 0) & 0xffffffu, r.colour & 0xffffffu) << r.ratio;
        }
    }
}

TEST(DrawBitmap, SwappedEdgesMirrorTheImage) {
    QImage image(2, 2, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::red);
    image.setPixel(1, 0, QColor(Qt::blue).rgb());  // blue top right
    struct Row {
        float left, top, right, bottom;
        QPoint blueAt;
    };
    const Row rows[] = {
        {0, 0, 2, 2, {1, 0}},
        {2, 0, 0, 2, {0, 0}},  // left and right swapped: mirrored left to right
        {0, 2, 2, 0, {1, 1}},  // top and bottom swapped: upside down
        {0, 0, 4, 4, {3, 0}},  // twice the size: resampled once, then copied
        {0, 0, 4, 4, {3, 1}},  // ... and the copy is the same the second time
        {4, 0, 0, 4, {0, 1}},  // mirrored at twice the size
    };
    for (const Row& r : rows) {
        QImage target(4, 4, QImage::Format_ARGB32_Premultiplied);
        target.fill(Qt::black);
        QPainter painter(&target);
        libLumo::drawBitmap(painter, image, r.left, r.top, r.right, r.bottom);
        painter.end();
        // Resampling blends neighbours: the blue corner stays mostly blue.
        const QRgb p = target.pixel(r.blueAt);
        EXPECT_GT(qBlue(p), 2 * qRed(p))
            << r.left << "," << r.top << "," << r.right << "," << r.bottom;
    }
}

// How a scripted person's Escape, window close and presses on hidden buttons end a dialog is
// in the command-line cases (gyro_press_Escape, gyro_press_Close,
// prox_hidden_fail_button_cannot_be_pressed).

}  // namespace
