// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <limits>
#include <random>
#include <system_error>
#include <vector>

#include "base/Numbers.h"
#include "base/Text.h"

namespace mirrane::modFiles {

namespace fs = std::filesystem;

namespace {

fs::path FolderOf(const fs::path& entry) { return entry.has_parent_path() ? entry.parent_path() : "."; }

/// Also a link that leads nowhere.
bool EntryExists(const fs::path& entry) {
    std::error_code error;
    return fs::exists(fs::symlink_status(entry, error));
}

bool IsRealFolder(const fs::path& entry) { return fs::is_directory(fs::symlink_status(entry)); }

/// All of them before the first one is touched.
std::vector<fs::path> EntriesOf(const fs::path& folder) {
    return {fs::directory_iterator(folder), fs::directory_iterator()};
}

void RemoveIfPossible(IDisk& disk, const fs::path& entry) {
    try {
        disk.Remove(entry);
    } catch (const fs::filesystem_error&) {
        // It lies about, and harms nobody.
    }
}

/// Copies to "<target>.~mv" and renames that over the target. After a failure the target is as it was.
void CopyBeside(IDisk& disk, const fs::path& source, const fs::path& target) {
    const fs::path beside = target.native() + ".~mv";
    if (EntryExists(beside)) disk.Remove(beside);  // of a program that was killed; it may be read-only
    try {
        disk.Copy(source, beside);
        disk.Rename(beside, target);
    } catch (...) {
        RemoveIfPossible(disk, beside);
        throw;
    }
}

void Replace(IDisk& disk, const fs::path& source, const fs::path& target) {
    try {
        disk.Rename(source, target);
        return;
    } catch (const fs::filesystem_error& error) {
        if (error.code() != std::errc::cross_device_link) throw;
    }
    CopyBeside(disk, source, target);
    RemoveIfPossible(disk, source);  // the new file stands; calling this a failure would make the caller do it again
}

/// Takes an entry away with all below it. The folder that it lies in can be written.
void RemoveTree(IDisk& disk, const fs::path& entry, bool forced) {
    if (forced) disk.AddOwnerWrite(entry);
    if (IsRealFolder(entry))
        for (const fs::path& below : EntriesOf(entry)) RemoveTree(disk, below, forced);
    disk.Remove(entry);
}

bool RemoveForced(IDisk& disk, const fs::path& entry) {
    try {
        disk.AddOwnerWrite(FolderOf(entry));
        RemoveTree(disk, entry, true);
        return true;
    } catch (const fs::filesystem_error&) {
        return false;
    }
}

/// A link has all permissions, whatever it leads to.
/// @throws std::filesystem::filesystem_error when the entry or one below is read-only
void CheckWritable(const fs::path& entry) {
    const fs::file_status status = fs::symlink_status(entry);
    if (fs::exists(status) && (status.permissions() & fs::perms::owner_write) == fs::perms::none)
        throw fs::filesystem_error("delete", entry, std::make_error_code(std::errc::permission_denied));
    if (!fs::is_directory(status)) return;
    for (const fs::path& below : EntriesOf(entry)) CheckWritable(below);
}

/// Everything below a folder, as far as one can get.
void MakeWritableBelow(IDisk& disk, const fs::path& folder, dev_t device) {
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        struct stat status {};
        if (::lstat(at->path().c_str(), &status) != 0 || status.st_dev != device) continue;
        try {
            disk.AddOwnerWrite(at->path());
        } catch (const fs::filesystem_error&) {
            // What remains read-only shows where it is needed.
        }
        if (S_ISDIR(status.st_mode)) MakeWritableBelow(disk, at->path(), device);
    }
}

/// Tries random names until one is free.
/// @param make makes the entry exclusively; returns -1 with errno otherwise
fs::path MakeUnused(const fs::path& folder, const std::string& prefix, const std::string& suffix,
                    const std::function<int(const fs::path&)>& make) {
    constexpr int kMaxTries = 100000;
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::random_device random;
    for (int i = 0; i < kMaxTries; ++i) {
        std::string name = prefix + "rad";
        const auto number = static_cast<unsigned>(random());
        for (const unsigned shift : {16U, 12U, 8U, 4U, 0U}) name += kDigits[number >> shift & 15U];
        name += ".tmp";
        name += suffix;
        fs::path path = InFolder(folder, name);
        if (make(path) >= 0) return path;
        if (errno != EEXIST) break;
    }
    throw fs::filesystem_error("temporary name", folder, std::error_code(errno, std::generic_category()));
}

}  // namespace

