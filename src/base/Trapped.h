// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exception>

#include "base/Disk.h"
#include "base/World.h"

namespace mirrane {

/// Runs a procedure under its one trap: what it throws is told with the procedure's name and gStepLabel.
/// @param body returns whether it succeeded
/// @returns false when it did not, or threw
template <typename Body>
bool Trapped(World& world, const char* procedureName, Body&& body) {
    try {
        return body();
    } catch (const std::exception& failure) {
        ReportStepError(world, ErrorText(failure), procedureName);
    }
    return false;
}

/// The same for a procedure without a result.
template <typename Body>
void TrappedVoid(World& world, const char* procedureName, Body&& body) {
    Trapped(world, procedureName, [&body] {
        body();
        return true;
    });
}

}  // namespace mirrane
