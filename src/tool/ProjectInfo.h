// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "Commands.h"

namespace tool {

/// Tells what a project is and holds.
int Info(const Context& context, const std::filesystem::path& folder);

/// Checks a media file, and, in a project, whether document and media file agree. Changes nothing.
int Verify(const Context& context, const std::filesystem::path& given, bool whole);

}  // namespace tool
