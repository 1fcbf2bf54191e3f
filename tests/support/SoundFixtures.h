// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "sound/Opus.h"
#include "sound/OpusPackets.h"
#include "sound/RowMixer.h"
#include "support/Basics.h"

/// Sounds for tests, and sources that lie in memory.
namespace support {

/// Interleaved samples at 48 kHz.
using Pcm = std::vector<float>;

/// A spoken text in a room that is not quite silent, one channel; the same each time. At most 60 s.
Pcm Speech(int seconds);

/// Silence with a short burst of noise about every 90 ms, no two alike: it fits itself at one shift only. One channel.
Pcm Bursts(int seconds, unsigned seed);

/// Two channels of one: the second one quieter and a little late.
Pcm InStereo(const Pcm& mono);

/// A sound as packets. An empty packet is a hole.
struct MemorySound {
    int channels = 1;
    std::int64_t samples = 0;
    std::vector<qv::OpusPacket> packets;
};
using SharedSound = std::shared_ptr<MemorySound>;

std::unique_ptr<qv::OpusPackets> Open(const SharedSound& sound);

/// Encoded by one encoder from its first sample to its last.
SharedSound Encode(const Pcm& pcm, const qv::EncodeSettings& settings);

/// Decoded by one decoder from the first packet to the last, the codec's delay left out.
Pcm Decode(const std::vector<qv::OpusPacket>& packets, int channels, std::int64_t samples);

/// A mix of sources in memory, as long as its rows, with the first source's channels.
qv::SoundMix MixOf(std::vector<qv::AudioRow> rows, const std::vector<SharedSound>& sources);

/// All that a mix is to sound like.
Pcm Mixed(const qv::SoundMix& mix);

/// The power of the difference over each 20 ms packet of a sound, from packet 0 on.
std::vector<double> ErrorOfPackets(const Pcm& is, const Pcm& wanted, int channels);

}  // namespace support
