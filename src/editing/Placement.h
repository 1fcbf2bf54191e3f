// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "editing/EditContext.h"

/// Lays new sound on Track 2 of the shown slide. All times are ms on the timeline.
namespace mirrane::modPlacement {

/// What becomes of the segments that lie there.
enum class Existing {
    Push,       ///< they make room, to the right
    Overwrite,  ///< what lies under the new sound goes
};

/// Where new sound begins: where the player stands, down to the grid of the samples, yet in the shown slide.
[[nodiscard]] Ms PlacementPos(const EditContext& ctx);

/// Lays a finished .qva down, as one step of the history.
/// @returns where: in a segment that is to be pushed, behind that one
Ms ImportQvaFile(EditContext& ctx, const std::filesystem::path& file, Ms pos, Ms duration, Existing existing);

/// The number of the first segment that overlaps [pos, end).
[[nodiscard]] std::optional<std::int32_t> FindTrack2Overlap(const EditContext& ctx, Ms pos, Ms end);

}  // namespace mirrane::modPlacement
