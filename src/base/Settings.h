// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Clock.h"

namespace mirrane {

/// The settings that the programs of the suite share: section and key to text. A value is written soon, since other
/// programs read it, and is read back at once; what cannot be written is lost without a word.
class ISettings {
public:
    virtual ~ISettings() = default;
    [[nodiscard]] virtual std::optional<std::string> Get(const std::string& section, const std::string& key) = 0;
    virtual void Set(const std::string& section, const std::string& key, const std::string& value) = 0;
};

/// Settings of one run, for scripts that must not touch the user's own.
class MemorySettings final : public ISettings {
public:
    [[nodiscard]] std::optional<std::string> Get(const std::string& section, const std::string& key) override;
    void Set(const std::string& section, const std::string& key, const std::string& value) override;

private:
    std::map<std::pair<std::string, std::string>, std::string> values_;
};

/// Text in a settings file that knows no letters beyond its code page: "&H" and the bytes of its UTF-16LE form in
/// upper-case hexadecimal. "é" -> "&HE900", "" -> "".
[[nodiscard]] std::string ToHexValue(std::string_view text);
/// The text of a hex value; any other value is returned as it stands. Pairs that are no hexadecimal digits, and a half
/// unit at the end, make it "any other".
[[nodiscard]] std::string FromHexValue(const std::string& value);

[[nodiscard]] std::string GetHexSetting(ISettings& settings, const std::string& section, const std::string& key,
                                        const std::string& fallback);
void SetHexSetting(ISettings& settings, const std::string& section, const std::string& key, const std::string& value);

/// The projects opened last, newest first, at most 6: paths of a project.qvp in gRecentProjects, each with the moment it
/// was opened (GetNowString) at the same place of gRecentDates.
class RecentProjects {
public:
    explicit RecentProjects(ISettings& settings) : settings_(settings) {}

    /// Takes over what the settings hold of projects that are still there. What is gone stays in the settings.
    void LoadRecentProjects();
    /// Puts a path in front, writes the list.
    void AddRecentProject(const std::string& projectPath, const DateTime& now);

    [[nodiscard]] const std::vector<std::string>& gRecentProjects() const { return projects_; }
    [[nodiscard]] const std::vector<std::string>& gRecentDates() const { return dates_; }

private:
    ISettings& settings_;
    std::vector<std::string> projects_;
    std::vector<std::string> dates_;
};

/// Whether another program of the suite lives, by the age of its last sign: 299999 ms is alive, 300000 ms is not.
[[nodiscard]] constexpr bool IsHeartbeatAlive(std::int64_t ageMs) { return ageMs < 300000; }

}  // namespace mirrane
