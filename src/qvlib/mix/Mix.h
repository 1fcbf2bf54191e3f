// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "jobs/JobContext.h"
#include "qvlib/Rows.h"

namespace qv {

/// A play list and where its new file goes.
struct MixRequest {
    std::filesystem::path target;
    std::vector<std::filesystem::path> sources;  ///< the first one gives picture and camera
    std::vector<AudioRow> audioRows;
    std::vector<FrameRow> frameRows;
    int bitrateKbit = 0;  ///< of sound that must be encoded; 0: what the first source tells, else 64
    std::function<void(const std::string&)> log = {};  ///< told of what is odd but no failure; any thread; may be empty
};

/// What became of the packets.
struct MixReport {
    std::int64_t pictures = 0;
    std::int64_t copiedPictures = 0;
    std::int64_t soundPackets = 0;
    std::int64_t copiedSoundPackets = 0;
};

/// Writes the file that a play list means, exact to the ms in the picture and to the sample in the sound; it is complete
/// and on disk when this returns. On failure there is no target.
/// @throws MediaError when a source cannot be read or the target not be written, std::invalid_argument for rows that
///         mean nothing, Abandoned when told to stop
MixReport SaveMix(const MixRequest& request, const JobContext& job);

/// The paths of a list joined by "?", with %3F and %25 read back.
[[nodiscard]] std::vector<std::filesystem::path> SplitFileList(const std::string& list);

}  // namespace qv
