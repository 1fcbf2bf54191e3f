// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <vector>

#include "base/World.h"

namespace tool {

/// Where a new project is built before it gets its place. What was built goes with its owner, unless it was finished.
///
///     the folder is not there    built beside it, "<folder>.~new_rad....tmp", and renamed
///     it is there                built in it, ".new_rad....tmp", and each entry moved up, the document last
class BuildingSite {
public:
    /// @throws std::runtime_error when the folder holds a project, or a file that would be in the way
    BuildingSite(mirrane::World& world, std::filesystem::path target);
    ~BuildingSite();
    BuildingSite(const BuildingSite&) = delete;
    BuildingSite& operator=(const BuildingSite&) = delete;

    /// Where to build.
    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
    /// Gives the project its place. @throws std::runtime_error, with the target as it was before
    void Finish();

private:
    void MoveUp();

    mirrane::World& world_;
    std::filesystem::path target_;
    bool isNewFolder_;
    std::filesystem::path folder_;
};

}  // namespace tool
