// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace mirrane {

/// Everything that changes files. Behind a port, so that a test can let any single step fail. Each call throws
/// std::filesystem::filesystem_error, which names the paths and the reason.
class IDisk {
public:
    virtual ~IDisk() = default;

    /// Makes or replaces the bytes of a file, in place, and sees them safely on the disk.
    virtual void Write(const std::filesystem::path& file, std::string_view bytes) = 0;
    /// The same for a file that is worth nothing after a loss of power: it does not wait for the disk.
    virtual void WriteScratch(const std::filesystem::path& file, std::string_view bytes) = 0;
    /// Copies bytes and permissions; a target is overwritten in place. Sees the bytes safely on the disk. A file is not
    /// copied onto itself: std::errc::file_exists.
    virtual void Copy(const std::filesystem::path& source, const std::filesystem::path& target) = 0;
    /// Gives a file or folder another name, in one step that replaces a file of that name, and sees the names safely on
    /// the disk. Across file systems it fails with std::errc::cross_device_link.
    virtual void Rename(const std::filesystem::path& source, const std::filesystem::path& target) = 0;
    /// Takes one file, link or empty folder away.
    virtual void Remove(const std::filesystem::path& entry) = 0;
    /// Makes one folder; its parent is there.
    virtual void MakeFolder(const std::filesystem::path& folder) = 0;
    /// Lets the owner write. A link is neither changed nor followed.
    virtual void AddOwnerWrite(const std::filesystem::path& entry) = 0;
    /// What this user may still fill, on the file system that holds the path.
    [[nodiscard]] virtual std::uint64_t FreeBytes(const std::filesystem::path& path) = 0;
};

/// The disk itself.
class Disk final : public IDisk {
public:
    void Write(const std::filesystem::path& file, std::string_view bytes) override;
    void WriteScratch(const std::filesystem::path& file, std::string_view bytes) override;
    void Copy(const std::filesystem::path& source, const std::filesystem::path& target) override;
    void Rename(const std::filesystem::path& source, const std::filesystem::path& target) override;
    void Remove(const std::filesystem::path& entry) override;
    void MakeFolder(const std::filesystem::path& folder) override;
    void AddOwnerWrite(const std::filesystem::path& entry) override;
    [[nodiscard]] std::uint64_t FreeBytes(const std::filesystem::path& path) override;
};

/// The whole file as bytes.
/// @throws std::filesystem::filesystem_error
[[nodiscard]] std::string ReadFile(const std::filesystem::path& file);

/// folder + "/" + name and nothing else: what two makers of a path get is the same text.
[[nodiscard]] std::filesystem::path InFolder(const std::filesystem::path& folder, std::string_view name);

/// What went wrong, for a message: "<path>: <reason>" when it is about a file (of two paths the second one, which was to
/// be made), otherwise what() as it stands.
[[nodiscard]] std::string ErrorText(const std::exception& error);

/// A file or folder is there, or a link to one; what cannot be asked is not there. What is neither, such as a pipe, is no
/// file.
[[nodiscard]] bool FileExists(const std::filesystem::path& file);
[[nodiscard]] bool FolderExists(const std::filesystem::path& folder);

}  // namespace mirrane
