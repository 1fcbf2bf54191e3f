// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

namespace mirrane {

/// What is seen of a project without opening it.
struct ProjectGlance {
    std::string title;              ///< of the document; the folder's name where it has none or cannot be read
    std::filesystem::path picture;  ///< of the recording's first slide; empty: there is none
};

/// Reads the document and nothing else, and never fails.
[[nodiscard]] ProjectGlance GlanceAt(const std::filesystem::path& gProjectFolder);

}  // namespace mirrane
