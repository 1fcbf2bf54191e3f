// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "picture/PictureCodec.h"
#include "picture/PictureSource.h"

namespace qv {

/// A picture and how long it stands in its source.
struct StandingPicture {
    Picture picture;  ///< empty: nothing can be decoded there
    Ms until = 0;     ///< the source time at which the next one stands
};

/// The pictures of a media file at any time, for somebody in a hurry: the file stays open, decoding goes on forward where
/// the time lies ahead in the same group, and what was decoded of late is kept. Damage is passed over: what stood before
/// it goes on standing. Used by one thread.
class PictureTrack {
public:
    /// What is kept of decoded pictures at most, in bytes: some fifty of them at 1280 x 720.
    static constexpr std::size_t kMostKept = std::size_t{72} << 20;

    /// @throws MediaError when the file cannot be read or has no such picture of a codec that we carry
    PictureTrack(const std::filesystem::path& file, bool camera, std::function<void(const std::string&)> log);

    [[nodiscard]] const PictureFormat& Format() const { return source_.Format(); }

    /// The picture that stands at a time, not negative.
    /// @param isCancelled asked before each packet
    /// @returns nothing when it was cancelled
    [[nodiscard]] std::optional<StandingPicture> At(Ms time, const std::function<bool()>& isCancelled);

private:
    struct Kept {
        Picture picture;
        Ms until = 0;
        std::uint64_t used = 0;
    };

    [[nodiscard]] const Kept* Find(Ms time);
    void Keep(const Picture& picture, Ms until);
    [[nodiscard]] bool LiesAhead(Ms time) const;
    void Restart(Ms key);
    [[nodiscard]] bool DecodeUpTo(Ms time, const std::function<bool()>& isCancelled);
    [[nodiscard]] bool MayBringOne(Ms time) const;
    [[nodiscard]] Ms NextAfter(Ms time) const;
    [[nodiscard]] Ms NextKeyAfter(Ms time) const;
    void ReadAhead();
    void SendNext();
    void Receive();

    PictureSource source_;
    std::function<void(const std::string&)> log_;
    PictureDecoder decoder_;
    bool reorders_;
    std::deque<PicturePacket> ahead_;  ///< read, not yet sent
    std::vector<Ms> inside_;           ///< times that were sent and may still come out
    std::optional<Ms> entry_;          ///< the key where decoding began
    bool exhausted_ = false;           ///< no more packets can be read
    bool ended_ = false;               ///< the decoder was told so
    Picture last_;                     ///< that came out since the last Restart
    std::map<Ms, Kept> kept_;          ///< by the time from which each stands
    std::size_t keptBytes_ = 0;
    std::uint64_t uses_ = 0;
};

}  // namespace qv
