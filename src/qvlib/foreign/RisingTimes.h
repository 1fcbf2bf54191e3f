// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "qvlib/Rows.h"

namespace qv {

/// Gives every picture a time of its own in whole ms. The first stands at 0, none before it; one that falls on the time
/// of another goes a millisecond later.
///
///     16 17 17 18   ->   0 17 18 19
class RisingTimes {
public:
    /// @param ms from the recording's zero; pictures may come in decoding order
    [[nodiscard]] Ms Next(std::int64_t ms) {
        std::int64_t time = recent_.empty() ? 0 : std::clamp<std::int64_t>(ms, 1, kLatest);
        while (std::find(recent_.begin(), recent_.end(), time) != recent_.end()) ++time;
        if (recent_.size() < kReordered) {
            recent_.push_back(time);
        } else {
            recent_[next_++ % kReordered] = time;
        }
        return static_cast<Ms>(time);
    }

private:
    static constexpr std::size_t kReordered = 64;  ///< more pictures than any codec reorders
    static constexpr std::int64_t kLatest = std::numeric_limits<Ms>::max() - static_cast<std::int64_t>(kReordered);

    std::vector<std::int64_t> recent_;
    std::size_t next_ = 0;
};

}  // namespace qv
