// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PictureCodec.h"

#include <bitset>

#include "av/Av.h"
#include "av/Bitstream.h"
#include "foreign/ForeignPicture.h"
#include "support/Decoded.h"
#include "support/Media.h"

namespace qv {
namespace {

/// 64 x 48 unless told; an H.264 track has parameter sets 0.
PictureFormat FormatOf(PictureCodec codec, int width = 64, int height = 48) {
    if (codec != PictureCodec::H264) return {codec, width, height, {}};
    const auto args = support::NumberedPictures(2) + "-c:v libx264";
    const auto file = support::MakeMedia(support::TestFolder(), "some.mp4", args);
    return {codec, width, height, ForeignPicture(file).Format().codecPrivate};
}

/// Encodes the pictures at 0, 40, 80 ... ms with keys forced at these numbers.
std::vector<PicturePacket> Encode(const PictureFormat& like, const std::vector<Picture>& pictures,
                                  const std::vector<int>& keys) {
    PictureEncoder encoder(like, pictures.front());
    std::vector<PicturePacket> packets;
    for (int i = 0; i <= static_cast<int>(pictures.size()); ++i) {
        const bool key = std::find(keys.begin(), keys.end(), i) != keys.end();
        if (i == std::ssize(pictures)) encoder.SendEnd();
        if (i < std::ssize(pictures)) encoder.Send(pictures[static_cast<std::size_t>(i)], 40 * i, key);
        while (auto packet = encoder.Receive()) packets.push_back(std::move(*packet));
    }
    return packets;
}

std::string Times(const std::vector<PicturePacket>& packets) {
    std::string text;
    for (const PicturePacket& packet : packets) text += std::to_string(packet.time) + (packet.key ? "K " : " ");
    return text;
}

TEST(PictureCodec, PieceStaysAbove40DbWithKeysWhereAskedAndColoursCarried) {
    const struct {
        const char* name;
        PictureCodec codec;
        AVPixelFormat format;
        int width;
        int height;
    } cases[] = {
        {"VP8, odd size", PictureCodec::Vp8, AV_PIX_FMT_YUV420P, 341, 191},
        {"VP9, odd size", PictureCodec::Vp9, AV_PIX_FMT_YUV420P, 341, 191},
        {"VP9, full range", PictureCodec::Vp9, AV_PIX_FMT_YUVJ420P, 320, 180},
        {"VP9, every colour", PictureCodec::Vp9, AV_PIX_FMT_YUV444P, 320, 180},
        {"VP9, ten bits", PictureCodec::Vp9, AV_PIX_FMT_YUV420P10, 320, 180},
        {"AV1, odd size", PictureCodec::Av1, AV_PIX_FMT_YUV420P, 341, 191},
        {"AV1, ten bits", PictureCodec::Av1, AV_PIX_FMT_YUV420P10, 320, 180},
        {"H.264", PictureCodec::H264, AV_PIX_FMT_YUV420P, 640, 360},
        {"H.264, full range", PictureCodec::H264, AV_PIX_FMT_YUVJ420P, 320, 180},
        {"H.264, every colour", PictureCodec::H264, AV_PIX_FMT_YUV444P, 321, 181},
        {"H.264, ten bits", PictureCodec::H264, AV_PIX_FMT_YUV420P10, 320, 180},
    };
    for (const auto& now : cases) {
        SCOPED_TRACE(now.name);
        const PictureFormat like = FormatOf(now.codec, now.width, now.height);
        std::vector<Picture> sent;
        for (int step = 0; step < 8; ++step) {
            sent.push_back(support::DrawSlide(now.width, now.height, now.format, step));
            auto* frame = const_cast<AVFrame*>(sent.back().frame.get());
            frame->color_range = now.format == AV_PIX_FMT_YUVJ420P ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
            frame->colorspace = AVCOL_SPC_BT709;
            frame->color_primaries = AVCOL_PRI_BT709;
            frame->color_trc = AVCOL_TRC_BT709;
        }
        const auto packets = Encode(like, sent, {5});
        ASSERT_EQ(Times(packets), "0K 40 80 120 160 200K 240 280 ");
        for (const PicturePacket& packet : packets) {
            EXPECT_EQ(StartsDecoding(like, packet.data), packet.key) << packet.time;
            EXPECT_TRUE(now.codec != PictureCodec::Av1 || WithoutTemporalDelimiters(packet.data) == packet.data);
        }
        const auto nals = SplitSample(packets[0].data, NalLengthSize(like.codecPrivate));
        for (const ByteView nal : now.codec == PictureCodec::H264 ? nals.value() : std::vector<ByteView>{}) {
            const bool isSet = NalTypeOf(nal) == kNalSps || NalTypeOf(nal) == kNalPps;
            EXPECT_TRUE(!isSet || ParameterSetId(nal) == 1U) << "an id that the track does not use";
        }
        const auto all = support::DecodePackets(like, packets);
        const auto alone = support::DecodePackets(like, {packets[5]});
        EXPECT_EQ(all.damaged, 0);
        ASSERT_EQ(all.pictures.size(), sent.size());
        ASSERT_EQ(alone.pictures.size(), 1U);
        for (int plane = 0; plane < 3; ++plane) {
            const auto samples = [&](const Picture& picture) { return support::Samples(*picture.frame, plane); };
            for (std::size_t i = 0; i < sent.size(); ++i) {
                EXPECT_EQ(all.pictures[i].time, static_cast<Ms>(40 * i));
                EXPECT_GT(support::Psnr(samples(all.pictures[i]), samples(sent[i])), 40) << "picture " << i;
            }
            EXPECT_EQ(samples(alone.pictures[0]), samples(all.pictures[5])) << "the key decodes alone";
        }
        const AVFrame& got = *all.pictures[0].frame;
        EXPECT_EQ(av::WithRangeTold(static_cast<AVPixelFormat>(got.format)), av::WithRangeTold(now.format));
        if (now.codec == PictureCodec::Vp8) continue;  // its stream tells no colours
        EXPECT_EQ(av::IsFullRange(got), now.format == AV_PIX_FMT_YUVJ420P);
        EXPECT_EQ(got.colorspace, AVCOL_SPC_BT709);
    }
}

/// The bits of an SPS of the Main profile up to its VUI, and none behind: what many phones write.
Bytes WithoutVui(const Bytes& sps) {
    std::string bits;
    for (const std::uint8_t byte : sps) bits += std::bitset<8>(byte).to_string();
    std::size_t at = 32;  // header, profile, constraints, level
    const auto skipNumber = [&] { at += 2 * (bits.find('1', at) - at) + 1; };
    for (int i = 0; i < 5; ++i) skipNumber();  // id, frame numbers, order type, order numbers, references
    ++at;
    skipNumber();  // width
    skipNumber();  // height
    at += 3;       // frames only, inference, no cropping
    bits = bits.substr(0, at) + "010000000";
    Bytes out;
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8)
        out.push_back(static_cast<std::uint8_t>(std::bitset<8>(bits, i, 8).to_ulong()));
    return out;
}

TEST(PictureCodec, PicturesOfAStreamThatDoesNotTellItsReorderingAllComeInOrder) {
    const std::string args = "-c:v libx264 -crf 8 -profile:v main -bf 4 -x264-params b-adapt=0:b-pyramid=2";
    ForeignPicture track(support::MakeMedia(support::TestFolder(), "a.mp4", support::NumberedPictures(40) + args));
    PictureFormat format = track.Format();
    ParameterSets sets = ParameterSetsOf(format.codecPrivate);
    sets.sps.at(0) = WithoutVui(sets.sps.at(0));
    format.codecPrivate = MakeAvcC(sets);
    std::vector<PicturePacket> packets;
    while (auto packet = track.ReadPacket()) packets.push_back(std::move(*packet));
    const auto all = support::DecodePackets(format, packets);
    ASSERT_EQ(all.pictures.size(), 40U);
    for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(support::NumberOn(all.pictures[i]), static_cast<int>(i));
}

}  // namespace
}  // namespace qv
