// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "WindowOnProject.h"

/// Whether all is well with an editor that nobody touches. Each tells what is wrong, "" when nothing is.
namespace monkey {

/// What is going on, or left over from what went on. It may pass by itself.
std::string Unrest(mirrane::WindowOnProject& on);
/// Of an editor at rest: tracks, play list, list of slides, scroll bar, picture.
std::string Unsound(mirrane::WindowOnProject& on);
/// Whether the player moves on when it is told to play.
std::string Unplayable(mirrane::WindowOnProject& on);
/// Whether undoing all leads to what was recorded, and redoing all back to where all was done.
std::string Unrepeatable(mirrane::WindowOnProject& on);
/// Whether the project in the folder passes all checks of an opening, unchanged.
std::string Unopenable(const std::filesystem::path& project);

}  // namespace monkey
