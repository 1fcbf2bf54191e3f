// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "base/Numbers.h"

namespace mirrane {

/// One row of the project's index: a slide of the recording, or a web page with no place on the timeline. Times stay the
/// texts of the document, each use converts them.
struct CIndexItem {
    std::string title = {};
    std::string pos = {};      ///< ms in decimal; below 0, "-1" as a rule: off the timeline
    std::string RecDate = {};  ///< as it stands in the document
    std::string posEnd = {};   ///< ms in decimal, exclusive
    std::string Length = {};   ///< of the row; as the list that holds it tells
    std::string Url = {};      ///< of a web page; empty for a slide
    bool selected = false;
    std::string size = {};  ///< never loaded; written when it is not empty
};

/// Whether a row has no place on the timeline.
[[nodiscard]] bool IsOffTimeline(std::string_view pos, std::string_view url);

}  // namespace mirrane
