// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/TakeFile.h"

#include <algorithm>

#include "sound/SoundFormat.h"

namespace qv {

namespace {

constexpr std::int64_t kFlushPackets = 500 / kPacketMs;

}  // namespace

TakeFile::TakeFile(const std::filesystem::path& target, const EncodeSettings& settings)
    : channels_(static_cast<std::size_t>(settings.channels)),
      writer_(target, {.channels = settings.channels, .bitrateKbit = settings.bitrateKbit, .appears = Appears::AtOnce}),
      encoder_(settings),
      frame_(kPacketSamples * channels_) {
    writer_.Flush();
}

void TakeFile::Put(std::span<const float> sound) {
    samples_ += static_cast<std::int64_t>(sound.size() / channels_);
    while (!sound.empty()) {
        const std::size_t count = std::min(sound.size(), frame_.size() - filled_);
        std::copy_n(sound.begin(), count, frame_.begin() + static_cast<std::ptrdiff_t>(filled_));
        sound = sound.subspan(count);
        filled_ += count;
        if (filled_ == frame_.size()) WritePacket();
    }
}

void TakeFile::PutSilence(std::int64_t frames) {
    const std::vector<float> silence(static_cast<std::size_t>(frames) * channels_);
    Put(silence);
}

void TakeFile::WritePacket() {
    std::fill(frame_.begin() + static_cast<std::ptrdiff_t>(filled_), frame_.end(), 0.0F);
    filled_ = 0;
    encoder_.Encode(frame_, packet_);
    writer_.WriteSound(packet_);
    if (++packets_ % kFlushPackets == 0) writer_.Flush();
}

void TakeFile::Finish() {
    while (packets_ < PacketsFor(samples_)) WritePacket();
    writer_.Finish(samples_, static_cast<Ms>(NearestMs(samples_)));
}

}  // namespace qv
