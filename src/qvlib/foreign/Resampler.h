// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "av/Av.h"

namespace qv {

/// Brings sound of one rate, sample format and channel layout to 48 kHz interleaved float in 1 or 2 channels. Sample n
/// of the input stands at n * 48000 / rate of the output exactly, and the output of N samples in is round(N * 48000 /
/// rate) long.
class Resampler {
public:
    /// @param like tells rate, sample format and layout of what will come
    /// @throws MediaError when swresample does not take such sound
    Resampler(const AVFrame& like, int channels);

    [[nodiscard]] bool Takes(const AVFrame& frame) const;
    [[nodiscard]] int Rate() const { return rate_; }
    /// Samples per channel taken so far.
    [[nodiscard]] std::int64_t SamplesIn() const { return samplesIn_; }

    /// The frame from sample `skip` on; what is finished is added to `out`.
    void Put(const AVFrame& frame, int skip, std::vector<float>& out);
    /// So many samples of silence, at most a second's worth at a time.
    void PutSilence(int samples, std::vector<float>& out);
    /// The rest, after the last sample.
    void Finish(std::vector<float>& out);

private:
    void Convert(const std::uint8_t* const* data, int samples, std::vector<float>& out);
    void Add(const float* samples, std::int64_t count, std::vector<float>& out);

    av::Resampler swr_;
    AVSampleFormat format_;
    int rate_;
    int channels_;       ///< wanted
    int innerChannels_;  ///< of what swresample gives
    int sourceChannels_;
    AVChannelLayout layout_{};
    std::vector<float> inner_;
    std::int64_t samplesIn_ = 0;
    std::int64_t samplesOut_ = 0;
};

}  // namespace qv
