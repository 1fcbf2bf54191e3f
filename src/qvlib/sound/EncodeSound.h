// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "jobs/JobContext.h"
#include "sound/Opus.h"

namespace qv {

/// Sound that comes from somewhere, front to back, at 48 kHz and with the channels that are asked for.
class PcmSource {
public:
    virtual ~PcmSource() = default;

    /// Fills interleaved with the next samples, as many as it takes.
    /// @returns how many floats were filled (whole samples of all channels); fewer than asked only at the end
    virtual std::size_t Read(std::span<float> interleaved) = 0;
};

/// Takes the packets of a sound in order.
using PacketSink = std::function<void(std::span<const std::uint8_t>)>;

/// Encodes a source to its end, on all cores; source and sink are called on the calling thread. Memory does not grow
/// with the length, and what comes out does not depend on the number of threads. Tells no progress (the source knows).
/// @returns the samples of sound; the sink has got PacketsFor(samples) packets
/// @throws Abandoned when job says so, and whatever source or sink throw
std::int64_t EncodeSound(PcmSource& source, const EncodeSettings& settings, const PacketSink& sink,
                         const JobContext& job);

}  // namespace qv
