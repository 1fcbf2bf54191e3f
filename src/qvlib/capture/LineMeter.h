// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "qvlib/Rows.h"

namespace qv {

/// What was heard, from samples of -1 to 1 to the numbers that a user is told.
[[nodiscard]] int ToPeak(float sample) noexcept;         ///< 0 to kFullScale
[[nodiscard]] bool IsOverloaded(float sample) noexcept;  ///< at full scale

/// Nothing below that can be a voice: -60 dBFS.
inline constexpr float kInaudible = 0.001F;

/// Measures a line while its sound comes in. Add on the device's thread, all else on any.
class LineMeter {
public:
    explicit LineMeter(int channels) : channels_(channels) {}

    /// @param sound whole frames
    void Add(std::span<const float> sound) noexcept;
    /// What is quiet is counted from here on.
    void BeginTake() noexcept { takeFrom_ = frames_.load(); }
    void Reset() noexcept { isResetWanted_ = true; }

    /// 0 to 100, from -60 dBFS to 0 dBFS.
    [[nodiscard]] int Volume() const noexcept;
    /// 0 to kFullScale, of the last tenth of a second.
    [[nodiscard]] int Peak() const noexcept;
    [[nodiscard]] int HighestPeak() const noexcept { return isResetWanted_ ? 0 : highest_.load(); }
    [[nodiscard]] std::int64_t Overloaded() const noexcept { return isResetWanted_ ? 0 : overloaded_.load(); }
    /// For how long there was nothing but zeros.
    [[nodiscard]] Ms DigitalSilence() const noexcept { return Since(lastSound_); }
    /// For how long nothing was heard over the noise, at most since BeginTake.
    [[nodiscard]] Ms Quiet() const noexcept;

private:
    void AddSample(float sample) noexcept;
    void EndWindow() noexcept;
    [[nodiscard]] Ms Since(std::int64_t frame) const noexcept;

    const int channels_;
    std::atomic<bool> isResetWanted_ = false;
    std::atomic<std::int64_t> frames_ = 0;
    std::atomic<std::int64_t> takeFrom_ = 0;
    std::atomic<std::int64_t> lastSound_ = 0;  ///< behind the last frame that is not zero
    std::atomic<std::int64_t> lastHeard_ = 0;  ///< behind the last window that is louder than the noise
    std::atomic<int> highest_ = 0;
    std::atomic<std::int64_t> overloaded_ = 0;
    std::atomic<int> windowPeak_ = 0;      ///< of the window that is being filled
    std::atomic<int> lastWindowPeak_ = 0;  ///< of the one before
    int windowFrames_ = 0;
    double windowPower_ = 0;
    double noiseDb_ = 0;  ///< what the quietest of the last windows had
};

}  // namespace qv
