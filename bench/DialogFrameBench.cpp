// One frame of each drawing dialog at its own size: the picture computed from the latest
// values and drawn with its images into the canvas's pixels. The gyrometer redraws about 60
// times a second and the compass on every needle move, so a frame must stay far below 16 ms.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QPainter>
#include <QTimer>
#include <chrono>
#include <cstdlib>
#include <ctime>

#include "GyrometerTest/GyrometerTestDlg.h"
#include "MagnetometerTest/MagnetometerTestDlg.h"
#include "libLumo/GdiResourceManager.h"

namespace {

// Draws the dialog's picture into an image the canvas's size, once per iteration, after `step`
// has moved the values the picture is drawn from.
template <typename Dialog, typename Step>
void drawPictures(benchmark::State& state, Dialog& dialog, Step step) {
    QImage target(dialog.canvas()->size(), QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        step();
        QPainter painter(&target);
        dialog.render(painter);
        painter.end();
        benchmark::DoNotOptimize(target.constBits());
    }
    if (!dialog.hasRenderTarget())
        state.SkipWithError("the canvas never drew (images missing?)");
}

// The gyrometer picture alone.
void BM_GyrometerPicture(benchmark::State& state) {
    vekrsensors::GyrometerTestDlg dialog(nullptr);
    double turn = 0.0;
    drawPictures(state, dialog, [&] {
        turn = turn > 1.0 ? -1.0 : turn + 0.01;
        dialog.UpdateRotationX(turn);
        dialog.UpdateRotationY(-turn);
        dialog.UpdateRotationZ(turn / 2);
    });
}
BENCHMARK(BM_GyrometerPicture)->Unit(benchmark::kMicrosecond);

// The whole repaint of the canvas widget, as the frame clock asks for it.
void BM_GyrometerCanvasRepaint(benchmark::State& state) {
    vekrsensors::GyrometerTestDlg dialog(nullptr);
    dialog.show();
    // Until the window is exposed, a repaint draws nothing.
    for (int i = 0; i < 100 && !dialog.hasRenderTarget(); ++i) {
        QCoreApplication::processEvents();
        dialog.canvas()->repaint();
    }
    if (!dialog.hasRenderTarget()) {
        state.SkipWithError("the canvas is not exposed");
        return;
    }
    double turn = 0.0;
    for (auto _ : state) {
        turn = turn > 1.0 ? -1.0 : turn + 0.01;
        dialog.UpdateRotationX(turn);
        dialog.canvas()->repaint();
    }
}
BENCHMARK(BM_GyrometerCanvasRepaint)->Unit(benchmark::kMicrosecond);

double processCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// Counts the paints a widget receives.
class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            ++paints;
        return QObject::eventFilter(watched, event);
    }
};

// The open gyrometer dialog over one second of its event loop, with its frame clock running
// and a stand-in worker writing the turn at the worker's 50 Hz: the values stay put (the device
// lies still) or change on every write (the device turns). Reports the process's CPU use in
// percent of one core and the repaints per second.
void gyrometerDialogSecond(benchmark::State& state, bool turning) {
    vekrsensors::GyrometerTestDlg dialog(nullptr);
    PaintCounter counter;
    dialog.canvas()->installEventFilter(&counter);
    dialog.show();
    QTimer worker;
    double turn = 0.0;
    QObject::connect(&worker, &QTimer::timeout, [&] {
        if (turning)
            turn = turn > 1.0 ? -1.0 : turn + 0.01;
        dialog.UpdateRotationX(turn);
        dialog.UpdateRotationY(-turn);
        dialog.UpdateRotationZ(turn / 2);
    });
    worker.start(20);
    // Settle: the first exposure and the first frames.
    QEventLoop settle;
    QTimer::singleShot(300, &settle, &QEventLoop::quit);
    settle.exec();
    double cpu = 0, wall = 0;
    int paints = 0;
    for (auto _ : state) {
        const int before = counter.paints;
        const double cpu0 = processCpuSeconds();
        const auto t0 = std::chrono::steady_clock::now();
        QEventLoop loop;
        QTimer::singleShot(1000, &loop, &QEventLoop::quit);
        loop.exec();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - t0;
        cpu += processCpuSeconds() - cpu0;
        wall += elapsed.count();
        paints += counter.paints - before;
        state.SetIterationTime(elapsed.count());
    }
    state.counters["cpu_percent"] = 100.0 * cpu / wall;
    state.counters["paints_per_s"] = paints / wall;
}

void BM_GyrometerDialogAtRest(benchmark::State& state) {
    gyrometerDialogSecond(state, false);
}
BENCHMARK(BM_GyrometerDialogAtRest)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_GyrometerDialogTurning(benchmark::State& state) {
    gyrometerDialogSecond(state, true);
}
BENCHMARK(BM_GyrometerDialogTurning)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

// The compass with its masked arrow, the needle moving toward the target.
void BM_CompassPicture(benchmark::State& state) {
    vekrsensors::MagnetometerTestDlg dialog(nullptr);
    dialog.SetTargetRotation(-200);
    double needle = 0.0;
    drawPictures(state, dialog, [&] {
        needle = needle < -359.0 ? 0.0 : needle - 0.5;
        dialog.UpdateRotation(needle);
    });
}
BENCHMARK(BM_CompassPicture)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    libLumo::GdiResourceManager gui;
    if (!gui.ready())
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
