// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "editing/EditContext.h"

/// Which track and which segments the next command means.
namespace mirrane::modSelection {

/// Of a track's panel.
inline constexpr std::uint32_t kPanelSelected = 0xC0C0C0;
inline constexpr std::uint32_t kPanelPlain = 0xE0E0E0;

enum class TrackSelection { On, Off, Toggle };
/// @param track 0: Track 1, 1: Track 2
void SetTrackSelected(EditContext& ctx, int track, TrackSelection how);
/// Selects one track and not the other.
void SelectOnlyTrack(EditContext& ctx, int track);

/// Selects, on the selected tracks, the segment that the cursor stands on, and nothing else.
void SelectUnderCursor(EditContext& ctx);

/// A click on a track's panel: that track, and what lies under the cursor.
void imgTrackPanel_Click(EditContext& ctx, int track);
/// A press on the empty canvas of a track: that track, and no segment.
void picTrack_MouseDown(EditContext& ctx, int track);

}  // namespace mirrane::modSelection
