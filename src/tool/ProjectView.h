// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "ToolWorld.h"
#include "store/Grid.h"
#include "store/ProjectFile.h"

namespace tool {

/// Fills the index with a document's rows.
void FillGrid(mirrane::CGrid& grid, const mirrane::CProjectFile& project);

/// The document of a project to look at, with its index. It is read from a copy, since reading repairs it.
class ProjectView {
public:
    /// @throws std::runtime_error when there is no document that can be read, AlreadyTold when the reason was told
    ProjectView(ToolWorld& tools, const std::filesystem::path& folder);

    [[nodiscard]] const mirrane::CProjectFile& Document() const { return project_; }
    /// ms. @throws std::runtime_error when the document tells none
    [[nodiscard]] mirrane::Ms Duration() const;
    [[nodiscard]] mirrane::CGrid& Grid() { return grid_; }
    /// Fills Grid().
    void ReadIndex();

private:
    std::filesystem::path file_;
    ScratchFolder scratch_;
    mirrane::CProjectFile project_;
    mirrane::GridTable table_;
    mirrane::CGrid grid_;
};

}  // namespace tool
