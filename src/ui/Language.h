// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace mirrane {

/// Has the toolkit's own words, such as those of the buttons in message boxes, in the language of the program's texts,
/// which need not be that of the desktop. English where the toolkit has not learned the language.
/// @param language "de", "zh-TW"; empty: English
void SpeakLanguage(const std::string& language);

}  // namespace mirrane
