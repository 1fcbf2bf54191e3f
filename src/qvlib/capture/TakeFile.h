// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "mkv/Writer.h"
#include "sound/Opus.h"

namespace qv {

/// A .qva that grows while it is recorded: twice a second all that came in so far is brought to the disk.
class TakeFile {
public:
    /// @throws MediaError when the file cannot be made
    TakeFile(const std::filesystem::path& target, const EncodeSettings& settings);

    /// @param sound whole frames
    /// @throws MediaError when the disk is full or fails; what was brought to it stays
    void Put(std::span<const float> sound);
    void PutSilence(std::int64_t frames);
    /// Makes the file whole. There must be sound in it.
    /// @throws MediaError like Put
    void Finish();

    [[nodiscard]] std::int64_t Samples() const { return samples_; }

private:
    void WritePacket();

    const std::size_t channels_;
    MkvWriter writer_;
    OpusEncoderHandle encoder_;
    std::vector<float> frame_;  ///< the packet to come
    std::size_t filled_ = 0;    ///< floats of it
    OpusPacket packet_;
    std::int64_t packets_ = 0;
    std::int64_t samples_ = 0;
};

}  // namespace qv
