// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ThumbList.h"

#include "base/Disk.h"
#include "base/Files.h"

namespace mirrane {

using std::filesystem::path;

path ThumbnailOf(const path& gProjectFolder, Ms pos) {
    return InFolder(InFolder(gProjectFolder, "thumbnails"), std::to_string(pos) + ".jpg");
}

void WriteThumbList(World& world, const CGrid& gGrid, const path& gProjectFolder) {
    world.gStepLabel = "thumblist.txt";
    std::string list;
    for (int row = 1; row <= gGrid.Rows(); ++row) {
        const std::string pos = gGrid.GetPos(row);
        world.gStepLabel = "thumblist.txt " + std::to_string(row) + ": " + pos;
        if (IsOffTimeline(pos, gGrid.GetUrl(row))) continue;
        const Ms time = IntegerPrefix(pos);
        list += std::to_string(time) + "\r\n";
        modFiles::DeleteFileIfAny(world, ThumbnailOf(gProjectFolder, time));
    }
    world.disk.Write(InFolder(gProjectFolder, "thumblist.txt"), list);
}

}  // namespace mirrane
