// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "base/Numbers.h"
#include "timeline/OneBased.h"

namespace mirrane {

/// One stretch of sound: from pos to posEnd on the timeline a source plays from srcPos to srcPosEnd. All times in ms.
///
///     timeline   ....|pos ========|posEnd....      posEnd is the first ms not heard
///     source          |srcPos =====|srcPosEnd
struct CAudioSeg {
    Ms pos = 0;
    Ms posEnd = 0;
    std::int32_t fileIndex = 0;  ///< 1-based in gSrcFiles; -1: the path is not there
    Ms srcPos = 0;
    Ms srcPosEnd = 0;
    std::int32_t volPercent = 0;  ///< 100 plays the source as it is
    std::int32_t trackIndex = 0;  ///< 0: Track 1, 1: Track 2

    // What only a record of the edit history holds.
    std::int32_t segIndex = 0;  ///< of the wave segment
    std::filesystem::path srcFile = {};
    Ms posDif = 0;            ///< by how much a Move moved
    std::int32_t volDif = 0;  ///< by how many percent the volume changed
    Ms split = 0;             ///< where a Split cut, on the timeline
    std::int32_t slideIndex = 0;

    /// @throws std::overflow_error when the difference is no 32-bit number
    [[nodiscard]] Ms duration() const { return CheckedSub(posEnd, pos); }
};

/// Stretches of sound in the order in which they were put. Positions count from 1; one outside throws
/// std::out_of_range.
class CAudioSegList {
public:
    /// For `before` and `after`: not given.
    static constexpr std::int32_t kNowhere = -1;

    OneBased<CAudioSeg> items;

    [[nodiscard]] std::int32_t Count() const { return items.Count(); }
    /// Puts a segment ahead of the one at `before`, else behind the one at `after`, else at the end.
    bool Add(CAudioSeg seg, std::int32_t before = kNowhere, std::int32_t after = kNowhere);
    /// Add of a copy without the fields of the edit history.
    bool AddItem(const CAudioSeg& item, std::int32_t before = kNowhere, std::int32_t after = kNowhere);
    bool Remove(std::int32_t index);
    bool RemoveAll();
    /// Lets two segments change places. @returns false, with nothing changed, when one lies behind the list's end
    bool Switch(std::int32_t indexA, std::int32_t indexB);
    /// Makes one segment of neighbours that are one unbroken stretch of one source at one volume on one track.
    void Optimize();
};

}  // namespace mirrane
