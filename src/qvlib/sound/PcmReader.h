// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sound/Opus.h"
#include "sound/OpusPackets.h"

namespace qv {

/// What a packet that is missing or that the codec refuses does to its reader.
enum class OnDamage {
    Throw,    ///< MediaError: what is saved must not be silence where a lecture was
    Silence,  ///< 20 ms of silence, counted: what is shown or listened to goes on
};

/// The decoded sound of one track, at any place: sample s of the sound is what the decoder gives as its sample
/// s + kPreSkip. Reading on from where the last Read ended is cheap. A jump decodes kPreRollPackets in vain, so that the
/// decoder sounds as if it had come all the way.
///
/// Used by one thread.
class PcmReader {
public:
    /// Packets decoded before the asked place after a jump. The codec's music mode needs 10 to come within 50 dB of what
    /// a decoder gives that was never moved, its speech modes 20 to come within 45 dB.
    static constexpr std::int64_t kPreRollPackets = 20;

    /// @param name     the file, for the words of an error
    /// @param channels of what is read, 1 or 2, whatever the track has
    PcmReader(std::unique_ptr<OpusPackets> packets, std::filesystem::path name, int channels, OnDamage onDamage);

    [[nodiscard]] int Channels() const { return channels_; }
    /// Samples of sound in the track.
    [[nodiscard]] std::int64_t Samples() const { return packets_->Samples(); }
    /// Packets that were replaced by silence so far.
    [[nodiscard]] std::int64_t DamagedPackets() const { return damaged_; }

    /// Fills out (interleaved) with the samples from `from` on; silence before 0 and behind the end.
    /// @throws MediaError on damage when the reader is to throw
    void Read(std::int64_t from, std::span<float> out);

    /// Makes the next Read a jump, wherever it begins: what it gives is then the same whatever was read before.
    void Restart();

private:
    void GoTo(std::int64_t packet);
    void DecodeNext();
    void HeedFault();

    std::unique_ptr<OpusPackets> packets_;
    std::filesystem::path name_;
    int channels_;
    OnDamage onDamage_;
    OpusDecoderHandle decoder_;
    OpusPacket packet_;
    std::optional<std::int64_t> next_;  ///< the packet that the decoder expects; nothing: the next Read is a jump
    std::vector<float> pcm_;            ///< of packet next_ - 1
    std::string fault_;                 ///< of packet next_ - 1: why it is silence; empty when it is sound
    bool counted_ = false;              ///< that fault, in damaged_
    std::int64_t damaged_ = 0;
};

}  // namespace qv
