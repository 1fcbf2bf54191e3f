// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditDump.h"

#include <algorithm>

namespace tool {

namespace {

using mirrane::Control;
using mirrane::IntegerPrefix;

constexpr int kTrue16 = -1;

Json SlidesOf(const mirrane::EditorState& state) {
    Json slides = Json::array();
    for (std::int32_t row = 1; row <= state.gSlideList.Count(); ++row) {
        const mirrane::CIndexItem recorded = state.gGrid.item(row);
        const auto index = static_cast<std::size_t>(row) - 1;
        slides.push_back({{"title", recorded.title},
                          {"pos", state.gSlideList.GetPos(row)},
                          {"posEnd", state.gSlideList.GetEnd(row)},
                          {"len", state.gSlideList.GetLen(row)},
                          {"url", state.gSlideList.GetUrl(row)},
                          {"recPos", IntegerPrefix(recorded.pos)},
                          {"recEnd", IntegerPrefix(recorded.posEnd)},
                          {"loaded", bool(state.gSlideLoaded.at(index))},
                          {"zoom", state.gSlideZoom.at(index)}});
    }
    return slides;
}

Json SegOf(const mirrane::CWaveSeg& seg) {
    const auto& samples = seg.samples.PCM;
    const auto peak = std::max_element(samples.begin(), samples.end());
    return {{"segIndex", seg.segIndex},
            {"slideIndex", seg.slideIndex},
            {"pos", seg.pos},
            {"posEnd", seg.posEnd},
            {"srcFile", seg.srcFile.string()},
            {"srcPos", seg.srcPos},
            {"srcPosEnd", seg.srcPosEnd},
            {"volPercent", seg.volPercent},
            {"selected", seg.selected()},
            {"visible", seg.Visible()},
            {"left", seg.Left()},
            {"width", seg.Width()},
            {"samples", samples.size()},
            {"peak", peak == samples.end() ? 0 : *peak}};
}

void DumpTracks(const mirrane::EditorState& state, Json& result) {
    Json tracks = Json::array();
    Json selected = Json::array();
    Json maxSegIndex = Json::array();
    for (const mirrane::CWaveTrack& track : state.gWaveTrack) {
        Json segs = Json::array();
        for (const mirrane::CWaveSeg& seg : track.items) segs.push_back(SegOf(seg));
        tracks.push_back(std::move(segs));
        selected.push_back(track.trackSelected ? kTrue16 : 0);
        maxSegIndex.push_back(track.maxSegIndex);
    }
    result["tracks"] = std::move(tracks);
    result["trackSelected"] = std::move(selected);
    result["maxSegIndex"] = std::move(maxSegIndex);
    result["srcFiles"] = Json::array();
    for (const auto& file : state.gSrcFiles) result["srcFiles"].push_back(file.string());
}

void DumpForm(const mirrane::MainForm& form, Json& result) {
    const mirrane::ScrollBar& bar = form.hScrWave;
    result["scroll"] = {{"value", bar.Value}, {"max", bar.Max}, {"enabled", bar.Enabled}};
    result["cursor"] = form.picLine;
    result["buttons"] = Json::object();
    for (std::size_t i = 0; i < mirrane::kControls; ++i) {
        const auto control = static_cast<Control>(i);
        result["buttons"][NameOf(control)] = form.IsEnabled(control);
    }
    for (const Control control : {Control::cmdZoomIn, Control::cmdZoomOut})
        result["zoomButtons"][NameOf(control)] = form.IsEnabled(control);
    result["posInfo"] = form.lPlayInfo;
}

}  // namespace

void Dump(EditSession& session, Json& result) {
    const mirrane::EditorState& state = session.State();
    const mirrane::CHistory& history = state.gHistory;
    result["slides"] = SlidesOf(state);
    result["curSlide"] = session.Edit().curSlide();
    result["duration"] = state.gSlideList.duration();
    result["position"] = session.Player().Position();
    result["playState"] = static_cast<int>(session.Player().State());
    DumpTracks(state, result);
    result["history"] = {{"curIndex", history.curIndex()},
                         {"lastIndex", history.lastIndex()},
                         {"lastGroupId", history.lastGroupId()},
                         {"canUndo", history.CanUndo()},
                         {"canRedo", history.CanRedo()}};
    DumpForm(session.Form().form, result);
}

}  // namespace tool
