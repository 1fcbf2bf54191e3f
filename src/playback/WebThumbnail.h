// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "editing/EditContext.h"
#include "qvlib/IQvLib.h"

namespace mirrane {

/// Yes: also when there is a thumbnail; the user then sees both, and decides.
enum class Force { No, Yes };

/// Makes "thumbnails/<url up to its first slash>.jpg" of the page in sight, which is that of the current row.
/// @throws std::filesystem::filesystem_error; nothing but a whole thumbnail is ever under its name
void CaptureWebThumbnail(EditContext& ctx, qv::IQvLib& lib, Force force);

/// What stands between "<name>" and the next "<", wherever that is; empty when there is no such place.
[[nodiscard]] std::string GetXmlValue(std::string_view text, std::string_view name);

/// In points; 0: none.
struct LessonSize {
    std::int16_t width = 0;
    std::int16_t height = 0;
};

/// The part of a pane that a thumbnail shows: all of it, or the place of a lesson of a size of its own. The lines at the
/// edges stay out. Empty when there is no room.
[[nodiscard]] PageRect CapturedPart(const PageRect& pane, LessonSize lesson);

}  // namespace mirrane
