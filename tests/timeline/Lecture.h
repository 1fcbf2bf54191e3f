// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include "doubles/World.h"
#include "timeline/EditorState.h"

/// Timelines in a line of text.
namespace mirrane {

/// An editor on a project of the sources /p/media.qv and /p/a.qva, with no slide opened yet.
struct Lecture {
    /// @param slides "0-64000 - ? 64000-128000": from and to in the recording; "-" a web page, "?" never recorded
    explicit Lecture(const std::string& slides) {
        std::istringstream words(slides);
        for (std::string word; words >> word;) {
            const auto dash = word.find('-');
            const bool isRecorded = word.size() > 1;
            state.gGrid.Append("title", isRecorded ? word.substr(0, dash) : "-1", "date", word == "-" ? "a.html" : "",
                               isRecorded ? word.substr(dash + 1) : "0");
            state.gSlideLoaded.push_back(false);
        }
        for (const char* file : {"/p/media.qv", "/p/a.qva"}) state.gSrcFiles.Append(file);
        BuildSlideList(state.gSlideList, state.gGrid);
    }

    doubles::World world;
    EditorState state{world.world};
};

/// Adds segments, their views loaded; Track 1 has their slides open.
///
///     1#8:0-49984<0            slide 1, segment 8, from 0 to 49984, from 0 on in media.qv
///     1#3:0-5000<64*75@2       from 64 on in source 2 at 75 percent; source 0 is a file that nobody knows
///     2#                       slide 2 is open, without a segment
inline void Put(EditorState& state, int track, const std::string& segs) {
    std::istringstream words(segs);
    for (std::string word; words >> word;) {
        WaveSegRecord seg{.trackIndex = track};
        int source = 1;
        const int read = std::sscanf(word.c_str(), "%d#%d:%d-%d<%d*%d@%d", &seg.slideIndex, &seg.segIndex, &seg.pos,
                                     &seg.posEnd, &seg.srcPos, &seg.volPercent, &source);
        if (track == 0) state.gSlideLoaded.at(static_cast<std::size_t>(seg.slideIndex) - 1) = true;
        if (read == 1) continue;
        seg.srcPosEnd = seg.srcPos + (seg.posEnd - seg.pos);
        seg.srcFile = source == 0 ? "/p/gone.qva" : state.gSrcFiles.item(source);
        state.waveViews.Load(seg.segIndex);
        state.gWaveTrack.at(static_cast<std::size_t>(track)).Add(seg);
    }
}

/// What Put takes, without volume and source.
inline std::string ToText(const CWaveTrack& track) {
    std::ostringstream text;
    for (const CWaveSeg& seg : track.items)
        text << (text.tellp() > 0 ? " " : "") << seg.slideIndex << '#' << seg.segIndex << ':' << seg.pos << '-'
             << seg.posEnd << '<' << seg.srcPos;
    return text.str();
}

/// Gives slides other ends, in order: "1:49984 3:190000".
inline void SetEnds(CSlideList& slides, const std::string& ends) {
    std::istringstream words(ends);
    int slide = 0;
    char colon = ':';
    for (Ms end = 0; words >> slide >> colon >> end;) slides.SetPosEnd(slide, end);
}

}  // namespace mirrane
