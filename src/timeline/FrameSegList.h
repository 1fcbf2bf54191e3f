// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Numbers.h"
#include "timeline/OneBased.h"

namespace mirrane {

/// One stretch of picture: from pos to posEnd on the timeline the recording is seen from srcPos to srcPosEnd. ms, ends
/// are exclusive.
struct CFrameSeg {
    Ms pos = 0;
    Ms posEnd = 0;
    Ms srcPos = 0;
    Ms srcPosEnd = 0;
};

/// What is seen, stretch by stretch. Positions count from 1.
class CFrameSegList {
public:
    /// For `before`: at the end.
    static constexpr std::int32_t kAtEnd = -1;

    OneBased<CFrameSeg> items;

    [[nodiscard]] std::int32_t Count() const { return items.Count(); }
    /// @throws std::out_of_range when `before` is no position
    bool Add(Ms pos, Ms posEnd, Ms srcPos, Ms srcPosEnd, std::int32_t before = kAtEnd);
};

}  // namespace mirrane
