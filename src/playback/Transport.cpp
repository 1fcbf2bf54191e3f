// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/Transport.h"

#include <algorithm>
#include <utility>

#include "base/Trapped.h"
#include "editing/Layout.h"
#include "editing/SlideTimeline.h"
#include "store/Time.h"
#include "timeline/PlayList.h"

namespace mirrane {

namespace {

/// So much ahead of its end a slide counts as over, lest a beat of the timer misses it.
constexpr Ms kEndMarginMs = 200;

/// True as long as this lives.
class Flag {
public:
    explicit Flag(bool& flag) : flag_(flag) { flag_ = true; }
    ~Flag() { flag_ = false; }
    Flag(const Flag&) = delete;
    Flag& operator=(const Flag&) = delete;

private:
    bool& flag_;
};

}  // namespace

Transport::Transport(EditContext& ctx, qv::IPlayer& player) : ctx_(ctx), player_(player) {
    player_.OnSeekFinished([this] { PlayerSeekFinished(); });
}

bool Transport::Open(const std::filesystem::path& media) {
    givenUp_ = 0;
    return player_.Open(media);
}

void Transport::Disconnect() {
    player_.OnSeekFinished({});
    seekStart_.reset();
    ctx_.state.gIsSeeking = false;
    UnlockAfterSeek();
}

Ms Transport::SlideStart() const { return ctx_.hasTimeline() ? ctx_.state.gSlideList.GetPos(ctx_.curSlide()) : -1; }

// ------------------------------------------------------------------------------------------------------ Play and stop

void Transport::ExecPlay() {
    if (ctx_.state.gIsSeeking) return;
    TrappedVoid(ctx_.world(), "cmdPlay_Click", [this] {
        if (IsPlaying()) {
            player_.Pause();
            ShowStopped();
            return;
        }
        player_.Play();
        MainForm& form = ctx_.form;
        form.cmdPlayCaption = form.mPauseCaption;
        for (const Control control : {Control::cmdNext, Control::cmdPrev, Control::cmdVolUp, Control::cmdVolDown})
            form.Enable(control, false);
        form.TmrFrame = true;
        form.Changed();
    });
}

void Transport::ExecStop(StopAt where) {
    if (ctx_.state.gIsSeeking) return;
    TrappedVoid(ctx_.world(), "ExecStop", [this, where] {
        const Ms start = SlideStart();
        if (Position() == start && player_.State() == qv::PlayState::Stopped) return;
        if (where == StopAt::SlideStart) {
            player_.Stop();
            qvSeekTo(start);
        } else {
            player_.Pause();
        }
        ShowStopped();
    });
}

void Transport::ShowStopped() {
    MainForm& form = ctx_.form;
    form.cmdPlayCaption = form.mPlayCaption;
    for (const Control control : {Control::cmdVolUp, Control::cmdVolDown}) form.Enable(control, !form.mIsWebSlide);
    form.TmrFrame = false;
    SetToolbar();
}

void Transport::cmdPlay_Click() {
    if (MayClick(Control::cmdPlay)) ExecPlay();
}

void Transport::cmdStop_Click() {
    if (MayClick(Control::cmdStop)) ExecStop(StopAt::SlideStart);
}

void Transport::cmdPrev_Click() {
    if (!MayClick(Control::cmdPrev)) return;
    TrappedVoid(ctx_.world(), "cmdPrev_Click", [this] { GoTo(ctx_.curSlide() - 1); });
}

void Transport::cmdNext_Click() {
    if (!MayClick(Control::cmdNext)) return;
    TrappedVoid(ctx_.world(), "cmdNext_Click", [this] { GoTo(ctx_.curSlide() + 1); });
}

void Transport::GoTo(std::int32_t slide) {
    if (slide >= 1 && slide <= ctx_.state.gGrid.Rows()) ctx_.slideView->LoadSlide(slide, WhileBusy::Refuse);
    SetToolbar();
}

void Transport::SetToolbar() {
    const EditorState& state = ctx_.state;
    MainForm& form = ctx_.form;
    const bool canUndo = state.gHistory.CanUndo();
    form.Enable(Control::Save, canUndo);
    form.Enable(Control::Undo, canUndo);
    // A Redo that stays enabled for nothing does nothing.
    if (!canUndo) form.Enable(Control::Redo, false);
    if (state.gHistory.CanRedo()) form.Enable(Control::Redo, true);

    const int selected = state.gGrid.SelectedRow();
    form.Enable(Control::cmdPrev, !IsPlaying() && selected > 1);
    form.Enable(Control::cmdNext, !IsPlaying() && selected < state.gGrid.Rows());
    form.Changed();
}

// --------------------------------------------------------------------------------------------------------------- Seek

void Transport::SeekInSlide(Ms ms) {
    if (ctx_.state.gIsSeeking || !ctx_.hasTimeline()) return;
    const Ms start = SlideStart();
    const Ms last = ctx_.state.gSlideList.GetEnd(ctx_.curSlide()) - 1;
    // Slides begin anywhere, also between two samples.
    const Ms target = std::max(FloorToGrid(start + std::min(ms, last - start)), start);
    if (IsPlaying()) {
        gResumeAfterSeek_ = true;
        player_.Pause();
        ctx_.form.TmrFrame = false;
    }
    qvSeekTo(target);
}

void Transport::qvSeekTo(Ms ms) {
    EditorState& state = ctx_.state;
    if (state.gIsSeeking) return;
    const std::int32_t slide = ms < 0 || state.isClosing ? 0 : state.gSlideList.GetIndex(ms);
    if (slide == 0) {
        DropResume();
        return;
    }
    LockForSeek();
    const bool isSent = Trapped(ctx_.world(), "qvSeekTo", [this, ms, slide] { return BeginSeek(ms, slide); });
    if (!isSent) FailSeek();
}

void Transport::LockForSeek() {
    isLocked_ = true;
    ctx_.world().user.SetBusyCursor(true);
    for (const Control control : {Control::ListView, Control::Save, Control::Exit}) ctx_.form.Enable(control, false);
    ctx_.form.TmrFrame = false;
    ctx_.form.lSeek = true;
    ctx_.state.gIsSeeking = true;
    ctx_.form.Changed();
}

void Transport::UnlockAfterSeek() {
    if (!std::exchange(isLocked_, false)) return;
    ctx_.form.lSeek = false;
    ctx_.world().user.SetBusyCursor(false);
    for (const Control control : {Control::ListView, Control::Save, Control::Exit}) ctx_.form.Enable(control, true);
    SetToolbar();
}

/// @returns false when there is nothing to play, and the editor is about to close
bool Transport::BeginSeek(Ms ms, std::int32_t slide) {
    EditorState& state = ctx_.state;
    MakeCurrent(slide);
    mSlideLen_ = state.gSlideList.GetLen(slide);
    SetSliderPos(ms - SlideStart());
    const auto mute = isMuted_ ? modPlayList::MuteAudio::Yes : modPlayList::MuteAudio::No;
    if (!modPlayList::SetPlayList(state, mute, &player_)) {
        state.gIsSeeking = false;
        ctx_.form.lSeek = false;
        ctx_.life->ForceExit();
        return false;
    }
    seekStart_ = ctx_.world().clock.TickMs();
    player_.Seek(ms);
    return true;
}

/// Makes another slide the shown one, with its timeline.
void Transport::MakeCurrent(std::int32_t slide) {
    if (slide == ctx_.curSlide()) return;
    modLayout::CancelDrag(ctx_);
    ctx_.state.gGrid.SelectedRow(slide);
    modSlideTimeline::ShowSlideTimeline(ctx_);
}

void Transport::FailSeek() {
    seekStart_.reset();
    ctx_.state.gIsSeeking = false;
    DropResume();
    UnlockAfterSeek();
    if (ctx_.state.isClosing) return;
    TrappedVoid(ctx_.world(), "qvSeekTo", [this] {
        if (!IsPlaying()) ShowStopped();
        if (ctx_.hasTimeline()) modLayout::UpdateZoomButtons(ctx_);
    });
}

void Transport::PlayerSeekFinished() {
    if (givenUp_ > 0)
        --givenUp_;
    else
        OnSeekFinish();
}

void Transport::WatchSeek() {
    if (!seekStart_ || ctx_.world().clock.TickMs() - *seekStart_ < kSeekPatienceMs) return;
    ++givenUp_;
    OnSeekFinish();
}

void Transport::OnSeekFinish() {
    EditorState& state = ctx_.state;
    if (state.isClosing || !state.gIsSeeking) return;
    seekStart_.reset();
    state.gIsSeeking = false;
    ctx_.form.lSeek = false;
    const bool resumes = std::exchange(gResumeAfterSeek_, false);
    TrappedVoid(ctx_.world(), "OnSeekFinish", [this, resumes] {
        ShowReached();
        if (resumes && !IsPlaying()) ExecPlay();
        ctx_.form.TmrFrame = IsPlaying();
    });
    UnlockAfterSeek();
}

void Transport::ShowReached() {
    EditorState& state = ctx_.state;
    const Ms position = Position();
    const std::int32_t slide = state.gSlideList.GetIndex(position);
    MakeCurrent(slide);
    state.gGrid.SelectedRow(slide);
    mSlideLen_ = state.gSlideList.GetLen(slide);
    SetSliderPos(position - SlideStart());
    ShowTimes(position - SlideStart());
}

// ----------------------------------------------------------------------------------------------------------- Position

void Transport::TmrFrame_Timer() {
    if (ctx_.state.isClosing) return;
    WatchSeek();
    const MainForm& form = ctx_.form;
    if (isTicking_ || !form.TmrFrame || ctx_.state.gIsSeeking) return;
    if (!form.IsFormEnabled() && !form.mIsRecording) return;
    const Flag ticking(isTicking_);
    TrappedVoid(ctx_.world(), "tmrFrame_Timer", [this] { Tick(); });
}

void Transport::Tick() {
    if (!ctx_.hasTimeline()) return;
    const CSlideList& slides = ctx_.state.gSlideList;
    const Ms position = Position();
    const Ms total = slides.duration();
    const Ms end = slides.GetEnd(ctx_.curSlide());
    const bool isOver = position >= total - kEndMarginMs;
    if (!isOver && position > end - kEndMarginMs) {
        EndSlide(end);
        return;
    }
    if (!ctx_.form.mIsRecording) SetPosInfo(isOver ? total : position);
    if (isOver) ExecStop(StopAt::Here);
}

void Transport::EndSlide(Ms end) {
    // A take belongs to one slide.
    const bool goesOn = ctx_.form.chkAuto && !ctx_.form.mIsRecording;
    if (!ctx_.form.mIsRecording) SetPosInfo(end);
    if (!goesOn) {
        ExecStop(StopAt::Here);
        return;
    }
    if (IsPlaying()) ExecPlay();
    gResumeAfterSeek_ = true;
    TrappedVoid(ctx_.world(), "cmdNext_Click", [this] { GoTo(ctx_.curSlide() + 1); });
    if (!ctx_.state.gIsSeeking) DropResume();
}

void Transport::SetPosInfo(Ms ms) {
    const Ms start = ctx_.state.gSlideList.GetPos(ctx_.curSlide());
    if (ms < start) {
        ctx_.form.TmrFrame = false;  // once is enough
        ShowFailure(ctx_.world(),
                    "Error: index=" + std::to_string(ctx_.curSlide()) + ", StartPos=" + std::to_string(start) +
                        ", ms=" + std::to_string(ms),
                    "SetPosInfo");
        return;
    }
    SetSliderPos(ms - start);
    ShowTimes(ms - start);
}

void Transport::ShowTimes(Ms msInSlide) {
    ctx_.form.lPlayInfo = FormatRuler(msInSlide) + " / " + FormatRuler(mSlideLen_);
    ctx_.form.Changed();
}

void Transport::SetSliderPos(Ms ms) {
    TrappedVoid(ctx_.world(), "SetSliderPos", [this, ms] {
        const float fraction = mSlideLen_ == 0 ? 0 : static_cast<float>(ms) / static_cast<float>(mSlideLen_);
        ctx_.form.ProgCtrl = std::min(fraction, 1.0F);
        modLayout::PlaceCursor(ctx_, mSlideLen_ == 0 ? 0 : ms);
    });
}

std::string Transport::ProgCtrlTip(float fraction) const {
    const std::int32_t ms = RoundHalfEven(static_cast<double>(mSlideLen_) * static_cast<double>(fraction));
    return FormatTenths(RoundHalfEven(ms / 100.0));
}

void Transport::ProgCtrl_MouseUp(float fraction) {
    if (!MayClick(Control::ProgCtrl) || !ctx_.hasTimeline()) return;
    TrappedVoid(ctx_.world(), "ProgCtrl_MouseUp", [this, fraction] {
        SeekInSlide(RoundHalfEven(static_cast<double>(mSlideLen_) * static_cast<double>(fraction)));
    });
}

}  // namespace mirrane
