// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "qvlib/Rows.h"

namespace qv {

/// Pixels.
struct PictureDim {
    int width = 0;
    int height = 0;

    friend bool operator==(const PictureDim&, const PictureDim&) = default;
};

/// What is asked of a media.qv: its facts, whether it is sound, and small pictures of it. Nothing here throws; a file
/// that is missing, empty, foreign or damaged is answered by the failure value, and the reason goes to the log.
/// Used by one thread.
class IQvLib {
public:
    virtual ~IQvLib() = default;

    /// Length in ms; of a file made elsewhere, what its container tells. 0: none or unreadable.
    [[nodiscard]] virtual Ms GetLength(const std::filesystem::path& file) = 0;
    /// Size of the picture of the slides. 0 x 0: none or unreadable.
    [[nodiscard]] virtual PictureDim GetFileHeaderDim(const std::filesystem::path& file) = 0;
    /// 1792 for every file of this engine, 0 for any other.
    [[nodiscard]] virtual int GetFileFormatVersion(const std::filesystem::path& file) = 0;
    /// kbit/s; 0: not told.
    [[nodiscard]] virtual int GetAudioBitrate(const std::filesystem::path& file) = 0;
    /// True when there is a camera beside the picture of the slides.
    [[nodiscard]] virtual bool qvVideoExists(const std::filesystem::path& file) = 0;
    /// 0 or 1.
    [[nodiscard]] virtual int GetFreeTag(const std::filesystem::path& file) = 0;
    /// Makes the free tag 1, in place and in one write; nothing else of the file changes, and it may be playing.
    virtual void SetFreeTag(const std::filesystem::path& file) = 0;

    /// Whether head, facts, index, length and the last cluster are sound. A handful of reads at any size.
    [[nodiscard]] virtual bool verifyQvFile(const std::filesystem::path& file) = 0;
    /// Whether every byte is what was written. Reads the whole file.
    [[nodiscard]] virtual bool verifyWholeQvFile(const std::filesystem::path& file) = 0;

    /// Writes the times of the picture's keyframes to keyFile: ms in decimal, one a line, rising, each once. An
    /// unreadable media file gives an empty key file.
    virtual void ListIndex(const std::filesystem::path& keyFile, const std::filesystem::path& media) = 0;

    /// Starts making a JPEG of at most 160 x 120 for each position (decimal ms, one a line) in listFile:
    /// "<folder of media>/thumbnails/<position>.jpg". Returns at once.
    virtual void ThumbCreate(const std::filesystem::path& media, const std::filesystem::path& listFile) = 0;
    /// The position that the thumbnails have reached, in ms; -1 when the job is over, done or failed.
    [[nodiscard]] virtual Ms ThumbTime() = 0;
    /// Writes a JPEG of at most 160 x 120 from a BMP file. On failure there is no JPEG.
    virtual void BmpResizeImage(const std::filesystem::path& bmp, const std::filesystem::path& jpg) = 0;
};

}  // namespace qv
