// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/World.h"

/// A world for tests: the real disk with faults on request, a user who answers from a list, a clock that stands.
namespace doubles {

/// Answers what is queued, else the box's last button; notes all that was shown.
class User final : public mirrane::IUser {
public:
    mirrane::Answer Ask(const mirrane::MessageBox& box) override;
    void ShowStatus(const std::string& text) override { statuses.push_back(text); }
    void HideStatus() override { statuses.emplace_back("-"); }
    void SetBusyCursor(bool busy) override { busyDepth += busy ? 1 : -1; }
    void RunEvents() override { RunOnEvents(); }
    void Sleep(std::chrono::milliseconds time) override;

    std::deque<mirrane::Answer> answers;
    std::vector<mirrane::MessageBox> boxes;
    std::vector<std::string> statuses;  ///< "-" where the status window was taken away
    int busyDepth = 0;
    std::function<void()> onEvents;  ///< called when events may run; may be empty

    /// What the boxes said: "title|text" each, on lines of their own.
    [[nodiscard]] std::string Told() const;

private:
    void RunOnEvents() const {
        if (onEvents) onEvents();
    }
};

/// The real disk, whose n-th change fails.
class FaultyDisk final : public mirrane::IDisk {
public:
    void Write(const std::filesystem::path& file, std::string_view bytes) override;
    void WriteScratch(const std::filesystem::path& file, std::string_view bytes) override;
    void Copy(const std::filesystem::path& source, const std::filesystem::path& target) override;
    void Rename(const std::filesystem::path& source, const std::filesystem::path& target) override;
    void Remove(const std::filesystem::path& entry) override;
    void MakeFolder(const std::filesystem::path& folder) override;
    void AddOwnerWrite(const std::filesystem::path& entry) override;
    [[nodiscard]] std::uint64_t FreeBytes(const std::filesystem::path& path) override;

    int failAt = 0;                ///< counts changes from 1; 0: none fails
    bool failsFromThenOn = false;  ///< not only that one
    std::errc reason = std::errc::no_space_on_device;
    bool isDry = false;               ///< WriteScratch only claims to have written
    bool everyRenameCrosses = false;  ///< as between file systems, unless the source's name ends in ".~mv"
    std::uint64_t freeBytes = 0;      ///< 0: what the disk tells
    int changes = 0;                  ///< so far
    std::vector<std::string> log;     ///< "Rename a.tmp -> a": the changes by file name, the failed ones included

private:
    void Step(const std::string& what, const std::filesystem::path& culprit);

    mirrane::Disk disk_;
};

class Clock final : public mirrane::IClock {
public:
    [[nodiscard]] mirrane::DateTime Now(int secondsAgo = 0) override;
    [[nodiscard]] std::uint32_t TickMs() override { return ticks; }

    mirrane::DateTime now{2024, 3, 5, 13, 4, 5};  ///< secondsAgo is taken off its seconds alone
    std::uint32_t ticks = 0;
};

class Host final : public mirrane::IHost {
public:
    [[nodiscard]] std::filesystem::path ProgramFolder() override { return programFolder; }
    [[nodiscard]] std::optional<std::string> Environment(const std::string& name) override;

    std::filesystem::path programFolder = MIRRANE_SOURCE_DIR "/data";
    std::map<std::string, std::string> environment;
};

/// All of them, with the program's own texts unless told otherwise.
struct World {
    explicit World(const std::filesystem::path& resFile = MIRRANE_SOURCE_DIR "/data/res.xml") : texts(resFile) {}

    User user;
    FaultyDisk disk;
    Clock clock;
    mirrane::MemorySettings settings;
    Host host;
    mirrane::Texts texts;
    mirrane::World world{user, disk, clock, settings, host, texts};
};

}  // namespace doubles
