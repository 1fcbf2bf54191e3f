// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/WaveColumns.h"

#include <algorithm>

namespace mirrane {

WaveColumn WaveColumnOf(const CWaveSeg& seg, int column) {
    constexpr int kAsRecorded = 100;
    const auto count = static_cast<std::int64_t>(seg.samples.PCM.size());
    if (count < 2) return {};
    const std::int64_t from = count * column / seg.Width();
    const std::int64_t to = std::clamp<std::int64_t>(count * (column + 1) / seg.Width(), from + 1, count);
    const auto first = seg.samples.PCM.begin();
    const std::int64_t peak = *std::max_element(first + from, first + to);
    const std::int64_t level = peak * seg.volPercent / kAsRecorded;
    return {static_cast<int>(std::clamp<std::int64_t>(level, 0, kLoudest)), level > kLoudest};
}

}  // namespace mirrane
