// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignPicture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "av/Av.h"
#include "av/Bitstream.h"
#include "foreign/LeadIn.h"
#include "foreign/PacketForm.h"
#include "foreign/RisingTimes.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

TEST(RisingTimes, EachPictureGetsATimeOfItsOwn) {
    struct Case {
        const char* name;
        std::vector<std::int64_t> in;
        std::vector<Ms> out;
    };
    const Case cases[] = {
        {"as they are", {0, 33, 67}, {0, 33, 67}},
        {"first late", {700, 733}, {0, 733}},
        {"before zero", {-20, -10, 0, 30}, {0, 1, 2, 30}},
        {"together", {0, 17, 17, 18}, {0, 17, 18, 19}},
        {"reordered", {0, 133, 67, 33, 100}, {0, 133, 67, 33, 100}},
    };
    for (const Case& now : cases) {
        RisingTimes times;
        std::vector<Ms> out;
        for (const std::int64_t time : now.in) out.push_back(times.Next(time));
        EXPECT_EQ(out, now.out) << now.name;
    }
}

struct Shown {
    Ms time = 0;
    int number = 0;
};

/// What a track shows, with everything checked that holds for every track.
struct Track {
    bool carried = false;
    PictureFormat format;
    std::vector<Shown> shown;
    std::vector<Ms> keys;
    int damaged = 0;
};

void Receive(PictureDecoder& decoder, std::vector<Shown>& shown) {
    while (const auto picture = decoder.Receive()) shown.push_back({picture->time, support::NumberOn(*picture)});
}

void ReadCarried(ForeignPicture& reader, Track& track) {
    PictureDecoder decoder(track.format, 1);
    while (const auto packet = reader.ReadPacket()) {
        decoder.Send(packet->time, packet->key, packet->data);
        Receive(decoder, track.shown);
        EXPECT_EQ(packet->key, StartsDecoding(track.format, packet->data)) << packet->time;
        if (!packet->key) continue;
        track.keys.push_back(packet->time);
        PictureDecoder alone(track.format, 1);
        std::vector<Shown> one;
        alone.Send(packet->time, true, packet->data);
        alone.SendEnd();
        Receive(alone, one);
        EXPECT_EQ(alone.Damaged(), 0);
        EXPECT_EQ(one.size(), 1U) << "the key at " << packet->time << " decodes alone";
    }
    decoder.SendEnd();
    Receive(decoder, track.shown);
    EXPECT_EQ(decoder.Damaged(), 0);
}

Track Read(const std::filesystem::path& file, PictureTrack which = PictureTrack::Picture) {
    ForeignPicture reader(file, which);
    Track track;
    track.carried = reader.Carried();
    track.format = reader.Format();
    if (track.carried) {
        ReadCarried(reader, track);
        EXPECT_FALSE(reader.ReadPicture());
    } else {
        while (const auto picture = reader.ReadPicture()) {
            EXPECT_EQ(picture->frame->format, AV_PIX_FMT_YUV420P);
            EXPECT_EQ(picture->frame->width, track.format.width);
            EXPECT_EQ(picture->frame->height, track.format.height);
            track.shown.push_back({picture->time, support::NumberOn(*picture)});
        }
        EXPECT_FALSE(reader.ReadPacket());
    }
    track.damaged = reader.Damaged();
    EXPECT_FALSE(track.shown.empty());
    for (std::size_t i = 1; i < track.shown.size(); ++i) {
        EXPECT_LT(track.shown[i - 1].time, track.shown[i].time) << i;
    }
    return track;
}

/// Every picture of `count` at the time of its number, and none else.
void ExpectNumbered(const Track& track, int count, int from = 0) {
    ASSERT_EQ(track.shown.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const Shown& shown = track.shown[static_cast<std::size_t>(i)];
        EXPECT_EQ(shown.number, i + from);
        EXPECT_NEAR(shown.time, i * 1000.0 / 30, 1.01) << i;
    }
}

struct ContainerCase {
    const char* file;
    const char* args;
    std::optional<PictureCodec> carried;
    std::vector<Ms> keys;  ///< of a carried track
};

class ForeignPictureContainers : public testing::TestWithParam<ContainerCase> {};

