// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "picture/PictureCodec.h"
#include "qvlib/IQvRecordings.h"

namespace qv {

struct RecordedPicture {
    std::string codecName;                ///< as FFmpeg names it, "vp9", "wmv2"
    std::optional<PictureCodec> carried;  ///< set: its packets can be carried over as they are
    int width = 0;                        ///< pixels
    int height = 0;                       ///< pixels
};

/// What a recording made elsewhere holds. Zero is where its picture or its sound begins, whichever comes first.
struct Recording {
    std::optional<RecordedPicture> picture;  ///< moving pictures; cover art is none
    std::optional<RecordedPicture> camera;   ///< a second picture track
    bool hasSound = false;
    int channels = 0;               ///< of the first sound track, as it is
    Ms durationMs = 0;              ///< from zero to the end of picture or sound, whichever comes last
    Ms startOffsetMs = 0;           ///< zero in the file's own times
    std::string title;              ///< as its file tells; may be empty
    std::vector<Chapter> chapters;  ///< strictly rising, all before the end
};

/// Looks into a recording. Quick, except where the file does not tell its length, or breaks off before its end: then it is
/// read through once.
/// @throws MediaError when it is missing, empty, a folder, not readable, not media, or has neither picture nor sound
[[nodiscard]] Recording ProbeRecording(const std::filesystem::path& path);

}  // namespace qv
