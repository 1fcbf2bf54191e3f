// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

/// The one sound format of the engine: Opus at 48 kHz in packets of 20 ms, mono or stereo.
///
///     decoder output   |-312-|------ 960 ------|------ 960 ------| ...
///     sound sample           0                 648               1608
///
/// The first 312 samples that a decoder gives are the codec's delay and are dropped, so packet n holds the sound's
/// samples [960 n - 312, 960 n + 648). Sample position of time t ms is 48 t.
namespace qv {

inline constexpr int kSampleRate = 48000;
inline constexpr int kSamplesPerMs = 48;
inline constexpr int kPacketSamples = 960;
inline constexpr int kPacketMs = 20;
inline constexpr int kPreSkip = 312;

/// How many packets it takes to hold that many samples of sound (and the codec's delay before them).
[[nodiscard]] constexpr std::int64_t PacketsFor(std::int64_t samples) {
    return samples <= 0 ? 0 : (samples + kPreSkip + kPacketSamples - 1) / kPacketSamples;
}

/// The length of a sound to the nearest ms.
[[nodiscard]] constexpr std::int64_t NearestMs(std::int64_t samples) {
    return (samples + kSamplesPerMs / 2) / kSamplesPerMs;
}

}  // namespace qv
