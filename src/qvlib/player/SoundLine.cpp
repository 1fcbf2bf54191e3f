// SPDX-License-Identifier: GPL-3.0-or-later
#include "player/SoundLine.h"

#include <algorithm>

#include "sound/SoundFormat.h"

namespace qv {

namespace {
constexpr std::int64_t kMostChannels = 2;
}

SoundLine::SoundLine() : ring_(static_cast<std::size_t>(kRoom * kMostChannels)) {}

void SoundLine::Begin(Ms from, Ms end, int channels) {
    channels_ = channels;
    from_ = from;
    frames_ = std::max<std::int64_t>(0, (std::int64_t{end} - from) * kSamplesPerMs);
    put_ = 0;
    given_ = 0;
    gaps_ = 0;
    heard_ = 0;
}

std::int64_t SoundLine::Room() const { return kRoom - (put_ - given_.load(std::memory_order_acquire)); }

void SoundLine::Put(std::span<const float> interleaved) {
    const std::int64_t put = put_.load(std::memory_order_relaxed);
    const auto at = static_cast<std::size_t>(put % kRoom * channels_);
    const auto size = static_cast<std::size_t>(kRoom * channels_);
    const std::size_t first = std::min(interleaved.size(), size - at);
    std::copy_n(interleaved.begin(), first, ring_.begin() + static_cast<std::ptrdiff_t>(at));
    std::copy(interleaved.begin() + static_cast<std::ptrdiff_t>(first), interleaved.end(), ring_.begin());
    put_.store(put + static_cast<std::int64_t>(interleaved.size()) / channels_, std::memory_order_release);
}

std::size_t SoundLine::Fill(std::span<float> out) noexcept {
    const std::int64_t given = given_.load(std::memory_order_relaxed);
    const std::int64_t asked = static_cast<std::int64_t>(out.size()) / channels_;
    const std::int64_t there = std::min(asked, put_.load(std::memory_order_acquire) - given);
    const auto at = static_cast<std::size_t>(given % kRoom * channels_);
    const auto values = static_cast<std::size_t>(there * channels_);
    const std::size_t first = std::min(values, static_cast<std::size_t>(kRoom * channels_) - at);
    std::copy_n(ring_.begin() + static_cast<std::ptrdiff_t>(at), first, out.begin());
    std::copy_n(ring_.begin(), values - first, out.begin() + static_cast<std::ptrdiff_t>(first));
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(values), out.end(), 0.0F);
    if (given + there < frames_) gaps_ += asked - there;
    given_.store(given + there, std::memory_order_release);
    return static_cast<std::size_t>(there);
}

std::int64_t SoundLine::Heard(std::int64_t played) {
    const std::int64_t heard = std::clamp<std::int64_t>(played - gaps_, 0, given_);
    std::int64_t told = heard_;
    while (told < heard && !heard_.compare_exchange_weak(told, heard)) {
    }
    return std::max(told, heard);
}

Ms SoundLine::HeardMs(std::int64_t played) { return from_ + static_cast<Ms>(Heard(played) / kSamplesPerMs); }

bool SoundLine::IsOver(std::int64_t played) { return Heard(played) >= frames_; }

}  // namespace qv
