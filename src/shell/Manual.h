// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "base/Host.h"

namespace mirrane {

enum class ManualPart { Whole, QuickStart, Tutorial };

/// A page, and the place in it where to begin; no place: at the top.
struct ManualPage {
    std::filesystem::path file;
    std::string anchor = {};
};

/// mLang, the language of the manual: the first line of help/lang.txt in the program's folder, "en" without that file.
[[nodiscard]] std::string ManualLanguage(IHost& host);

/// A part of the manual, which is in English where there is no folder of pages for mLang:
///
///     <program folder>/res/help_<mLang>/help/index.html       the whole, and the quick start in it
///                                           tutorial.html
///
/// @returns nothing when that page is not there
[[nodiscard]] std::optional<ManualPage> FindManual(IHost& host, ManualPart part);

}  // namespace mirrane
