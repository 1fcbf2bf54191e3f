// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/Paths.h"

#include "base/Disk.h"
#include "base/Files.h"
#include "base/Host.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace basMixMain {

namespace {

void MakeIfMissing(World& world, const fs::path& folder) {
    if (!FolderExists(folder)) (void)modFiles::RecreateFolder(world, folder);
}

}  // namespace

void InitPaths(EditorState& state) {
    World& world = state.world;
    const fs::path temp = TempFolder(world.host);
    MakeIfMissing(world, temp);
    const fs::path appData = AppDataFolder(world.host);
    state.gAppDataFolder = InFolder(FolderExists(appData) ? appData : temp, "Tallowin");
    MakeIfMissing(world, state.gAppDataFolder);
}

}  // namespace basMixMain

fs::path DocumentMeantBy(const fs::path& told) {
    fs::path folder = fs::absolute(told).lexically_normal();
    if (FileExists(folder)) folder = folder.parent_path();
    if (!folder.has_filename()) folder = folder.parent_path();
    if (modFiles::IsNetworkPath(told) && !modFiles::IsNetworkPath(folder)) folder = "/" + folder.string();
    return InFolder(folder, "project.qvp");
}

}  // namespace mirrane
