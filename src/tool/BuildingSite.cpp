// SPDX-License-Identifier: GPL-3.0-or-later
#include "BuildingSite.h"

#include <algorithm>
#include <stdexcept>

#include "base/Files.h"

namespace tool {

namespace {

using std::filesystem::path;

constexpr char kDocument[] = "project.qvp";

bool IsTaken(const path& name) {
    return std::filesystem::symlink_status(name).type() != std::filesystem::file_type::not_found;
}

void CheckTarget(const path& target) {
    if (!IsTaken(target)) return;
    if (!is_directory(target)) throw std::runtime_error(target.string() + ": is no folder");
    if (IsTaken(target / kDocument)) throw std::runtime_error(target.string() + ": already holds a project");
    for (const char* name : {"media.qv", "thumbnails"})
        if (IsTaken(target / name)) throw std::runtime_error((target / name).string() + ": is in the way");
}

path MakeSite(const path& target, bool isNewFolder) {
    using mirrane::modFiles::MakeTempFolder;
    if (!isNewFolder) return MakeTempFolder(target, ".new_");
    return MakeTempFolder(target.parent_path(), target.filename().string() + ".~new_");
}

}  // namespace

BuildingSite::BuildingSite(mirrane::World& world, path target)
    : world_(world), target_(std::move(target)), isNewFolder_((CheckTarget(target_), !IsTaken(target_))) {
    folder_ = MakeSite(target_, isNewFolder_);
}

BuildingSite::~BuildingSite() {
    if (!folder_.empty()) mirrane::modFiles::DeleteFolderIfAny(world_, folder_);
}

void BuildingSite::Finish() {
    if (!isNewFolder_) {
        MoveUp();
        return;  // the emptied site is taken away at the end
    }
    if (IsTaken(target_)) throw std::runtime_error(target_.string() + ": has come up meanwhile");
    world_.disk.Rename(folder_, target_);
    folder_.clear();
}

void BuildingSite::MoveUp() {
    std::vector<path> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) names.push_back(entry.path().filename());
    // With the document the folder becomes a project.
    std::partition(names.begin(), names.end(), [](const path& name) { return name != kDocument; });
    for (const path& name : names)
        if (IsTaken(target_ / name)) throw std::runtime_error((target_ / name).string() + ": is in the way");
    std::vector<path> moved;
    try {
        for (const path& name : names) {
            world_.disk.Rename(folder_ / name, target_ / name);
            moved.push_back(name);
        }
    } catch (const std::exception&) {
        for (const path& name : moved) {
            std::error_code ignored;
            rename(target_ / name, folder_ / name, ignored);
        }
        throw;
    }
}

}  // namespace tool
