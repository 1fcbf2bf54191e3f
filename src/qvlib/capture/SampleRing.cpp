// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/SampleRing.h"

#include <algorithm>

namespace qv {

SampleRing::SampleRing(std::size_t frames, int channels)
    : slots_(frames * static_cast<std::size_t>(channels)), channels_(static_cast<std::size_t>(channels)) {}

void SampleRing::Push(std::span<const float> sound) noexcept {
    const std::size_t silence = std::min(owed_, Room());
    Put(silence, nullptr);
    owed_ -= silence;
    if (owed_ == 0 && sound.size() <= Room()) {
        Put(sound.size(), sound.data());
    } else {
        owed_ += sound.size();
        lost_ += static_cast<std::int64_t>(sound.size() / channels_);
    }
}

/// @param from nullptr for silence
void SampleRing::Put(std::size_t floats, const float* from) noexcept {
    const std::size_t written = written_;
    for (std::size_t i = 0; i < floats; ++i) slots_[(written + i) % slots_.size()] = from == nullptr ? 0.0F : from[i];
    written_.store(written + floats, std::memory_order_release);
}

std::size_t SampleRing::Room() const noexcept { return slots_.size() - (written_ - pulled_); }

std::span<float> SampleRing::Pull(std::span<float> out) noexcept {
    const std::size_t pulled = pulled_;
    const std::size_t count = std::min(out.size(), written_.load(std::memory_order_acquire) - pulled);
    for (std::size_t i = 0; i < count; ++i) out[i] = slots_[(pulled + i) % slots_.size()];
    pulled_.store(pulled + count, std::memory_order_release);
    return out.first(count);
}

void SampleRing::Skip(std::int64_t frames) noexcept {
    pulled_ += static_cast<std::size_t>(std::clamp<std::int64_t>(frames, 0, Held())) * channels_;
}

std::int64_t SampleRing::Held() const noexcept { return static_cast<std::int64_t>((written_ - pulled_) / channels_); }

std::int64_t SampleRing::Position() const noexcept { return static_cast<std::int64_t>(pulled_ / channels_); }

}  // namespace qv
