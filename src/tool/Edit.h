// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "Commands.h"

namespace tool {

struct EditArguments {
    std::filesystem::path folder;
    std::filesystem::path script;  ///< empty: standard input
    bool direct = false;           ///< open without the checks and repairs of the start page
    bool keepGoing = false;        ///< go on behind an unknown command or a wrong argument
};

/// Runs the editor on a project from a script.
int Edit(const Context& context, const EditArguments& arguments);

}  // namespace tool
