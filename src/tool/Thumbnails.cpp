// SPDX-License-Identifier: GPL-3.0-or-later
#include "Thumbnails.h"

#include <iostream>

#include "Common.h"
#include "ProjectView.h"
#include "base/Files.h"
#include "store/ThumbList.h"

namespace tool {

namespace {

using std::filesystem::path;

/// Calls its deed at the end of its scope.
template <typename Deed>
struct AtEnd {
    Deed deed;
    explicit AtEnd(Deed what) : deed(std::move(what)) {}
    ~AtEnd() { deed(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
};

/// The slides of the recording, by their times.
std::vector<mirrane::Ms> TimedSlides(const mirrane::CGrid& grid) {
    std::vector<mirrane::Ms> times;
    for (int row = grid.GetNextQv(0); row > 0; row = grid.GetNextQv(row))
        times.push_back(mirrane::IntegerPrefix(grid.GetPos(row)));
    return times;
}

}  // namespace

void MakeThumbnails(ToolWorld& tools, qv::IQvLib& lib, JobWatcher& watcher, const mirrane::CGrid& grid,
                    const path& folder) {
    const auto slides = TimedSlides(grid);
    const path list = mirrane::InFolder(folder, "thumblist.txt");
    const AtEnd dropList{[&] { mirrane::modFiles::DeleteFileIfAny(tools.world, list); }};
    WriteThumbList(tools.world, grid, folder);
    watcher.Begin("Making thumbnails");
    lib.ThumbCreate(mirrane::InFolder(folder, "media.qv"), list);
    const double end = slides.empty() ? 1 : std::max(slides.back(), 1);
    const auto percent = [&] {
        const qv::Ms reached = lib.ThumbTime();
        return reached < 0 ? 100 : std::min(99, static_cast<int>(reached / end * 100));
    };
    if (!watcher.Poll(percent, [] {})) throw AlreadyTold();
    // The job does not tell whether it failed; its pictures do.
    for (const mirrane::Ms slide : slides)
        if (!mirrane::FileExists(mirrane::ThumbnailOf(folder, slide))) throw AlreadyTold();
}

int Thumbs(const Context& context, const path& folder) {
    ToolWorld tools;
    const qv::Engine engine = OpenEngine(context);
    ProjectView project(tools, folder);
    project.ReadIndex();
    // A media file that cannot be read must not cost the thumbnails that are there.
    if (!engine.lib->verifyQvFile(mirrane::InFolder(folder, "media.qv"))) return kFailed;
    {
        JobWatcher watcher("Making thumbnails");
        MakeThumbnails(tools, *engine.lib, watcher, project.Grid(), folder);
    }
    const std::size_t count = TimedSlides(project.Grid()).size();
    if (context.json) {
        PrintJson({{"folder", folder.string()}, {"thumbnails", count}});
    } else {
        std::cout << folder.string() << ": " << count << " thumbnails\n";
    }
    return kDone;
}

}  // namespace tool
