// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Gestures.h"

#include <algorithm>

#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Layout.h"
#include "editing/Selection.h"
#include "editing/WaveEdit.h"

namespace mirrane::modGestures {

namespace {

constexpr int kLastPixel = MainForm::kCanvasWidth - 1;
constexpr std::int64_t kFarOut = std::int64_t{2} * MainForm::kCanvasWidth;

/// A pixel that is on the canvas, or not much off it.
int NearCanvas(std::int64_t px) { return static_cast<int>(std::clamp<std::int64_t>(px, -kFarOut, kFarOut)); }

void PopUpMenu(EditContext& ctx, bool isOnSegment) {
    if (ctx.form.face.popUpTrackMenu) ctx.form.face.popUpTrackMenu(modCommands::MenuNow(ctx, isOnSegment));
}

void ShowGhost(EditContext& ctx, int x) {
    ctx.form.picGrayLine = std::clamp(x, 0, kLastPixel);
    ctx.form.Changed();
}

/// Seeks to where the ruler was let go; the end of the slide is one sample before its length.
void SeekToPixel(EditContext& ctx, int x) {
    const Ms length = ctx.state.gSlideList.GetLen(ctx.curSlide());
    Ms time = modLayout::PixelToTime(ctx, x + 1);
    if (time >= length) time = length - kSampleMs;
    if (CheckedAdd(modLayout::SlideStart(ctx), time) != ctx.transport->Position()) {
        ctx.form.picLine = x;
        ctx.transport->SeekInSlide(time);
    }
    modSelection::SelectUnderCursor(ctx);
}

int PixelOf(const EditContext& ctx, CursorKey key) {
    const int page = ctx.form.hScrWave.SmallChange;
    switch (key) {
        case CursorKey::Left:
            return ctx.form.picLine - 1;
        case CursorKey::Right:
            return ctx.form.picLine + 1;
        case CursorKey::PageLeft:
            return ctx.form.picLine - page;
        case CursorKey::PageRight:
            return ctx.form.picLine + page;
        case CursorKey::Home:
            return 0;
        case CursorKey::End:
            break;
    }
    return modLayout::TimeToPixel(ctx, ctx.state.gSlideList.GetLen(ctx.curSlide()));
}

/// What a dragged segment can run into, and how far it may go in time.
struct Way {
    const CWaveSeg* before = nullptr;
    const CWaveSeg* behind = nullptr;
    Ms minPos = 0;
    Ms maxPos = 0;
};

const CWaveSeg* NeighbourAt(const WaveSegs& items, std::int32_t position, std::int32_t slideIndex) {
    if (position < 1 || position > items.Count()) return nullptr;
    const CWaveSeg& seg = items.item(position);
    return seg.slideIndex == slideIndex ? &seg : nullptr;
}

Way WayOf(EditContext& ctx, const CWaveSeg& seg) {
    const CWaveTrack& track = modWaveEdit::TrackOf(ctx, seg.segIndex);
    const std::int32_t position = track.getItemIndex(seg.segIndex);
    const Ms start = modLayout::SlideStart(ctx);
    Way way{.before = NeighbourAt(track.items, position - 1, seg.slideIndex),
            .behind = NeighbourAt(track.items, position + 1, seg.slideIndex)};
    way.minPos = way.before != nullptr ? way.before->posEnd : start;
    const Ms end = way.behind != nullptr ? way.behind->pos
                                         : CheckedAdd(modLayout::PixelToTime(ctx, MainForm::kCanvasWidth), start);
    way.maxPos = CheckedSub(end, CheckedSub(seg.posEnd, seg.pos));
    return way;
}

/// Where the mouse would have a segment, stopped by what stands in the way.
struct Aim {
    enum class StoppedAt { Nothing, MinPos, MaxPos };
    int Left = 0;
    StoppedAt stoppedAt = StoppedAt::Nothing;
};

Aim AimAt(int newLeft, int width, const Way& way) {
    Aim aim{.Left = newLeft};
    if (way.before != nullptr) {
        const int right = way.before->Left() + way.before->Width() - 1;
        if (aim.Left < right) aim = {right, Aim::StoppedAt::MinPos};
    }
    if (way.behind != nullptr && aim.Left + width - 1 > way.behind->Left())
        aim = {way.behind->Left() - (width - 1), Aim::StoppedAt::MaxPos};
    if (aim.Left < 0) aim = {0, Aim::StoppedAt::MinPos};
    if (aim.Left + width > MainForm::kCanvasWidth) aim = {MainForm::kCanvasWidth - width, Aim::StoppedAt::MaxPos};
    return aim;
}

/// In time a segment stops exactly at its neighbour, and comes back exactly to where it was pressed: pixels are too
/// coarse for both.
Ms TimeOf(const EditContext& ctx, const Aim& aim, const Way& way, const SegDrag& drag) {
    if (aim.stoppedAt == Aim::StoppedAt::MinPos) return way.minPos;
    if (aim.stoppedAt == Aim::StoppedAt::MaxPos) return way.maxPos;
    if (aim.Left == drag.dragLeft) return drag.dragPos;
    const Ms time = CheckedAdd(modLayout::PixelToTime(ctx, aim.Left + 1), modLayout::SlideStart(ctx));
    return std::clamp(time, way.minPos, way.maxPos);
}

void DragTo(EditContext& ctx, const SegDrag& drag, int x) {
    CWaveSeg& seg = modWaveEdit::SegOf(ctx, drag.segIndex);
    const Way way = WayOf(ctx, seg);
    if (way.maxPos < way.minPos) return;  // longer than its room
    const int wished = NearCanvas(std::int64_t{drag.dragLeft} + x - drag.dragX);
    const Aim aim = AimAt(wished, seg.Width(), way);
    seg.move(TimeOf(ctx, aim, way, drag));
    seg.Place({aim.Left, seg.Width()});
    modLayout::SyncSlideEnd(ctx);
    ctx.form.Changed();
}

void EndDrag(EditContext& ctx) {
    const SegDrag drag = *ctx.form.drag;
    const CWaveSeg& seg = modWaveEdit::SegOf(ctx, drag.segIndex);
    const Ms posDif = CheckedSub(seg.pos, drag.dragPos);
    if (seg.trackIndex == 0 && ctx.state.mHasVideoRecords && (seg.Left() != drag.dragLeft || posDif != 0)) {
        modLayout::CancelDrag(ctx);
        ShowMessage(ctx.world(),
                    GetResString(ctx.world(), "frmMixEditor", "msgCannotMoveSeg",
                                 "Cannot move segments in Track 1 because there are video records!"),
                    "qvMixEditor");
        return;
    }
    ctx.form.drag.reset();
    if (posDif == 0) return;
    modLayout::SyncSlideEnd(ctx);
    modWaveEdit::MoveWaveSeg(ctx, drag.segIndex, posDif, modWaveEdit::Moved::Already, modWaveEdit::Log::Yes);
    modCommands::SeekAgain(ctx);
}

bool IsDragged(const EditContext& ctx, std::int32_t segIndex) {
    return ctx.form.drag && ctx.form.drag->segIndex == segIndex;
}

/// The pressed segment becomes the selection, its track the selected one.
void SelectAlone(EditContext& ctx, const CWaveSeg& seg) {
    for (CWaveTrack& track : ctx.state.gWaveTrack) track.DeSelectAll();
    modWaveEdit::TrackOf(ctx, seg.segIndex).SelectSeg(seg.segIndex);
    modSelection::SelectOnlyTrack(ctx, seg.trackIndex);
}

}  // namespace

void imgRulerPad_MouseDown(EditContext& ctx, Button button, int x) {
    if (button != Button::Left || !ctx.isIdle() || !ctx.hasTimeline()) return;
    if (!ctx.form.IsEnabled(Control::imgRulerPad)) return;
    ctx.form.mRulerDragging = true;
    ShowGhost(ctx, x);
}

void imgRulerPad_MouseMove(EditContext& ctx, Button button, int x) {
    if (button == Button::Left && ctx.form.mRulerDragging) ShowGhost(ctx, x);
}

void imgRulerPad_MouseUp(EditContext& ctx, Button button, int x) {
    if (button == Button::Right && ctx.isIdle() && ctx.form.IsEnabled(Control::imgRulerPad)) PopUpMenu(ctx, false);
    if (button != Button::Left || !ctx.form.mRulerDragging) return;
    ctx.form.mRulerDragging = false;
    ctx.form.picGrayLine.reset();
    ctx.form.Changed();
    if (!ctx.isIdle() || !ctx.hasTimeline()) return;
    TrappedVoid(ctx.world(), "imgRulerPad_MouseUp", [&] { SeekToPixel(ctx, std::clamp(x, 0, kLastPixel)); });
}

void picLine_MouseDown(EditContext& ctx, Button button, int x) {
    if (button != Button::Right) imgRulerPad_MouseDown(ctx, button, NearCanvas(std::int64_t{ctx.form.picLine} + x));
}

void picLine_MouseMove(EditContext& ctx, Button button, int x) {
    if (button != Button::Right) imgRulerPad_MouseMove(ctx, button, NearCanvas(std::int64_t{ctx.form.picLine} + x));
}

void picLine_MouseUp(EditContext& ctx, Button button, int x) {
    if (button != Button::Right) imgRulerPad_MouseUp(ctx, button, NearCanvas(std::int64_t{ctx.form.picLine} + x));
}

void picTrackGroup_KeyDown(EditContext& ctx, CursorKey key) {
    if (!ctx.isIdle() || !ctx.hasTimeline() || !ctx.form.IsEnabled(Control::imgRulerPad)) return;
    TrappedVoid(ctx.world(), "picTrackGroup_KeyDown", [&] {
        SeekToPixel(ctx, std::clamp(PixelOf(ctx, key), 0, kLastPixel));
        modLayout::ShowCursor(ctx);
    });
}

void waveSeg_MouseDown(EditContext& ctx, std::int32_t segIndex, Button button, int x) {
    if (button == Button::None || !ctx.isIdle() || !ctx.hasTimeline()) return;
    TrappedVoid(ctx.world(), "waveSeg_MouseDown", [&] {
        const CWaveSeg& seg = modWaveEdit::SegOf(ctx, segIndex);
        if (seg.slideIndex != ctx.curSlide()) return;  // hidden
        if (button == Button::Left)
            ctx.form.drag = SegDrag{.segIndex = segIndex, .dragX = x, .dragPos = seg.pos, .dragLeft = seg.Left()};
        SelectAlone(ctx, seg);
        ctx.form.Changed();
    });
}

void waveSeg_MouseMove(EditContext& ctx, std::int32_t segIndex, Button button, int x) {
    if (button != Button::Left || !IsDragged(ctx, segIndex) || ctx.state.gIsBusy()) return;
    TrappedVoid(ctx.world(), "waveSeg_MouseMove", [&] { DragTo(ctx, *ctx.form.drag, x); });
}

void waveSeg_MouseUp(EditContext& ctx, std::int32_t segIndex, Button button, int /*x*/) {
    if (button == Button::Right && ctx.isIdle()) PopUpMenu(ctx, true);
    if (button != Button::Left || !IsDragged(ctx, segIndex)) return;
    TrappedVoid(ctx.world(), "waveSeg_MouseUp", [&ctx] { EndDrag(ctx); });
}

}  // namespace mirrane::modGestures
