// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace support {

/// A sound server of the test's own, in a folder of its own; it is there from Begin on. No other device is found.
class SoundServer {
public:
    SoundServer();
    ~SoundServer();
    SoundServer(const SoundServer&) = delete;
    SoundServer& operator=(const SoundServer&) = delete;

    /// @param modules that it begins with, beside the one that listens
    /// @returns false when no server comes up
    bool Begin(const std::string& modules);
    int Signal(int signal) const;
    /// Before a command of the shell: makes it use this server.
    [[nodiscard]] const std::string& Shell() const { return shell_; }
    [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }

private:
    std::string name_ =
        (std::filesystem::temp_directory_path() / "soundXXXXXX").string();  // a socket's path must be short
    const std::filesystem::path folder_;
    const std::string shell_;
    pid_t server_ = 0;
};

}  // namespace support
