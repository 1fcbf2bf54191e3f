// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "EditSession.h"

namespace tool {

/// Runs one command of a script, by what the windows call when the user does the same.
/// @param words the command's name and its arguments. What it tells beside its success goes to session.running.
/// @throws WrongUse for an unknown command or a wrong argument; std::exception with the reason when the editor refuses
///         the command or the command fails
void RunCommand(EditSession& session, const std::vector<std::string>& words);

}  // namespace tool
