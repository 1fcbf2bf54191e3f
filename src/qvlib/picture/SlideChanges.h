// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <vector>

#include "jobs/JobContext.h"
#include "qvlib/IQvRecordings.h"
#include "qvlib/Rows.h"

namespace qv {

/// The times at which a recording goes on to another slide: where a noticeable part of the picture becomes another and
/// then stands. A pointer, a blinking cursor, a speaker's picture in a corner or a film on the slide is no change; a
/// fade is one, told at its middle.
///
/// Looks at the keyframes first, and decodes only where they, or the sizes of the packets between them, speak of a change.
/// A slide that comes and goes between two keyframes without a trace in the packets' sizes is therefore missed.
///
/// @param sensitivity 0 (nearly the whole picture must change) to 100 (a word is enough)
/// @param minSlideMs a slide that stands for less is no slide of its own: it belongs to the one after it
/// @returns ms from the recording's zero, rising; the first slide at 0 is not among them
/// @throws MediaError when the file has no picture that can be decoded; Abandoned
[[nodiscard]] std::vector<Ms> FindSlideChanges(const std::filesystem::path& path, int sensitivity, Ms minSlideMs,
                                               const JobContext& job);

}  // namespace qv
