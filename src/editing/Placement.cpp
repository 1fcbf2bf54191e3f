// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Placement.h"

#include <algorithm>

#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Layout.h"
#include "editing/WaveEdit.h"

namespace mirrane::modPlacement {

namespace {

constexpr std::int32_t kTrack2 = 1;
constexpr std::int32_t kFirstSegIndex = 1;
constexpr std::int32_t kSegIndexStep = 2;  ///< keeps the numbers of the two tracks apart

/// The ruler takes nothing as long as this lives.
class RulerOff {
public:
    explicit RulerOff(MainForm& form) : form_(form) { Enable(false); }
    ~RulerOff() { Enable(true); }
    RulerOff(const RulerOff&) = delete;
    RulerOff& operator=(const RulerOff&) = delete;

private:
    void Enable(bool on) {
        form_.Enable(Control::imgRulerPad, on);
        form_.Changed();
    }

    MainForm& form_;
};

CWaveTrack& Track2(const EditContext& ctx) { return ctx.state.gWaveTrack[kTrack2]; }

/// The segment of the shown slide at a position; nullptr: the slide has none there.
const CWaveSeg* ShownAt(const EditContext& ctx, std::int32_t position) {
    const WaveSegs& items = Track2(ctx).items;
    if (position > items.Count() || items.item(position).slideIndex > ctx.curSlide()) return nullptr;
    return &items.item(position);
}

/// Moves a segment and those behind it to the right, each only as far as it is in the way:
///
///         |limit                                      |limit
///     [= 1 =][= 2 =]   [= 3 =]          ->            [= 1 =][= 2 =][= 3 =]
void PushRight(EditContext& ctx, std::int32_t position, Ms limit) {
    for (const CWaveSeg* cur = ShownAt(ctx, position); cur != nullptr && cur->pos < limit;) {
        modWaveEdit::MoveWaveSeg(ctx, cur->segIndex, CheckedSub(limit, cur->pos), modWaveEdit::Moved::NotYet,
                                 modWaveEdit::Log::Yes);
        limit = cur->posEnd;
        cur = ShownAt(ctx, ++position);
    }
    modLayout::SyncSlideEnd(ctx);
}

/// @returns where the new sound may begin
Ms PushTrack2Aside(EditContext& ctx, Ms pos, Ms duration, std::int32_t segIndex) {
    const std::int32_t position = Track2(ctx).getItemIndex(segIndex);
    const CWaveSeg& first = Track2(ctx).items.item(position);
    if (pos <= first.pos) {
        PushRight(ctx, position, CheckedAdd(pos, duration));
        return pos;
    }
    const Ms behind = first.posEnd;
    PushRight(ctx, position + 1, CheckedAdd(behind, duration));
    return behind;
}

/// Cuts what reaches over a time, down to the grid. What begins behind the cut stays whole: it keeps its head under the
/// end of the new sound, which is heard first.
void CutTrack2(EditContext& ctx, Ms time) {
    const auto isCut = [time](const CWaveSeg& seg) { return seg.pos < FloorToGrid(time) && time < seg.posEnd; };
    for (const std::int32_t segIndex : modCommands::ShownSegs(ctx, Track2(ctx), isCut))
        modWaveEdit::SplitWaveSeg(ctx, segIndex, time, modWaveEdit::Log::Yes);
}

/// Clears [pos, end).
void OverwriteTrack2Range(EditContext& ctx, Ms pos, Ms end) {
    CutTrack2(ctx, pos);
    CutTrack2(ctx, end);
    const auto isInside = [pos, end](const CWaveSeg& seg) { return pos < seg.posEnd && seg.posEnd <= end; };
    modCommands::RemoveSegList(ctx, modCommands::ShownSegs(ctx, Track2(ctx), isInside));
}

std::int32_t NewSegIndex(const EditContext& ctx) {
    const std::int32_t max = Track2(ctx).maxSegIndex;
    return max == 0 ? kFirstSegIndex : CheckedAdd(max, kSegIndexStep);
}

}  // namespace

Ms PlacementPos(const EditContext& ctx) {
    return std::max(FloorToGrid(ctx.transport->Position()), modLayout::SlideStart(ctx));
}

Ms ImportQvaFile(EditContext& ctx, const std::filesystem::path& file, Ms pos, Ms duration, Existing existing) {
    TrappedVoid(ctx.world(), "ImportQvaFile", [&] {
        const RulerOff rulerOff(ctx.form);
        const HistoryGroup group(ctx.state.gHistory);
        if (const auto inTheWay = FindTrack2Overlap(ctx, pos, CheckedAdd(pos, duration))) {
            if (existing == Existing::Push)
                pos = PushTrack2Aside(ctx, pos, duration, *inTheWay);
            else
                OverwriteTrack2Range(ctx, pos, CheckedAdd(pos, duration));
        }
        const modWaveEdit::NewSeg seg{
            .trackIndex = kTrack2, .segIndex = NewSegIndex(ctx), .srcFile = file, .pos = pos, .duration = duration};
        modWaveEdit::InsertWaveSeg(ctx, seg, modWaveEdit::Log::Yes);
    });
    ctx.transport->SetToolbar();
    return pos;
}

std::optional<std::int32_t> FindTrack2Overlap(const EditContext& ctx, Ms pos, Ms end) {
    const auto isHit = [pos, end](const CWaveSeg& seg) {
        return (pos <= seg.pos && seg.pos < end) || (seg.pos < pos && pos < seg.posEnd);
    };
    const std::vector<std::int32_t> hits = modCommands::ShownSegs(ctx, Track2(ctx), isHit);
    return hits.empty() ? std::nullopt : std::optional(hits.front());
}

}  // namespace mirrane::modPlacement
