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

using std::filesystem::path;

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
    void Write(const path& file, std::string_view bytes) override { Step(file).Write(file, bytes); }
    void WriteScratch(const path& file, std::string_view bytes) override {
        mirrane::Disk& disk = Step(file);
        if (!isDry) disk.WriteScratch(file, bytes);
    }
    void Copy(const path& source, const path& target) override { Step(target).Copy(source, target); }
    void Rename(const path& source, const path& target) override;
    void Remove(const path& entry) override { Step(entry).Remove(entry); }
    void MakeFolder(const path& folder) override { Step(folder).MakeFolder(folder); }
    void AddOwnerWrite(const path& entry) override { Step(entry).AddOwnerWrite(entry); }
    [[nodiscard]] std::uint64_t FreeBytes(const path& where) override {
        return freeBytes != 0 ? freeBytes : disk_.FreeBytes(where);
    }

    int failAt = 0;                   ///< counts changes from 1; 0: none fails
    bool failsFromThenOn = false;     ///< not only that one
    bool isDry = false;               ///< WriteScratch only claims to have written
    bool everyRenameCrosses = false;  ///< as between file systems, unless the source's name ends in ".~mv"
    std::uint64_t freeBytes = 0;      ///< 0: what the disk tells
    int changes = 0;                  ///< so far

private:
    /// Counts a change, which may be the one to fail. @returns the disk that does it
    mirrane::Disk& Step(const path& culprit);

    mirrane::Disk disk_;
};

class Clock final : public mirrane::IClock {
public:
    [[nodiscard]] mirrane::DateTime Now(int secondsAgo = 0) override {
        return {now.year, now.month, now.day, now.hour, now.minute, now.second - secondsAgo};
    }
    [[nodiscard]] std::uint32_t TickMs() override { return ticks; }

    mirrane::DateTime now{2024, 3, 5, 13, 4, 5};  ///< secondsAgo is taken off its seconds alone
    std::uint32_t ticks = 0;
};

class Host final : public mirrane::IHost {
public:
    [[nodiscard]] path ProgramFolder() override { return programFolder; }
    [[nodiscard]] std::optional<std::string> Environment(const std::string& name) override;

    path programFolder = MIRRANE_SOURCE_DIR "/data";
    std::map<std::string, std::string> environment;
};

/// All of them, with the program's own texts unless told otherwise.
struct World {
    explicit World(const path& resFile = MIRRANE_SOURCE_DIR "/data/res.xml") : texts(resFile) {}

    User user;
    FaultyDisk disk;
    Clock clock;
    mirrane::MemorySettings settings;
    Host host;
    mirrane::Texts texts;
    mirrane::World world{user, disk, clock, settings, host, texts};
};

}  // namespace doubles
