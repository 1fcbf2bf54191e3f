// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "base/World.h"
#include "store/Grid.h"

namespace mirrane {

/// Where the small picture of a recorded slide lies: "<project folder>/thumbnails/<pos>.jpg".
[[nodiscard]] std::filesystem::path ThumbnailOf(const std::filesystem::path& gProjectFolder, Ms pos);

/// Writes thumblist.txt into the project folder: the position of each slide of the recording, one a line. Their old
/// thumbnails are taken away, so that what lies there after the thumbnails' job was made by it.
/// gStepLabel tells the row meanwhile.
/// @throws std::filesystem::filesystem_error when the list cannot be written
void WriteThumbList(World& world, const CGrid& gGrid, const std::filesystem::path& gProjectFolder);

}  // namespace mirrane
