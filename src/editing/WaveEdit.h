// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>

#include "editing/EditContext.h"

/// The six operations that change the timeline. The user's commands and the replay of the history call the same ones.
/// They work on the shown slide. Each returns false after a refusal or an error, which the user was told; what was done
/// until then stays done. Times are ms on the timeline of the whole project.
namespace mirrane::modWaveEdit {

/// Whether the history takes it down: No in a replay.
enum class Log { No, Yes };
/// For splitPos: where the player stands, seen through the split line.
inline constexpr Ms kAtLine = -1;

/// What is laid down.
struct NewSeg {
    std::int32_t trackIndex = 0;
    std::int32_t segIndex = 0;  ///< unused yet
    std::filesystem::path srcFile;
    Ms pos = 0;
    Ms duration = 0;
    Ms srcPos = 0;
    std::int32_t volPercent = 100;
};

bool RemoveWaveSeg(EditContext& ctx, std::int32_t segIndex, Log log);
bool InsertWaveSeg(EditContext& ctx, const NewSeg& seg, Log log);

/// Cuts a segment in two, at a multiple of 64 ms. The parts get new numbers.
///
///     #2 [0 ======= 64000)      at 20000 ->     #8 [0 == 19968) #10 [19968 == 64000)
bool SplitWaveSeg(EditContext& ctx, std::int32_t segIndex, Ms splitPos, Log log);

/// Makes one segment of the two that meet at a time; undoes a split, never logged.
bool MergeWaveSeg(EditContext& ctx, std::int32_t newSegIndex, Ms splitPos, std::int32_t trackIndex);

enum class Moved { NotYet, Already };
/// @param moved Already: a drag has moved the segment itself
bool MoveWaveSeg(EditContext& ctx, std::int32_t segIndex, Ms posDif, Moved moved, Log log);

/// Makes a segment louder or softer by so many percent. Below 0 nothing happens, which counts as done.
bool VolAdjust(EditContext& ctx, std::int32_t segIndex, std::int32_t volDif, Log log);

/// The segment of either track. @throws std::out_of_range when there is none
[[nodiscard]] CWaveSeg& SegOf(EditContext& ctx, std::int32_t segIndex);
/// The track of a segment. @throws std::out_of_range when there is none
[[nodiscard]] CWaveTrack& TrackOf(EditContext& ctx, std::int32_t segIndex);

}  // namespace mirrane::modWaveEdit
