// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/Trapped.h"
#include "editing/Selection.h"
#include "store/Time.h"

namespace mirrane::modLayout {

namespace {

constexpr int kMostHalvings = 30;
constexpr int kMinViewport = 2;  ///< of a window that is not laid out yet
constexpr int kMinLabelPx = 100;
constexpr int kTicksPerLabel = 5;
constexpr std::array<Ms, 9> kRulerSteps = {500, 1000, 5000, 10000, 30000, 60000, 300000, 600000, 1800000};

std::size_t ZoomIndex(const EditContext& ctx) { return static_cast<std::size_t>(ctx.curSlide()) - 1; }

void SetBarSteps(MainForm& form) {
    form.hScrWave.LargeChange = std::max(form.viewportWidth - 3, 1);
    form.hScrWave.SmallChange = std::max(RoundHalfEven(form.hScrWave.LargeChange / 12.0), 1);
}

float RatioOf(const ScrollBar& bar) { return static_cast<float>(bar.Value) / static_cast<float>(bar.Max); }

void SetRatio(ScrollBar& bar, float ratio) {
    bar.Value = std::clamp(RoundHalfEven(static_cast<double>(ratio) * bar.Max), 0, bar.Max);
}

/// Where the last sound of the shown slide ends; not the end of its right-most pixel, in which others may end too.
std::optional<Ms> LastEnd(const EditContext& ctx) {
    std::optional<Ms> last;
    for (const CWaveTrack& track : ctx.state.gWaveTrack)
        for (const CWaveSeg& seg : track.items)
            if (seg.slideIndex == ctx.curSlide()) last = std::max(last.value_or(seg.posEnd), seg.posEnd);
    return last;
}

std::optional<Ms> EndOf(const EditContext& ctx, std::int32_t segIndex) {
    for (const CWaveTrack& track : ctx.state.gWaveTrack)
        if (const CWaveSeg* seg = track.items.Find(segIndex)) return seg->posEnd;
    return std::nullopt;
}

/// Gives the shown slide another end, and moves all that lies behind it.
void MoveSlideEnd(EditContext& ctx, Ms posEnd) {
    CSlideList& slides = ctx.state.gSlideList;
    const Ms newLen = CheckedSub(posEnd, SlideStart(ctx));
    const Ms shift = CheckedSub(newLen, slides.GetLen(ctx.curSlide()));
    slides.SetLen(ctx.curSlide(), newLen);
    for (CWaveTrack& track : ctx.state.gWaveTrack) track.ShiftPos(ctx.curSlide() + 1, shift);
    ctx.form.lSlideEnd = std::to_string(posEnd);
}

void PlaceSegs(EditContext& ctx) {
    for (CWaveTrack& track : ctx.state.gWaveTrack) {
        for (CWaveSeg& seg : track.items) {
            if (seg.slideIndex != ctx.curSlide()) continue;
            seg.Place(PlaceOf(ctx, seg.pos, seg.posEnd));
            seg.Refresh();
        }
    }
}

void ApplyZoom(EditContext& ctx, std::int32_t zoom, ResetView resetView) {
    ScrollBar& bar = ctx.form.hScrWave;
    const float ratio = bar.Enabled ? RatioOf(bar) : 0;
    ctx.state.gSlideZoom.at(ZoomIndex(ctx)) = zoom;
    PlaceSegs(ctx);
    SyncSlideEnd(ctx);
    if (resetView == ResetView::Yes) {
        PlaceCursor(ctx, 0);
        SetScrollRange(ctx, KeepRatio::No, 0);
    } else {
        // The range is the new one already, so that the proportion has to come from before.
        if (bar.Enabled) SetRatio(bar, ratio);
        PlaceCursor(ctx, CheckedSub(ctx.transport->Position(), SlideStart(ctx)));
        SetScrollRange(ctx, KeepRatio::Yes);
    }
    DrawRuler(ctx, ctx.state.gSlideList.GetLen(ctx.curSlide()));
    UpdateZoomButtons(ctx);
}

/// During a drag all commands are ignored.
bool CanZoom(const EditContext& ctx) { return !IsSegDragging(ctx) && ctx.hasTimeline(); }

void Refuse(const EditContext& ctx, const char* key, const char* defaultText) {
    ShowMessage(ctx.world(), GetResString(ctx.world(), "frmMixEditor", key, defaultText));
}

}  // namespace

int TimeToPixelAt(Ms ms, std::int32_t zoom) {
    const double units = RoundHalfEven(ms / static_cast<double>(kSampleMs));
    return static_cast<int>(std::floor(units / zoom + 1));
}

int TimeToPixel(const EditContext& ctx, Ms ms) { return TimeToPixelAt(ms, Zoom(ctx)); }

Ms PixelToTimeAt(int px, std::int32_t zoom) { return px > 1 ? CheckedMul(CheckedMul(zoom, px - 1), kSampleMs) : 0; }

Ms PixelToTime(const EditContext& ctx, int px) { return PixelToTimeAt(px, Zoom(ctx)); }

std::int32_t Zoom(const EditContext& ctx) { return ctx.state.gSlideZoom.at(ZoomIndex(ctx)); }

Ms SlideStart(const EditContext& ctx) { return ctx.state.gSlideList.GetPos(ctx.curSlide()); }

WavePlace PlaceOf(const EditContext& ctx, Ms pos, Ms posEnd) {
    const Ms start = SlideStart(ctx);
    const int left = TimeToPixel(ctx, CheckedSub(pos, start)) - 1;
    const int right = TimeToPixel(ctx, CheckedSub(posEnd, start)) - 1;
    return {left, right - left + 1};
}

FirstView FirstViewOf(Ms duration, int viewportWidth) {
    const double samples = RoundHalfEven(duration / static_cast<double>(kSampleMs));
    const int viewport = std::max(viewportWidth, kMinViewport);
    FirstView view;
    for (int k = 0; k <= kMostHalvings; ++k) {
        view.zoom = 1 << k;
        view.width = RoundHalfEven(samples / view.zoom + 1);
        if (viewport >= view.width) break;
    }
    return view;
}

Ms PickRulerStep(Ms spanMs, int widthPx) {
    for (std::size_t i = kRulerSteps.size() - 1; i-- > 0;)
        if (std::floor(widthPx / (static_cast<double>(spanMs) / kRulerSteps[i])) < kMinLabelPx)
            return kRulerSteps[i + 1];
    return kRulerSteps[0];
}

void InitLayout(EditContext& ctx) {
    MainForm& form = ctx.form;
    form.picLine = 0;
    form.picGrayLine.reset();
    form.picRuler.clear();
    form.hScrWave = {};
    SetBarSteps(form);
    modSelection::SelectOnlyTrack(ctx, 0);
    form.Changed();
}

void SetViewportWidth(EditContext& ctx, int width) {
    ctx.form.viewportWidth = width;
    SetBarSteps(ctx.form);
    if (ctx.hasTimeline()) {
        SetScrollRange(ctx, KeepRatio::No);
        UpdateZoomButtons(ctx);
    }
    ctx.form.Changed();
}

const CWaveSeg* GetLastSeg(const EditContext& ctx) {
    const CWaveSeg* last = nullptr;
    int best = 0;
    for (const CWaveTrack& track : ctx.state.gWaveTrack) {
        for (const CWaveSeg& seg : track.items) {
            if (seg.slideIndex != ctx.curSlide()) continue;
            const int right = seg.Left() + seg.Width() - 1;
            // The first one counts even where a slide is so short that it ends at pixel 0.
            if (last != nullptr && right <= best) continue;
            last = &seg;
            best = std::max(best, right);
        }
    }
    return last;
}

int GetTimelineRight(const EditContext& ctx) {
    const CWaveSeg* last = GetLastSeg(ctx);
    return last != nullptr ? last->Left() + last->Width() : 0;
}

void SetScrollRange(EditContext& ctx, KeepRatio keepRatio, int newValue) {
    ScrollBar& bar = ctx.form.hScrWave;
    const int extent = ctx.form.mIsRecording ? MainForm::kCanvasWidth : GetTimelineRight(ctx);
    if (ctx.form.viewportWidth < extent) {
        const float ratio = RatioOf(bar);
        bar.Max = extent - ctx.form.viewportWidth;
        if (keepRatio == KeepRatio::Yes) {
            SetRatio(bar, ratio);
        } else {
            bar.Value = std::min(newValue >= 0 ? newValue : bar.Value, bar.Max);
        }
        bar.Enabled = true;
    } else if (bar.Enabled) {
        bar.Value = 0;
        bar.Enabled = false;
    }
    ctx.form.Changed();
}

void Scroll(EditContext& ctx, int value) {
    ScrollBar& bar = ctx.form.hScrWave;
    const int within = std::clamp(value, 0, bar.Enabled ? bar.Max : 0);
    if (within == bar.Value) return;
    bar.Value = within;
    ctx.form.Changed();
}

void PlaceCursor(EditContext& ctx, Ms ms) {
    ScrollBar& bar = ctx.form.hScrWave;
    ctx.form.picLine = TimeToPixel(ctx, ms) - 1;
    if (ctx.form.picLine - bar.Value >= ctx.form.viewportWidth)
        bar.Value = std::min(bar.Value + bar.LargeChange, bar.Max);
    ctx.form.Changed();
}

void ShowCursor(EditContext& ctx) {
    const int inView = ctx.form.picLine - ctx.form.hScrWave.Value;
    if (inView < 0 || inView >= ctx.form.viewportWidth) Scroll(ctx, ctx.form.picLine - ctx.form.viewportWidth / 2);
}

void DrawRuler(EditContext& ctx, Ms durationMs) {
    std::vector<RulerTick>& ticks = ctx.form.picRuler;
    ticks.clear();
    constexpr int kWidth = MainForm::kCanvasWidth;
    const int right = GetTimelineRight(ctx);
    const double exact = right > 1 ? static_cast<double>(kWidth - 1) * durationMs / (right - 1) : 0;
    // A slide without width has no ruler, nor a canvas that would stand for more ms than there are.
    if (exact >= 1 && exact <= std::numeric_limits<Ms>::max()) {
        const Ms span = RoundHalfEven(exact);
        const Ms sub = PickRulerStep(span, kWidth) / kTicksPerLabel;
        for (Ms i = 0; i <= span / sub; ++i) {
            const int x = RoundHalfEven(static_cast<double>(sub * i) / span * (kWidth - 1));
            ticks.push_back({x, i % kTicksPerLabel == 0 ? FormatRuler(sub * i) : std::string()});
        }
    }
    ctx.form.Changed();
}

void UpdateZoomButtons(EditContext& ctx) {
    const Ms length = ctx.state.gSlideList.GetLen(ctx.curSlide());
    const std::int32_t zoom = Zoom(ctx);
    ctx.form.Enable(Control::cmdZoomOut, TimeToPixelAt(length, zoom) > ctx.form.viewportWidth);
    ctx.form.Enable(Control::cmdZoomIn,
                    zoom > 1 && TimeToPixelAt(length, RoundHalfEven(zoom / 2.0)) <= MainForm::kCanvasWidth);
    ctx.form.Changed();
}

void doZoom(EditContext& ctx, std::int32_t zoom, ResetView resetView) {
    const BusyCursor busy(ctx.world());
    try {
        ApplyZoom(ctx, zoom, resetView);
    } catch (const std::exception& failure) {
        ShowFailure(ctx.world(), ErrorText(failure), "doZoom");
    }
}

void cmdZoomIn_Click(EditContext& ctx) {
    if (!CanZoom(ctx)) return;
    if (Zoom(ctx) == 1) return Refuse(ctx, "msgMaxZoom", "Exceed the max zoom ratio!");
    doZoom(ctx, RoundHalfEven(Zoom(ctx) / 2.0), ResetView::No);
    modSelection::SelectUnderCursor(ctx);
}

void cmdZoomOut_Click(EditContext& ctx) {
    if (!CanZoom(ctx)) return;
    if (ctx.form.viewportWidth >= GetTimelineRight(ctx))
        return Refuse(ctx, "msgMaxZoomOut", "Exceed the max zoom out ratio!");
    doZoom(ctx, CheckedMul(Zoom(ctx), 2), ResetView::No);
    modSelection::SelectUnderCursor(ctx);
}

void SyncSlideEnd(EditContext& ctx, std::int32_t segIndex) {
    ctx.form.isSetPosOpen = false;
    const std::optional<Ms> posEnd = segIndex == kLastSeg ? LastEnd(ctx) : EndOf(ctx, segIndex);
    if (posEnd && *posEnd != ctx.state.gSlideList.GetEnd(ctx.curSlide())) MoveSlideEnd(ctx, *posEnd);
    if (!IsSegDragging(ctx)) {
        SetScrollRange(ctx, KeepRatio::No);
        UpdateZoomButtons(ctx);
    }
    ctx.form.Changed();
}

bool IsSegDragging(const EditContext& ctx) { return ctx.form.drag.has_value(); }

void CancelDrag(EditContext& ctx) {
    if (!ctx.form.drag) return;
    const SegDrag drag = *ctx.form.drag;
    ctx.form.drag.reset();
    for (const CWaveTrack& track : ctx.state.gWaveTrack) {
        CWaveSeg* seg = track.items.Find(drag.segIndex);
        if (seg == nullptr) continue;
        seg->move(drag.dragPos);
        seg->Place({drag.dragLeft, seg->Width()});
    }
    SyncSlideEnd(ctx);
}

}  // namespace mirrane::modLayout
