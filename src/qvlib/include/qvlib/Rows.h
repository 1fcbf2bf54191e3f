// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

/// The play list as preview and save read it: what is seen and what is heard, row by row.
/// Rows of one kind tile the timeline from 0 without a gap. All times are whole ms; ends are exclusive.
namespace qv {

/// Milliseconds, on the timeline or in a source.
using Ms = std::int32_t;

/// One stretch of picture. How source time runs in it depends on the two lengths:
///
///     posEnd - pos == srcPosEnd - srcPos   normal: source time srcPos + (t - pos) is shown at t
///     srcPos == srcPosEnd                  hold: the last picture before srcPos stands still
///     posEnd - pos == 1, source longer     cut: the source clock runs through the missing piece at once
struct FrameRow {
    std::int32_t pos = 0;
    std::int32_t posEnd = 0;
    std::int32_t srcPos = 0;
    std::int32_t srcPosEnd = 0;
    std::int32_t isSlideStart = 0;  ///< 1: the saved file needs a keyframe at exactly pos

    friend bool operator==(const FrameRow&, const FrameRow&) = default;
};
static_assert(sizeof(FrameRow) == 20);

/// One stretch of sound. One row at a time is heard, never a mixture.
struct AudioRow {
    std::int32_t pos = 0;
    std::int32_t posEnd = 0;
    std::int32_t fileIndex = -1;  ///< 0-based in the list of sources; -1: silence
    std::int32_t srcPos = 0;
    std::int32_t srcPosEnd = 0;
    std::int32_t volPercent = 0;  ///< 100 plays the source as it is, 0 is silence

    friend bool operator==(const AudioRow&, const AudioRow&) = default;
};
static_assert(sizeof(AudioRow) == 24);

}  // namespace qv
