// SPDX-License-Identifier: GPL-3.0-or-later
#include "frame/Main.h"

#include <iostream>

#include "base/Disk.h"
#include "base/Text.h"

namespace mirrane::basMixMain {

namespace fs = std::filesystem;

namespace {

constexpr char kProjectFileName[] = "project.qvp";

/// @returns false when the user gave up
bool ChooseProject(EditorState& state, IShell& shell) {
    state.gAppMode = "qveditor";
    shell.ShowStartPage();
    return !state.gProjectFolder.empty();
}

/// A save point of another program wins over whatever is saved from now on.
void WarnOfSavePoint(const fs::path& folder) {
    if (FileExists(InFolder(folder, "media.qv.__")))
        std::cerr << "Warning: media.qv.__ lies in " << folder.string()
                  << "; when the editor closes it replaces media.qv, and what was saved until then is lost. Open the "
                     "project from the start page to settle this.\n";
}

/// @returns false when there is no folder in it
bool TakeProject(EditorState& state, const std::string& commandLine) {
    const std::string path = ReplaceAll(commandLine, "\"", "");
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return false;
    state.gProjectFolder = path.substr(0, slash);
    state.gProjectFileName = kProjectFileName;
    WarnOfSavePoint(state.gProjectFolder);
    return true;
}

}  // namespace

void Main(EditorState& state, modMediaQv::MediaContext& media, IShell& shell, const std::string& commandLine) {
    state.gProjectFolder.clear();
    InitPaths(state);
    const bool isChosen = commandLine.empty() ? ChooseProject(state, shell) : TakeProject(state, commandLine);
    if (!isChosen) return;
    const fs::path file = InFolder(state.gProjectFolder, "media.qv");
    if (modMediaQv::VerifyMediaFile(media, file, modMediaQv::Check::Quick)) shell.ShowEditor();
}

}  // namespace mirrane::basMixMain