TEST_P(ForeignPictureContainers, EveryPictureAtItsTime) {
    const ContainerCase& now = GetParam();
    const auto file = support::MakeMedia(support::TestFolder(), now.file, support::NumberedPictures(45) + now.args);
    const Track track = Read(file);
    EXPECT_EQ(track.carried, now.carried.has_value());
    EXPECT_EQ(track.format.codec, now.carried.value_or(PictureCodec::Vp9));
    EXPECT_EQ(track.keys, now.keys);
    EXPECT_EQ(track.damaged, 0);
    ExpectNumbered(track, 45);
}

constexpr const char* kX264 = "-c:v libx264 -crf 8 -g 15 -keyint_min 15 -sc_threshold 0 -bf 3";

INSTANTIATE_TEST_SUITE_P(
    Kinds, ForeignPictureContainers,
    testing::Values(
        ContainerCase{"a.mp4", kX264, PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"a.mov", kX264, PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"fragments.mp4",
                      "-c:v libx264 -crf 8 -g 15 -bf 2 -sc_threshold 0 -movflags frag_keyframe+empty_moov",
                      PictureCodec::H264,
                      {0, 500, 1000}},
        ContainerCase{"a.mkv", kX264, PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"a.flv", kX264, PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"a.ts", kX264, PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"reordered.avi", kX264, std::nullopt, {}},
        ContainerCase{
            "straight.avi", "-c:v libx264 -crf 8 -g 15 -bf 0 -sc_threshold 0", PictureCodec::H264, {0, 500, 1000}},
        ContainerCase{"open.mp4",
                      "-c:v libx264 -crf 8 -g 15 -bf 3 -sc_threshold 0 -x264-params open-gop=1",
                      PictureCodec::H264,
                      {0}},
        ContainerCase{"a.webm",
                      "-c:v libvpx-vp9 -crf 10 -b:v 0 -g 15 -keyint_min 15 -lag-in-frames 0 -live 1",
                      PictureCodec::Vp9,
                      {0, 500, 1000}},
        ContainerCase{"hidden9.webm",
                      "-c:v libvpx-vp9 -crf 10 -b:v 0 -g 15 -keyint_min 15 -lag-in-frames 12 -auto-alt-ref 1",
                      PictureCodec::Vp9,
                      {0, 500, 1000}},
        ContainerCase{"hidden8.webm",
                      "-c:v libvpx -crf 4 -b:v 2M -g 15 -keyint_min 15 -lag-in-frames 12 -auto-alt-ref 1",
                      PictureCodec::Vp8,
                      {0, 500, 1000}},
        ContainerCase{"av1.mkv",
                      "-c:v libaom-av1 -cpu-used 8 -crf 10 -b:v 0 -g 15 -keyint_min 15 -lag-in-frames 0",
                      PictureCodec::Av1,
                      {0, 500, 1000}},
        ContainerCase{"av1.mp4",
                      "-c:v libaom-av1 -cpu-used 8 -crf 10 -b:v 0 -g 15 -keyint_min 15 -lag-in-frames 0",
                      PictureCodec::Av1,
                      {0, 500, 1000}},
        ContainerCase{"a.wmv", "-c:v wmv2 -q:v 2", std::nullopt, {}},
        ContainerCase{"a.mpg", "-vf scale=320:240,noise=alls=12:allf=t -c:v mpeg2video -q:v 2 -bf 2", std::nullopt, {}},
        ContainerCase{"jpeg.avi", "-c:v mjpeg -q:v 2", std::nullopt, {}},
        ContainerCase{"animation.mov", "-vf format=rgb24 -c:v qtrle", std::nullopt, {}}),
    [](const auto& info) {
        std::string name = info.param.file;
        std::replace(name.begin(), name.end(), '.', '_');
        return name;
    });

TEST(ForeignPicture, GroupWithHiddenPicturesIsEncodedAnew) {
    const auto folder = support::TestFolder();
    const auto whole = support::MakeMedia(folder, "whole.mp4", support::NumberedPictures(45) + kX264);
    const auto cut = support::MakeMedia(folder, "cut.mp4", "-ss 0.3 -i " + support::Quoted(whole) + " -c copy");
    const Track track = Read(cut);
    EXPECT_TRUE(track.carried);
    EXPECT_EQ(track.keys, (std::vector<Ms>{0, 200, 700}));
    ExpectNumbered(track, 36, 9);
}

