// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/ArrivalClock.h"

#include <algorithm>
#include <cmath>

namespace qv {

namespace {

std::int64_t ToNs(ArrivalClock::Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

}  // namespace

void ArrivalClock::Add(Clock::time_point now, std::int64_t frames) noexcept {
    const std::int64_t ns = ToNs(now);
    if (windowBegan_ == kNever) windowBegan_ = ns;
    if (ns - windowBegan_ > kWindowNs) {
        windowBegan_ = ns;
        last_ = current_;
        current_ = kNever;
    }
    current_ = std::min(current_, ns - std::lround(static_cast<double>(frames) * nsPerFrame_));
    origin_ = std::min(last_, current_);
    ++arrivals_;
}

std::int64_t ArrivalClock::FrameAt(Clock::time_point time) const noexcept {
    return std::lround(static_cast<double>(ToNs(time) - origin_) / nsPerFrame_);
}

}  // namespace qv
