// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPainter>
#include <unordered_map>
#include <vector>

#include "editing/EditContext.h"
#include "ui/Colours.h"

namespace mirrane {

/// Where things lie in the viewport, from its top, in pixels:
///
///     0    ruler
///     24   line
///     25   Track 1
///     72   line
///     73   Track 2
///     120  the end
namespace timelineGeometry {
inline constexpr int kRulerHeight = 25;
inline constexpr int kTrackHeight = 47;
inline constexpr int kHeight = kRulerHeight + kTrackHeight + 1 + kTrackHeight;
inline constexpr int kSegTop = 1;  ///< in its track
inline constexpr int kSegHeight = kTrackHeight - 2;
[[nodiscard]] constexpr int TrackTop(int track) { return kRulerHeight + track * (kTrackHeight + 1); }
}  // namespace timelineGeometry

/// Which segments lie in front of which: the one that was added last is the topmost.
class SegOrder {
public:
    void Add(std::int32_t segIndex) { ages_[segIndex] = ++last_; }
    void Remove(std::int32_t segIndex) { ages_.erase(segIndex); }
    /// What is shown of a track between two pixels of its canvas, both inside, from the hindmost to the topmost.
    [[nodiscard]] std::vector<const CWaveSeg*> Shown(const CWaveTrack& track, int from, int to) const;

private:
    [[nodiscard]] std::uint64_t AgeOf(std::int32_t segIndex) const;

    std::unordered_map<std::int32_t, std::uint64_t> ages_;
    std::uint64_t last_ = 0;
};

/// Paints what the viewport shows of ruler and tracks.
class TimelinePainter {
public:
    /// All of them outlive this.
    TimelinePainter(QPainter& painter, const EditContext& ctx, const TimelineColours& colours)
        : painter_(painter), ctx_(ctx), colours_(colours) {}

    void Paint(const SegOrder& order);

private:
    /// One pixel of a track from top to bottom: frame, ground and wave, in dots of the screen.
    struct Column {
        QRgb frame = 0;
        QRgb ground = 0;
        QRgb wave = 0;
        int frameRows = 0;  ///< at the top and at the bottom
        int reach = 0;      ///< of the wave above and below the middle
        bool isClipped = false;
    };

    void PaintRuler();
    void PaintTick(const RulerTick& tick);
    void PaintTrack(int track, const SegOrder& order);
    void FillColumns(const CWaveSeg& seg, std::vector<Column>& columns) const;
    /// As wide as there are columns, and as high as a segment is in dots of the screen.
    [[nodiscard]] QImage Picture(const std::vector<Column>& columns) const;
    void PaintVolume(const CWaveSeg& seg, const QRect& at);
    void PaintLine(int px, const QColor& colour);

    /// Dots of the screen for a pixel.
    [[nodiscard]] double Scale() const { return painter_.device()->devicePixelRatioF(); }
    [[nodiscard]] int Dots(int pixels) const { return RoundHalfEven(pixels * Scale()); }
    [[nodiscard]] int Width() const { return ctx_.form.viewportWidth; }
    [[nodiscard]] int Scrolled() const { return ctx_.form.hScrWave.Value; }

    QPainter& painter_;
    const EditContext& ctx_;
    const TimelineColours& colours_;
};

}  // namespace mirrane
