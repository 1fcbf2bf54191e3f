// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "base/Files.h"
#include "base/Host.h"

namespace mirrane {

/// A file in the folder for temporary things, gone when this is; it may be moved away before.
class ScratchFile {
public:
    /// Makes it, empty, under a name that nobody uses: prefix + "rad1F2A3.tmp" + suffix.
    /// @throws std::filesystem::filesystem_error
    ScratchFile(World& world, const std::string& prefix, const std::string& suffix = {})
        : world_(world), path_(modFiles::MakeTempFile(TempFolder(world.host), prefix, suffix)) {}
    ~ScratchFile() { modFiles::DeleteFileIfAny(world_, path_); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    World& world_;
    std::filesystem::path path_;
};

}  // namespace mirrane
