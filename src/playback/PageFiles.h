// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "base/OpenFile.h"

namespace mirrane {

/// Opens a plain file that lies inside a folder once all links on the way are followed, ".." and links included. What is
/// looked at is the very file that was opened, so nobody can exchange a link in between.
/// @returns none when it is outside, missing, no plain file, or may not be read
[[nodiscard]] OpenFile OpenInside(const std::filesystem::path& folder, const std::filesystem::path& file);

/// The beginning of such a file as bytes, at most so many; empty when there is none.
[[nodiscard]] std::string ReadInside(const std::filesystem::path& folder, const std::filesystem::path& file,
                                     std::size_t mostBytes);

/// Whether the address of a page stays inside the project's folder: relative, without a scheme and without "..".
[[nodiscard]] bool IsInProject(const std::string& url);

/// A file that a page may show, by the folder that it may not leave and its path in there, "html1/a.html".
struct PagePlace {
    enum class Root { Project, Program };
    Root root = Root::Project;
    std::string path;
};

/// All that pages get to see of the disk: the project's folder, and of the program its blank page.
class PageFiles {
public:
    PageFiles(std::filesystem::path projectFolder, std::filesystem::path programFolder)
        : projectFolder_(std::move(projectFolder)), programFolder_(std::move(programFolder)) {}

    /// By the text of the path alone. @returns nothing when the file is of neither folder
    [[nodiscard]] std::optional<PagePlace> PlaceOf(const std::filesystem::path& file) const;
    /// @returns none unless it is a plain file inside its folder that pages may have
    [[nodiscard]] OpenFile Open(const PagePlace& place) const;

private:
    std::filesystem::path projectFolder_;
    std::filesystem::path programFolder_;
};

}  // namespace mirrane
