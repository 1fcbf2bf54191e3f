// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace app {

/// What the program is asked for.
struct CommandLine {
    enum class Wish {
        Edit,  ///< path as basMixMain::Main takes it; empty: let the user choose
        Open,  ///< path, with all checks of an opening
        Help,
        Version,
        Wrong,  ///< path is what was not understood
    };
    Wish wish = Wish::Edit;
    std::string path;
};

/// @param words without the program's own name
[[nodiscard]] CommandLine Understand(const std::vector<std::string>& words);

}  // namespace app
