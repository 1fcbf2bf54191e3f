// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "av/Av.h"
#include "qvlib/Rows.h"

namespace qv {

/// A recording or sound file made elsewhere, open for reading from its beginning.
class ForeignFile {
public:
    /// @throws MediaError no such file, a folder, empty, not readable, not a media file
    explicit ForeignFile(std::filesystem::path path);

    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    [[nodiscard]] AVFormatContext& Input() const { return *input_; }

    /// The first moving picture (cover art is none); nullptr when there is none.
    [[nodiscard]] AVStream* PictureStream() const { return picture_; }
    /// The second moving picture.
    [[nodiscard]] AVStream* CameraStream() const { return camera_; }
    [[nodiscard]] AVStream* SoundStream() const { return sound_; }

    /// From now on Next gives the packets of this stream only.
    void ReadOnly(const AVStream& stream);
    /// The next packet of the streams that are read.
    /// @returns false at the end; damage inside the file is passed over where the demuxer can
    [[nodiscard]] bool Next(AVPacket& packet);
    /// Goes to the last key at or before that time of the stream (its own time base). @returns false: cannot seek
    bool SeekKey(const AVStream& stream, std::int64_t pts);

    /// The recording's zero in microseconds of the file's own time: where its picture or its sound begins, whichever
    /// comes first.
    [[nodiscard]] std::int64_t ZeroUs() const { return zeroUs_; }
    /// A time of the file, from the recording's zero, in microseconds.
    [[nodiscard]] std::int64_t UsFromZero(std::int64_t pts, AVRational timeBase) const;
    /// The same, rounded to whole ms.
    [[nodiscard]] std::int64_t MsFromZero(std::int64_t pts, AVRational timeBase) const;

private:
    void PickStreams();

    std::filesystem::path path_;
    av::Input input_;
    AVStream* picture_ = nullptr;
    AVStream* camera_ = nullptr;
    AVStream* sound_ = nullptr;
    std::int64_t zeroUs_ = 0;
    bool tellsManyEnds_ = false;  ///< one for each sample behind the place where the file is cut off, and others follow
};

/// Samples that the codec's overlap puts before the sound and that neither container nor decoder reckon with; mostly 0.
[[nodiscard]] int UntoldPriming(const AVCodecParameters& sound);

/// A decoder for the stream, open.
/// @param threads 0: the library chooses
/// @throws MediaError when no decoder is there
[[nodiscard]] av::Codec OpenStreamDecoder(const ForeignFile& file, const AVStream& stream, int threads);

/// Microseconds to the nearest ms.
[[nodiscard]] constexpr std::int64_t RoundToMs(std::int64_t us) { return (us >= 0 ? us + 500 : us - 499) / 1000; }

}  // namespace qv
