// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

/// Pictures of the windows, for whoever changes one and wants to see it.
namespace screenshots {

/// Writes every window on a copy of a project, in the states that look different, in light and dark colours at one, one
/// and a half and two pixels a point, and in each language at one.
/// @returns the exit status
int MakeScreenshots(const std::filesystem::path& folder, const std::filesystem::path& project);

}  // namespace screenshots
