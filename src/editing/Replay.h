// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "editing/EditContext.h"
#include "timeline/History.h"

namespace mirrane {

/// Does recorded actions again, or undoes them, on the timeline itself. Nothing of it goes into the history.
class Replay final : public IReplay {
public:
    /// @param ctx outlives this
    explicit Replay(EditContext& ctx) : ctx_(ctx) {}

    /// Waits for the seek that runs, and for the one that shows the slide. @returns false when another slide stands there
    /// in the end, or the editor closes
    bool ShowSlide(std::int32_t slideIndex) override;
    bool Insert(const CAudioSeg& record) override;
    bool Remove(std::int32_t segIndex) override;
    bool Split(std::int32_t segIndex, Ms split) override;
    bool Merge(std::int32_t newSegIndex, Ms split, std::int32_t trackIndex) override;
    bool Move(std::int32_t segIndex, Ms posDif) override;
    bool VolAdjust(std::int32_t segIndex, std::int32_t volDif) override;

private:
    void WaitForSeek();

    EditContext& ctx_;
};

}  // namespace mirrane
