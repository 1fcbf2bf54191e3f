// SPDX-License-Identifier: GPL-3.0-or-later
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "doubles/World.h"
#include "store/ProjectFile.h"
#include "store/ProjectTree.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

/// What the tree makes of any document it makes of that again.
void CheckTree(const std::string& bytes) {
    std::string text;
    try {
        text = mirrane::ProjectTree(bytes).Text();
    } catch (const std::runtime_error&) {
        return;
    }
    Require(mirrane::ProjectTree(text).Text() == text);
}

/// A document that was loaded, with a user who skips whatever is missing, and saved is loaded and saved as the same.
void CheckFile(const std::string& bytes) {
    doubles::World parts{"no texts"};
    parts.user.answers.assign(bytes.size() + 100, mirrane::Answer::Ok);
    mirrane::CProjectFile project(parts.world);
    // In memory: to see the bytes safely on a disk would take nearly all of the time.
    const std::filesystem::path file = "/dev/shm/ProjectFileFuzz." + std::to_string(getpid());
    parts.disk.Write(file, bytes);
    if (!project.Load(file) || !project.Save({})) return;
    const std::string saved = mirrane::ReadFile(file);
    const auto rows = project.items.size();
    parts.user.boxes.clear();
    Require(project.Load(file));
    if (!parts.user.boxes.empty()) return;  // rows that are out of order without the one that was dropped
    Require(project.items.size() == rows);
    Require(project.Save({}));
    Require(mirrane::ReadFile(file) == saved);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CheckTree(bytes);
    CheckFile(bytes);
    return 0;
}
