// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/PcmReader.h"

#include <algorithm>
#include <utility>

#include "MediaError.h"
#include "sound/SoundFormat.h"

namespace qv {

PcmReader::PcmReader(std::unique_ptr<OpusPackets> packets, std::filesystem::path name, int channels, OnDamage onDamage)
    : packets_(std::move(packets)),
      name_(std::move(name)),
      channels_(channels),
      onDamage_(onDamage),
      decoder_(channels),
      pcm_(static_cast<std::size_t>(kPacketSamples) * static_cast<std::size_t>(channels)) {}

void PcmReader::Read(std::int64_t from, std::span<float> out) {
    const auto channels = static_cast<std::size_t>(channels_);
    while (!out.empty()) {
        const auto wanted = static_cast<std::int64_t>(out.size() / channels);
        std::int64_t count = wanted;
        if (from < 0 || from >= Samples()) {
            if (from < 0) count = std::min(wanted, -from);
            std::ranges::fill(out.first(static_cast<std::size_t>(count) * channels), 0.0F);
        } else {
            GoTo((from + kPreSkip) / kPacketSamples);
            HeedFault();
            const std::int64_t offset = (from + kPreSkip) % kPacketSamples;
            count = std::min({wanted, kPacketSamples - offset, Samples() - from});
            std::copy_n(pcm_.data() + static_cast<std::size_t>(offset) * channels,
                        static_cast<std::size_t>(count) * channels, out.data());
        }
        from += count;
        out = out.subspan(static_cast<std::size_t>(count) * channels);
    }
}

void PcmReader::Restart() { next_.reset(); }

void PcmReader::GoTo(std::int64_t packet) {
    if (!next_ || packet < *next_ - 1 || packet > *next_ + kPreRollPackets) {
        decoder_.Reset();
        next_ = std::max<std::int64_t>(0, packet - kPreRollPackets);
    }
    while (*next_ <= packet) DecodeNext();
}

/// A fault is only noted here: in a packet that is decoded in vain, it does not matter.
void PcmReader::DecodeNext() {
    fault_.clear();
    counted_ = false;
    try {
        if (!packets_->Read(*next_, packet_)) {
            fault_ = "is missing";
        } else if (!decoder_.Decode(packet_, pcm_)) {
            fault_ = "is damaged";
        }
    } catch (const MediaError& error) {
        fault_ = std::string("cannot be read (") + error.what() + ")";
    }
    if (!fault_.empty()) std::ranges::fill(pcm_, 0.0F);
    ++*next_;
}

void PcmReader::HeedFault() {
    if (fault_.empty()) return;
    if (onDamage_ == OnDamage::Throw) {
        throw MediaError(name_, "the sound at " + std::to_string((*next_ - 1) * kPacketMs) + " ms " + fault_);
    }
    if (!counted_) ++damaged_;
    counted_ = true;
}

}  // namespace qv
