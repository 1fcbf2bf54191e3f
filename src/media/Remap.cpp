// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/Remap.h"

#include <algorithm>
#include <cstddef>

namespace mirrane::modSave {

namespace {

/// The times of the recording whose interactions a row keeps, and how far they move.
struct Kept {
    Ms from = 0;
    Ms to = 0;  ///< exclusive
    Ms shift = 0;
};

Kept KeptBy(const qv::FrameRow& row) {
    const bool isHold = row.srcPos == row.srcPosEnd;
    const bool isOneMs = row.pos + 1 == row.posEnd;
    // Through a piece that was cut out the row runs to the first picture of what comes next; that alone is kept.
    if (isOneMs && !isHold) return {row.srcPosEnd - 1, row.srcPosEnd, CheckedSub(row.posEnd, row.srcPosEnd)};
    return {row.srcPos, row.srcPosEnd, CheckedSub(row.pos, row.srcPos)};
}

}  // namespace

Interactions Remapped(const Interactions& recorded, std::span<const qv::FrameRow> rows) {
    Interactions edited;
    std::size_t next = 0;
    for (const qv::FrameRow& row : rows) {
        const Kept kept = KeptBy(row);
        for (; next < recorded.times.size() && recorded.times[next] < kept.to; ++next) {
            if (recorded.times[next] < kept.from) continue;
            edited.times.push_back(CheckedAdd(recorded.times[next], kept.shift));
            edited.texts.push_back(recorded.texts.at(next));
        }
    }
    return edited;
}

bool NeedRewriteInteIndex(const EditorState& state) {
    if (state.gInteList.Count() == 0 && state.gInteList.DelCount() == 0) return false;
    const CGrid& grid = state.gGrid;
    const int lastSlide = grid.GetPrevQv(grid.Rows() + 1);
    if (state.gFrameRows.back().srcPosEnd != IntegerPrefix(grid.GetEnd(lastSlide))) return true;
    return std::any_of(state.gFrameRows.begin(), state.gFrameRows.end(),
                       [](const qv::FrameRow& row) { return row.pos != row.srcPos || row.posEnd != row.srcPosEnd; });
}

bool SaveRemappedInteIndex(EditorState& state, const std::filesystem::path& file) {
    Interactions recorded;
    state.gInteList.GetInteAry(recorded.times, recorded.texts);
    Interactions edited = Remapped(recorded, state.gFrameRows);
    if (edited.times.empty()) edited = {.times = {-1}, .texts = {""}};
    CInteList list(state.world);
    return list.LoadAry(edited.times, edited.texts, state.gSlideList.duration()) && list.Save(file);
}

}  // namespace mirrane::modSave
