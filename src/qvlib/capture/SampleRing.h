// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qv {

/// Hands interleaved samples from the device's thread to the writer's, in order, without a lock. What does not fit is
/// lost, and the same length of silence stands in its place: what comes behind it keeps its time.
class SampleRing {
public:
    SampleRing(std::size_t frames, int channels);

    /// The device's thread. @param sound whole frames
    void Push(std::span<const float> sound) noexcept;

    /// The writer's thread. Fills out with the next samples that are there.
    /// @param out room for whole frames
    /// @returns the part that was filled
    [[nodiscard]] std::span<float> Pull(std::span<float> out) noexcept;
    /// The writer's thread: passes over the oldest frames.
    void Skip(std::int64_t frames) noexcept;
    /// The writer's thread: how many frames can be pulled.
    [[nodiscard]] std::int64_t Held() const noexcept;
    /// The writer's thread: number of the frame that comes next, 0 for the first that was ever pushed.
    [[nodiscard]] std::int64_t Position() const noexcept;

    /// Frames that were replaced by silence so far. Any thread.
    [[nodiscard]] std::int64_t Lost() const noexcept { return lost_; }

private:
    void Put(std::size_t floats, const float* from) noexcept;
    [[nodiscard]] std::size_t Room() const noexcept;

    std::vector<float> slots_;
    const std::size_t channels_;
    std::atomic<std::size_t> written_ = 0;  ///< floats ever, like pulled_
    std::atomic<std::size_t> pulled_ = 0;
    std::size_t owed_ = 0;  ///< floats of silence that found no room yet
    std::atomic<std::int64_t> lost_ = 0;
};

}  // namespace qv
