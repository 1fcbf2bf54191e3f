// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace qv {

/// What becomes of the time before a sound that starts later than its file.
enum class LateStart {
    Silence,  ///< stands as silence: sound 0 is the recording's zero, in step with its picture
    Drop      ///< is left out: sound 0 is the first sound there is
};

/// The first sound track of any file that the codec libraries decode, at 48 kHz, read from its beginning to its end.
/// What the codec put before the sound and after it is taken off. Where the file's times leave a hole, it is filled
/// with silence; where they overlap, what comes twice is left out. Used by one thread.
class ForeignSound {
public:
    /// @param channels 1 or 2; 0: as many as the track has, at most 2
    /// @throws MediaError when the file cannot be read, or has no sound that can be decoded
    ForeignSound(const std::filesystem::path& file, int channels, LateStart lateStart);
    ~ForeignSound();
    ForeignSound(const ForeignSound&) = delete;
    ForeignSound& operator=(const ForeignSound&) = delete;

    /// 1 or 2.
    [[nodiscard]] int Channels() const;

    /// Fills `into` with interleaved samples, full scale 1.0.
    /// @param into a multiple of Channels() long
    /// @returns floats written: less than asked for only at the end, 0 from there on
    /// @throws MediaError when the disk fails
    [[nodiscard]] std::size_t Read(std::span<float> into);

    /// Packets that the codec refused so far. They are heard as silence.
    [[nodiscard]] int Damaged() const;

    /// About how many samples per channel there will be, for progress; 0 when the file does not tell.
    [[nodiscard]] std::int64_t ExpectedSamples() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qv
