// SPDX-License-Identifier: GPL-3.0-or-later
#include "foreign/ForeignPicture.h"

#include "av/Av.h"
#include "support/Media.h"

namespace qv {
namespace {

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

void ReadCarried(ForeignPicture& reader, Track& track) {
    std::vector<PicturePacket> packets;
    while (auto packet = reader.ReadPacket()) packets.push_back(std::move(*packet));
    for (const PicturePacket& packet : packets) {
        EXPECT_EQ(packet.key, StartsDecoding(track.format, packet.data)) << packet.time;
        if (!packet.key) continue;
        track.keys.push_back(packet.time);
        const auto alone = support::DecodePackets(track.format, {packet});
        EXPECT_EQ(alone.damaged, 0);
        EXPECT_EQ(alone.pictures.size(), 1U) << "the key at " << packet.time << " decodes alone";
    }
    const auto all = support::DecodePackets(track.format, packets);
    EXPECT_EQ(all.damaged, 0);
    for (const Picture& picture : all.pictures) track.shown.push_back({picture.time, support::NumberOn(picture)});
}

Track Read(const std::filesystem::path& file, PictureTrack which = PictureTrack::Picture) {
    ForeignPicture reader(file, which);
    Track track;
    track.carried = reader.Carried();
    track.format = reader.Format();
    if (track.carried) ReadCarried(reader, track);
    while (const auto picture = reader.ReadPicture()) {
        EXPECT_FALSE(track.carried);
        EXPECT_EQ(picture->frame->format, AV_PIX_FMT_YUV420P);
        EXPECT_EQ(picture->frame->width, track.format.width);
        EXPECT_EQ(picture->frame->height, track.format.height);
        track.shown.push_back({picture->time, support::NumberOn(*picture)});
    }
    EXPECT_FALSE(reader.ReadPacket());
    track.damaged = reader.Damaged();
    EXPECT_FALSE(track.shown.empty());
    const auto falls = [](const Shown& a, const Shown& b) { return a.time >= b.time; };
    EXPECT_EQ(std::adjacent_find(track.shown.begin(), track.shown.end(), falls), track.shown.end())
        << "each picture has a time of its own";
    return track;
}

/// `count` pictures 1/30 s apart, and none else: they bear the numbers from `from` on, or from 0 again after `round`.
void ExpectNumbered(const Track& track, int count, int from = 0, int round = 50) {
    ASSERT_EQ(track.shown.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const Shown& shown = track.shown[static_cast<std::size_t>(i)];
        EXPECT_EQ(shown.number, (i + from) % round);
        EXPECT_NEAR(shown.time, i * 1000.0 / 30, 1.01) << i;
    }
}

constexpr int kKeyEvery = 15;
const std::string kX264 = "-c:v libx264 -crf 8 -g 15 -keyint_min 15 -sc_threshold 0 -bf 3 ";
const std::string kVp9 = "-c:v libvpx-vp9 -crf 10 -b:v 0 -g 15 -keyint_min 15 -lag-in-frames ";

TEST(ForeignPicture, EveryPictureAtItsTimeFromEveryContainer) {
    const std::vector<Ms> regular{0, 500};
    // How the track is carried, and its keys then.
    const std::tuple<const char*, std::string, std::optional<PictureCodec>, std::vector<Ms>> cases[] = {
        {"a.mp4", kX264, PictureCodec::H264, regular},
        {"fragments.mov", kX264 + "-movflags frag_keyframe+empty_moov", PictureCodec::H264, regular},
        {"open.mp4", kX264 + "-x264-params open-gop=1", PictureCodec::H264, {0}},
        {"a.mkv", kX264, PictureCodec::H264, regular},
        {"a.flv", kX264, PictureCodec::H264, regular},
        {"a.ts", kX264, PictureCodec::H264, regular},
        {"reordered.avi", kX264, {}, {}},
        {"straight.avi", kX264 + "-bf 0", PictureCodec::H264, regular},
        {"a.webm", kVp9 + "0 -live 1", PictureCodec::Vp9, regular},
        {"hidden9.webm", kVp9 + "12 -auto-alt-ref 1", PictureCodec::Vp9, regular},
        {"hidden8.webm", "-c:v libvpx -crf 4 -b:v 2M -g 15 -auto-alt-ref 1 -lag-in-frames 9 -deadline realtime",
         PictureCodec::Vp8, regular},
        {"av1.mkv", "-c:v libaom-av1 -cpu-used 8 -crf 10 -b:v 0 -g 15 -lag-in-frames 0", PictureCodec::Av1, regular},
        {"a.wmv", "-c:v wmv2 -q:v 2", {}, {}},
        {"a.mpg", "-vf scale=320:240,noise=alls=12:allf=t -c:v mpeg2video -q:v 2 -bf 2", {}, {}},
        {"jpeg.avi", "-c:v mjpeg -q:v 2", {}, {}},
        {"animation.mov", "-vf format=rgb24 -c:v qtrle", {}, {}},
    };
    const auto folder = support::TestFolder();
    for (const auto& [name, args, carried, keys] : cases) {
        SCOPED_TRACE(name);
        const Track track = Read(support::MakeMedia(folder, name, support::NumberedPictures(30) + args));
        EXPECT_EQ(track.carried, carried.has_value());
        EXPECT_EQ(track.format.codec, carried.value_or(PictureCodec::Vp9));
        EXPECT_EQ(track.keys, keys);
        EXPECT_EQ(track.damaged, 0);
        ExpectNumbered(track, 30);
    }
}

TEST(ForeignPicture, CutStreamsStartWhereTheyCanBeDecoded) {
    const auto folder = support::TestFolder();
    const auto whole = support::MakeMedia(folder, "whole.mp4", support::NumberedPictures(45) + kX264);
    const Track hidden = Read(support::MakeMedia(folder, "a.mp4", "-ss 0.3 -i " + support::Quoted(whole) + " -c copy"));
    EXPECT_TRUE(hidden.carried);
    EXPECT_EQ(hidden.keys, (std::vector<Ms>{0, 200, 700})) << "a group that begins with hidden pictures is made anew";
    ExpectNumbered(hidden, 36, 9);
}

TEST(ForeignPicture, KeysBringTheParameterSetsThatTheStreamChangedTo) {
    const auto folder = support::TestFolder();
    std::vector<std::uint8_t> joined;
    for (const char* settings : {"-refs 1 -profile:v main", "-refs 4 -profile:v high", "-refs 1 -profile:v main"}) {
        const std::string args = support::NumberedPictures(10) + "-c:v libx264 -crf 8 -bf 0 " + settings;
        const auto part = support::ReadBytes(support::MakeMedia(folder, "part.h264", args));
        joined.insert(joined.end(), part.begin(), part.end());
    }
    support::WriteBytes(folder / "joined.h264", joined);
    const auto raw = "-r 30 -i " + support::Quoted(folder / "joined.h264") + " -c copy";
    for (const char* name : {"joined.mkv", "joined.ts", "joined.mp4"}) {
        SCOPED_TRACE(name);
        const Track track = Read(support::MakeMedia(folder, name, raw));  // Read decodes every key alone
        EXPECT_EQ(track.keys.size(), 3U);
        ExpectNumbered(track, 30, 0, 10);
    }
}

TEST(ForeignPicture, SizesAndTracks) {
    constexpr auto kPicture = PictureTrack::Picture;
    const std::string both = support::NumberedPictures(5, "32x32") + "-map 0 -map 1 -c:v libx264";
    const std::tuple<const char*, std::string, PictureTrack, int, int> cases[] = {
        {"notebook.mp4", "-vf scale=1366:768 -c:v libx264 -preset ultrafast", kPicture, 1366, 768},
        {"odd.webm", "-vf scale=341:191 -c:v libvpx-vp9 -deadline realtime -cpu-used 8", kPicture, 341, 191},
        {"odd.mov", "-vf scale=340:191,setsar=1,format=rgb24 -c:v qtrle", kPicture, 340, 191},
        {"wide.mpg", "-vf scale=720:576,setsar=64/45 -r 25 -c:v mpeg2video", kPicture, 1024, 576},
        {"both.mkv", both, kPicture, 64, 48},
        {"both.mkv", both, PictureTrack::Camera, 32, 32},
    };
    const auto folder = support::TestFolder();
    for (const auto& [name, args, track, width, height] : cases) {
        const auto file = support::MakeMedia(folder, name, support::NumberedPictures(5) + args);
        const PictureFormat format = Read(file, track).format;
        EXPECT_EQ(format.width, width) << name;
        EXPECT_EQ(format.height, height) << name;
    }
    const auto png = support::MakeMedia(folder, "art.png", support::NumberedPictures(1));
    const std::string song = "-f lavfi -i sine=d=1 -i " + support::Quoted(png) + " -map 0 -map 1 -c:v copy ";
    const auto art = support::MakeMedia(folder, "song.m4a", song + "-disposition:v attached_pic");
    EXPECT_THROW(ForeignPicture{art}, MediaError) << "cover art is no picture track";
    EXPECT_THROW(ForeignPicture(art, PictureTrack::Camera), MediaError);
}

}  // namespace
}  // namespace qv
