// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <string>

#include "picture/PictureCodec.h"
#include "qvlib/Rows.h"

namespace qv {

/// The picture that a new file gets: a track of a container, as the frame rows show it.
struct PictureMix {
    std::filesystem::path file;
    bool camera = false;                          ///< the second picture track instead of the first
    std::span<const FrameRow> rows;               ///< checked; they outlive the stream
    std::function<void(const std::string&)> log;  ///< told of damage, on any thread; may be empty
};

/// The packets of such a picture in decoding order, with times on the timeline: copied where nobody touched them,
/// encoded from a cut or a new slide start to the source's next key. A thread of its own reads and encodes ahead, by a
/// bounded number of packets.
class PictureStream {
public:
    /// @throws MediaError when the file has no such track
    PictureStream(const PictureMix& mix, std::stop_token stop);
    /// Ends the work that is under way.
    ~PictureStream();
    PictureStream(const PictureStream&) = delete;
    PictureStream& operator=(const PictureStream&) = delete;

    [[nodiscard]] const PictureFormat& Format() const;

    /// Gives the next packet.
    /// @returns false behind the last one
    /// @throws MediaError when the source cannot be read, Abandoned when told to stop
    bool Next(PicturePacket& packet);

    /// Packets given so far that are the source's own, and all.
    struct Counts {
        std::int64_t copied = 0;
        std::int64_t all = 0;
    };
    [[nodiscard]] Counts Given() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qv
