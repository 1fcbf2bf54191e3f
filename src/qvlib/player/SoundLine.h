// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "qvlib/Rows.h"

namespace qv {

/// The sound on its way from the thread that reads it ahead to the device's thread, without a lock, and how far it was
/// heard. Counts in sample frames at 48 kHz.
class SoundLine {
public:
    /// Read ahead at most: one second.
    static constexpr std::int64_t kRoom = 48000;

    SoundLine();

    /// Empties it, for the sound of [from, end) ms. Only while nobody fills.
    void Begin(Ms from, Ms end, int channels);

    /// By the one who reads: how many frames can be put.
    [[nodiscard]] std::int64_t Room() const;
    void Put(std::span<const float> interleaved);

    /// By the device. @returns how many frames of it are the sound's; the rest is silence
    std::size_t Fill(std::span<float> out) noexcept;

    /// The ms that is heard when the device has played so many frames. What had to be filled with silence, since nothing
    /// was ready, does not count. Never falls. Any thread.
    [[nodiscard]] Ms HeardMs(std::int64_t played);
    /// Whether nothing is left. Any thread.
    [[nodiscard]] bool IsOver(std::int64_t played);

private:
    [[nodiscard]] std::int64_t Heard(std::int64_t played);

    std::vector<float> ring_;
    int channels_ = 1;
    std::atomic<Ms> from_ = 0;
    std::atomic<std::int64_t> frames_ = 0;  ///< to come in all
    std::atomic<std::int64_t> put_ = 0;
    std::atomic<std::int64_t> given_ = 0;
    std::atomic<std::int64_t> gaps_ = 0;   ///< frames of silence for want of sound
    std::atomic<std::int64_t> heard_ = 0;  ///< the most that was told
};

}  // namespace qv
