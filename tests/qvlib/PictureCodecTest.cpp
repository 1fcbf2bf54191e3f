// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PictureCodec.h"

#include <gtest/gtest.h>

#include "av/Av.h"
#include "av/Bitstream.h"
#include "foreign/ForeignPicture.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

constexpr PictureCodec kAll[] = {PictureCodec::Vp8, PictureCodec::Vp9, PictureCodec::Av1, PictureCodec::H264};

/// The avcC of an H.264 track with parameter sets 0.
Bytes SomeAvcC(const std::filesystem::path& folder) {
    const auto file = support::MakeMedia(folder, "some.mp4", support::NumberedPictures(2) + "-c:v libx264");
    return ForeignPicture(file).Format().codecPrivate;
}

std::vector<PicturePacket> Take(PictureEncoder& encoder) {
    std::vector<PicturePacket> packets;
    while (auto packet = encoder.Receive()) packets.push_back(std::move(*packet));
    return packets;
}

void Append(std::vector<PicturePacket>& all, std::vector<PicturePacket>&& more) {
    std::move(more.begin(), more.end(), std::back_inserter(all));
}

/// Encodes the pictures at 0, 40, 80 ... ms with keys forced at these numbers.
std::vector<PicturePacket> Encode(const PictureFormat& like, const std::vector<Picture>& pictures,
                                  const std::vector<int>& keys) {
    PictureEncoder encoder(like, pictures.front());
    std::vector<PicturePacket> packets;
    for (int i = 0; i < static_cast<int>(pictures.size()); ++i) {
        const bool key = std::find(keys.begin(), keys.end(), i) != keys.end();
        encoder.Send(pictures[static_cast<std::size_t>(i)], 40 * i, key);
        Append(packets, Take(encoder));
    }
    encoder.SendEnd();
    Append(packets, Take(encoder));
    return packets;
}

struct DecodedAll {
    std::vector<Picture> pictures;
    int damaged = 0;
};

DecodedAll Decode(const PictureFormat& format, const std::vector<PicturePacket>& packets, int threads = 1) {
    PictureDecoder decoder(format, threads);
    DecodedAll all;
    const auto take = [&] {
        while (auto picture = decoder.Receive()) all.pictures.push_back(*picture);
    };
    for (const PicturePacket& packet : packets) {
        decoder.Send(packet.time, packet.key, packet.data);
        take();
    }
    decoder.SendEnd();
    take();
    all.damaged = decoder.Damaged();
    return all;
}

std::string Times(const std::vector<PicturePacket>& packets) {
    std::string text;
    for (const PicturePacket& packet : packets) text += std::to_string(packet.time) + (packet.key ? "K " : " ");
    return text;
}

struct QualityCase {
    const char* name;
    PictureCodec codec;
    AVPixelFormat format;
    int width;
    int height;
};

class PictureCodecQuality : public testing::TestWithParam<QualityCase> {};

