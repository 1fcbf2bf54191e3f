// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSettings>
#include <QThreadPool>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Host.h"
#include "base/Settings.h"

namespace mirrane {

/// The settings file that the programs of the suite share, in the INI format. A section is one group name in it, its
/// backslash written "%5C". What other programs have written meanwhile is seen; each write goes through a lock and
/// replaces the file, beside the window's own thread, as the disk takes its time.
class IniSettings final : public ISettings {
public:
    /// @param file its folder is made with the first write
    explicit IniSettings(const std::filesystem::path& file);

    [[nodiscard]] std::optional<std::string> Get(const std::string& section, const std::string& key) override;
    void Set(const std::string& section, const std::string& key, const std::string& value) override;
    /// All that was set is in the file when this returns. The destructor does the same.
    void Flush();

private:
    QSettings file_;
    QThreadPool writer_;
};

/// Tallowin5.ini among this user's settings.
[[nodiscard]] std::filesystem::path SettingsFile(IHost& host);

}  // namespace mirrane
