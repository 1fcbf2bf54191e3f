// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace qv {

/// A file open for reading at any place. A copy of the contents is never held.
class ReadFile {
public:
    /// @throws MediaError "no such file", "is a folder", ... in the system's words
    explicit ReadFile(std::filesystem::path path);
    ~ReadFile();
    ReadFile(ReadFile&& other) noexcept;
    ReadFile(const ReadFile&) = delete;
    ReadFile& operator=(const ReadFile&) = delete;
    ReadFile& operator=(ReadFile&&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    /// Bytes, as it was when the file was opened.
    [[nodiscard]] std::int64_t Size() const { return size_; }
    [[nodiscard]] std::int64_t ModifiedNs() const { return modifiedNs_; }

    /// Reads up to into.size() bytes; fewer only at the end of the file.
    /// @throws MediaError on a read error
    [[nodiscard]] std::size_t ReadAt(std::int64_t offset, std::span<std::uint8_t> into) const;

private:
    std::filesystem::path path_;
    int fd_ = -1;
    std::int64_t size_ = 0;
    std::int64_t modifiedNs_ = 0;
};

enum class Appears {
    WhenWhole,  ///< bytes go to "<name>.part" beside it, Commit renames; without Commit nothing is left behind
    AtOnce,     ///< and what was written stays, whatever happens
};

/// A new file under construction; Commit makes it durable.
class NewFile {
public:
    /// @throws MediaError when the folder does not take a new file
    explicit NewFile(std::filesystem::path target, Appears appears = Appears::WhenWhole);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// @throws MediaError when the disk is full or fails
    void Append(std::span<const std::uint8_t> bytes);
    /// Overwrites bytes that were appended before.
    void Patch(std::int64_t offset, std::span<const std::uint8_t> bytes);
    /// Bytes appended so far.
    [[nodiscard]] std::int64_t Size() const { return size_; }
    /// Flushes to disk what was written so far; waits for the disk.
    void Sync() const;
    /// Flushes to disk; the file stands under its name then.
    void Commit();

private:
    void WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const;
    static void SyncFolder(const std::filesystem::path& folder);

    std::filesystem::path target_;
    std::filesystem::path part_;
    int fd_ = -1;
    std::int64_t size_ = 0;
};

}  // namespace qv
