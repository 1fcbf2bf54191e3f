// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "shell/Paths.h"
#include "store/MediaCheck.h"
#include "timeline/EditorState.h"

namespace mirrane {

/// The two windows that the program comes up with.
class IShell {
public:
    virtual ~IShell() = default;
    /// Lets the user choose a project and returns when that is over: gProjectFolder and gProjectFileName are set when
    /// the project was opened, gProjectFolder is empty when none was.
    virtual void ShowStartPage() = 0;
    /// Shows the editor on gProjectFolder and returns at once.
    virtual void ShowEditor() = 0;
};

}  // namespace mirrane

/// How the program starts.
namespace mirrane::basMixMain {

/// Brings up the editor, or does not: the user was told why, gave up, or asked for nothing that is a path.
/// @param commandLine empty: the start page. Otherwise a path of any file in the project's folder, quoted or not, which
///                    may hold blanks; such a project is opened as it lies there, without the start page's checks
void Main(EditorState& state, modMediaQv::MediaContext& media, IShell& shell, const std::string& commandLine);

}  // namespace mirrane::basMixMain