TEST_P(PictureCodecQuality, PieceStaysAbove40DbWithKeysWhereAskedAndColoursCarried) {
    const QualityCase& now = GetParam();
    PictureFormat like{now.codec, now.width, now.height, {}};
    if (now.codec == PictureCodec::H264) like.codecPrivate = SomeAvcC(support::TestFolder());
    std::vector<Picture> sent;
    for (int step = 0; step < 12; ++step) {
        sent.push_back(support::DrawSlide(now.width, now.height, now.format, step));
        auto* frame = const_cast<AVFrame*>(sent.back().frame.get());
        frame->color_range = now.format == AV_PIX_FMT_YUVJ420P ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        frame->colorspace = AVCOL_SPC_BT709;
        frame->color_primaries = AVCOL_PRI_BT709;
        frame->color_trc = AVCOL_TRC_BT709;
    }
    const auto packets = Encode(like, sent, {7});
    EXPECT_EQ(Times(packets), "0K 40 80 120 160 200 240 280K 320 360 400 440 ");
    for (const PicturePacket& packet : packets) {
        EXPECT_EQ(StartsDecoding(like, packet.data), packet.key) << packet.time;
        if (now.codec != PictureCodec::Av1) continue;
        EXPECT_EQ(WithoutTemporalDelimiters(packet.data), packet.data);
    }

    const DecodedAll all = Decode(like, packets);
    ASSERT_EQ(all.pictures.size(), sent.size());
    EXPECT_EQ(all.damaged, 0);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(all.pictures[i].time, static_cast<Ms>(40 * i));
        EXPECT_GT(support::Psnr(*all.pictures[i].frame, *sent[i].frame), 40) << "picture " << i;
    }
    const DecodedAll alone = Decode(like, {packets[7]});
    ASSERT_EQ(alone.pictures.size(), 1U);
    EXPECT_EQ(support::Psnr(*alone.pictures[0].frame, *all.pictures[7].frame), 99) << "the key decodes alone";
    const AVFrame& got = *all.pictures[0].frame;
    EXPECT_EQ(av::WithRangeTold(static_cast<AVPixelFormat>(got.format)), av::WithRangeTold(now.format));
    if (now.codec == PictureCodec::Vp8) return;  // its stream tells no colours
    EXPECT_EQ(av::IsFullRange(got), now.format == AV_PIX_FMT_YUVJ420P);
    EXPECT_EQ(got.colorspace, AVCOL_SPC_BT709);
}

INSTANTIATE_TEST_SUITE_P(Codecs, PictureCodecQuality,
                         testing::Values(QualityCase{"Vp8", PictureCodec::Vp8, AV_PIX_FMT_YUV420P, 640, 360},
                                         QualityCase{"Vp8Odd", PictureCodec::Vp8, AV_PIX_FMT_YUV420P, 341, 191},
                                         QualityCase{"Vp9", PictureCodec::Vp9, AV_PIX_FMT_YUV420P, 640, 360},
                                         QualityCase{"Vp9Odd", PictureCodec::Vp9, AV_PIX_FMT_YUV420P, 341, 191},
                                         QualityCase{"Vp9Full", PictureCodec::Vp9, AV_PIX_FMT_YUVJ420P, 320, 180},
                                         QualityCase{"Vp9Colour444", PictureCodec::Vp9, AV_PIX_FMT_YUV444P, 320, 180},
                                         QualityCase{"Vp9TenBit", PictureCodec::Vp9, AV_PIX_FMT_YUV420P10, 320, 180},
                                         QualityCase{"Av1", PictureCodec::Av1, AV_PIX_FMT_YUV420P, 640, 360},
                                         QualityCase{"Av1Odd", PictureCodec::Av1, AV_PIX_FMT_YUV420P, 341, 191},
                                         QualityCase{"Av1TenBit", PictureCodec::Av1, AV_PIX_FMT_YUV420P10, 320, 180},
                                         QualityCase{"H264", PictureCodec::H264, AV_PIX_FMT_YUV420P, 640, 360},
                                         QualityCase{"H264Full", PictureCodec::H264, AV_PIX_FMT_YUVJ420P, 320, 180},
                                         QualityCase{"H264Colour444", PictureCodec::H264, AV_PIX_FMT_YUV444P, 321, 181},
                                         QualityCase{"H264TenBit", PictureCodec::H264, AV_PIX_FMT_YUV420P10, 320, 180}),
                         [](const auto& info) { return info.param.name; });

struct JointCase {
    const char* name;
    const char* encoder;
    const char* file;
};

class PictureCodecJoint : public testing::TestWithParam<JointCase> {};

