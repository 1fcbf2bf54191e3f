// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/SlideView.h"

#include <algorithm>
#include <iostream>

#include "base/Trapped.h"
#include "editing/Layout.h"
#include "editing/SlideTimeline.h"
#include "playback/PageFiles.h"

namespace mirrane {

namespace {

constexpr std::uint32_t kThumbnailWaitMs = 1000;

}  // namespace

void SlideView::LoadSlide(std::int32_t index, WhileBusy whileBusy) {
    TrappedVoid(ctx_.world(), "LoadSlide", [this, index, whileBusy] {
        EditorState& state = ctx_.state;
        ctx_.form.isSetPosOpen = false;
        const bool isRefused = state.busyDepth > 0 && whileBusy == WhileBusy::Refuse;
        if (state.gIsSeeking || isRefused || state.gGrid.Rows() == 0) return;
        ctx_.form.TmrFrame = false;
        DropPage();
        modLayout::CancelDrag(ctx_);
        const std::int32_t slide = std::clamp(index, 1, state.gGrid.Rows());
        state.gGrid.SelectedRow(slide);
        transport_.SetSlideLen(state.gSlideList.GetLen(slide));
        if (state.gSlideList.IsOnTimeline(slide))
            ShowRecordedSlide(slide);
        else
            ShowWebSlide(slide);
    });
}

void SlideView::ShowRecordedSlide(std::int32_t index) {
    if (ctx_.form.mIsWebSlide) Navigate({});
    ctx_.form.mIsWebSlide = false;
    ctx_.form.isPlayerVisible = true;
    EnableEditing(true);
    modSlideTimeline::ShowSlideTimeline(ctx_);
    transport_.qvSeekTo(ctx_.state.gSlideList.GetPos(index));
}

void SlideView::ShowWebSlide(std::int32_t index) {
    EditorState& state = ctx_.state;
    const std::string url = state.gGrid.GetUrl(index);
    const bool isOurs = IsInProject(url);
    if (!isOurs) std::cerr << "A page outside of the project is not shown: " << url << '\n';
    ctx_.form.mIsWebSlide = true;
    Navigate(url.empty() || !isOurs ? std::string() : InFolder(state.gProjectFolder, url).string());
    EnableEditing(false);
    transport_.DropResume();
    transport_.SetSliderPos(0);
    ctx_.form.lPlayInfo = " --:--:-- / --:--:--";
    for (CWaveTrack& track : state.gWaveTrack) (void)track.SwitchSlide(index);
    ctx_.form.Changed();
}

void SlideView::ie_DocumentComplete() {
    if (ctx_.state.isClosing || !ctx_.form.mIsWebSlide) return;
    ctx_.form.isPlayerVisible = false;
    isPageThere_ = true;
    tmrThumbnail_ = ctx_.world().clock.TickMs();
    ctx_.form.Changed();
}

void SlideView::ie_NavigateError() {
    DropPage();
    ctx_.form.Changed();
}

void SlideView::DropPage() {
    isPageThere_ = false;
    tmrThumbnail_.reset();
}

void SlideView::tmrThumbnail_Timer() {
    if (ctx_.state.isClosing || !tmrThumbnail_) return;
    if (ctx_.world().clock.TickMs() - *tmrThumbnail_ < kThumbnailWaitMs) return;
    tmrThumbnail_.reset();
    CaptureWebThumbnail(Force::No);
}

bool SlideView::canCapture() const {
    return isPageThere_ && !ctx_.state.isClosing && !ctx_.state.gGrid.GetUrl(ctx_.curSlide()).empty();
}

void SlideView::CaptureWebThumbnail(Force force) {
    if (!canCapture()) return;
    try {
        mirrane::CaptureWebThumbnail(ctx_, lib_, force);
    } catch (const std::exception& failure) {
        // Nobody has asked for the first one, so nobody is to be held up by it.
        if (force == Force::No)
            std::cerr << "tmrThumbnail_Timer: " << ErrorText(failure) << '\n';
        else
            ReportStepError(ctx_.world(), ErrorText(failure), "CaptureWebThumbnail");
    }
}

void SlideView::Navigate(const std::string& file) const {
    if (ctx_.form.face.navigate) ctx_.form.face.navigate(file);
}

void SlideView::EnableEditing(bool on) {
    for (const Control control : {Control::cmdPlay, Control::cmdStop, Control::ProgCtrl, Control::cmdImportAudio,
                                  Control::cmdRecAudio, Control::cmdVolUp, Control::cmdVolDown, Control::cmdZoomIn,
                                  Control::cmdZoomOut, Control::imgRulerPad, Control::imgTrackPanel})
        ctx_.form.Enable(control, on);
}

}  // namespace mirrane
