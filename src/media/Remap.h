// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "qvlib/Rows.h"
#include "timeline/EditorState.h"

/// The interaction index follows the picture: an interaction in kept material moves with it, one in removed material goes.
namespace mirrane::modSave {

/// Interactions as CInteList::GetInteAry gives them: ms, rising, with their texts.
struct Interactions {
    std::vector<Ms> times;
    std::vector<std::string> texts;
};

/// @param rows tile the timeline and read the recording forwards
[[nodiscard]] Interactions Remapped(const Interactions& recorded, std::span<const qv::FrameRow> rows);

/// Whether the edited timeline, by the rows of the play list that was made last, differs from the recording's; false
/// where there are no interactions to follow it.
[[nodiscard]] bool NeedRewriteInteIndex(const EditorState& state);

/// Writes the interaction index as it is on the edited timeline.
/// @returns false after a message
[[nodiscard]] bool SaveRemappedInteIndex(EditorState& state, const std::filesystem::path& file);

}  // namespace mirrane::modSave
