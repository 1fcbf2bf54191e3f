// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "timeline/EditorState.h"

namespace mirrane::basMixMain {

/// Sees to it that the folders for temporary things and for the suite's own are there, and sets gAppDataFolder. May be
/// called again and again: what is there stays as it is. Folders that cannot be made are not told.
void InitPaths(EditorState& state);

}  // namespace mirrane::basMixMain

namespace mirrane {

/// The project.qvp that a person at a shell means by a project's folder or any file in it, absolute. Two slashes at the
/// beginning, which stand for a network, stay two.
[[nodiscard]] std::filesystem::path DocumentMeantBy(const std::filesystem::path& told);

}  // namespace mirrane
