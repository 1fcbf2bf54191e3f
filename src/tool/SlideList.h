// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "qvlib/IQvRecordings.h"

namespace tool {

/// Where a slide of a new project begins, and what it is called.
struct Slide {
    qv::Ms start = 0;
    std::string title = {};  ///< UTF-8; empty: none
    int line = 0;            ///< of the slide file; 0: from elsewhere
};

/// A text without what a document cannot hold, on one line.
[[nodiscard]] std::string CleanTitle(const std::string& text);

/// Reads a list of slides: "<time> <title>" a line, the time as h:mm:ss.mmm, m:ss or in ms; the title may be left out.
/// Blank lines and those that begin with # are passed over.
/// @returns one slide at least, times rising
/// @throws std::runtime_error that names the file and the line; std::filesystem::filesystem_error
[[nodiscard]] std::vector<Slide> ReadSlideFile(const std::filesystem::path& file);

/// @throws std::runtime_error that names file and line when a slide begins at or past the end
void CheckSlidesEnd(const std::vector<Slide>& slides, qv::Ms end, const std::filesystem::path& file);

/// The slides that a recording's chapters are.
[[nodiscard]] std::vector<Slide> SlidesOfChapters(const std::vector<qv::Chapter>& chapters);

/// Sees to a slide at 0 and to a title of each: "Slide 3" for the third one when it has none.
void CompleteSlides(std::vector<Slide>& slides);

}  // namespace tool
