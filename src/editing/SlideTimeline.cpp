// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/SlideTimeline.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/Text.h"
#include "base/Trapped.h"
#include "editing/Layout.h"
#include "editing/Selection.h"

namespace mirrane::modSlideTimeline {

namespace {

/// Times of the recording, as the document has them.
struct Recorded {
    Ms pos = 0;
    Ms posEnd = 0;
    Ms length = 0;
};

Recorded RecordedOf(CGrid& grid, std::int32_t slide) {
    return {IntegerPrefix(grid.GetPos(slide)), IntegerPrefix(grid.GetEnd(slide)), IntegerPrefix(grid.GetLen(slide))};
}

/// The slide's first segment: all of it, as it was recorded.
void BuildSlideTimeline(EditContext& ctx) {
    EditorState& state = ctx.state;
    const std::int32_t slide = ctx.curSlide();
    const auto element = static_cast<std::size_t>(slide) - 1;
    state.gSlideLoaded.at(element) = true;
    const Recorded recorded = RecordedOf(state.gGrid, slide);
    WaveSegRecord seg{.segIndex = 2 * slide, .slideIndex = slide, .trackIndex = 0};  // even ones are kept for this
    if (!LoadWaveSeg(ctx, seg.segIndex)) return;
    const modLayout::FirstView view = modLayout::FirstViewOf(recorded.length, ctx.form.viewportWidth);
    state.gSlideZoom.at(element) = view.zoom;
    seg.srcFile = InFolder(state.gProjectFolder, "media.qv");
    seg.srcPos = recorded.pos;
    seg.srcPosEnd = recorded.posEnd;
    seg.samples.PCM.resize(SampleCount(recorded.length));
    // Without them the segment is drawn flat; the user was told.
    (void)ctx.sampler->GetWaveSamples(seg.srcFile, seg.samples.PCM, recorded.pos, recorded.posEnd, 1);
    seg.pos = state.gSlideList.GetPos(slide);
    seg.posEnd = state.gSlideList.GetEnd(slide);
    const std::int32_t segIndex = seg.segIndex;
    state.gWaveTrack[0].Add(std::move(seg), {0, view.width});
    state.gWaveTrack[0].SwitchSlide(slide);
    modLayout::SyncSlideEnd(ctx, segIndex);
    modLayout::DrawRuler(ctx, recorded.length);
    modLayout::UpdateZoomButtons(ctx);
}

}  // namespace

void ShowSlideTimeline(EditContext& ctx) {
    EditorState& state = ctx.state;
    const std::int32_t slide = ctx.curSlide();
    if (!ctx.hasTimeline() || state.gSlideLoaded.at(static_cast<std::size_t>(slide) - 1)) {
        for (CWaveTrack& track : state.gWaveTrack) track.SwitchSlide(slide);
        if (!ctx.hasTimeline()) return;
        modLayout::doZoom(ctx, modLayout::Zoom(ctx), modLayout::ResetView::Yes);
    } else {
        BuildSlideTimeline(ctx);
        state.gWaveTrack[1].SwitchSlide(slide);
        modLayout::PlaceCursor(ctx, 0);
    }
    modSelection::SelectOnlyTrack(ctx, 0);
    modSelection::SelectUnderCursor(ctx);
    ctx.form.lSlideEnd = std::to_string(state.gSlideList.GetEnd(slide));
    ctx.form.Changed();
}

std::size_t SampleCount(Ms duration) {
    return static_cast<std::size_t>(std::max(RoundHalfEven(duration / static_cast<double>(kSampleMs)), 1));
}

bool LoadWaveSeg(EditContext& ctx, std::int32_t segIndex) {
    try {
        ctx.state.waveViews.Load(segIndex);
        return true;
    } catch (const std::exception& failure) {
        const std::string text =
            GetResString(ctx.world(), "frmMixEditor", "msgLoadWaveSegError",
                         "Error occured while loading UI component! This program will now exit!\r\n"
                         "(Err.Description: %s)");
        ShowFailure(ctx.world(), ReplaceAll(text, "%s", ErrorText(failure)));
    }
    ctx.life->PostUnload();
    return false;
}

}  // namespace mirrane::modSlideTimeline