bool MoveFileOver(World& world, const fs::path& source, const fs::path& target, Quiet quiet) {
    const auto fail = [&](const std::string& why) {
        if (quiet == Quiet::No) ShowFailure(world, "Move File Error: " + why);
        return false;
    };
    if (!FileExists(source)) return fail("The source file " + source.string() + " does not exist");
    try {
        if (FileExists(target)) world.disk.AddOwnerWrite(target);
        Replace(world.disk, source, target);
        return true;
    } catch (const std::exception& error) {
        return fail(ErrorText(error));
    }
}

bool CopyFileOver(World& world, const fs::path& source, const fs::path& target) {
    if (!FileExists(source)) return false;
    try {
        CopyBeside(world.disk, source, target);
        return true;
    } catch (const fs::filesystem_error&) {
        return false;
    }
}

bool DeleteFileIfAny(World& world, const fs::path& file) {
    if (!EntryExists(file) || FolderExists(file)) return true;
    return RemoveForced(world.disk, file);
}

bool DeleteFolderIfAny(World& world, const fs::path& folder) {
    return !FolderExists(folder) || RemoveForced(world.disk, folder);
}

void DeleteUnforced(World& world, const fs::path& entry) {
    CheckWritable(entry);
    RemoveTree(world.disk, entry, false);
}

std::int64_t GetFileSizeBytes(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : static_cast<std::int64_t>(size);
}

bool IsFolderWritable(World& world, const fs::path& folder) {
    const fs::path probe = InFolder(folder, "tmp.txt");
    try {
        world.disk.Write(probe, {});
        world.disk.Remove(probe);
        return true;
    } catch (const fs::filesystem_error&) {
        return false;
    }
}

bool IsNetworkPath(const fs::path& path) {
    return path.native().starts_with("//") || path.native().starts_with("\\\\");
}

std::int32_t GetFreeSpaceMB(World& world, const fs::path& path) {
    constexpr std::int32_t kNetworkMB = 101;
    constexpr double kMostMB = std::numeric_limits<std::int32_t>::max();
    if (IsNetworkPath(path)) return kNetworkMB;
    try {
        const auto bytes = static_cast<double>(world.disk.FreeBytes(path));
        return RoundHalfEven(std::min(bytes / 1024 / 1024, kMostMB));
    } catch (const fs::filesystem_error&) {
        return 0;
    }
}

bool ClearReadOnly(World& world, const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
    MakeWritableBelow(world.disk, folder, status.st_dev);
    return true;
}

FolderResult RecreateFolder(World& world, const fs::path& folder) {
    if (!FolderExists(FolderOf(folder))) return FolderResult::NoParent;
    if (!DeleteFolderIfAny(world, folder)) return FolderResult::NotDeleted;
    try {
        world.disk.MakeFolder(folder);
    } catch (const fs::filesystem_error&) {
        return FolderResult::NotCreated;
    }
    return FolderResult::Done;
}

bool CreateFolderWithMsg(World& world, const fs::path& folder) {
    FolderResult result = RecreateFolder(world, folder);
    if (result != FolderResult::Done) result = RecreateFolder(world, folder);
    const auto tell = [&world](const char* key, const std::string& culprit) {
        ShowFailure(world, ReplaceAll(GetResString(world, "frmCommon", key), "%s", culprit));
        return false;
    };
    switch (result) {
        case FolderResult::Done:
            break;
        case FolderResult::NoParent:
            return tell("msgParentFolderNotExist", folder.string());
        case FolderResult::NotDeleted:
            return tell("msgDeleteFolder", folder.string());
        case FolderResult::NotCreated:
            return tell("msgCreateFolder", FolderOf(folder).string());
    }
    return true;
}

fs::path MakeTempFile(const fs::path& folder, const std::string& prefix, const std::string& suffix) {
    return MakeUnused(folder, prefix, suffix, [](const fs::path& path) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) ::close(fd);
        return fd;
    });
}

fs::path MakeTempFolder(const fs::path& folder, const std::string& prefix) {
    return MakeUnused(folder, prefix, {}, [](const fs::path& path) { return ::mkdir(path.c_str(), 0777); });
}

}  // namespace mirrane::modFiles
