// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Disk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace mirrane {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Throw(const char* deed, const fs::path& path, int reason = errno) {
    throw fs::filesystem_error(deed, path, std::error_code(reason, std::generic_category()));
}

/// A file held open. Every failure names it.
class OpenFile {
public:
    OpenFile(fs::path path, int flags, mode_t mode = 0)
        : path_(std::move(path)), fd_(::open(path_.c_str(), flags | O_CLOEXEC, mode)) {
        if (fd_ < 0) Throw("open", path_);
    }
    ~OpenFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] struct stat Status() const {
        struct stat status {};
        if (::fstat(fd_, &status) != 0) Throw("stat", path_);
        return status;
    }

    /// The next bytes; empty at the end.
    [[nodiscard]] std::string_view Read(std::array<char, 1 << 16>& buffer) const {
        for (;;) {
            const ssize_t got = ::read(fd_, buffer.data(), buffer.size());
            if (got >= 0) return {buffer.data(), static_cast<std::size_t>(got)};
            if (errno != EINTR) Throw("read", path_);
        }
    }

    void Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t put = ::write(fd_, bytes.data(), bytes.size());
            if (put < 0 && errno != EINTR) Throw("write", path_);
            if (put > 0) bytes.remove_prefix(static_cast<std::size_t>(put));
        }
    }

    void Truncate() const {
        if (::ftruncate(fd_, 0) != 0) Throw("truncate", path_);
    }

    void SetPermissions(mode_t mode) const {
        if (::fchmod(fd_, mode & 07777U) != 0) Throw("permissions", path_);
    }

    /// Sees the bytes on the disk. Some file systems cannot be told to (EINVAL) and do without.
    void Sync() const {
        if (::fsync(fd_) != 0 && errno != EINVAL) Throw("sync", path_);
    }

    void Close() {
        if (::close(std::exchange(fd_, -1)) != 0) Throw("close", path_);
    }

private:
    fs::path path_;
    int fd_;
};

/// A file to read from. Not to block on a pipe that somebody put in a file's place.
class Source : public OpenFile {
public:
    explicit Source(const fs::path& path) : OpenFile(path, O_RDONLY | O_NONBLOCK) {
        const mode_t mode = Status().st_mode;
        if (S_ISDIR(mode)) Throw("read", path, EISDIR);
        if (!S_ISREG(mode)) Throw("read", path, EINVAL);
    }
};

/// What was done to the names of a folder outlives a loss of power. By now it is done, so a folder that cannot be told to
/// is no reason to call it failed.
void SyncFolder(const fs::path& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

void Disk::Write(const fs::path& file, std::string_view bytes) {
    OpenFile target(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    target.Write(bytes);
    target.Sync();
    target.Close();
}

void Disk::WriteScratch(const fs::path& file, std::string_view bytes) {
    OpenFile target(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    target.Write(bytes);
    target.Close();
}

void Disk::Copy(const fs::path& source, const fs::path& target) {
    const Source from(source);
    OpenFile to(target, O_WRONLY | O_CREAT, 0666);
    const struct stat fromStatus = from.Status();
    const struct stat toStatus = to.Status();
    if (fromStatus.st_dev == toStatus.st_dev && fromStatus.st_ino == toStatus.st_ino) Throw("copy", target, EEXIST);
    to.Truncate();
    std::array<char, 1 << 16> buffer{};
    for (auto bytes = from.Read(buffer); !bytes.empty(); bytes = from.Read(buffer)) to.Write(bytes);
    to.SetPermissions(fromStatus.st_mode);
    to.Sync();
    to.Close();
}

void Disk::Rename(const fs::path& source, const fs::path& target) {
    if (::rename(source.c_str(), target.c_str()) != 0)
        throw fs::filesystem_error("rename", source, target, std::error_code(errno, std::generic_category()));
    SyncFolder(target.parent_path());
}

void Disk::Remove(const fs::path& entry) {
    if (std::remove(entry.c_str()) != 0) Throw("remove", entry);
}

void Disk::MakeFolder(const fs::path& folder) {
    if (::mkdir(folder.c_str(), 0777) != 0) Throw("make folder", folder);
}

void Disk::AddOwnerWrite(const fs::path& entry) {
    struct stat status {};
    if (::lstat(entry.c_str(), &status) != 0) Throw("permissions", entry);
    if ((status.st_mode & S_IWUSR) != 0) return;  // so it is with every link
    const mode_t mode = (status.st_mode & 07777U) | S_IWUSR;
    if (::fchmodat(AT_FDCWD, entry.c_str(), mode, AT_SYMLINK_NOFOLLOW) != 0) Throw("permissions", entry);
}

std::uint64_t Disk::FreeBytes(const fs::path& path) {
    struct statvfs status {};
    fs::path there = path.empty() ? "." : path;
    while (::statvfs(there.c_str(), &status) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) Throw("free space", path);
        const fs::path parent = there.has_parent_path() ? there.parent_path() : ".";
        if (parent == there) Throw("free space", path);
        there = parent;
    }
    return std::uint64_t{status.f_bavail} * status.f_frsize;
}

std::string ReadFile(const fs::path& file) {
    const Source source(file);
    std::string bytes;
    std::array<char, 1 << 16> buffer{};
    for (auto next = source.Read(buffer); !next.empty(); next = source.Read(buffer)) bytes += next;
    return bytes;
}

fs::path InFolder(const fs::path& folder, std::string_view name) {
    std::string text = folder.native();
    text += '/';
    text += name;
    return text;
}

std::string ErrorText(const std::exception& error) {
    const auto* aboutFile = dynamic_cast<const fs::filesystem_error*>(&error);
    if (aboutFile == nullptr) return error.what();
    const fs::path& path = aboutFile->path2().empty() ? aboutFile->path1() : aboutFile->path2();
    return path.string() + ": " + aboutFile->code().message();
}

bool FileExists(const fs::path& file) {
    std::error_code error;
    return fs::is_regular_file(file, error);
}

bool FolderExists(const fs::path& folder) {
    std::error_code error;
    return fs::is_directory(folder, error);
}

}  // namespace mirrane
