// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>

#include "io/Files.h"
#include "picture/PictureCodec.h"
#include "qvlib/Rows.h"

namespace qv {

/// What a new file will hold. A .qva has the sound track only.
struct ContainerSpec {
    std::optional<PictureFormat> picture = std::nullopt;
    std::optional<PictureFormat> camera = std::nullopt;
    int channels = 1;      ///< of the sound, 1 or 2
    int bitrateKbit = 64;  ///< told in the facts
    Appears appears = Appears::WhenWhole;
};

enum class TrackKind { Picture, Camera, Sound };

/// Writes a media.qv or .qva: clusters, cues, facts, and a CRC-32 in every level-1 element. The file is complete and
/// flushed when Finish has returned; before that, or when the writer dies, there is none. One that appears at once can be
/// read at any time, up to the last Flush.
///
/// Packets of each track come in decoding order; across tracks, roughly in the order of their times.
class MkvWriter {
public:
    /// @throws MediaError when the file cannot be made
    MkvWriter(const std::filesystem::path& target, const ContainerSpec& spec);
    ~MkvWriter();
    MkvWriter(const MkvWriter&) = delete;
    MkvWriter& operator=(const MkvWriter&) = delete;

    /// A packet of the picture or the camera, shown at time.
    void WritePicture(TrackKind track, Ms time, bool key, std::span<const std::uint8_t> data);
    /// The next 20 ms packet of the sound.
    void WriteSound(std::span<const std::uint8_t> data);
    /// Closes the cluster and waits until it is on the disk. All sound but its last packet is in the file then.
    void Flush();

    /// Closes the file: the sound ends after samples samples (48 per ms, what the last packet holds beyond is marked to
    /// be dropped), and durationMs is told as the length.
    /// @throws MediaError when the disk is full or fails; nothing is left then
    void Finish(std::int64_t samples, Ms durationMs);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qv
