// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Commands.h"

#include "base/Text.h"
#include "base/Trapped.h"
#include "editing/Layout.h"
#include "editing/Replay.h"
#include "editing/WaveEdit.h"
#include "timeline/PlayList.h"

namespace mirrane::modCommands {

namespace {

constexpr char kForm[] = "frmMixEditor";
constexpr char kRefusalTitle[] = "qvMixEditor";
constexpr std::int32_t kVolStep = 25;  ///< of the volume buttons, percent

bool MayBegin(const EditContext& ctx) { return ctx.isIdle() && ctx.hasTimeline(); }

bool IsSelected(const CWaveSeg& seg) { return seg.selected(); }
bool IsAny(const CWaveSeg& /*seg*/) { return true; }

void Append(std::vector<std::int32_t>& to, const std::vector<std::int32_t>& more) {
    to.insert(to.end(), more.begin(), more.end());
}

/// The selected segments of the shown slide, whether their tracks are selected or not.
std::vector<std::int32_t> SelectedSegs(const EditContext& ctx) {
    std::vector<std::int32_t> selected;
    for (const CWaveTrack& track : ctx.state.gWaveTrack) Append(selected, ShownSegs(ctx, track, IsSelected));
    return selected;
}

/// What is cut is chosen before the first cut: the left piece of one lies under the line as well.
void SplitAtLine(EditContext& ctx, const CWaveTrack& track) {
    const int line = ctx.form.picLine;
    const auto isUnderLine = [line](const CWaveSeg& seg) {
        return seg.Left() + 1 <= line && line < seg.Left() + seg.Width();
    };
    for (const std::int32_t segIndex : ShownSegs(ctx, track, isUnderLine))
        modWaveEdit::SplitWaveSeg(ctx, segIndex, modWaveEdit::kAtLine, modWaveEdit::Log::Yes);
}

/// @returns whether one was changed
bool AdjustAll(EditContext& ctx, const std::vector<std::int32_t>& segIndices, std::int32_t volDif) {
    bool isOneAdjusted = false;
    for (const std::int32_t segIndex : segIndices) {
        if (CheckedAdd(modWaveEdit::SegOf(ctx, segIndex).volPercent, volDif) < 0) continue;
        isOneAdjusted |= modWaveEdit::VolAdjust(ctx, segIndex, volDif, modWaveEdit::Log::Yes);
    }
    return isOneAdjusted;
}

void AdjustByButton(EditContext& ctx, std::int32_t volDif, const char* procedureName) {
    if (!MayBegin(ctx)) return;
    TrappedVoid(ctx.world(), procedureName, [&] {
        Pause(ctx);
        BatchVolAdjust(ctx, volDif);
    });
}

/// Keeps commands from beginning as long as this lives.
class UndoHold {
public:
    explicit UndoHold(MainForm& form) : form_(form) { form_.mUndoBusy = true; }
    ~UndoHold() { form_.mUndoBusy = false; }
    UndoHold(const UndoHold&) = delete;
    UndoHold& operator=(const UndoHold&) = delete;

private:
    MainForm& form_;
};

using HistoryStep = void (CHistory::*)(IReplay&);

void StepThroughHistory(EditContext& ctx, HistoryStep step, const char* procedureName) {
    TrappedVoid(ctx.world(), procedureName, [&] {
        const UndoHold hold(ctx.form);
        Pause(ctx);
        Replay replay(ctx);
        (ctx.state.gHistory.*step)(replay);
        if (ctx.state.isClosing) return;
        SeekAgain(ctx);
        ctx.transport->SetToolbar();
    });
}

}  // namespace

void mnuSplit_Click(EditContext& ctx) {
    if (!MayBegin(ctx)) return;
    TrappedVoid(ctx.world(), "mnuSplit_Click", [&ctx] {
        const HistoryGroup group(ctx.state.gHistory);
        for (const CWaveTrack& track : ctx.state.gWaveTrack)
            if (track.trackSelected) SplitAtLine(ctx, track);
    });
    ctx.transport->SetToolbar();
}

void mnuRemove_Click(EditContext& ctx) {
    if (!MayBegin(ctx)) return;
    TrappedVoid(ctx.world(), "mnuRemove_Click", [&ctx] {
        const CWaveTrack& track1 = ctx.state.gWaveTrack[0];
        const CWaveTrack& track2 = ctx.state.gWaveTrack[1];
        const auto refuse = [&ctx](const char* key, const char* defaultText) {
            ShowMessage(ctx.world(), GetResString(ctx.world(), kForm, key, defaultText), kRefusalTitle);
        };
        if (track1.trackSelected && ctx.state.mHasVideoRecords)
            return refuse("msgCannotRemoveSeg", "Cannot remove segments in Track 1 because there are video records!");

        const HistoryGroup group(ctx.state.gHistory);
        std::vector<std::int32_t> doomed;
        if (track1.trackSelected) {
            doomed = ShownSegs(ctx, track1, IsSelected);
            if (doomed.size() >= ShownSegs(ctx, track1, IsAny).size()) return refuse("msgCannotRemoveAllSeg", "");
        }
        if (track2.trackSelected) Append(doomed, ShownSegs(ctx, track2, IsSelected));
        if (doomed.empty()) return;
        RemoveSegList(ctx, doomed);
        modLayout::SyncSlideEnd(ctx);
        SeekAgain(ctx);
    });
}

void mnuSetVol_Click(EditContext& ctx) {
    if (!MayBegin(ctx)) return;
    TrappedVoid(ctx.world(), "mnuSetVol_Click", [&ctx] {
        const std::vector<std::int32_t> selected = SelectedSegs(ctx);
        if (selected.size() > 1)
            ShowMessage(ctx.world(), GetResString(ctx.world(), kForm, "msgSetVolOfOne",
                                                  "Cannot set volume of more than one wave segment!"));
        if (selected.size() != 1) return;

        std::int32_t& value = ctx.state.gVolDialogValue;
        value = modWaveEdit::SegOf(ctx, selected.front()).volPercent;
        if (ctx.form.face.showSetVol) ctx.form.face.showSetVol();
        const std::int32_t volDif = CheckedSub(value, modWaveEdit::SegOf(ctx, selected.front()).volPercent);
        if (volDif != 0) BatchVolAdjust(ctx, volDif);
    });
}

void cmdVolUp_Click(EditContext& ctx) { AdjustByButton(ctx, kVolStep, "cmdVolUp_Click"); }

void cmdVolDown_Click(EditContext& ctx) { AdjustByButton(ctx, -kVolStep, "cmdVolDown_Click"); }

void BatchVolAdjust(EditContext& ctx, std::int32_t volDif) {
    if (!MayBegin(ctx)) return;
    const auto adjust = [&ctx, volDif] {
        const HistoryGroup group(ctx.state.gHistory);
        const std::vector<std::int32_t> selected = SelectedSegs(ctx);
        if (selected.empty())
            ShowMessage(ctx.world(),
                        GetResString(ctx.world(), kForm, "msgSelectWaveSeg", "Please select a wave segment first!"));
        return AdjustAll(ctx, selected, volDif);
    };
    TrappedVoid(ctx.world(), "BatchVolAdjust", [&] {
        if (adjust()) SeekAgain(ctx);
    });
}

bool RemoveSegList(EditContext& ctx, const std::vector<std::int32_t>& segIndices) {
    for (const std::int32_t segIndex : segIndices)
        if (!modWaveEdit::RemoveWaveSeg(ctx, segIndex, modWaveEdit::Log::Yes)) return false;
    return true;
}

void Undo_Click(EditContext& ctx) {
    if (ctx.isIdle() && ctx.state.gHistory.CanUndo()) StepThroughHistory(ctx, &CHistory::Undo, "Undo_Click");
}

void Redo_Click(EditContext& ctx) {
    if (ctx.isIdle() && ctx.state.gHistory.CanRedo()) StepThroughHistory(ctx, &CHistory::Redo, "Redo_Click");
}

TrackMenu MenuNow(const EditContext& ctx, bool isOnSegment) {
    const int line = ctx.form.picLine;
    const auto isCuttable = [line](const CWaveSeg& seg) {
        return seg.selected() && line - seg.Left() >= 1 && line - seg.Left() < seg.Width() - 1;
    };
    TrackMenu menu{.hasSetVol = isOnSegment};
    for (const CWaveTrack& track : ctx.state.gWaveTrack) {
        if (!track.trackSelected) continue;
        menu.canRemove |= !ShownSegs(ctx, track, IsSelected).empty();
        menu.canSplit |= !ShownSegs(ctx, track, isCuttable).empty();
    }
    return menu;
}

TrackMenu ToolsNow(const EditContext& ctx) {
    return ctx.hasTimeline() ? MenuNow(ctx, !SelectedSegs(ctx).empty()) : TrackMenu{};
}

void Pause(EditContext& ctx) {
    if (ctx.transport->IsPlaying()) ctx.transport->ExecPlay();
}

void SeekAgain(EditContext& ctx) {
    if (ctx.hasTimeline()) SeekAfterEdit(ctx, CheckedSub(ctx.transport->Position(), modLayout::SlideStart(ctx)));
}

void SeekAfterEdit(EditContext& ctx, Ms inSlide) {
    constexpr std::size_t kManyRows = 80;
    const std::size_t before = ctx.state.gAudioRows.size();
    ctx.transport->SeekInSlide(inSlide);
    if (before > kManyRows || ctx.state.gAudioRows.size() <= kManyRows) return;
    ShowMessage(ctx.world(), ReplaceAll(GetResString(ctx.world(), kForm, "msgManyPieces"), "%s",
                                        std::to_string(modPlayList::kMostAudioRows)));
}

}  // namespace mirrane::modCommands
