// SPDX-License-Identifier: GPL-3.0-or-later
//
// How long the timeline takes for one frame, 3840 pixels wide, with 4,000 segments on it: while it is scrolled, while a
// segment is dragged, and where all of them are in sight at once. It is shown nowhere.
//
//     paint_benchmark [--benchmark_...]
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QMouseEvent>
#include <cstdlib>

#include "doubles/Editing.h"
#include "ui/TimelineView.h"

namespace {

using namespace mirrane;

constexpr int kWidth = 3840;
constexpr int kSegsOnTrack = 2000;
constexpr Ms kSegMs = 28 * kSampleMs;  // at 4 samples a pixel all of them end just before the canvas
constexpr int kTrack1 = 50;            // y in the viewport

/// Both tracks full, except for a gap behind each tenth segment.
std::string Segs(int firstNumber, int source) {
    std::string segs;
    for (int i = 0; i < kSegsOnTrack; ++i) {
        const Ms pos = i * kSegMs;
        const Ms end = pos + kSegMs - (i % 10 == 0 ? kSegMs / 2 : 0);
        segs += "1#" + std::to_string(firstNumber + 2 * i) + ":" + std::to_string(pos) + "-" + std::to_string(end) +
                "<" + std::to_string(pos) + "*" + std::to_string(i % 3 == 0 ? 150 : 100) + "@" +
                std::to_string(source) + " ";
    }
    return segs;
}

/// A slide of an hour that was cut to pieces.
class FullTimeline {
public:
    FullTimeline() : on_("0-" + std::to_string(kSegsOnTrack * kSegMs)) {
        on_.form.face.changed = [this] { view_.Refresh(); };
        on_.state.waveViews.Face(&view_);
        view_.resize(kWidth, view_.height());
        view_.show();
        Put(on_.state, 0, Segs(2, 1));
        Put(on_.state, 1, Segs(1, 2));
        for (CWaveTrack& track : on_.state.gWaveTrack)
            for (CWaveSeg& seg : track.items)
                for (int i = 0; i < (seg.posEnd - seg.pos) / kSampleMs; ++i)
                    seg.samples.PCM.push_back(static_cast<std::int16_t>((i * 7919 + seg.segIndex * 31) % 32768));
        on_.Show(1);
    }

    void Zoom(std::int32_t samplesAPixel) {
        modLayout::doZoom(on_.ctx, samplesAPixel, modLayout::ResetView::Yes);
        QApplication::processEvents();
    }
    /// @returns whether there was anything to scroll
    bool ScrollOn() {
        constexpr int kStep = 37;
        const ScrollBar& bar = on_.form.hScrWave;
        modLayout::Scroll(on_.ctx, bar.Value + kStep > bar.Max ? 0 : bar.Value + kStep);
        QApplication::processEvents();
        return bar.Enabled;
    }
    void Repaint() {
        canvas_->update();
        QApplication::processEvents();
    }
    void Mouse(QEvent::Type type, int x) {
        const QPointF at(x, kTrack1);
        QMouseEvent event(type, at, canvas_->mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas_, &event);
        QApplication::processEvents();
    }
    [[nodiscard]] int LeftOf(std::int32_t position) const {
        return on_.state.gWaveTrack[0].items.item(position).Left();
    }

private:
    doubles::Editing on_;
    TimelineView view_{
        on_.ctx, {.importAudio = [] {}, .recordAudio = [] {}}, [](const char* key) { return QString(key); }};
    QWidget* canvas_ = view_.findChild<QWidget*>("picTrackGroup");
};

void Scroll(benchmark::State& run, FullTimeline& timeline) {
    timeline.Zoom(4);
    for (auto _ : run)
        if (!timeline.ScrollOn()) return run.SkipWithError("nothing to scroll");
}

void Drag(benchmark::State& run, FullTimeline& timeline) {
    constexpr std::int32_t kLoose = 401;  // half as long as its room
    timeline.Zoom(4);
    const int x = timeline.LeftOf(kLoose) + 1;
    timeline.Mouse(QEvent::MouseButtonPress, x);
    int step = 0;
    for (auto _ : run) timeline.Mouse(QEvent::MouseMove, x + ++step % 2);
    timeline.Mouse(QEvent::MouseButtonRelease, x);
}

void Overview(benchmark::State& run, FullTimeline& timeline) {
    timeline.Zoom(16);
    for (auto _ : run) timeline.Repaint();
}

}  // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    benchmark::Initialize(&argc, argv);
    QApplication application(argc, argv);
    FullTimeline timeline;
    const std::pair<const char*, void (*)(benchmark::State&, FullTimeline&)> cases[] = {
        {"Frame/scroll", Scroll}, {"Frame/drag", Drag}, {"Frame/overview", Overview}};
    for (const auto& [name, measure] : cases)
        benchmark::RegisterBenchmark(name,
                                     [measure = measure, &timeline](benchmark::State& run) { measure(run, timeline); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}
