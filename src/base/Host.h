// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace mirrane {

/// The machine that the program runs on, as far as it asks.
class IHost {
public:
    virtual ~IHost() = default;
    /// The folder of the program's own data: default.qvp, res.xml, encfiles, template, help.
    [[nodiscard]] virtual std::filesystem::path ProgramFolder() = 0;
    /// An environment value; an empty one counts as none.
    [[nodiscard]] virtual std::optional<std::string> Environment(const std::string& name) = 0;
};

/// The program folder is $MIRRANE_PROGRAM_FOLDER, else share/mirrane beside the folder of the executable: of the
/// installation, or of the build tree.
class SystemHost final : public IHost {
public:
    [[nodiscard]] std::filesystem::path ProgramFolder() override;
    [[nodiscard]] std::optional<std::string> Environment(const std::string& name) override;
};

/// Where temporary things go: the value `temp`, else $TMPDIR, else the system's folder for them.
[[nodiscard]] std::filesystem::path TempFolder(IHost& host);
/// Where the suite's folder for this user lies: the value `appdata`, else $XDG_DATA_HOME, else ~/.local/share.
[[nodiscard]] std::filesystem::path AppDataFolder(IHost& host);
/// Where the settings of this user's programs lie: $XDG_CONFIG_HOME, else ~/.config.
[[nodiscard]] std::filesystem::path ConfigFolder(IHost& host);

}  // namespace mirrane
