// SPDX-License-Identifier: GPL-3.0-or-later
#include "io/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "MediaError.h"

namespace qv {

namespace {

/// How many bytes are appended between two nudges of the system to start writing them out.
constexpr std::int64_t kWriteBackStep = 8 << 20;

[[noreturn]] void ThrowErrno(const std::filesystem::path& path) {
    throw MediaError(path, std::generic_category().message(errno));
}

}  // namespace

ReadFile::ReadFile(std::filesystem::path path) : path_(std::move(path)) {
    fd_ = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) ThrowErrno(path_);
    struct stat status {};
    const bool known = ::fstat(fd_, &status) == 0;
    if (!known || !S_ISREG(status.st_mode)) {
        ::close(fd_);
        throw MediaError(path_, "is not a file");
    }
    size_ = status.st_size;
    modifiedNs_ = std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec;
}

ReadFile::ReadFile(ReadFile&& other) noexcept
    : path_(std::move(other.path_)),
      fd_(std::exchange(other.fd_, -1)),
      size_(other.size_),
      modifiedNs_(other.modifiedNs_) {}

ReadFile::~ReadFile() {
    if (fd_ >= 0) ::close(fd_);
}

std::size_t ReadFile::ReadAt(std::int64_t offset, std::span<std::uint8_t> into) const {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got =
            ::pread(fd_, into.data() + done, into.size() - done, offset + static_cast<std::int64_t>(done));
        if (got == 0) break;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) ThrowErrno(path_);
        done += static_cast<std::size_t>(got);
    }
    return done;
}

NewFile::NewFile(std::filesystem::path target, Appears appears)
    : target_(std::move(target)), part_(target_.string() + (appears == Appears::AtOnce ? "" : ".part")) {
    fd_ = ::open(part_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd_ < 0) ThrowErrno(target_);
    if (appears == Appears::AtOnce) SyncFolder(target_.parent_path());
}

NewFile::~NewFile() {
    if (fd_ < 0) return;
    ::close(fd_);
    if (part_ != target_) ::unlink(part_.c_str());
}

void NewFile::WriteAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t put =
            ::pwrite(fd_, bytes.data() + done, bytes.size() - done, offset + static_cast<std::int64_t>(done));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) ThrowErrno(target_);
        done += static_cast<std::size_t>(put);
    }
}

void NewFile::Append(std::span<const std::uint8_t> bytes) {
    WriteAt(size_, bytes);
    const std::int64_t before = size_;
    size_ += static_cast<std::int64_t>(bytes.size());
    if (before / kWriteBackStep != size_ / kWriteBackStep) {
        const std::int64_t step = before / kWriteBackStep * kWriteBackStep;
        ::sync_file_range(fd_, step, kWriteBackStep, SYNC_FILE_RANGE_WRITE);
    }
}

void NewFile::Patch(std::int64_t offset, std::span<const std::uint8_t> bytes) { WriteAt(offset, bytes); }

void NewFile::Sync() const {
    if (::fdatasync(fd_) != 0) ThrowErrno(target_);
}

void NewFile::Commit() {
    if (::fsync(fd_) != 0) ThrowErrno(target_);
    const int closing = std::exchange(fd_, -1);
    if (::close(closing) != 0 || (part_ != target_ && ::rename(part_.c_str(), target_.c_str()) != 0)) {
        const int reason = errno;
        if (part_ != target_) ::unlink(part_.c_str());
        errno = reason;
        ThrowErrno(target_);
    }
    SyncFolder(target_.parent_path());
}

void NewFile::SyncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace qv
