// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <random>
#include <tuple>

#include "av/Bitstream.h"
#include "picture/PictureCodec.h"

namespace qv {
namespace {

const Bytes kAvcC4{1, 66, 0, 30, 0xff, 0xe1, 0, 5, 0x67, 66, 0, 30, 0xf4, 1, 0, 2, 0x68, 0xce};
const Bytes kAvcC2{1, 66, 0, 30, 0xfd, 0xe0, 0};

TEST(PictureCodecBitstream, KeysAreToldByTheirBytes) {
    const std::tuple<const char*, PictureCodec, Bytes, Bytes, bool> cases[] = {
        {"VP8 key", PictureCodec::Vp8, {}, {0x10, 2, 0, 0x9d, 0x01, 0x2a, 64, 0, 48, 0, 9}, true},
        {"VP8 key cut short", PictureCodec::Vp8, {}, {0x10, 2, 0, 0x9d, 0x01, 0x2a}, false},
        {"VP9 key", PictureCodec::Vp9, {}, {0x82, 0x49, 0x83, 0x42, 0}, true},
        {"VP9 shows an old picture", PictureCodec::Vp9, {}, {0x8a, 0x49, 0x83, 0x42, 0}, false},
        {"VP9 profile 3 key", PictureCodec::Vp9, {}, {0xb1, 0x24, 0xc1, 0xa1, 0}, true},
        {"VP9 key cut short", PictureCodec::Vp9, {}, {0x82, 0x49}, false},
        {"AV1 sequence header and key", PictureCodec::Av1, {}, {0x0a, 1, 0x00, 0x32, 1, 0x10}, true},
        {"AV1 key without sequence header", PictureCodec::Av1, {}, {0x32, 1, 0x10}, false},
        {"AV1 key not shown", PictureCodec::Av1, {}, {0x0a, 1, 0x00, 0x32, 1, 0x00}, false},
        {"AV1 length past the end", PictureCodec::Av1, {}, {0x0a, 1, 0x00, 0x32, 9, 0x10}, false},
        {"H.264 IDR", PictureCodec::H264, kAvcC4, {0, 0, 0, 2, 0x65, 1}, true},
        {"H.264 short lengths", PictureCodec::H264, kAvcC2, {0, 2, 0x65, 1}, true},
        {"H.264 IDR behind another slice", PictureCodec::H264, kAvcC4, {0, 0, 0, 1, 0x41, 0, 0, 0, 1, 0x65}, false},
        {"H.264 start codes", PictureCodec::H264, kAvcC4, {0, 0, 0, 1, 0x65, 0x88, 0x84}, false},
        {"H.264 length past the end", PictureCodec::H264, kAvcC4, {0, 0, 0, 9, 0x65, 1}, false},
        {"nothing", PictureCodec::H264, kAvcC4, {}, false},
    };
    for (const auto& [name, codec, codecPrivate, packet, starts] : cases) {
        EXPECT_EQ(StartsDecoding({codec, 64, 48, codecPrivate}, packet), starts) << name;
    }
}

std::string Hex(ByteView bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) text += "0123456789abcdef"[byte >> 4], text += "0123456789abcdef"[byte & 15];
    return text;
}

TEST(PictureCodecBitstream, NalUnitsBetweenStartCodes) {
    const std::pair<Bytes, const char*> cases[] = {
        {{0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 2}, "6701 6802 "},
        {{0, 0, 1, 0x65, 0, 0, 3, 1, 0, 0, 0, 0, 1, 0x41, 9}, "6500000301 4109 "},
        {{7, 7, 0, 0, 1, 0, 0, 1, 0x65, 0, 0}, "65 "},
        {{1, 2, 3}, ""},
    };
    for (const auto& [stream, wanted] : cases) {
        std::string nals;
        for (const ByteView nal : SplitAnnexB(stream)) nals += Hex(nal) + " ";
        EXPECT_EQ(nals, wanted) << Hex(stream);
    }
}

TEST(PictureCodecBitstream, AvcCComesBack) {
    const ParameterSets sets = ParameterSetsOf(kAvcC4);
    EXPECT_EQ(ParameterSetId(sets.sps.at(0)), 0U);
    EXPECT_EQ(Hex(MakeAvcC(sets)), Hex(kAvcC4));
    const Bytes startCodes{0, 0, 0, 1, 0x67, 66, 0, 30, 0xf4, 0, 0, 1, 0x68, 0xce};
    EXPECT_EQ(Hex(MakeAvcC(ParameterSetsOf(startCodes))), Hex(kAvcC4));
    EXPECT_TRUE(MakeAvcC(ParameterSetsOf(kAvcC2)).empty()) << "no sets, no record";

    ParameterSets changed = sets;
    EXPECT_FALSE(changed.Put(sets.sps[0]));
    EXPECT_TRUE(changed.Put(Bytes{0x67, 66, 0, 31, 0xf4})) << "same id, other bytes: in its place";
    EXPECT_EQ(changed.sps.size(), 1U);
    EXPECT_TRUE(changed.Put(Bytes{0x67, 66, 0, 31, 0x54})) << "id 1: beside it";
    EXPECT_EQ(changed.sps.size(), 2U);
    EXPECT_FALSE(changed.Put(Bytes{0x65, 1, 2}));
}

TEST(PictureCodecBitstream, TemporalDelimitersGo) {
    EXPECT_EQ(Hex(WithoutTemporalDelimiters(Bytes{0x12, 0, 0x0a, 1, 7, 0x12, 0, 0x32, 1, 0x10})), "0a0107320110");
    EXPECT_EQ(Hex(WithoutTemporalDelimiters(Bytes{0x12, 0, 0xff, 0xff})), "ffff") << "what makes no sense stays";
}

TEST(PictureCodecBitstream, NothingIsReadPastTheEnd) {
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp): the same bytes each time
    for (int round = 0; round < 5000; ++round) {
        Bytes bytes(random() % 40);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 3);
        for (const int lengthSize : {1, 2, 3, 4}) {
            const auto nals = SplitSample(bytes, lengthSize);
            std::size_t sum = 0;
            for (const ByteView nal : nals.value_or(std::vector<ByteView>{})) sum += nal.size();
            ASSERT_LE(sum, bytes.size());
        }
        const ParameterSets sets = ParameterSetsOf(bytes);
        if (!MakeAvcC(sets).empty()) {
            ASSERT_EQ(ParameterSetsOf(MakeAvcC(sets)), sets) << Hex(bytes);
        }
        ASSERT_LE(WithoutTemporalDelimiters(bytes).size(), bytes.size());
        for (const auto codec : {PictureCodec::Vp8, PictureCodec::Vp9, PictureCodec::Av1, PictureCodec::H264}) {
            (void)StartsDecoding({codec, 64, 48, bytes}, bytes);
        }
    }
}

}  // namespace
}  // namespace qv
