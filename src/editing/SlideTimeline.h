// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editing/EditContext.h"

/// How a slide's sound gets onto the timeline.
namespace mirrane::modSlideTimeline {

/// Lets the timeline show the current slide: for the first time with one segment on Track 1, which is the recording as it
/// is; later with what the user made of it, at the zoom it had. The cursor stands at its start.
void ShowSlideTimeline(EditContext& ctx);

/// Samples to draw a stretch with: one for each 64 ms, at least one.
[[nodiscard]] std::size_t SampleCount(Ms duration);

/// Makes a hidden, empty view of that number.
/// @returns false after a message: then the editor closes
bool LoadWaveSeg(EditContext& ctx, std::int32_t segIndex);

}  // namespace mirrane::modSlideTimeline
