// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelinePainter.h"

#include <algorithm>
#include <cstdlib>

#include "ui/WaveColumns.h"

namespace mirrane {

using namespace timelineGeometry;

namespace {

constexpr int kFontPx = 11;  // labels have 17 pixels
constexpr int kLabelTop = 7;
constexpr int kLabelRoom = 100;  // of a label whose tick may be out of sight
constexpr int kLabelMargin = 2;
constexpr int kWaveHalf = 19;  // above and below the middle of a segment
constexpr int kClipMark = 3;
constexpr int kPlainVolume = 100;

}  // namespace

std::uint64_t SegOrder::AgeOf(std::int32_t segIndex) const {
    const auto found = ages_.find(segIndex);
    return found == ages_.end() ? 0 : found->second;
}

std::vector<const CWaveSeg*> SegOrder::Shown(const CWaveTrack& track, int from, int to) const {
    struct Aged {
        std::uint64_t age;
        const CWaveSeg* seg;
    };
    std::vector<Aged> found;
    for (const CWaveSeg& seg : track.items)
        if (seg.Visible() && seg.Left() <= to && seg.Left() + seg.Width() > from)
            found.push_back({AgeOf(seg.segIndex), &seg});
    std::stable_sort(found.begin(), found.end(), [](const Aged& a, const Aged& b) { return a.age < b.age; });
    std::vector<const CWaveSeg*> segs;
    segs.reserve(found.size());
    for (const Aged& each : found) segs.push_back(each.seg);
    return segs;
}

void TimelinePainter::Paint(const SegOrder& order) {
    if (Width() < 1) return;
    QFont font = painter_.font();
    font.setPixelSize(kFontPx);
    painter_.setFont(font);
    PaintRuler();
    for (const int track : {0, 1}) PaintTrack(track, order);
    painter_.fillRect(0, kRulerHeight - 1, Width(), 1, colours_.frame);
    painter_.fillRect(0, TrackTop(1) - 1, Width(), 1, colours_.frame);
    PaintLine(ctx_.form.picLine, colours_.cursor);
    if (ctx_.form.picGrayLine) PaintLine(*ctx_.form.picGrayLine, colours_.ghost);
}

void TimelinePainter::PaintRuler() {
    painter_.fillRect(0, 0, Width(), kRulerHeight, colours_.strip);
    painter_.setPen(colours_.text);
    for (const RulerTick& tick : ctx_.form.picRuler) {
        if (tick.x < Scrolled() - kLabelRoom) continue;
        if (tick.x > Scrolled() + Width() + kLabelRoom) break;
        PaintTick(tick);
    }
}

void TimelinePainter::PaintTick(const RulerTick& tick) {
    constexpr int kLongTop = 1;
    constexpr int kLongHeight = 8;
    constexpr int kShortTop = 2;
    constexpr int kShortHeight = 4;
    const int x = tick.x - Scrolled();
    if (tick.label.empty()) return painter_.fillRect(x, kShortTop, 1, kShortHeight, colours_.tick);
    painter_.fillRect(x, kLongTop, 1, kLongHeight, colours_.tick);
    const QString label = QString::fromStdString(tick.label);
    const int width = painter_.fontMetrics().horizontalAdvance(label);
    // The first label would lie half outside of the canvas.
    const int left = std::max(tick.x - width / 2, kLabelMargin) - Scrolled();
    painter_.drawText(QRect(left, kLabelTop, width + 1, kRulerHeight - 1 - kLabelTop), Qt::AlignLeft | Qt::AlignVCenter,
                      label);
}

void TimelinePainter::PaintTrack(int track, const SegOrder& order) {
    const int top = TrackTop(track);
    painter_.fillRect(0, top, Width(), kTrackHeight, colours_.canvas);
    const CWaveTrack& segs = ctx_.state.gWaveTrack.at(static_cast<std::size_t>(track));
    const std::vector<const CWaveSeg*> shown = order.Shown(segs, Scrolled(), Scrolled() + Width() - 1);
    const QRgb canvas = colours_.canvas.rgb();
    std::vector<Column> columns(static_cast<std::size_t>(Width()), {.frame = canvas, .ground = canvas, .wave = canvas});
    for (const CWaveSeg* seg : shown) FillColumns(*seg, columns);
    painter_.drawImage(QRect(0, top + kSegTop, Width(), kSegHeight), Picture(columns));
    for (const CWaveSeg* seg : shown)
        if (seg->volPercent != kPlainVolume)
            PaintVolume(*seg, QRect(seg->Left() - Scrolled(), top + kSegTop, seg->Width(), kSegHeight));
}

void TimelinePainter::FillColumns(const CWaveSeg& seg, std::vector<Column>& columns) const {
    constexpr int kThick = 3;
    const int thickness = seg.selected() ? kThick : 1;
    const int side = std::min(thickness, (seg.Width() + 1) / 2);
    Column column{.frame = (seg.selected() ? colours_.segFrameSelected : colours_.segFrame).rgb(),
                  .ground = (seg.selected() ? colours_.segSelected : colours_.seg).rgb(),
                  .wave = (seg.selected() ? colours_.waveSelected : colours_.wave).rgb(),
                  .frameRows = Dots(thickness)};
    const double scale = Scale();
    const int left = seg.Left() - Scrolled();
    const int end = std::min(left + seg.Width(), Width());
    for (int x = std::max(left, 0); x < end; ++x) {
        const WaveColumn wave = WaveColumnOf(seg, x - left);
        column.reach = RoundHalfEven(wave.level * scale * kWaveHalf / kLoudest);
        column.isClipped = wave.isClipped;
        if (x - left < side || x - left >= seg.Width() - side) {
            columns[static_cast<std::size_t>(x)] = {
                .frame = column.frame, .ground = column.frame, .wave = column.frame};
        } else {
            columns[static_cast<std::size_t>(x)] = column;
        }
    }
}

QImage TimelinePainter::Picture(const std::vector<Column>& columns) const {
    // Row by row: to fill thousands of columns one by one takes many times as long.
    const int rows = Dots(kSegHeight);
    const int clipEnd = Dots(kWaveHalf);
    const int clipFrom = clipEnd - Dots(kClipMark);
    const QRgb clipColour = colours_.clipped.rgb();
    QImage picture(static_cast<int>(columns.size()), rows, QImage::Format_RGB32);
    for (int y = 0; y < rows; ++y) {
        const int off = std::abs(y - rows / 2);
        const int toEdge = std::min(y, rows - 1 - y);
        const bool isClipRow = off > clipFrom && off <= clipEnd;
        auto* dot = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (const Column& column : columns) {
            QRgb colour = off <= column.reach ? column.wave : column.ground;
            if (isClipRow && column.isClipped) colour = clipColour;
            *dot++ = toEdge < column.frameRows ? column.frame : colour;
        }
    }
    return picture;
}

void TimelinePainter::PaintVolume(const CWaveSeg& seg, const QRect& at) {
    constexpr int kMargin = 5;
    constexpr int kNarrowest = 30;  // measures no text where none fits
    if (at.width() < kNarrowest) return;
    const QString text = QString::number(seg.volPercent) + " %";
    const QSize size = painter_.fontMetrics().size(Qt::TextSingleLine, text);
    if (size.width() + 2 * kMargin > at.width()) return;
    const QRect box(at.left() + kMargin, at.top() + kMargin, size.width() + 2, size.height());
    painter_.fillRect(box, seg.selected() ? colours_.segSelected : colours_.seg);
    painter_.setPen(colours_.text);
    painter_.drawText(box, Qt::AlignCenter, text);
}

void TimelinePainter::PaintLine(int px, const QColor& colour) {
    painter_.fillRect(px - Scrolled(), 0, 1, kHeight, colour);
}

}  // namespace mirrane
