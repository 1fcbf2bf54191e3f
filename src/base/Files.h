// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/World.h"

/// File work with a plain yes or no as its answer. None of these throws.
namespace mirrane::modFiles {

enum class Quiet { No, Yes };

/// Moves a file onto another name, on this file system or another. The target is at every instant the old file or the
/// whole new one. Across file systems the bytes go to "<target>.~mv" first, and a source that cannot be taken away in the
/// end stays.
/// @returns false when the source is missing or the move failed, in which case source and target are as they were, but
///          for the target's read-only bit; told in a message box unless quiet
bool MoveFileOver(World& world, const std::filesystem::path& source, const std::filesystem::path& target, Quiet quiet);

/// Copies over the target, read-only or not, by way of "<target>.~mv": the target is at every instant the old file or
/// the whole new one.
/// @returns false when the source is missing or the copy failed; without a message
bool CopyFileOver(World& world, const std::filesystem::path& source, const std::filesystem::path& target);

/// Deletes a file, read-only or not. @returns true also when there is none
bool DeleteFileIfAny(World& world, const std::filesystem::path& file);
/// Deletes a folder with all that it holds, read-only or not; links are not followed. @returns true also when there is none
bool DeleteFolderIfAny(World& world, const std::filesystem::path& folder);
/// Deletes a file or folder unless it, or an entry below it, is read-only: then nothing is deleted.
/// @throws std::filesystem::filesystem_error that names the culprit, also when there is no such entry; in contrast to the
///         rest of this file, for the caller's report
void DeleteUnforced(World& world, const std::filesystem::path& entry);

/// 0 when there is no such file.
[[nodiscard]] std::int64_t GetFileSizeBytes(const std::filesystem::path& file);
/// Writes "tmp.txt" into the folder and deletes it again; one that lies there is lost.
[[nodiscard]] bool IsFolderWritable(World& world, const std::filesystem::path& folder);

/// A path that begins with two slashes or two backslashes.
[[nodiscard]] bool IsNetworkPath(const std::filesystem::path& path);
/// Megabytes that this user may still fill, rounded half to even; 101 for a network path, 0 when it cannot be told.
[[nodiscard]] std::int32_t GetFreeSpaceMB(World& world, const std::filesystem::path& path);

/// Makes everything below the folder writable for its owner, on its own file system, without following links.
/// @returns true when the folder exists
bool ClearReadOnly(World& world, const std::filesystem::path& folder);

/// How RecreateFolder ended; the numbers are those of the stages.
enum class FolderResult { Done = 0, NoParent = 1, NotDeleted = 2, NotCreated = 3 };

/// Makes an empty folder; an existing one is deleted first with all that it holds.
FolderResult RecreateFolder(World& world, const std::filesystem::path& folder);
/// RecreateFolder, tried twice; a failure is told in a message box.
bool CreateFolderWithMsg(World& world, const std::filesystem::path& folder);

/// A path in the folder that nobody uses: prefix + "rad" and five upper-case hexadecimal digits + ".tmp" + suffix, made
/// exclusively as an empty file.
/// @throws std::filesystem::filesystem_error
[[nodiscard]] std::filesystem::path MakeTempFile(const std::filesystem::path& folder, const std::string& prefix,
                                                 const std::string& suffix = {});
/// The same as an empty folder.
[[nodiscard]] std::filesystem::path MakeTempFolder(const std::filesystem::path& folder, const std::string& prefix);

}  // namespace mirrane::modFiles
