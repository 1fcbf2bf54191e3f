// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Files.h"
#include "base/Settings.h"
#include "store/MediaCheck.h"
#include "timeline/EditorState.h"

namespace mirrane {

/// A line of the list of recent projects.
struct RecentRow {
    int number = 0;                 ///< from 1, newest first
    std::string name;               ///< the lecture's title
    bool isCurrent = false;         ///< the project is in use
    std::filesystem::path folder;   ///< of the project
    std::string date;               ///< when it was opened last: "2024/3/5 13:04:05"
    std::filesystem::path picture;  ///< of its first slide; empty: none
};

/// The rules of frmNewProject, the page that greets whoever starts the program without a project. It stays until a project
/// has passed all checks of an opening, or until the user gives up: then gProjectFolder is empty.
class StartPage {
public:
    /// What the window does; any of them may be empty, as where there is none.
    struct Face {
        /// Asks for a file. @param filter "Mirrane Project (*.qvp)|*.qvp"
        std::function<std::optional<std::filesystem::path>(const std::string& title, const std::string& filter,
                                                           const std::filesystem::path& startFolder)>
            choose;
        std::function<void(bool)> setEnabled;  ///< the window takes no clicks and keys meanwhile
        std::function<void()> listChanged;     ///< lProj
        std::function<void()> unload;          ///< the page has done its work
    };

    /// @param state, check outlive this
    StartPage(EditorState& state, modMediaQv::MediaContext& check)
        : state_(state), check_(check), recent_(state.world.settings) {}

    Face face;

    /// Reads the recent projects.
    void Form_Load() { recent_.LoadRecentProjects(); }
    /// Tells the other programs of the suite when nothing was opened.
    void Form_Unload();

    /// The recent projects, at most 6. Looks into each, which takes a moment.
    [[nodiscard]] std::vector<RecentRow> lProj() const;
    /// Opens a recent project. @param number as in RecentRow. @throws std::out_of_range
    void lProj_Click(int number);
    void lOpenProj_Click();
    /// Opens what was dropped on the page. @see ProjectIn
    void Drop(const std::filesystem::path& dropped);

    /// Opens a project with all checks. When it cannot be opened, the user was told; gProjectFolder is what it was before,
    /// and the page stays. @param path of a project.qvp
    /// @param quiet  the page does not stay in any case
    void openProj(const std::filesystem::path& path, modFiles::Quiet quiet);
    /// An opening is under way; it may ask questions, and nothing else is opened meanwhile.
    [[nodiscard]] bool isOpening() const { return isOpening_; }

private:
    bool TakeProject(const std::filesystem::path& folder);
    bool ReturnTo(const std::filesystem::path& kept);
    void OpenIfThere(const std::filesystem::path& document);

    EditorState& state_;
    modMediaQv::MediaContext& check_;
    RecentProjects recent_;
    bool isOpening_ = false;
};

/// The document of the project that a file or folder is: a document itself, a folder with one, or a folder with a
/// recording that has none yet.
[[nodiscard]] std::optional<std::filesystem::path> ProjectIn(const std::filesystem::path& dropped);

/// A path that fits into a width: both of its ends with "..." between them, the whole where it fits.
/// @param measure the width of a text
[[nodiscard]] std::string contractStr(const std::string& text, int width,
                                      const std::function<int(const std::string&)>& measure);

}  // namespace mirrane
