// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/World.h"

namespace tool {

/// Stands in for the person at the windows: what a message box says is told on standard error, in one line, and the
/// answer is the box's last, that is the most careful, button.
class ToolUser final : public mirrane::IUser {
public:
    mirrane::Answer Ask(const mirrane::MessageBox& box) override;
    void ShowStatus(const std::string& /*text*/) override {}
    void HideStatus() override {}
    void SetBusyCursor(bool /*busy*/) override {}
    void RunEvents() override {}
    void Sleep(std::chrono::milliseconds time) override;

    bool goesOn = false;            ///< answers OK where a box offers OK or Cancel
    std::vector<std::string> told;  ///< what the boxes said, a line each
    std::string copy;               ///< a path that is told as `original`; empty: none
    std::string original;
};

/// The editor's world on a machine without windows: the real disk and clock, settings that are forgotten.
class ToolWorld {
public:
    ToolWorld();

private:
    mirrane::Disk disk_;
    mirrane::SystemClock clock_;
    mirrane::MemorySettings settings_;
    mirrane::SystemHost host_;
    mirrane::Texts texts_;

public:
    ToolUser user;
    mirrane::World world;
};

/// A temporary folder that goes with its owner.
class ScratchFolder {
public:
    /// @throws std::filesystem::filesystem_error
    explicit ScratchFolder(mirrane::World& world);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

private:
    mirrane::World& world_;
    std::filesystem::path path_;
};

}  // namespace tool
