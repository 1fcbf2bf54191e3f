// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/SlideList.h"

#include <array>
#include <charconv>
#include <utility>

namespace mirrane {

namespace {

/// In decimal, never with an exponent.
std::string DecimalText(double value) {
    std::array<char, 400> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return {text.data(), end};
}

std::string LengthText(const CIndexItem& row) { return DecimalText(NumberPrefix(row.posEnd) - NumberPrefix(row.pos)); }

void Shift(std::string& time, Ms by) { time = std::to_string(CheckedAdd(IntegerPrefix(time), by)); }

}  // namespace

bool CSlideList::Add(CIndexItem row) {
    row.Length = IsOffTimeline(row.pos, row.Url) ? "0" : LengthText(row);
    rows_.Append(std::move(row));
    return true;
}

bool CSlideList::Remove(std::int32_t index) {
    rows_.Remove(index);
    return true;
}

void CSlideList::SetPosEnd(std::int32_t index, Ms posEnd) {
    CIndexItem& row = rows_.item(index);
    const Ms difference = CheckedSub(posEnd, IntegerPrefix(row.posEnd));
    row.posEnd = std::to_string(posEnd);
    row.Length = LengthText(row);
    for (std::int32_t later = index + 1; later <= Count(); ++later) {
        if (!IsOnTimeline(later)) continue;
        Shift(rows_.item(later).pos, difference);
        Shift(rows_.item(later).posEnd, difference);
    }
}

void CSlideList::SetLen(std::int32_t index, Ms length) { SetPosEnd(index, CheckedAdd(GetPos(index), length)); }

Ms CSlideList::GetPos(std::int32_t index) const { return IntegerPrefix(rows_.item(index).pos); }

Ms CSlideList::GetEnd(std::int32_t index) const { return IntegerPrefix(rows_.item(index).posEnd); }

Ms CSlideList::GetLen(std::int32_t index) const { return IntegerPrefix(rows_.item(index).Length); }

bool CSlideList::IsOnTimeline(std::int32_t index) const {
    const CIndexItem& row = rows_.item(index);
    return !IsOffTimeline(row.pos, row.Url);
}

Ms CSlideList::duration() const {
    Ms sum = 0;
    for (const CIndexItem& row : rows_) sum = CheckedAdd(sum, IntegerPrefix(row.Length));
    return sum;
}

std::int32_t CSlideList::GetIndex(Ms time) const {
    std::int32_t last = 0;
    for (std::int32_t index = 1; index <= Count(); ++index) {
        if (!IsOnTimeline(index)) continue;
        if (GetPos(index) <= time && time < GetEnd(index)) return index;
        last = index;
    }
    return last;
}

void BuildSlideList(CSlideList& gSlideList, const CGrid& grid) {
    while (gSlideList.Count() > 0) gSlideList.Remove(gSlideList.Count());
    for (int row = 1; row <= grid.Rows(); ++row) gSlideList.Add(grid.item(row));
}

}  // namespace mirrane
