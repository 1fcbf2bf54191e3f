// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Replay.h"

#include <chrono>

#include "editing/WaveEdit.h"

namespace mirrane {

using modWaveEdit::Log;

bool Replay::ShowSlide(std::int32_t slideIndex) {
    WaitForSeek();
    if (!ctx_.state.isClosing && ctx_.curSlide() != slideIndex) {
        ctx_.slideView->LoadSlide(slideIndex, WhileBusy::Allow);
        WaitForSeek();
    }
    return !ctx_.state.isClosing && ctx_.curSlide() == slideIndex;
}

bool Replay::Insert(const CAudioSeg& record) {
    return modWaveEdit::InsertWaveSeg(ctx_,
                                      {.trackIndex = record.trackIndex,
                                       .segIndex = record.segIndex,
                                       .srcFile = record.srcFile,
                                       .pos = record.pos,
                                       .duration = record.duration(),
                                       .srcPos = record.srcPos,
                                       .volPercent = record.volPercent},
                                      Log::No);
}

bool Replay::Remove(std::int32_t segIndex) { return modWaveEdit::RemoveWaveSeg(ctx_, segIndex, Log::No); }

bool Replay::Split(std::int32_t segIndex, Ms split) {
    return modWaveEdit::SplitWaveSeg(ctx_, segIndex, split, Log::No);
}

bool Replay::Merge(std::int32_t newSegIndex, Ms split, std::int32_t trackIndex) {
    return modWaveEdit::MergeWaveSeg(ctx_, newSegIndex, split, trackIndex);
}

bool Replay::Move(std::int32_t segIndex, Ms posDif) {
    return modWaveEdit::MoveWaveSeg(ctx_, segIndex, posDif, modWaveEdit::Moved::NotYet, Log::No);
}

bool Replay::VolAdjust(std::int32_t segIndex, std::int32_t volDif) {
    return modWaveEdit::VolAdjust(ctx_, segIndex, volDif, Log::No);
}

void Replay::WaitForSeek() {
    constexpr std::chrono::milliseconds kPause{10};
    while (ctx_.state.gIsSeeking && !ctx_.state.isClosing) ctx_.world().user.Sleep(kPause);
}

}  // namespace mirrane
