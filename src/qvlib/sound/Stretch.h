// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

#include "sound/Opus.h"

/// Encoding a sound in stretches, each by an encoder of its own, so that neither the ear nor a measurement finds where
/// they join. Two things make that possible. An encoder that has heard the sound for a while before its first packet
/// that counts makes nearly the same packets as one that heard it from the beginning. And where its packets stand beside
/// copied ones, the place of the change is chosen by listening: both sides say the same there, and the decoder's
/// memory of the one side suits the other better in some places than in others.
///
///     copied    |====|====|====|====|    |    |    |    |    |====|====|        = heard
///     encoded   | -  | -  | -  | -  |####|####|####|####|####| -  | -  |        # heard, - made in vain
///                                        touched
namespace qv {

/// Fills interleaved samples of the sound that is wanted, from sample `from` on.
using WantedSound = std::function<void(std::int64_t from, std::span<float> out)>;

/// The packet that would be copied to place n of the result.
using CopiedPacket = std::function<OpusPacket(std::int64_t n)>;

/// Packets that an encoder makes in vain before the first that counts, and that a decoder hears before it is listened to.
/// With 5 a joint shows in numbers, with 10 its noise is the codec's own (0.1 dB above it on average); the codec's speech
/// modes remember longer.
inline constexpr std::int64_t kPrimingPackets = 20;

/// Packets of a stretch when a long sound is cut up: 15 s, so that priming costs little.
inline constexpr std::int64_t kStretchPackets = 750;

/// Encodes the wanted sound packet by packet, from packet `from` on.
class PacketEncoder {
public:
    PacketEncoder(const EncodeSettings& settings, WantedSound wanted, std::int64_t from);

    /// The next packet; `model` as in OpusEncoderHandle::Encode.
    OpusPacket Next(const OpusPacket* model = nullptr);

    /// The samples that went in with the packet that Next gave last.
    [[nodiscard]] std::span<const float> Frame() const { return frame_; }

private:
    OpusEncoderHandle encoder_;
    WantedSound wanted_;
    std::int64_t next_;
    std::vector<float> frame_;
};

/// Packets [first, first + count) of a result. What stands beside them is encoded by others, or copied.
struct Stretch {
    std::int64_t first = 0;
    std::int64_t count = 0;
    bool afterCopy = false;   ///< packets that can be copied end at first, at least kLeastCopy of them
    bool beforeCopy = false;  ///< packets that can be copied begin at first + count, at least kLeastCopy of them

    [[nodiscard]] std::int64_t End() const { return first + count; }
};

/// Copied packets that the joints at both of their ends need.
inline constexpr std::int64_t kLeastCopy = 50;

/// How many packets before a stretch that follows copied ones its encoded packets may begin.
inline constexpr std::int64_t kJointBefore = 6;

/// What a stretch is made of.
struct StretchInputs {
    EncodeSettings settings;
    WantedSound wanted;
    CopiedPacket copied;  ///< for the places beside the stretch that can be copied
};

/// A stretch's packets, with those that its joints took from the copied packets beside it.
struct EncodedStretch {
    std::int64_t first = 0;
    std::vector<OpusPacket> packets;
    bool joinsCopy = true;  ///< false: no place was found where the copied packets behind it follow cleanly

    [[nodiscard]] std::int64_t End() const { return first + static_cast<std::int64_t>(packets.size()); }
};

/// @throws Abandoned when told to stop, and what the inputs throw
[[nodiscard]] EncodedStretch EncodeStretch(const StretchInputs& inputs, const Stretch& stretch, std::stop_token stop);

}  // namespace qv
