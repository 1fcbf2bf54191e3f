// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

/// The codec, behind two values: an encoder and a decoder that can be copied with all they remember.
namespace qv {

using OpusPacket = std::vector<std::uint8_t>;

/// The codec refuses its settings or has no memory. Never thrown for a packet that cannot be decoded.
class OpusError : public std::runtime_error {
public:
    OpusError(const char* call, int code);
};

/// How sound is encoded.
struct EncodeSettings {
    int channels = 1;      ///< 1 or 2
    int bitrateKbit = 64;  ///< kept within what the codec takes, 6 to 510
    int threads = 0;       ///< how many encode at a time; 0: one for each core

    [[nodiscard]] int ThreadCount() const;
};

/// Makes 20 ms packets. A copy goes on exactly as the original would.
class OpusEncoderHandle {
public:
    /// @throws OpusError
    explicit OpusEncoderHandle(const EncodeSettings& settings);

    /// Encodes the next 20 ms. The samples that go in with packet n are those from 960 n on (SoundFormat.h).
    /// @param frame kPacketSamples interleaved samples of each channel, -1 to 1
    /// @param model another encoder's packet that this one is to stand beside, or nullptr. The codec has three modes, and
    ///              a change between them is heard unless one encoder makes both sides of it. So the packet gets the mode
    ///              and bandwidth of its model, and no fewer bits. Without a model the codec chooses.
    void Encode(std::span<const float> frame, OpusPacket& packet, const OpusPacket* model = nullptr);

private:
    std::vector<std::max_align_t> state_;
    int bitrate_;  ///< bits a second
};

/// Decodes 20 ms packets. A copy goes on exactly as the original would.
class OpusDecoderHandle {
public:
    /// @param channels of what comes out; packets with more or fewer are mixed down or doubled
    /// @throws OpusError
    explicit OpusDecoderHandle(int channels);

    /// Forgets what was decoded so far.
    void Reset();

    /// Decodes one packet into kPacketSamples interleaved samples of each channel.
    /// @returns false when the packet is none of the codec's or does not hold exactly 20 ms; out is silence then
    [[nodiscard]] bool Decode(std::span<const std::uint8_t> packet, std::span<float> out);

private:
    std::vector<std::max_align_t> state_;
};

/// The 19 bytes that introduce the codec to a container: kPreSkip, kSampleRate, no gain.
[[nodiscard]] std::vector<std::uint8_t> MakeOpusHead(int channels);

}  // namespace qv
