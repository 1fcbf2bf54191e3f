// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/WaveEdit.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/Trapped.h"
#include "editing/Layout.h"
#include "editing/SlideTimeline.h"
#include "timeline/PlayList.h"

namespace mirrane::modWaveEdit {

namespace {

using PCM = std::vector<std::int16_t>;

void Step(const EditContext& ctx, std::string label) { ctx.world().gStepLabel = std::move(label); }

void StepLoad(const EditContext& ctx, const char* what, std::int32_t segIndex) {
    Step(ctx, what + ("(" + std::to_string(segIndex) + ")"));
}

CWaveTrack& TrackAt(const EditContext& ctx, std::int32_t trackIndex) {
    return ctx.state.gWaveTrack.at(static_cast<std::size_t>(trackIndex));
}

bool Refuse(const EditContext& ctx, const char* key, const char* defaultText) {
    ShowMessage(ctx.world(), GetResString(ctx.world(), "frmMixEditor", key, defaultText));
    return false;
}

/// What the user can do nothing about.
bool Fail(const EditContext& ctx, const char* why) {
    ShowFailure(ctx.world(), why);
    return false;
}

void AddToHistory(EditContext& ctx, Log log, Action action, const CWaveSeg& seg, ActionDetail detail = {}) {
    Step(ctx, "Add action to History");
    if (log == Log::Yes) ctx.state.gHistory.ActionAdd(action, seg, detail);
}

void RemoveFrom(CWaveTrack& track, std::int32_t segIndex) { track.Remove(track.getItemIndex(segIndex)); }

/// Adds a segment whose view is loaded, and shows it.
CWaveSeg& AddShown(EditContext& ctx, WaveSegRecord record, WavePlace place) {
    CWaveTrack& track = TrackAt(ctx, record.trackIndex);
    const std::int32_t segIndex = record.segIndex;
    // The number of a removed last segment stays the track's highest. A replay has to go on from where the command did.
    if (track.Count() == 0) track.maxSegIndex = segIndex;
    track.Add(std::move(record), place);
    CWaveSeg& seg = track.items.byKey(segIndex);
    seg.Visible(true);
    return seg;
}

PCM SampledOf(EditContext& ctx, const NewSeg& seg) {
    PCM samples(modSlideTimeline::SampleCount(seg.duration));
    const int fileKind = modPlayList::FindSrcFile(ctx.state.gSrcFiles, seg.srcFile) == 1 ? 1 : 0;
    // Without them the segment is drawn flat; the user was told.
    (void)ctx.sampler->GetWaveSamples(seg.srcFile, samples, seg.srcPos, CheckedAdd(seg.srcPos, seg.duration), fileKind);
    return samples;
}

/// Where a segment is to be cut.
struct Cut {
    int x = 0;  ///< pixels behind the segment's Left
    Ms time = 0;
};

Cut CutOf(const EditContext& ctx, const CWaveSeg& seg, Ms splitPos) {
    if (splitPos == kAtLine) return {ctx.form.picLine - seg.Left(), FloorToGrid(ctx.transport->Position())};
    const int x = modLayout::TimeToPixel(ctx, CheckedSub(splitPos, modLayout::SlideStart(ctx))) - 1 - seg.Left();
    return {x, FloorToGrid(splitPos)};
}

/// How many samples lie ahead of a time. They are spread evenly over the segment, a bit less or more than 64 ms apart.
std::size_t SamplesAhead(const CWaveSeg& seg, Ms time) {
    const std::size_t count = seg.samples.PCM.size();
    const double duration = CheckedSub(seg.posEnd, seg.pos);
    for (std::size_t i = 0; i < count; ++i)
        if (seg.pos + duration * static_cast<double>(i) / static_cast<double>(count) >= time) return i;
    return count;
}

/// Even numbers up to twice the slides are kept for the first segments of Track 1.
std::int32_t LeftIndexOf(const EditContext& ctx, std::int32_t trackIndex) {
    const std::int32_t rows = ctx.state.gGrid.Rows();
    const std::int32_t max = TrackAt(ctx, trackIndex).maxSegIndex;
    return max > CheckedMul(2, rows) || trackIndex != 0 ? CheckedAdd(max, 2) : (rows + 1) * 2;
}

struct Halves {
    WaveSegRecord left;
    WaveSegRecord right;
};

Halves HalvesOf(EditContext& ctx, const CWaveSeg& seg, Ms time) {
    Step(ctx, "Get split index of samples");
    const PCM& all = seg.samples.PCM;
    const auto middle = all.begin() + static_cast<std::ptrdiff_t>(SamplesAhead(seg, time));
    Step(ctx, "ReDim samples");
    PCM left;
    PCM right;
    left.reserve(static_cast<std::size_t>(middle - all.begin()));
    right.reserve(static_cast<std::size_t>(all.end() - middle));
    Step(ctx, "Get samples from collection to array");
    left.assign(all.begin(), middle);
    right.assign(middle, all.end());
    Step(ctx, "Add split samples to collections");
    const WaveSegRecord& whole = seg;
    Halves halves{whole, whole};
    halves.left.samples.PCM = std::move(left);
    halves.right.samples.PCM = std::move(right);
    halves.left.posEnd = halves.right.pos = time;
    halves.left.srcPosEnd = halves.right.srcPos = CheckedAdd(seg.srcPos, CheckedSub(time, seg.pos));
    return halves;
}

/// Loads the parts' views, puts the parts beside the whole, and takes the whole away. The parts share pixel x.
bool ReplaceByHalves(EditContext& ctx, const CWaveSeg& seg, const Cut& cut) {
    CWaveTrack& track = TrackAt(ctx, seg.trackIndex);
    Halves halves = HalvesOf(ctx, seg, cut.time);
    // A cut by time may fall into the segment's first or last pixel, or a little outside.
    const int x = std::clamp(cut.x, 0, std::max(seg.Width() - 1, 0));
    const WavePlace left{seg.Left(), x + 1};
    const WavePlace right{seg.Left() + x, seg.Width() - x};
    Step(ctx, "Load split waveSeg");
    halves.left.segIndex = LeftIndexOf(ctx, seg.trackIndex);
    StepLoad(ctx, "Load left waveSeg", halves.left.segIndex);
    if (!modSlideTimeline::LoadWaveSeg(ctx, halves.left.segIndex)) return false;
    AddShown(ctx, std::move(halves.left), left);
    halves.right.segIndex = CheckedAdd(track.maxSegIndex, 2);
    StepLoad(ctx, "Load right waveSeg", halves.right.segIndex);
    if (!modSlideTimeline::LoadWaveSeg(ctx, halves.right.segIndex)) return false;
    AddShown(ctx, std::move(halves.right), right);
    Step(ctx, "Remove waveSeg");
    RemoveFrom(track, seg.segIndex);
    return true;
}

/// The two segments of the shown slide that meet at a time.
struct Meeting {
    const CWaveSeg* left = nullptr;   ///< when there is no pair, any one that ends there
    const CWaveSeg* right = nullptr;  ///< goes on where the left one ends, at the same volume
};

bool GoesOn(const CWaveSeg& left, const CWaveSeg& right) {
    return right.slideIndex == left.slideIndex && right.pos == left.posEnd &&
           right.srcFile.native() == left.srcFile.native() && right.srcPos == left.srcPosEnd &&
           right.volPercent == left.volPercent;
}

/// Several may meet there, where sound was laid over other sound of the same file. The pieces of the newest cut, which is
/// undone first, have the highest numbers.
Meeting MeetingAt(EditContext& ctx, const CWaveTrack& track, Ms time) {
    Step(ctx, "Set left waveSeg");
    Meeting meeting;
    for (const CWaveSeg& left : track.items) {
        if (left.slideIndex != ctx.curSlide() || left.posEnd != time) continue;
        if (meeting.left == nullptr) meeting.left = &left;
        Step(ctx, "Set right waveSeg");
        for (const CWaveSeg& right : track.items)
            if (GoesOn(left, right) && (meeting.right == nullptr || right.segIndex > meeting.right->segIndex))
                meeting = {&left, &right};
    }
    return meeting;
}

WaveSegRecord MergedOf(EditContext& ctx, const CWaveSeg& left, const CWaveSeg& right) {
    Step(ctx, "Merge samples");
    const WaveSegRecord& begin = left;
    WaveSegRecord merged = begin;
    PCM& samples = merged.samples.PCM;
    samples.insert(samples.end(), right.samples.PCM.begin(), right.samples.PCM.end());
    merged.posEnd = right.posEnd;
    merged.srcPosEnd = right.srcPosEnd;
    return merged;
}

}  // namespace

bool RemoveWaveSeg(EditContext& ctx, std::int32_t segIndex, Log log) {
    return Trapped(ctx.world(), "RemoveWaveSeg", [&] {
        CWaveTrack& track = TrackOf(ctx, segIndex);
        const CWaveSeg& seg = track.items.byKey(segIndex);
        AddToHistory(ctx, log, Action::Remove, seg);
        StepLoad(ctx, "Remove waveSeg", segIndex);
        const Ms posEnd = seg.posEnd;
        RemoveFrom(track, segIndex);
        Step(ctx, "Update track range");
        if (posEnd == ctx.state.gSlideList.GetEnd(ctx.curSlide())) modLayout::SyncSlideEnd(ctx);
        ctx.transport->SetToolbar();
        return true;
    });
}

bool InsertWaveSeg(EditContext& ctx, const NewSeg& seg, Log log) {
    return Trapped(ctx.world(), "InsertWaveSeg", [&] {
        StepLoad(ctx, "LoadWaveSeg", seg.segIndex);
        if (!modSlideTimeline::LoadWaveSeg(ctx, seg.segIndex)) return false;
        Step(ctx, "Set position and width");
        WaveSegRecord record{.segIndex = seg.segIndex, .slideIndex = ctx.curSlide(), .trackIndex = seg.trackIndex};
        record.pos = seg.pos;
        record.posEnd = CheckedAdd(seg.pos, seg.duration);
        const WavePlace place = modLayout::PlaceOf(ctx, record.pos, record.posEnd);
        Step(ctx, "Get wave samples");
        record.samples.PCM = SampledOf(ctx, seg);
        record.srcFile = seg.srcFile;
        record.srcPos = seg.srcPos;
        record.srcPosEnd = CheckedAdd(seg.srcPos, seg.duration);
        record.volPercent = seg.volPercent;
        Step(ctx, "Add waveSeg to WaveTrack");
        const CWaveSeg& added = AddShown(ctx, std::move(record), place);
        Step(ctx, "Add srcFile to Collection");
        if (modPlayList::FindSrcFile(ctx.state.gSrcFiles, seg.srcFile) < 1) ctx.state.gSrcFiles.Append(seg.srcFile);
        Step(ctx, "Update track range");
        if (added.posEnd > ctx.state.gSlideList.GetEnd(ctx.curSlide())) modLayout::SyncSlideEnd(ctx, seg.segIndex);
        AddToHistory(ctx, log, Action::Insert, added);
        return true;
    });
}

bool SplitWaveSeg(EditContext& ctx, std::int32_t segIndex, Ms splitPos, Log log) {
    return Trapped(ctx.world(), "SplitWaveSeg", [&] {
        if (ctx.state.gIsBusy()) return false;
        if (ctx.transport->IsPlaying()) ctx.transport->ExecStop(StopAt::Here);
        Step(ctx, "Get Split Pos");
        const CWaveSeg& seg = SegOf(ctx, segIndex);
        const Cut cut = CutOf(ctx, seg, splitPos);
        // Only the user aims at pixels; a time from the history is good at any zoom.
        if (splitPos == kAtLine && (cut.x < 1 || cut.x >= seg.Width() - 1))
            return Refuse(ctx, "msgSplitLine", "Split line is out of range!");
        if (cut.time <= seg.pos || cut.time >= seg.posEnd)
            return Refuse(ctx, "msgSplitPos", "Split position is out of range!");
        if (log == Log::Yes) ctx.state.gHistory.ActionAdd(Action::Split, seg, {.split = cut.time});
        Step(ctx, "Set CSamples");
        return ReplaceByHalves(ctx, seg, cut);
    });
}

bool MergeWaveSeg(EditContext& ctx, std::int32_t newSegIndex, Ms splitPos, std::int32_t trackIndex) {
    const BusyCursor busy(ctx.world());
    return Trapped(ctx.world(), "MergeWaveSeg", [&] {
        CWaveTrack& track = TrackAt(ctx, trackIndex);
        const auto [left, right] = MeetingAt(ctx, track, splitPos);
        if (left == nullptr) return Fail(ctx, "Failed to find left waveSeg!");
        if (right == nullptr) return Fail(ctx, "Failed to find right waveSeg!");
        WaveSegRecord merged = MergedOf(ctx, *left, *right);
        merged.segIndex = newSegIndex;
        StepLoad(ctx, "LoadWaveSeg", newSegIndex);
        if (!modSlideTimeline::LoadWaveSeg(ctx, newSegIndex)) return false;
        Step(ctx, "Add waveSeg to WaveTrack");
        const WavePlace place = modLayout::PlaceOf(ctx, merged.pos, merged.posEnd);
        AddShown(ctx, std::move(merged), place);
        Step(ctx, "Remove original waveSeg");
        RemoveFrom(track, left->segIndex);
        RemoveFrom(track, right->segIndex);
        return true;
    });
}

bool MoveWaveSeg(EditContext& ctx, std::int32_t segIndex, Ms posDif, Moved moved, Log log) {
    return Trapped(ctx.world(), "MoveWaveSeg", [&] {
        CWaveSeg& seg = SegOf(ctx, segIndex);
        AddToHistory(ctx, log, Action::Move, seg, {.posDif = posDif});
        ctx.transport->SetToolbar();
        if (moved == Moved::NotYet) {
            Step(ctx, "Modify position of waveSeg");
            seg.move(CheckedAdd(seg.pos, posDif));
            seg.Place({modLayout::PlaceOf(ctx, seg.pos, seg.posEnd).Left, seg.Width()});
        }
        Step(ctx, "Update Slide Length");
        modLayout::SyncSlideEnd(ctx);
        return true;
    });
}

bool VolAdjust(EditContext& ctx, std::int32_t segIndex, std::int32_t volDif, Log log) {
    const BusyCursor busy(ctx.world());
    return Trapped(ctx.world(), "VolAdjust", [&] {
        Step(ctx, "Check volume");
        CWaveSeg& seg = SegOf(ctx, segIndex);
        const std::int32_t volume = CheckedAdd(seg.volPercent, volDif);
        if (volume < 0) return true;
        Step(ctx, "Modify volume");
        seg.volPercent = volume;
        seg.Refresh();
        AddToHistory(ctx, log, Action::VolAdjust, seg, {.volDif = volDif});
        ctx.transport->SetToolbar();
        return true;
    });
}

CWaveSeg& SegOf(EditContext& ctx, std::int32_t segIndex) { return TrackOf(ctx, segIndex).items.byKey(segIndex); }

CWaveTrack& TrackOf(EditContext& ctx, std::int32_t segIndex) {
    for (CWaveTrack& track : ctx.state.gWaveTrack)
        if (track.items.Find(segIndex) != nullptr) return track;
    throw std::out_of_range("There is no segment " + std::to_string(segIndex));
}

}  // namespace mirrane::modWaveEdit