TEST(ForeignPicture, StreamCutInTheMiddleStartsWhereItCanBeDecoded) {
    const auto folder = support::TestFolder();
    const auto file =
        support::MakeMedia(folder, "a.ts",
                           support::NumberedPictures(45) + kX264 +
                               " -x264-params nal-hrd=cbr:filler=1 -b:v 300k -maxrate 300k -bufsize 100k");
    auto bytes = support::ReadBytes(file);
    bytes.erase(bytes.begin(), bytes.begin() + 188 * 60);
    support::WriteBytes(file, bytes);
    const Track track = Read(file);
    EXPECT_EQ(track.shown.front().time, 0);
    EXPECT_EQ(track.keys.front(), 0);
    EXPECT_EQ(track.shown.back().number, 44);
    EXPECT_EQ(track.shown.front().number % 15, 0);
}

TEST(ForeignPicture, KeysBringTheParameterSetsThatTheStreamChangedTo) {
    const auto folder = support::TestFolder();
    const std::string settings[] = {"-refs 1 -profile:v main", "-refs 4 -profile:v high", "-refs 1 -profile:v main"};
    Bytes joined;
    for (const std::string& now : settings) {
        const auto raw =
            support::MakeMedia(folder, "part.h264", support::NumberedPictures(15) + "-c:v libx264 -crf 8 -bf 0 " + now);
        const Bytes part = support::ReadBytes(raw);
        joined.insert(joined.end(), part.begin(), part.end());
    }
    support::WriteBytes(folder / "joined.h264", joined);
    const auto raw = "-r 30 -i " + support::Quoted(folder / "joined.h264") + " -c copy";
    for (const char* name : {"joined.mkv", "joined.ts", "joined.mp4"}) {
        const Track track = Read(support::MakeMedia(folder, name, raw));  // Read decodes every key alone
        EXPECT_EQ(track.keys.size(), 3U) << name;
        ASSERT_EQ(track.shown.size(), 45U) << name;
        for (std::size_t i = 0; i < 45; ++i) EXPECT_EQ(track.shown[i].number, static_cast<int>(i % 15)) << name;
    }
}

av::Packet PacketOf(const Bytes& data) {
    av::Packet packet = av::NewPacket();
    if (av_new_packet(packet.get(), static_cast<int>(data.size())) < 0) throw std::bad_alloc();
    std::copy(data.begin(), data.end(), packet->data);
    return packet;
}

std::string NalTypes(const Bytes& sample) {
    std::string types;
    const auto nals = SplitSample(sample, 4);
    for (const ByteView nal : nals.value()) {
        types += std::to_string(NalTypeOf(nal)) + (NalTypeOf(nal) == kNalSps ? "/" + std::to_string(nal[3]) : "") + " ";
    }
    return types;
}

