// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

/// Pictures of the windows, for whoever changes one and wants to see it.
namespace screenshots {

/// Writes the main window on a project, in several states, in light and dark colours, at one and two pixels a point.
/// @returns the exit status
int MakeScreenshots(const std::filesystem::path& folder, const std::filesystem::path& project);

}  // namespace screenshots
