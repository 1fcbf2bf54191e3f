// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "jobs/JobContext.h"
#include "qvlib/Rows.h"
#include "sound/OpusPackets.h"
#include "sound/SoundFormat.h"

/// The loudest sample of each short stretch of a sound, as a waveform shows it.
namespace qv {

/// Peaks are taken over quanta of 8 ms, from the sound's beginning on.
inline constexpr int kQuantumMs = 8;
inline constexpr std::int64_t kQuantumSamples = std::int64_t{kQuantumMs} * kSamplesPerMs;

/// What is asked for: [startMs, endMs) of a file's sound in `count` equal parts.
struct PeakRequest {
    std::filesystem::path file;
    Ms startMs = 0;
    Ms endMs = 0;
    int count = 0;
    std::filesystem::path cacheFolder;                        ///< empty: nothing is kept
    int threads = 0;                                          ///< how many decode at a time; 0: one for each core
    std::function<std::unique_ptr<OpusPackets>()> open = {};  ///< empty: OpenSound(file); called on any thread
};

/// One value for each part: the largest |sample| of all channels (0 to 32767, 32768 being full scale) in the quanta that
/// the part touches. Behind the sound's end, and where the sound is damaged, it is 0. What was decoded is kept in the
/// cache folder, and what is kept is not decoded again; kept and fresh values are the same. A cache that is damaged, or
/// cannot be written, costs time only.
/// @throws MediaError when the file has no sound that can be opened, Abandoned when job says so
[[nodiscard]] std::vector<std::int16_t> SamplePeaks(const PeakRequest& request, const JobContext& job);

}  // namespace qv
