// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "base/World.h"
#include "store/ProjectFile.h"

namespace mirrane {

/// The title of a project that nobody gave one: its folder's name, without an ending ".qvp".
[[nodiscard]] std::string TitleOfFolder(const std::filesystem::path& gProjectFolder);

/// The photo that the document names, where it lies in the project folder.
[[nodiscard]] std::optional<std::filesystem::path> PhotoOf(const CProjectFile& gProject,
                                                           const std::filesystem::path& gProjectFolder);

/// Puts the files of the published page into the project folder: what encfiles of the program folder holds, and over it
/// what the project's template holds. The document gets "default" for a template that is not there, and is saved. A file
/// of the program that is not there is passed over; the user's own photo outlives the template's file of that name.
/// @returns false when something could not be copied, moved or saved; what could be done is done
bool ApplyProjectTemplate(World& world, CProjectFile& gProject, const std::filesystem::path& gProjectFolder);

}  // namespace mirrane
