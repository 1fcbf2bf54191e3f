// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "mkv/Reader.h"
#include "picture/PictureCodec.h"

namespace qv {

/// One picture track of a container: its keys, its packets from a key on, its pictures from any time on.
class PictureSource {
public:
    /// @throws MediaError when the file cannot be read or has no such track of a codec that we carry
    PictureSource(const std::filesystem::path& file, bool camera);

    [[nodiscard]] const std::filesystem::path& Path() const { return reader_.Path(); }
    [[nodiscard]] const PictureFormat& Format() const { return format_; }
    /// Times of the keyframes, rising.
    [[nodiscard]] const std::vector<Ms>& Keys() const { return keys_; }
    /// The last key at or before time; the first one when there is none.
    /// @throws MediaError when the track has no key at all
    [[nodiscard]] Ms KeyAt(Ms time) const;

    /// Goes to a key of Keys(); Next then gives its packet.
    void Enter(Ms key);
    /// The next packet of the track in decoding order; its data is valid until the next call.
    [[nodiscard]] std::optional<Block> Next();

    /// True when the picture that stands at time is that of a keyframe, so that its packet alone can stand in for it.
    [[nodiscard]] bool StandsOnKey(Ms time);

    /// Decodes and hands over the picture that stands at `from` (with its own, possibly earlier time), then each one
    /// that is shown before `to`, until take says false.
    /// @throws MediaError when nothing can be decoded there
    /// @returns how many packets the decoder refused
    int Decode(Ms from, Ms to, const std::function<bool(const Picture&)>& take);

private:
    [[nodiscard]] const TrackInfo& FindTrack(bool camera) const;

    MkvReader reader_;
    BlockCursor cursor_;
    int track_ = 0;
    PictureFormat format_;
    std::vector<Cue> cues_;  ///< of this track, by time
    std::vector<Ms> keys_;
    std::optional<Ms> entering_;  ///< packets before this key are passed over
};

/// How many packets a picture can be coded before one that is shown earlier, in any codec that we carry.
inline constexpr std::size_t kReorderDepth = 32;

}  // namespace qv
