// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "sound/SoundFormat.h"

namespace qv {

/// When each frame of a line came in. Threads are late, never early: of the frames of some seconds, the one that came
/// soonest tells the time for all. Only the last seconds count, since no two clocks run alike.
class ArrivalClock {
public:
    using Clock = std::chrono::steady_clock;

    /// @param speed ms of sound in 1 ms
    explicit ArrivalClock(double speed) : nsPerFrame_(1e9 / kSampleRate / speed) {}

    /// The device's thread. @param frames that have come in by now in all
    void Add(Clock::time_point now, std::int64_t frames) noexcept;

    /// Whether enough has come in for a sound judgement. Any thread.
    [[nodiscard]] bool IsSettled() const noexcept { return arrivals_ >= kFewArrivals; }
    /// The frame that came in at that time, or will; below 0: nothing came in yet. Any thread, once it is settled.
    [[nodiscard]] std::int64_t FrameAt(Clock::time_point time) const noexcept;

private:
    static constexpr std::int64_t kWindowNs = 1'500'000'000;
    static constexpr std::int64_t kNever = INT64_MAX;
    static constexpr int kFewArrivals = 8;

    const double nsPerFrame_;
    std::int64_t windowBegan_ = kNever;
    std::int64_t last_ = kNever;  ///< when frame 0 came in, as the last window tells
    std::int64_t current_ = kNever;
    std::atomic<std::int64_t> origin_ = kNever;
    std::atomic<std::int64_t> arrivals_ = 0;
};

}  // namespace qv
