// SPDX-License-Identifier: GPL-3.0-or-later
#include "ProjectView.h"

#include <stdexcept>

#include "Common.h"

namespace tool {

using std::filesystem::path;

void FillGrid(mirrane::CGrid& grid, const mirrane::CProjectFile& project) {
    grid.Redraw(false);
    grid.Clear();
    grid.SetDuration(project.duration());
    for (const auto& item : project.items) grid.Append(item.title, item.pos, item.RecDate, item.Url);
    grid.Update();
    grid.Redraw(true);
}

ProjectView::ProjectView(ToolWorld& tools, const path& folder)
    : file_(mirrane::InFolder(folder, "project.qvp")),
      scratch_(tools.world),
      project_(tools.world),
      grid_(tools.world) {
    grid_.Grid(table_);
    const path copy = scratch_.Path() / "project.qvp";
    std::error_code error;
    if (!copy_file(file_, copy, error)) throw std::runtime_error(file_.string() + ": " + error.message());
    tools.user.copy = copy.string();
    tools.user.original = file_.string();
    const std::size_t toldBefore = tools.user.told.size();
    if (project_.Load(copy)) return;
    if (tools.user.told.size() > toldBefore) throw AlreadyTold();
    throw std::runtime_error(file_.string() + ": is no project document of version 7");
}

mirrane::Ms ProjectView::Duration() const {
    try {
        return project_.duration();
    } catch (const std::exception&) {
        throw std::runtime_error(file_.string() + ": \"" + project_.durationText + "\" is no duration");
    }
}

void ProjectView::ReadIndex() { FillGrid(grid_, project_); }

}  // namespace tool
