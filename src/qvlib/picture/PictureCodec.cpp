// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PictureCodec.h"

#include <array>
#include <utility>

#include "av/Bitstream.h"

namespace qv {

namespace {

constexpr std::array<std::pair<PictureCodec, const char*>, 4> kCodecIds{{
    {PictureCodec::Vp8, "V_VP8"},
    {PictureCodec::Vp9, "V_VP9"},
    {PictureCodec::Av1, "V_AV1"},
    {PictureCodec::H264, "V_MPEG4/ISO/AVC"},
}};

}  // namespace

std::string CodecIdOf(PictureCodec codec) {
    for (const auto& [known, id] : kCodecIds) {
        if (known == codec) return id;
    }
    return {};
}

std::optional<PictureCodec> PictureCodecOf(const std::string& codecId) {
    for (const auto& [codec, id] : kCodecIds) {
        if (codecId == id) return codec;
    }
    return std::nullopt;
}

bool StartsDecoding(const PictureFormat& format, std::span<const std::uint8_t> data) {
    switch (format.codec) {
        case PictureCodec::Vp8:
            return IsVp8Key(data);
        case PictureCodec::Vp9:
            return IsVp9Key(data);
        case PictureCodec::Av1:
            return IsAv1Key(data);
        case PictureCodec::H264:
            return IsH264Key(data, NalLengthSize(format.codecPrivate));
    }
    return false;
}

}  // namespace qv
