// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "picture/PictureCodec.h"

namespace qv {

enum class PictureTrack { Picture, Camera };

/// A picture track of a recording made elsewhere, read from its beginning to its end. The first picture stands at 0,
/// the others at their distance from the recording's zero (the start of its picture or sound, whichever comes first),
/// rounded to ms and then pulled apart where two fell together.
///
/// A track of a carried codec comes as packets, fit for a container of ours: samples as Format() tells, keys marked
/// only where decoding can start with Format().codecPrivate and that packet alone. Where the file hides the first
/// pictures of a group (a cut made by an edit list), that group is encoded anew. Any other track comes as pictures in
/// 8 bit 4:2:0, all of one size, to be encoded. Used by one thread; its memory does not grow with the length.
class ForeignPicture {
public:
    /// @throws MediaError when the file cannot be read, has no such track, or it cannot be decoded
    explicit ForeignPicture(const std::filesystem::path& file, PictureTrack track = PictureTrack::Picture);
    ~ForeignPicture();
    ForeignPicture(const ForeignPicture&) = delete;
    ForeignPicture& operator=(const ForeignPicture&) = delete;

    /// true: use ReadPacket; false: use ReadPicture
    [[nodiscard]] bool Carried() const;
    /// Of the packets; where the track is not carried, of the VP9 track that its pictures are to become.
    [[nodiscard]] const PictureFormat& Format() const;

    /// The next packet in decoding order; nothing at the end.
    [[nodiscard]] std::optional<PicturePacket> ReadPacket();
    /// The next picture in showing order; nothing at the end.
    [[nodiscard]] std::optional<Picture> ReadPicture();

    /// Packets that were damaged or refused so far.
    [[nodiscard]] int Damaged() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace qv
