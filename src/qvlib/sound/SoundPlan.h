// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qvlib/Rows.h"

/// Which packets of a saved sound are its sources' own, and which are made anew.
namespace qv {

/// What the plan needs to know of a source.
struct SoundFacts {
    int channels = 0;  ///< 0: not to be copied from
    std::int64_t samples = 0;
};

/// A run of packets of the result.
///
///     Copy      result packets dstPacket, dstPacket + 1, ... are packets srcPacket, srcPacket + 1, ... of source fileIndex
///     Encode    they are made from the mixed sound
struct SoundStep {
    enum class Kind { Copy, Encode };
    Kind kind = Kind::Encode;
    std::int64_t dstPacket = 0;
    std::int64_t count = 0;
    int fileIndex = -1;          ///< Copy only
    std::int64_t srcPacket = 0;  ///< Copy only

    [[nodiscard]] std::int64_t DstEnd() const { return dstPacket + count; }

    friend bool operator==(const SoundStep&, const SoundStep&) = default;
};

/// What the result is: channels, and samples of sound.
struct SoundTarget {
    int channels = 1;
    std::int64_t totalSamples = 0;
};

/// The steps that make the sound of the rows, tiling the result's packets from 0. A packet is copied where all that it
/// says is heard unchanged, with the source's clock a multiple of 20 ms away from the timeline's; runs under a second
/// are not worth their joints.
/// @param rows    tiling the timeline from 0; a fileIndex without facts is silence
/// @param sources facts of each source by fileIndex
[[nodiscard]] std::vector<SoundStep> PlanSound(std::span<const AudioRow> rows, std::span<const SoundFacts> sources,
                                               const SoundTarget& target);

/// One line a step: "copy 0..149 from #0 25", "encode 150..199".
[[nodiscard]] std::string SoundPlanToText(std::span<const SoundStep> plan);

}  // namespace qv