/// Groups 0-9, 10-19, ... of a track; the second is replaced by a piece, and all decodes as if nothing had happened.
TEST_P(PictureCodecJoint, PieceStandsBetweenCopiedPackets) {
    const auto folder = support::TestFolder();
    const auto file = support::MakeMedia(folder, GetParam().file, support::NumberedPictures(40) + GetParam().encoder);
    ForeignPicture track(file);
    std::vector<PicturePacket> source;
    while (auto packet = track.ReadPacket()) source.push_back(*packet);
    const DecodedAll before = Decode(track.Format(), source);
    ASSERT_EQ(before.pictures.size(), 40U);

    PictureEncoder encoder(track.Format(), before.pictures[10]);
    for (std::size_t i = 10; i < 20; ++i) encoder.Send(before.pictures[i], before.pictures[i].time, false);
    encoder.SendEnd();
    const auto from = [&](std::size_t picture) {
        const Ms time = before.pictures[picture].time;
        return std::find_if(source.begin(), source.end(), [&](const auto& p) { return p.time == time && p.key; });
    };
    ASSERT_NE(from(10), source.end());
    ASSERT_NE(from(20), source.end());
    std::vector<PicturePacket> joined(source.begin(), from(10));
    Append(joined, Take(encoder));
    joined.insert(joined.end(), from(20), source.end());

    for (const int threads : {1, 3}) {
        const DecodedAll after = Decode(track.Format(), joined, threads);
        EXPECT_EQ(after.damaged, 0);
        ASSERT_EQ(after.pictures.size(), 40U) << threads;
        for (std::size_t i = 0; i < 40; ++i) {
            EXPECT_EQ(after.pictures[i].time, before.pictures[i].time);
            EXPECT_EQ(support::NumberOn(after.pictures[i]), static_cast<int>(i)) << threads << " threads";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, PictureCodecJoint,
    testing::Values(
        JointCase{"Vp8", "-c:v libvpx -crf 4 -b:v 2M -g 10 -keyint_min 10 -auto-alt-ref 0", "a.webm"},
        JointCase{"Vp9", "-c:v libvpx-vp9 -crf 10 -b:v 0 -g 10 -keyint_min 10 -lag-in-frames 0", "a.webm"},
        JointCase{"Av1", "-c:v libaom-av1 -cpu-used 8 -usage realtime -crf 10 -b:v 0 -g 10 -keyint_min 10", "a.mkv"},
        JointCase{"H264WithBPictures", "-c:v libx264 -crf 8 -g 10 -keyint_min 10 -sc_threshold 0 -bf 3", "a.mp4"},
        JointCase{"H264Baseline", "-c:v libx264 -crf 8 -g 10 -keyint_min 10 -sc_threshold 0 -profile:v baseline",
                  "a.mp4"}),
    [](const auto& info) { return info.param.name; });

/// The bits of an SPS of the Main profile up to its VUI, and none behind: what many phones write.
Bytes WithoutVui(const Bytes& sps) {
    std::vector<bool> bits;
    for (const std::uint8_t byte : sps) {
        for (int i = 7; i >= 0; --i) bits.push_back((byte >> i & 1) != 0);
    }
    std::size_t at = 32;  // header, profile, constraints, level
    const auto skipNumber = [&] {
        std::size_t zeros = 0;
        while (!bits[at + zeros]) ++zeros;
        at += 2 * zeros + 1;
    };
    for (int i = 0; i < 5; ++i) skipNumber();  // id, frame numbers, order type, order numbers, references
    ++at;
    skipNumber();  // width
    skipNumber();  // height
    at += 3;       // frames only, inference, no cropping
    bits.resize(at);
    bits.push_back(false);
    bits.push_back(true);
    while (bits.size() % 8 != 0) bits.push_back(false);
    Bytes out(bits.size() / 8);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        out[i / 8] = static_cast<std::uint8_t>(out[i / 8] << 1 | (bits[i] ? 1 : 0));
    }
    return out;
}

TEST(PictureCodec, PicturesOfAStreamThatDoesNotTellItsReorderingAllComeInOrder) {
    const auto file = support::MakeMedia(
        support::TestFolder(), "a.mp4",
        support::NumberedPictures(40) + "-c:v libx264 -crf 8 -profile:v main -bf 4 -x264-params b-adapt=0:b-pyramid=2");
    ForeignPicture track(file);
    std::vector<PicturePacket> packets;
    while (auto packet = track.ReadPacket()) packets.push_back(*packet);
    PictureFormat format = track.Format();
    ParameterSets sets = ParameterSetsOf(format.codecPrivate);
    sets.sps.at(0) = WithoutVui(sets.sps.at(0));
    format.codecPrivate = MakeAvcC(sets);
    const DecodedAll all = Decode(format, packets);
    ASSERT_EQ(all.pictures.size(), 40U);
    for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(support::NumberOn(all.pictures[i]), static_cast<int>(i));
}

TEST(PictureCodec, H264PieceUsesIdsThatTheTrackDoesNot) {
    PictureFormat like{PictureCodec::H264, 64, 48, SomeAvcC(support::TestFolder())};
    const auto packets = Encode(like, {support::DrawSlide(64, 48, AV_PIX_FMT_YUV420P, 0)}, {});
    const auto nals = SplitSample(packets.at(0).data, NalLengthSize(like.codecPrivate));
    ASSERT_TRUE(nals);
    int sets = 0;
    for (const ByteView nal : *nals) {
        if (NalTypeOf(nal) != kNalSps && NalTypeOf(nal) != kNalPps) continue;
        ++sets;
        EXPECT_EQ(ParameterSetId(nal), 1U);
    }
    EXPECT_EQ(sets, 2);
}

TEST(PictureCodec, DecoderCountsDamageAndGoesOnAtTheNextKey) {
    for (const PictureCodec codec : kAll) {
        PictureFormat like{codec, 64, 48, {}};
        if (codec == PictureCodec::H264) like.codecPrivate = SomeAvcC(support::TestFolder());
        std::vector<Picture> sent(6, support::DrawSlide(64, 48, AV_PIX_FMT_YUV420P, 0));
        auto packets = Encode(like, sent, {3});
        packets[1].data.assign(100, 0xff);
        packets[2].data.clear();
        PictureDecoder decoder(like, 1);
        Ms last = -1;
        for (const PicturePacket& packet : packets) {
            decoder.Send(packet.time, packet.key, packet.data);
            while (const auto picture = decoder.Receive()) last = picture->time;
        }
        decoder.SendEnd();
        while (const auto picture = decoder.Receive()) last = picture->time;
        EXPECT_GE(decoder.Damaged(), 2) << CodecIdOf(codec);
        EXPECT_EQ(last, 200) << CodecIdOf(codec);

        decoder.Reset();  // after the end, too
        decoder.Send(packets[3].time, true, packets[3].data);
        decoder.SendEnd();
        const auto again = decoder.Receive();
        ASSERT_TRUE(again) << CodecIdOf(codec);
        EXPECT_EQ(again->time, 120) << CodecIdOf(codec);
    }
}

TEST(PictureCodec, PicturesOfAnotherSizeAreFittedIn) {
    const PictureFormat like{PictureCodec::Vp9, 64, 48, {}};
    const auto packets = Encode(
        like, {support::DrawSlide(64, 48, AV_PIX_FMT_YUV420P, 0), support::DrawSlide(130, 70, AV_PIX_FMT_YUV444P, 0)},
        {});
    const DecodedAll all = Decode(like, packets);
    ASSERT_EQ(all.pictures.size(), 2U);
    EXPECT_EQ(all.pictures[1].frame->width, 64);
    EXPECT_EQ(all.pictures[1].frame->height, 48);
}

TEST(PictureCodec, IdsGoBothWays) {
    for (const PictureCodec codec : kAll) EXPECT_EQ(PictureCodecOf(CodecIdOf(codec)), codec);
    EXPECT_EQ(PictureCodecOf("V_MPEG4/ISO/AVC"), PictureCodec::H264);
    EXPECT_EQ(PictureCodecOf("V_MPEGH/ISO/HEVC"), std::nullopt);
}

}  // namespace
}  // namespace qv
