// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "av/Av.h"
#include "av/Bitstream.h"
#include "picture/PictureCodec.h"

namespace qv {

/// Turns the packets of a carried codec, as containers of all kinds hold them, into the form that ours holds:
///
///     VP8, VP9   as they are
///     AV1        without temporal delimiters; a sequence header in every key
///     H.264      NAL units behind their lengths; once the stream has changed its parameter sets, every key brings those
///                it needs, so that it decodes with codecPrivate and itself alone
class PacketForm {
public:
    /// @returns nothing when the track is of another codec, or does not tell what codecPrivate has to say
    [[nodiscard]] static std::optional<PacketForm> For(const AVStream& stream);

    [[nodiscard]] const PictureFormat& Format() const { return format_; }

    /// @returns nothing when the packet is damaged beyond use
    [[nodiscard]] std::optional<Bytes> Convert(const AVPacket& packet);

private:
    PacketForm() = default;
    [[nodiscard]] std::optional<Bytes> ConvertH264(const AVPacket& packet);
    [[nodiscard]] Bytes ConvertAv1(ByteView data) const;
    void TakeNewExtradata(const AVPacket& packet);
    [[nodiscard]] Bytes MissingSets(const std::vector<ByteView>& nals) const;

    PictureFormat format_;
    bool startCodes_ = false;  ///< H.264: the file separates NAL units by start codes
    int lengthSize_ = 4;       ///< otherwise: bytes of their lengths in the file
    ParameterSets told_;       ///< those of codecPrivate
    ParameterSets current_;    ///< those in force here
    bool changed_ = false;     ///< the two have differed
};

}  // namespace qv
