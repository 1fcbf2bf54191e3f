// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/PacketForm.h"

#include <algorithm>

namespace qv {

namespace {

std::optional<PictureCodec> CarriedCodec(AVCodecID id) {
    switch (id) {
        case AV_CODEC_ID_VP8:
            return PictureCodec::Vp8;
        case AV_CODEC_ID_VP9:
            return PictureCodec::Vp9;
        case AV_CODEC_ID_AV1:
            return PictureCodec::Av1;
        case AV_CODEC_ID_H264:
            return PictureCodec::H264;
        default:
            return std::nullopt;
    }
}

bool IsSet(ByteView nal) { return NalTypeOf(nal) == kNalSps || NalTypeOf(nal) == kNalPps; }

/// What only a stream with start codes needs.
bool IsFiller(ByteView nal) { return NalTypeOf(nal) == kNalDelimiter || NalTypeOf(nal) == kNalFiller; }

}  // namespace

std::optional<PacketForm> PacketForm::For(const AVStream& stream) {
    const AVCodecParameters& codec = *stream.codecpar;
    const std::optional<PictureCodec> carried = CarriedCodec(codec.codec_id);
    if (!carried) return std::nullopt;
    PacketForm form;
    form.format_ = {*carried, codec.width, codec.height, {}};
    const ByteView extradata(codec.extradata, static_cast<std::size_t>(codec.extradata_size));
    if (carried == PictureCodec::Av1) {
        if (Av1ConfigObus(extradata).empty()) return std::nullopt;
        form.format_.codecPrivate.assign(extradata.begin(), extradata.end());
    } else if (carried == PictureCodec::H264) {
        form.startCodes_ = !IsAvcC(extradata);
        form.lengthSize_ = NalLengthSize(extradata);
        form.told_ = form.current_ = ParameterSetsOf(extradata);
        if (MakeAvcC(form.told_).empty()) return std::nullopt;
        form.format_.codecPrivate = form.startCodes_ ? MakeAvcC(form.told_) : Bytes(extradata.begin(), extradata.end());
    }
    return form;
}

std::optional<Bytes> PacketForm::Convert(const AVPacket& packet) {
    if (packet.size <= 0) return std::nullopt;
    const ByteView data(packet.data, static_cast<std::size_t>(packet.size));
    if (format_.codec == PictureCodec::H264) return ConvertH264(packet);
    if (format_.codec == PictureCodec::Av1) return ConvertAv1(data);
    return Bytes(data.begin(), data.end());
}

Bytes PacketForm::ConvertAv1(ByteView data) const {
    Bytes own = WithoutTemporalDelimiters(data);
    if (HasAv1SequenceHeader(own)) return own;
    const ByteView config = Av1ConfigObus(format_.codecPrivate);
    Bytes withHeader(config.begin(), config.end());
    withHeader.insert(withHeader.end(), own.begin(), own.end());
    return IsAv1Key(withHeader) ? withHeader : own;
}

std::optional<Bytes> PacketForm::ConvertH264(const AVPacket& packet) {
    TakeNewExtradata(packet);
    const ByteView data(packet.data, static_cast<std::size_t>(packet.size));
    const auto split = startCodes_ ? SplitAnnexB(data) : SplitSample(data, lengthSize_);
    if (!split || split->empty()) return std::nullopt;

    const int ownLengthSize = NalLengthSize(format_.codecPrivate);
    Bytes own;
    for (const ByteView nal : *split) {
        if (startCodes_ && IsFiller(nal)) continue;
        if (current_.Put(nal)) changed_ = true;
        AppendNal(own, nal, ownLengthSize);
    }
    if (own.empty()) return std::nullopt;
    if (!changed_ || !IsH264Key(own, ownLengthSize)) return own;
    Bytes whole = MissingSets(*split);
    whole.insert(whole.end(), own.begin(), own.end());
    return whole;
}

/// Some containers tell a change of the parameter sets beside the packet.
void PacketForm::TakeNewExtradata(const AVPacket& packet) {
    std::size_t size = 0;
    const std::uint8_t* data = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
    if (data == nullptr) return;
    const ByteView extradata(data, size);
    if (!startCodes_ && IsAvcC(extradata)) lengthSize_ = NalLengthSize(extradata);
    const ParameterSets fresh = ParameterSetsOf(extradata);
    for (const auto* sets : {&fresh.sps, &fresh.pps}) {
        for (const Bytes& set : *sets) {
            if (current_.Put(set)) changed_ = true;
        }
    }
}

/// The sets in force that these NAL units do not hold themselves.
Bytes PacketForm::MissingSets(const std::vector<ByteView>& nals) const {
    Bytes missing;
    const auto holds = [&](ByteView set) {
        return std::any_of(nals.begin(), nals.end(), [&](ByteView nal) {
            return IsSet(nal) && std::equal(nal.begin(), nal.end(), set.begin(), set.end());
        });
    };
    for (const auto* sets : {&current_.sps, &current_.pps}) {
        for (const Bytes& set : *sets) {
            if (!holds(set)) AppendNal(missing, set, NalLengthSize(format_.codecPrivate));
        }
    }
    return missing;
}

}  // namespace qv
