// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "editing/EditContext.h"

/// The commands of menu, buttons and keys. Each is one step of the history, and ignored while the editor is busy.
namespace mirrane::modCommands {

/// Cuts what lies under the cursor on the selected tracks.
void mnuSplit_Click(EditContext& ctx);
/// Removes the selected segments of the selected tracks; a slide keeps at least one on Track 1.
void mnuRemove_Click(EditContext& ctx);
/// Asks for the volume of the selected segment.
void mnuSetVol_Click(EditContext& ctx);
void cmdVolUp_Click(EditContext& ctx);
void cmdVolDown_Click(EditContext& ctx);
/// Makes all selected segments of the slide louder or softer by so many percent; those that would fall below 0 stay.
void BatchVolAdjust(EditContext& ctx, std::int32_t volDif);
/// Removes segments, in order.
/// @returns false when one could not be removed; those before it are
bool RemoveSegList(EditContext& ctx, const std::vector<std::int32_t>& segIndices);

/// By tool bar or key: one step back or forth. What plays is paused first.
void Undo_Click(EditContext& ctx);
void Redo_Click(EditContext& ctx);

/// What the menu of the tracks offers now.
[[nodiscard]] TrackMenu MenuNow(const EditContext& ctx, bool isOnSegment);
/// What the tool bar offers of it: the volume while a segment is selected, and nothing without a timeline.
[[nodiscard]] TrackMenu ToolsNow(const EditContext& ctx);

// What the commands have in common with the gestures.

/// Pauses what plays.
void Pause(EditContext& ctx);
/// Seeks to where the player stands, so that it plays what was edited.
void SeekAgain(EditContext& ctx);
/// Seeks in the shown slide, so that the player plays what was edited. Tells once when the edits have made so many pieces
/// of the sound that the play list may not hold the next ones.
void SeekAfterEdit(EditContext& ctx, Ms inSlide);

/// The numbers of the segments of the shown slide, on one track and in its order, that a test takes. They stay good
/// while the track changes.
template <typename Test>
[[nodiscard]] std::vector<std::int32_t> ShownSegs(const EditContext& ctx, const CWaveTrack& track, const Test& test) {
    std::vector<std::int32_t> segIndices;
    for (const CWaveSeg& seg : track.items)
        if (seg.slideIndex == ctx.curSlide() && test(seg)) segIndices.push_back(seg.segIndex);
    return segIndices;
}

}  // namespace mirrane::modCommands
