// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <string>

#include "timeline/EditorState.h"
#include "timeline/PlayList.h"

namespace mirrane {

/// What is wrong with tracks and play list; "" when they are sound. New sound may reach over what it was laid on by less
/// than a sample.
inline std::string Fault(EditorState& state) {
    for (const CWaveTrack& track : state.gWaveTrack) {
        const CWaveSeg* before = nullptr;
        for (const CWaveSeg& seg : track.items) {
            const bool isNext = before != nullptr && before->slideIndex == seg.slideIndex;
            const Ms tail = seg.trackIndex * (kSampleMs - 1);
            const Ms least =
                isNext ? std::min(before->posEnd, seg.posEnd) - tail : state.gSlideList.GetPos(seg.slideIndex);
            const bool isIn = seg.pos >= least && seg.posEnd <= state.gSlideList.GetEnd(seg.slideIndex);
            if (!isIn || seg.pos >= seg.posEnd) return "segment " + std::to_string(seg.segIndex);
            before = &seg;
        }
    }
    if (!modPlayList::SetPlayList(state, modPlayList::MuteAudio::No, nullptr)) return "no play list";
    Ms heard = 0;
    for (const qv::AudioRow& row : state.gAudioRows) heard = row.pos == heard && row.posEnd > heard ? row.posEnd : -1;
    const Ms end = state.gSlideList.duration();
    return heard >= end && state.gFrameRows.back().posEnd == end ? "" : "torn play list";
}

}  // namespace mirrane
