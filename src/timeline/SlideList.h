// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "store/Grid.h"
#include "store/IndexItem.h"
#include "timeline/OneBased.h"

namespace mirrane {

/// The slides where the edited timeline has them, while CGrid keeps where the recording has them. Slides follow one
/// another without a gap; web pages between them have no place on the timeline, and length 0. Rows count from 1; one
/// outside throws std::out_of_range. All numbers are ms.
class CSlideList {
public:
    [[nodiscard]] std::int32_t Count() const { return rows_.Count(); }
    /// Takes title, pos, RecDate, Url and posEnd of a row, and works its Length out.
    bool Add(CIndexItem row);
    bool Remove(std::int32_t index);

    /// Gives a slide another end; the slides behind it move along.
    void SetPosEnd(std::int32_t index, Ms posEnd);
    /// Gives a slide another length; the slides behind it move along.
    void SetLen(std::int32_t index, Ms length);

    /// -1, as a rule, of a row without a place on the timeline.
    [[nodiscard]] Ms GetPos(std::int32_t index) const;
    [[nodiscard]] Ms GetEnd(std::int32_t index) const;
    [[nodiscard]] const std::string& GetUrl(std::int32_t index) const { return rows_.item(index).Url; }
    [[nodiscard]] Ms GetLen(std::int32_t index) const;
    /// Whether a row has a place on the timeline.
    [[nodiscard]] bool IsOnTimeline(std::int32_t index) const;

    /// Of the whole timeline: the sum of all lengths. Reads every row.
    [[nodiscard]] Ms duration() const;
    /// The slide that stands at a time; without one the last slide, 0 when there is none.
    [[nodiscard]] std::int32_t GetIndex(Ms time) const;

private:
    OneBased<CIndexItem> rows_;
};

/// Fills the list anew with the times of the recording.
void BuildSlideList(CSlideList& gSlideList, const CGrid& grid);

}  // namespace mirrane