/// SPS are told apart by their level, 30 to 32.
TEST(PacketForm, KeysAfterAChangeOfParameterSetsBringThem) {
    const Bytes avcC{1, 66, 0, 30, 0xff, 0xe1, 0, 5, 0x67, 66, 0, 30, 0xf4, 1, 0, 2, 0x68, 0xce};
    const av::Input input(avformat_alloc_context());
    AVStream& stream = *avformat_new_stream(input.get(), nullptr);
    stream.codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream.codecpar->codec_id = AV_CODEC_ID_H264;
    stream.codecpar->extradata = static_cast<std::uint8_t*>(av_mallocz(avcC.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(avcC.begin(), avcC.end(), stream.codecpar->extradata);
    stream.codecpar->extradata_size = static_cast<int>(avcC.size());
    auto form = PacketForm::For(stream);
    ASSERT_TRUE(form);
    const auto convert = [&](const Bytes& data) { return NalTypes(form->Convert(*PacketOf(data)).value()); };
    const Bytes key{0, 0, 0, 2, 0x65, 1};
    const Bytes between{0, 0, 0, 2, 0x41, 1};
    EXPECT_EQ(convert(key), "5 ") << "nothing is added while nothing has changed";
    EXPECT_EQ(convert({0, 0, 0, 5, 0x67, 66, 0, 30, 0xf4, 0, 0, 0, 2, 0x65, 1}), "7/30 5 ") << "told again";
    EXPECT_EQ(convert({0, 0, 0, 5, 0x67, 66, 0, 31, 0xf4, 0, 0, 0, 2, 0x41, 1}), "7/31 1 ") << "changed";
    EXPECT_EQ(convert(between), "1 ");
    EXPECT_EQ(convert(key), "7/31 8 5 ");
    EXPECT_EQ(convert({0, 0, 0, 5, 0x67, 66, 0, 30, 0xf4, 0, 0, 0, 2, 0x65, 1}), "8 7/30 5 ") << "changed back";

    // A change told beside the packet, to lengths of two bytes.
    const Bytes other{1, 66, 0, 32, 0xfd, 0xe1, 0, 5, 0x67, 66, 0, 32, 0xf4, 1, 0, 2, 0x68, 0xce};
    const av::Packet packet = PacketOf({0, 2, 0x65, 1});
    std::copy(other.begin(), other.end(),
              av_packet_new_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, other.size()));
    EXPECT_EQ(NalTypes(form->Convert(*packet).value()), "7/32 8 5 ");
    EXPECT_FALSE(form->Convert(*PacketOf({0, 9, 0x65, 1}))) << "damaged";
    EXPECT_EQ(form->Format().codecPrivate, avcC);
}

TEST(LeadIn, HiddenPicturesHelpToDecodeAndAreNotShown) {
    const auto file = support::MakeMedia(support::TestFolder(), "a.mp4", support::NumberedPictures(15) + kX264);
    ForeignPicture reader(file);
    LeadIn leadIn(reader.Format());
    std::vector<PicturePacket> packets;
    const auto add = [&](std::vector<PicturePacket>&& more) {
        std::move(more.begin(), more.end(), std::back_inserter(packets));
    };
    while (const auto packet = reader.ReadPacket()) {
        leadIn.Send(*packet, packet->time < 200);
        add(leadIn.Take());
    }
    add(leadIn.Finish(500));
    std::vector<Shown> shown;
    PictureDecoder decoder(reader.Format(), 1);
    for (const PicturePacket& packet : packets) decoder.Send(packet.time, packet.key, packet.data);
    decoder.SendEnd();
    Receive(decoder, shown);
    ASSERT_EQ(shown.size(), 9U);
    EXPECT_TRUE(packets[0].key);
    for (std::size_t i = 0; i < shown.size(); ++i) EXPECT_EQ(shown[i].number, static_cast<int>(i) + 6);
    EXPECT_EQ(shown[0].time, 200);
}

TEST(ForeignPicture, PictureKeepsStepWithASoundThatStartsFirst) {
    const auto folder = support::TestFolder();
    const std::string sound = "-f lavfi -i sine=d=2:r=48000 ";
    const std::string late =
        sound + "-itsoffset 0.7 " + support::NumberedPictures(30) + kX264 + " -c:a pcm_s16le -vsync passthrough";
    const Track track = Read(support::MakeMedia(folder, "late.mov", late));
    EXPECT_EQ(track.shown.at(0).time, 0) << "the first picture fills the time before it";
    EXPECT_EQ(track.shown.at(1).time, 733);
    EXPECT_EQ(track.shown.at(29).time, 1667);
    const std::string shifted = support::NumberedPictures(30) + sound + kX264 + " -output_ts_offset 100 -muxdelay 0";
    const Track ts = Read(support::MakeMedia(folder, "shifted.ts", shifted + " -c:a mp2"));
    EXPECT_EQ(ts.shown.at(0).time, 0);
    EXPECT_NEAR(ts.shown.at(29).time, 967, 21) << "within the sound codec's delay";
}

TEST(ForeignPicture, UnevenTimesStayAsTheyAre) {
    const auto folder = support::TestFolder();
    const std::string slow =
        support::NumberedPictures(45) +
        "-filter:v \"settb=1/1000,setpts='if(lt(N,5),N*1000/30,if(lt(N,6),4000,4000+(N-5)*1000/60))'\" "
        "-vsync vfr -enc_time_base 1:1000 ";
    for (const char* name : {"vfr.mkv", "vfr.mp4"}) {
        const Track track = Read(support::MakeMedia(folder, name, slow + kX264));
        ASSERT_EQ(track.shown.size(), 45U) << name;
        EXPECT_NEAR(track.shown[4].time, 133, 1) << name;
        EXPECT_NEAR(track.shown[5].time, 4000, 1) << name;
        EXPECT_NEAR(track.shown[6].time, 4017, 1) << name;
        EXPECT_NEAR(track.shown[44].time, 4650, 1) << name;
    }
}

TEST(ForeignPicture, SizesOfAllKinds) {
    struct Case {
        const char* file;
        const char* args;
        int width;
        int height;
    };
    const Case cases[] = {
        {"notebook.mp4", "-vf scale=1366:768 -c:v libx264 -preset ultrafast", 1366, 768},
        {"odd.webm", "-vf scale=341:191 -c:v libvpx-vp9 -deadline realtime -cpu-used 8", 341, 191},
        {"odd.mov", "-vf scale=340:191,setsar=1,format=rgb24 -c:v qtrle", 340, 191},
        {"wide.mpg", "-vf scale=720:576,setsar=64/45 -r 25 -c:v mpeg2video", 1024, 576},
    };
    const auto folder = support::TestFolder();
    for (const Case& now : cases) {
        const Track track = Read(support::MakeMedia(folder, now.file, support::NumberedPictures(5) + now.args));
        EXPECT_EQ(track.format.width, now.width) << now.file;
        EXPECT_EQ(track.format.height, now.height) << now.file;
    }
}

TEST(ForeignPicture, ColoursOfRgbSurviveTheWayToVp9) {
    const auto file = support::MakeMedia(support::TestFolder(), "red.mov",
                                         "-f lavfi -i color=red:s=1280x720:r=5:d=1 -vf format=rgb24 -c:v qtrle");
    ForeignPicture reader(file);
    const auto picture = reader.ReadPicture();
    ASSERT_TRUE(picture);
    const AVFrame& frame = *picture->frame;
    EXPECT_EQ(frame.colorspace, AVCOL_SPC_BT709);
    EXPECT_EQ(frame.color_range, AVCOL_RANGE_MPEG);
    EXPECT_NEAR(frame.data[0][0], 63, 1);
    EXPECT_NEAR(frame.data[1][0], 102, 1);
    EXPECT_NEAR(frame.data[2][0], 240, 1);
}

TEST(ForeignPicture, SecondTrackIsTheCameraAndCoverArtIsNone) {
    const auto folder = support::TestFolder();
    const auto both = support::MakeMedia(
        folder, "both.mkv",
        support::NumberedPictures(10) + support::NumberedPictures(10, "32x32") + "-map 0 -map 1 -c:v libx264");
    EXPECT_EQ(Read(both, PictureTrack::Picture).format.width, 64);
    EXPECT_EQ(Read(both, PictureTrack::Camera).format.width, 32);
    const auto png = support::MakeMedia(folder, "art.png", "-f lavfi -i color=red:s=64x64 -frames:v 1");
    const auto song = support::MakeMedia(
        folder, "song.m4a",
        "-f lavfi -i sine=d=1 -i " + support::Quoted(png) + " -map 0 -map 1 -c:v copy -disposition:v attached_pic");
    EXPECT_THROW(ForeignPicture{song}, MediaError);
    EXPECT_THROW(ForeignPicture(song, PictureTrack::Camera), MediaError);
}

TEST(ForeignPicture, DamageIsCountedAndReadingGoesOn) {
    const auto folder = support::TestFolder();
    for (const char* name : {"a.mp4", "a.mkv", "a.wmv"}) {
        const auto file = support::MakeMedia(folder, name, "-f lavfi -i testsrc2=s=320x240:r=30:d=3 -g 15");
        auto bytes = support::ReadBytes(file);
        const std::size_t from = bytes.size() / 3;
        for (std::size_t i = from; i < from + 25000; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
        support::WriteBytes(file, bytes);
        ForeignPicture reader(file);
        Ms last = 0;
        while (const auto packet = reader.ReadPacket()) last = std::max(last, packet->time);
        while (const auto picture = reader.ReadPicture()) last = picture->time;
        EXPECT_GT(last, 2900) << name;
        if (std::string(name) == "a.mp4") {
            EXPECT_GT(reader.Damaged(), 0) << name;
        }
    }
}

}  // namespace
}  // namespace qv
