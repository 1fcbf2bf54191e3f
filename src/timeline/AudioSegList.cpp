// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/AudioSegList.h"

#include <utility>

namespace mirrane {

namespace {

bool GoesOnIn(const CAudioSeg& first, const CAudioSeg& second) {
    return first.fileIndex == second.fileIndex && first.trackIndex == second.trackIndex &&
           first.volPercent == second.volPercent && first.posEnd == second.pos && first.srcPosEnd == second.srcPos;
}

}  // namespace

bool CAudioSegList::Add(CAudioSeg seg, std::int32_t before, std::int32_t after) {
    if (before != kNowhere) {
        items.Insert(std::move(seg), before);
    } else if (after != kNowhere && after != Count()) {
        items.Insert(std::move(seg), after + 1);
    } else {
        items.Append(std::move(seg));
    }
    return true;
}

bool CAudioSegList::AddItem(const CAudioSeg& item, std::int32_t before, std::int32_t after) {
    return Add({.pos = item.pos,
                .posEnd = item.posEnd,
                .fileIndex = item.fileIndex,
                .srcPos = item.srcPos,
                .srcPosEnd = item.srcPosEnd,
                .volPercent = item.volPercent,
                .trackIndex = item.trackIndex},
               before, after);
}

bool CAudioSegList::Remove(std::int32_t index) {
    items.Remove(index);
    return true;
}

bool CAudioSegList::RemoveAll() {
    items.RemoveAll();
    return true;
}

bool CAudioSegList::Switch(std::int32_t indexA, std::int32_t indexB) {
    if (indexA > Count() || indexB > Count()) return false;
    std::swap(items.item(indexA), items.item(indexB));
    return true;
}

void CAudioSegList::Optimize() {
    OneBased<CAudioSeg> merged;
    for (CAudioSeg& seg : items) {
        if (merged.Count() > 0 && GoesOnIn(merged.item(merged.Count()), seg)) {
            merged.item(merged.Count()).posEnd = seg.posEnd;
            merged.item(merged.Count()).srcPosEnd = seg.srcPosEnd;
        } else {
            merged.Append(std::move(seg));
        }
    }
    items = std::move(merged);
}

}  // namespace mirrane
