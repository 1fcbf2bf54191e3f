// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <utility>

namespace mirrane {

/// A file that is open for reading, or none. Closed with this.
class OpenFile {
public:
    OpenFile() = default;
    explicit OpenFile(int fd) : fd_(fd) {}
    ~OpenFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    OpenFile(OpenFile&& other) noexcept : fd_(other.Take()) {}
    OpenFile& operator=(OpenFile&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int fd() const { return fd_; }
    /// The caller closes it from now on. @returns -1 when there is none
    [[nodiscard]] int Take() { return std::exchange(fd_, -1); }

private:
    int fd_ = -1;
};

}  // namespace mirrane
