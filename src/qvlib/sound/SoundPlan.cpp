// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundPlan.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "sound/Division.h"
#include "sound/RowMixer.h"
#include "sound/SoundFormat.h"
#include "sound/Stretch.h"

namespace qv {
namespace {

/// How far beyond its own 960 samples a packet is heard, on either side: the codec's windows overlap by this much.
constexpr std::int64_t kOverlap = 120;

constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max() / 4;

/// Samples [from, to) of the timeline that are a source's own, nothing done to them: those of the source from
/// from - shift on.
struct Untouched {
    int fileIndex;
    std::int64_t shift;
    std::int64_t from;
    std::int64_t to;
};

/// What of a row is untouched; nothing when its packets cannot be used.
std::optional<Untouched> UntouchedOf(const AudioRow& row, const RowEnvelope& envelope,
                                     std::span<const SoundFacts> sources, int channels) {
    if (row.fileIndex < 0 || static_cast<std::size_t>(row.fileIndex) >= sources.size()) return std::nullopt;
    const SoundFacts& source = sources[static_cast<std::size_t>(row.fileIndex)];
    const std::int64_t begin = std::int64_t{row.pos} * kSamplesPerMs;
    const std::int64_t shift = begin - std::int64_t{row.srcPos} * kSamplesPerMs;
    if (source.channels != channels || envelope.gain != 1.0F || shift % kPacketSamples != 0) return std::nullopt;

    const std::int64_t from = begin + std::max(envelope.ramp, envelope.fadeIn);
    const std::int64_t end = std::int64_t{row.posEnd} * kSamplesPerMs - envelope.fadeOut;
    return Untouched{row.fileIndex, shift, from, std::min(end, source.samples + shift)};
}

/// The untouched stretches of the timeline, each as long as it goes over rows that continue one another.
std::vector<Untouched> UntouchedStretches(std::span<const AudioRow> rows, std::span<const SoundFacts> sources,
                                          int channels) {
    const std::vector<RowEnvelope> envelopes = EnvelopesOf(rows);
    std::vector<Untouched> stretches;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto next = UntouchedOf(rows[i], envelopes[i], sources, channels);
        if (!next) continue;
        Untouched* last = stretches.empty() ? nullptr : &stretches.back();
        if (last && last->to == next->from && last->fileIndex == next->fileIndex && last->shift == next->shift) {
            last->to = next->to;
        } else {
            stretches.push_back(*next);
        }
    }
    return stretches;
}

/// The packets that say nothing but what is heard in an untouched stretch.
SoundStep CopyOf(Untouched stretch, std::int64_t totalSamples) {
    // Before the first sample (a row that begins there without a fade begins its source) there is nothing to hear, and
    // behind the last one neither.
    if (stretch.from == 0) stretch.from = -kForever;
    if (stretch.to >= totalSamples) stretch.to = kForever;
    const std::int64_t first = std::max<std::int64_t>(0, CeilDiv(stretch.from + kPreSkip + kOverlap, kPacketSamples));
    const std::int64_t end =
        std::min(PacketsFor(totalSamples), FloorDiv(stretch.to + kPreSkip - kOverlap, kPacketSamples));
    return {SoundStep::Kind::Copy, first, end - first, stretch.fileIndex, first - stretch.shift / kPacketSamples};
}

}  // namespace

std::vector<SoundStep> PlanSound(std::span<const AudioRow> rows, std::span<const SoundFacts> sources,
                                 const SoundTarget& target) {
    const std::int64_t packets = PacketsFor(target.totalSamples);
    std::vector<SoundStep> plan;
    std::int64_t planned = 0;
    const auto encodeUpTo = [&](std::int64_t end) {
        if (end > planned) plan.push_back({SoundStep::Kind::Encode, planned, end - planned, -1, 0});
        planned = std::max(planned, end);
    };
    for (const Untouched& stretch : UntouchedStretches(rows, sources, target.channels)) {
        const SoundStep copy = CopyOf(stretch, target.totalSamples);
        if (copy.count <= 0 || (copy.count < kLeastCopy && copy.count < packets)) continue;
        encodeUpTo(copy.dstPacket);
        plan.push_back(copy);
        planned = copy.DstEnd();
    }
    encodeUpTo(packets);
    return plan;
}

std::string SoundPlanToText(std::span<const SoundStep> plan) {
    std::string text;
    for (const SoundStep& step : plan) {
        const std::string range = std::to_string(step.dstPacket) + ".." + std::to_string(step.DstEnd() - 1);
        if (step.kind == SoundStep::Kind::Encode) {
            text += "encode " + range + "\n";
        } else {
            text += "copy " + range + " from #" + std::to_string(step.fileIndex) + " " +
                    std::to_string(step.srcPacket) + "\n";
        }
    }
    return text;
}

}  // namespace qv
