// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "Commands.h"
#include "JobWatcher.h"
#include "ToolWorld.h"
#include "qvlib/IQvLib.h"
#include "store/Grid.h"

namespace tool {

/// Makes the thumbnails of a project's recorded slides; old ones of theirs are replaced.
/// @throws AlreadyTold, std::filesystem::filesystem_error
void MakeThumbnails(ToolWorld& tools, qv::IQvLib& lib, JobWatcher& watcher, const mirrane::CGrid& grid,
                    const std::filesystem::path& folder);

int Thumbs(const Context& context, const std::filesystem::path& folder);

}  // namespace tool
