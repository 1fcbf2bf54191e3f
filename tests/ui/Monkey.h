// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

/// A user without a plan at the editor's window: a mouse, a keyboard, and no patience.
namespace monkey {

struct Wish {
    std::filesystem::path project;  ///< worked on, and changed
    std::filesystem::path scratch;  ///< a folder for whatever else is needed
    unsigned seed = 1;
    std::chrono::milliseconds time{};
    std::string sound = {};  ///< a file that is imported now and then; empty: none
};

/// Acts until the time is over; whenever nobody is busy it looks whether all is well, and at the end whether the project
/// is saved and opens again. A hang ends the process.
/// @returns what is wrong, with what was done last; "" when all is well
std::string LetLoose(const Wish& wish);

/// On a copy of a project, with a sound made for it, telling what goes on. @returns an exit status
int RunMonkey(const std::filesystem::path& project, std::chrono::milliseconds time, unsigned seed);

}  // namespace monkey
