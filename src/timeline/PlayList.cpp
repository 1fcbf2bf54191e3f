// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/PlayList.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "base/Text.h"
#include "timeline/FrameSegList.h"

namespace mirrane::modPlayList {

namespace {

constexpr std::int32_t kBaseFile = 1;  ///< in gSrcFiles: the recording itself
constexpr Ms kBridgeMs = 1;            ///< the length of the row that runs through a piece cut out

/// The rows of the picture do not join.
struct BrokenPicture : std::runtime_error {
    BrokenPicture()
        : std::runtime_error("Error occured while checking continuity of frame segments! This program will now exit!") {
    }
};

/// What the slides say, read from their texts once.
struct SlideTimes {
    std::vector<Ms> starts;  ///< of those on the timeline, rising, as slides follow one another
    Ms duration = 0;         ///< of the timeline
};

/// The play list as it grows. Text holds the finished blocks.
struct Draft {
    std::vector<qv::FrameRow> frameRows;
    std::vector<qv::AudioRow> audioRows;
    std::string text;
};

SlideTimes ReadSlideTimes(const CSlideList& slides) {
    SlideTimes times{.starts = {}, .duration = slides.duration()};
    for (std::int32_t slide = 1; slide <= slides.Count(); ++slide)
        if (slides.IsOnTimeline(slide)) times.starts.push_back(slides.GetPos(slide));
    return times;
}

CAudioSeg ToAudioSeg(const CWaveSeg& seg, const OneBased<std::filesystem::path>& files, std::int32_t trackIndex) {
    return {.pos = seg.pos,
            .posEnd = seg.posEnd,
            .fileIndex = FindSrcFile(files, seg.srcFile),
            .srcPos = seg.srcPos,
            .srcPosEnd = seg.srcPosEnd,
            .volPercent = seg.volPercent,
            .trackIndex = trackIndex};
}

/// A slide that nobody has opened yet: the recording as it is, where the slide lies now.
CAudioSeg WholeSlide(const EditorState& state, std::int32_t slide) {
    return {.pos = state.gSlideList.GetPos(slide),
            .posEnd = state.gSlideList.GetEnd(slide),
            .fileIndex = kBaseFile,
            .srcPos = IntegerPrefix(state.gGrid.GetPos(slide)),
            .srcPosEnd = IntegerPrefix(state.gGrid.GetEnd(slide)),
            .volPercent = state.gBaseVolPercent,
            .trackIndex = 0};
}

CAudioSegList ProjectTrack1(const EditorState& state) {
    CAudioSegList segs;
    const WaveSegs& items = state.gWaveTrack[0].items;
    auto next = items.begin();
    for (std::int32_t slide = 1; slide <= state.gGrid.Rows(); ++slide) {
        if (state.gSlideList.IsOnTimeline(slide) && !state.gSlideLoaded.at(static_cast<std::size_t>(slide) - 1)) {
            segs.Add(WholeSlide(state, slide));
            continue;
        }
        for (; next != items.end() && next->slideIndex == slide; ++next)
            segs.Add(ToAudioSeg(*next, state.gSrcFiles, 0));
    }
    segs.Optimize();
    return segs;
}

CAudioSegList ProjectTrack2(const EditorState& state) {
    CAudioSegList segs;
    for (const CWaveSeg& seg : state.gWaveTrack[1].items) segs.Add(ToAudioSeg(seg, state.gSrcFiles, seg.trackIndex));
    segs.Optimize();
    return segs;
}

/// Lets the picture stand still over a gap. Where a slide begins in it, the first one if there are several, the row is
/// cut.
void AddHold(CFrameSegList& frames, Ms from, Ms to, Ms srcPos, const SlideTimes& slides) {
    const auto start = std::upper_bound(slides.starts.begin(), slides.starts.end(), from);
    const bool isCut = start != slides.starts.end() && *start < to;
    frames.Add(from, isCut ? *start : to, srcPos, srcPos);
    if (isCut) frames.Add(*start, to, srcPos, srcPos);
}

/// What is seen: the picture that belongs to the sound of Track 1, and stands still where there is none.
CFrameSegList FollowTrack1(const CAudioSegList& track1, const SlideTimes& slides) {
    CFrameSegList frames;
    if (track1.items.item(1).pos > 0) frames.Add(0, track1.items.item(1).pos, 0, 0);
    for (std::int32_t i = 1; i <= track1.Count(); ++i) {
        const CAudioSeg& seg = track1.items.item(i);
        frames.Add(seg.pos, seg.posEnd, seg.srcPos, seg.srcPosEnd);
        if (i == track1.Count()) {
            if (seg.posEnd < slides.duration) frames.Add(seg.posEnd, slides.duration, seg.srcPosEnd, seg.srcPosEnd);
        } else if (const Ms next = track1.items.item(i + 1).pos; seg.posEnd < next) {
            AddHold(frames, seg.posEnd, next, seg.srcPosEnd, slides);
        }
    }
    return frames;
}

/// Puts a row of 1 ms wherever a piece of the recording was cut out: in it the source's clock runs through the piece.
///
///     (0, 49984, 0, 49984)                            (0, 49984, 0, 49984)
///     (49984, 165984, 64000, 180000)        ->        (49984, 49985, 49984, 64001)
///                                                     (49985, 165984, 64001, 180000)
CFrameSegList BridgeCuts(const CFrameSegList& frames) {
    CFrameSegList bridged;
    CFrameSeg before;  // the recording's beginning
    for (CFrameSeg seg : frames.items) {
        const bool isHead = bridged.Count() == 0;
        if (isHead ? seg.srcPos != 0 : before.srcPosEnd < seg.srcPos) {
            seg.pos = CheckedAdd(seg.pos, kBridgeMs);
            seg.srcPos = CheckedAdd(seg.srcPos, kBridgeMs);
            bridged.Add(before.posEnd, seg.pos, before.srcPosEnd, seg.srcPos);
        }
        bridged.items.Append(seg);
        before = seg;
    }
    return bridged;
}

std::vector<qv::FrameRow> ToRows(const CFrameSegList& frames, const SlideTimes& slides) {
    std::vector<qv::FrameRow> rows;
    rows.reserve(static_cast<std::size_t>(frames.Count()));
    for (const CFrameSeg& seg : frames.items) {
        const bool isSlideStart = std::binary_search(slides.starts.begin(), slides.starts.end(), seg.pos);
        rows.push_back({seg.pos, seg.posEnd, seg.srcPos, seg.srcPosEnd, isSlideStart ? 1 : 0});
    }
    return rows;
}

/// @throws BrokenPicture
void CheckContinuity(std::span<const qv::FrameRow> rows) {
    Ms posEnd = 0;
    Ms srcPosEnd = 0;
    for (const qv::FrameRow& row : rows) {
        if (row.pos != posEnd || row.srcPos != srcPosEnd) throw BrokenPicture();
        posEnd = row.posEnd;
        srcPosEnd = row.srcPosEnd;
    }
}

/// @throws std::out_of_range when there are more than kMostAudioRows
std::vector<qv::AudioRow> HeardRows(const AudioTracks& gAudioSegs, Ms duration) {
    std::vector<qv::AudioRow> rows;
    Ms time = 0;
    do {
        const AudioPlace heard = FindAudioAt(gAudioSegs, time);
        qv::AudioRow row{.pos = time, .posEnd = NextAudioEdge(gAudioSegs, duration, time, heard)};
        if (heard.track >= 0) {
            const CAudioSeg& seg = gAudioSegs.at(static_cast<std::size_t>(heard.track)).items.item(heard.index);
            row.fileIndex = seg.fileIndex - 1;
            row.srcPos = CheckedAdd(seg.srcPos, CheckedSub(time, seg.pos));
            row.srcPosEnd = CheckedAdd(row.srcPos, CheckedSub(row.posEnd, time));
            row.volPercent = seg.volPercent;
        }
        if (rows.size() == kMostAudioRows) throw std::out_of_range("Subscript out of range");
        rows.push_back(row);
        time = row.posEnd;
    } while (time < duration);
    return rows;
}

/// Adds block after block to the draft.
/// @throws what keeps it from being finished
void Finish(Draft& draft, EditorState& state, MuteAudio muteAudio) {
    state.gAudioSegs = {ProjectTrack1(state), ProjectTrack2(state)};
    const SlideTimes slides = ReadSlideTimes(state.gSlideList);

    draft.frameRows = ToRows(BridgeCuts(FollowTrack1(state.gAudioSegs[0], slides)), slides);
    CheckContinuity(draft.frameRows);
    draft.text += ToText(draft.frameRows);

    draft.audioRows = HeardRows(state.gAudioSegs, slides.duration);
    if (muteAudio == MuteAudio::Yes)
        for (qv::AudioRow& row : draft.audioRows) row.volPercent = 0;
    draft.text += ToText(draft.audioRows);
}

/// Nobody's work hangs on the file: on a full disk it is missing, and playing and saving go on.
void WriteFile(World& world, const std::filesystem::path& file, const std::string& text) {
    try {
        world.disk.WriteScratch(file, text);
    } catch (const std::exception& failure) {
        std::clog << "The play list is not written: " << ErrorText(failure) << '\n';
    }
}

/// Makes, writes and hands over, or throws.
void MakePlayList(EditorState& state, MuteAudio muteAudio, qv::IPlayer* player) {
    const std::vector<std::filesystem::path>& sources = state.gSrcFiles.values();
    Draft draft{.frameRows = {}, .audioRows = {}, .text = ToText(sources)};
    std::exception_ptr failure;
    try {
        Finish(draft, state, muteAudio);
    } catch (const std::exception&) {
        failure = std::current_exception();
    }
    WriteFile(state.world, InFolder(state.gTempWorkFolder, "PlayList.txt"), draft.text);
    if (failure) std::rethrow_exception(failure);
    if (player != nullptr) player->SetPlayList(sources, draft.audioRows, draft.frameRows);
    state.gFrameRows = std::move(draft.frameRows);
    state.gAudioRows = std::move(draft.audioRows);
}

/// The first segment of a track that begins behind a time, or the end that is told.
Ms NextStart(const CAudioSegList& segs, Ms time, Ms end) {
    const auto next =
        std::find_if(segs.items.begin(), segs.items.end(), [time](const CAudioSeg& seg) { return seg.pos > time; });
    return next == segs.items.end() ? end : std::min(end, next->pos);
}

/// A row's letter and numbers.
template <typename... Numbers>
void AddLine(std::string& text, char kind, Numbers... numbers) {
    text += kind;
    ((text += ", ", text += std::to_string(numbers)), ...);
    text += "\r\n";
}

}  // namespace

std::int32_t FindSrcFile(const OneBased<std::filesystem::path>& files, const std::filesystem::path& path) {
    std::int32_t position = 0;
    for (const auto& file : files) {
        ++position;
        if (file.native() == path.native()) return position;  // paths of one meaning are two to us
    }
    return -1;
}

AudioPlace FindAudioAt(const AudioTracks& gAudioSegs, Ms time) {
    for (std::int32_t track = 1; track >= 0; --track) {
        std::int32_t index = 0;
        for (const CAudioSeg& seg : gAudioSegs.at(static_cast<std::size_t>(track)).items) {
            ++index;
            if (seg.pos <= time && time < seg.posEnd) return {track, index};
        }
    }
    return {};
}

Ms NextAudioEdge(const AudioTracks& gAudioSegs, Ms duration, Ms time, AudioPlace heard) {
    Ms next = duration;
    if (heard.track >= 0) next = gAudioSegs.at(static_cast<std::size_t>(heard.track)).items.item(heard.index).posEnd;
    if (heard.track < 0) next = NextStart(gAudioSegs[0], time, next);
    if (heard.track < 1) next = NextStart(gAudioSegs[1], time, next);
    if (next <= time) throw std::logic_error("The sound at " + std::to_string(time) + " ms has no end");
    return next;
}

std::string ToText(std::span<const std::filesystem::path> sources) {
    std::string text;
    for (std::size_t index = 0; index < sources.size(); ++index)
        text += "S, " + std::to_string(index) + ", " +
                ReplaceAll(ReplaceAll(sources[index].string(), "\r", "%0D"), "\n", "%0A") + "\r\n";
    return text;
}

std::string ToText(std::span<const qv::FrameRow> rows) {
    std::string text;
    for (const qv::FrameRow& row : rows)
        AddLine(text, 'F', row.pos, row.posEnd, row.srcPos, row.srcPosEnd, row.isSlideStart);
    return text;
}

std::string ToText(std::span<const qv::AudioRow> rows) {
    std::string text;
    for (const qv::AudioRow& row : rows)
        AddLine(text, 'A', row.pos, row.posEnd, row.fileIndex, row.srcPos, row.srcPosEnd, row.volPercent);
    return text;
}

bool SetPlayList(EditorState& state, MuteAudio muteAudio, qv::IPlayer* player) {
    constexpr char kTitle[] = "SetPlayList";
    try {
        MakePlayList(state, muteAudio, player);
        return true;
    } catch (const BrokenPicture& failure) {
        ShowFailure(state.world, failure.what(), kTitle);
    } catch (const std::exception& failure) {
        ShowFailure(state.world,
                    "Error occured while setting play list! This program will now exit!\r\n(Err.Description: " +
                        std::string(failure.what()) + ")",
                    kTitle);
    }
    return false;
}

}  // namespace mirrane::modPlayList
