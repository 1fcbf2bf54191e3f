// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Selection.h"

namespace mirrane::modSelection {

namespace {

CWaveTrack& TrackAt(const EditContext& ctx, int track) {
    return ctx.state.gWaveTrack.at(static_cast<std::size_t>(track));
}

/// The pixel that two neighbours share belongs to the right one.
bool IsUnder(const CWaveSeg& seg, int line) { return seg.Left() <= line && line < seg.Left() + seg.Width() - 1; }

/// During a drag all other gestures are ignored; without a timeline there is nothing to select.
bool CanSelect(const EditContext& ctx) { return !ctx.form.drag && ctx.hasTimeline(); }

}  // namespace

void SetTrackSelected(EditContext& ctx, int track, TrackSelection how) {
    bool& isSelected = TrackAt(ctx, track).trackSelected;
    isSelected = how == TrackSelection::On || (how == TrackSelection::Toggle && !isSelected);
    ctx.form.Changed();
}

void SelectOnlyTrack(EditContext& ctx, int track) {
    SetTrackSelected(ctx, track, TrackSelection::On);
    SetTrackSelected(ctx, 1 - track, TrackSelection::Off);
}

void SelectUnderCursor(EditContext& ctx) {
    for (CWaveTrack& track : ctx.state.gWaveTrack) {
        track.DeSelectAll();
        if (!track.trackSelected) continue;
        for (const CWaveSeg& seg : track.items)
            if (seg.slideIndex == ctx.curSlide() && IsUnder(seg, ctx.form.picLine)) track.SelectSeg(seg.segIndex);
    }
}

void imgTrackPanel_Click(EditContext& ctx, int track) {
    if (!CanSelect(ctx)) return;
    SelectOnlyTrack(ctx, track);
    SelectUnderCursor(ctx);
}

void picTrack_MouseDown(EditContext& ctx, int track) {
    if (!CanSelect(ctx)) return;
    for (CWaveTrack& each : ctx.state.gWaveTrack) each.DeSelectAll();
    SelectOnlyTrack(ctx, track);
}

}  // namespace mirrane::modSelection
