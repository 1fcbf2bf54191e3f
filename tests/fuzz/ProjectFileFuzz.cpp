// SPDX-License-Identifier: GPL-3.0-or-later
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "doubles/World.h"
#include "store/ProjectFile.h"
#include "store/ProjectTree.h"

namespace {

using std::filesystem::path;

void Require(bool holds) {
    if (!holds) std::abort();
}

/// Writes without seeing the bytes safely on the disk, which would take nearly all of the time.
class QuickDisk final : public mirrane::IDisk {
public:
    void Write(const path& file, std::string_view bytes) override { WriteScratch(file, bytes); }
    void WriteScratch(const path& file, std::string_view bytes) override {
        std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    void Rename(const path& source, const path& target) override { std::filesystem::rename(source, target); }
    void Copy(const path& /*source*/, const path& /*target*/) override {}
    void Remove(const path& /*entry*/) override {}
    void MakeFolder(const path& /*folder*/) override {}
    void AddOwnerWrite(const path& /*entry*/) override {}
    [[nodiscard]] std::uint64_t FreeBytes(const path& /*path*/) override { return 0; }
};

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
    QuickDisk disk;
    mirrane::World world{parts.user, disk, parts.clock, parts.settings, parts.host, parts.texts};
    mirrane::CProjectFile project(world);
    const path file = std::filesystem::temp_directory_path() / ("ProjectFileFuzz." + std::to_string(getpid()));
    disk.Write(file, bytes);
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
