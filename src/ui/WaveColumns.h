// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "timeline/WaveTrack.h"

namespace mirrane {

/// One pixel of a segment's waveform.
struct WaveColumn {
    int level = 0;           ///< 0 to kLoudest
    bool isClipped = false;  ///< would be louder than that
};
inline constexpr int kLoudest = 32767;

/// The loudest of the samples that fall on a pixel of a segment, at the segment's volume. Fewer than two samples are
/// silence.
/// @param column 0 to the segment's width - 1
[[nodiscard]] WaveColumn WaveColumnOf(const CWaveSeg& seg, int column);

}  // namespace mirrane
