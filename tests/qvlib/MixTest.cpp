// SPDX-License-Identifier: GPL-3.0-or-later
#include "mix/Mix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "mkv/Check.h"
#include "qvlib/Engine.h"
#include "sound/SoundFormat.h"
#include "support/Containers.h"
#include "support/Decoded.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using support::Output;
using support::Quoted;

struct CodecCase {
    const char* name;
    const char* encode;  ///< options of the outside encoder
    int secondsOfGroup;
};

/// Every picture is another one, and no stretch of the sound is like another.
void MakeRecording(const fs::path& file, const CodecCase& codec, int seconds) {
    std::ostringstream command;
    command << "ffmpeg -v error -y -f lavfi -i testsrc2=s=320x180:r=20:d=" << seconds << " -f lavfi -i "
            << "anoisesrc=c=brown:r=48000:a=0.4:seed=9:d=" << seconds << ",lowpass=2000 " << codec.encode << " -g "
            << codec.secondsOfGroup * 20 << " -c:a pcm_s16le " << Quoted(file);
    Output(command.str());
}

/// The source time whose picture the rows show at t, told row by row without any plan.
Ms SourceAt(const std::vector<FrameRow>& rows, Ms t) {
    const auto row = std::find_if(rows.begin(), rows.end(), [t](const FrameRow& one) { return t < one.posEnd; });
    if (row->srcPos == row->srcPosEnd) return std::max(row->srcPos - 1, 0);
    if (row->srcPosEnd - row->srcPos != row->posEnd - row->pos) return row->srcPosEnd - 1;
    return row->srcPos + (t - row->pos);
}

/// Cuts two pieces out, holds the picture once, and begins slides on a key, between keys and in a hold.
const std::vector<FrameRow> kEditedFrames = {{0, 2000, 0, 2000, 1},           {2000, 2001, 2000, 3521, 0},
                                             {2001, 5480, 3521, 7000, 0},     {5480, 6480, 7000, 7000, 0},
                                             {6480, 8480, 7000, 9000, 0},     {8480, 9480, 9000, 10000, 1},
                                             {9480, 9481, 10000, 10501, 1},   {9481, 10980, 10501, 12000, 0},
                                             {10980, 11500, 12000, 12000, 0}, {11500, 12000, 12000, 12000, 1}};

const std::vector<AudioRow> kPlainSound = {{0, 12000, 0, 0, 12000, 100}};

class MixTest : public testing::TestWithParam<CodecCase> {
protected:
    void SetUp() override {
        folder_ = support::TestFolder();
        MakeRecording(folder_ / "recording.mkv", GetParam(), 12);
        engine_.recordings->MakeContainer({.recording = folder_ / "recording.mkv", .target = folder_ / "source.qv"},
                                          {});
    }

    fs::path Mix(const std::vector<FrameRow>& frames) {
        SaveMix({.target = folder_ / "media.qv",
                 .sources = {folder_ / "source.qv"},
                 .audioRows = kPlainSound,
                 .frameRows = frames},
                {});
        return folder_ / "media.qv";
    }

    fs::path folder_;
    Engine engine_ = MakeEngine({});
};

TEST_P(MixTest, ARecordingIsCarriedOverAndANothingChangedMixIsACopy) {
    const auto recorded = support::PacketLines(folder_ / "recording.mkv");
    const auto carried = support::PacketLines(folder_ / "source.qv");
    ASSERT_EQ(carried.size(), recorded.size());
    EXPECT_EQ(carried, recorded);
    EXPECT_EQ(support::PacketLines(Mix({{0, 12000, 0, 12000, 1}})), carried);
    CheckWhole(folder_ / "media.qv");
}

TEST_P(MixTest, EditedRowsShowWhatTheyMeanAndCopyWhatTheyCan) {
    const fs::path file = Mix(kEditedFrames);
    CheckWhole(file);
    EXPECT_EQ(engine_.lib->GetLength(file), 12000);
    const auto source = support::DecodePictures(folder_ / "source.qv");
    const auto result = support::DecodePictures(file);
    for (Ms t = 0; t < 12000; t += 10) {
        const double psnr = support::Psnr(result.At(t), source.At(SourceAt(kEditedFrames, t)));
        ASSERT_GT(psnr, 38) << "at " << t << " ms, source " << SourceAt(kEditedFrames, t);
    }
    std::set<std::string> known;
    for (const std::string& line : support::PacketLines(folder_ / "source.qv"))
        known.insert(line.substr(line.rfind(' ')));
    const auto lines = support::PacketLines(file);
    const auto copied = std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
        return known.contains(line.substr(line.rfind(' ')));
    });
    // Only 20 pictures a second between a cut and the next key (2.5 + 1.5 s), and one in the hold, are new; an outside
    // encoder that codes some pictures out of order costs a few more at each end.
    EXPECT_GE(copied, static_cast<long>(lines.size()) - 81 - 12);
}

TEST_P(MixTest, KeysStandWhereSlidesBeginAndDecodeAlone) {
    const fs::path file = Mix(kEditedFrames);
    engine_.lib->ListIndex(folder_ / "media.key", file);
    std::istringstream list(Output("cat " + Quoted(folder_ / "media.key")));
    const std::set<Ms> keys{std::istream_iterator<Ms>(list), {}};
    for (const Ms key : {0, 4480, 8480, 9480, 11500}) EXPECT_TRUE(keys.contains(key)) << key;
    const auto source = support::DecodePictures(folder_ / "source.qv");
    for (const Ms key : keys) {
        const auto alone = folder_ / "alone.gray";
        Output("ffmpeg -v error -y -ss " + std::to_string(key / 1000.0) + " -i " + Quoted(file) +
               " -map 0:v:0 -frames:v 1 -pix_fmt gray -f rawvideo " + Quoted(alone));
        EXPECT_GT(support::Psnr(support::ReadBytes(alone), source.At(SourceAt(kEditedFrames, key))), 38) << key;
    }
}

const CodecCase kCodecs[] = {
    {"Vp9", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M", 3},
    {"Vp9WithHiddenPictures", "-c:v libvpx-vp9 -deadline good -cpu-used 5 -lag-in-frames 16 -auto-alt-ref 1 -b:v 1M",
     3},
    {"Vp8", "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M", 3},
    {"Av1", "-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 1M", 3},
    {"H264", "-c:v libx264 -preset veryfast -bf 3 -b_strategy 0", 3},
    {"H264InAPyramid", "-c:v libx264 -preset medium -bf 8 -x264-params b-pyramid=normal:b-adapt=0", 3},
    {"H264InEveryColour", "-c:v libx264 -preset veryfast -pix_fmt yuv444p", 3},
};
INSTANTIATE_TEST_SUITE_P(Codecs, MixTest, testing::ValuesIn(kCodecs),
                         [](const auto& info) { return std::string(info.param.name); });

class MixSoundTest : public testing::Test {
protected:
    void SetUp() override {
        folder_ = support::TestFolder();
        MakeRecording(folder_ / "recording.mkv", kCodecs[0], 12);
        engine_.recordings->MakeContainer({.recording = folder_ / "recording.mkv", .target = folder_ / "source.qv"},
                                          {});
        Output("ffmpeg -v error -y -f lavfi -i \"anoisesrc=d=6:c=pink:r=48000:a=0.5:seed=3,lowpass=3000\" " +
               Quoted(folder_ / "noise.wav"));
        engine_.mixEdit->qvImportWave(folder_ / "noise.wav", folder_ / "noise.qva");
        while (engine_.mixEdit->GetImportProgress() < 100) ASSERT_GE(engine_.mixEdit->GetImportProgress(), 0);
    }

    fs::path folder_;
    Engine engine_ = MakeEngine({});
};

/// What is heard by the rows, sample by sample, without fades.
std::vector<float> Wanted(const std::vector<AudioRow>& rows, const std::vector<std::vector<float>>& sources,
                          Ms length) {
    std::vector<float> sound(static_cast<std::size_t>(length) * kSamplesPerMs, 0.0F);
    for (const AudioRow& row : rows) {
        for (std::int64_t i = std::int64_t{row.pos} * kSamplesPerMs; i < std::int64_t{row.posEnd} * kSamplesPerMs;
             ++i) {
            const std::int64_t from =
                i - std::int64_t{row.pos} * kSamplesPerMs + std::int64_t{row.srcPos} * kSamplesPerMs;
            const bool isHeard = row.fileIndex >= 0 && i < static_cast<std::int64_t>(sound.size());
            if (!isHeard || from >= static_cast<std::int64_t>(sources[static_cast<std::size_t>(row.fileIndex)].size()))
                continue;
            const float sample = sources[static_cast<std::size_t>(row.fileIndex)][static_cast<std::size_t>(from)];
            sound[static_cast<std::size_t>(i)] =
                std::clamp(sample * static_cast<float>(row.volPercent) / 100.0F, -1.0F, 1.0F);
        }
    }
    return sound;
}

TEST_F(MixSoundTest, RowsAreHeardExactToTheSample) {
    const std::vector<AudioRow> rows = {{0, 1984, 0, 0, 1984, 100},       {1984, 3200, 1, 512, 1728, 100},
                                        {3200, 4096, 0, 3200, 4096, 100}, {4096, 5056, -1, 0, 0, 0},
                                        {5056, 7040, 1, 64, 2048, 50},    {7040, 9024, 0, 1000, 2984, 130},
                                        {9024, 13000, 0, 6004, 9980, 100}};
    SaveMix({.target = folder_ / "media.qv",
             .sources = {folder_ / "source.qv", folder_ / "noise.qva"},
             .audioRows = rows,
             .frameRows = {{0, 12003, 0, 12003, 1}}},
            {});
    CheckWhole(folder_ / "media.qv");
    const auto result = support::DecodeSound(folder_ / "media.qv");
    ASSERT_EQ(result.size(), 12003U * kSamplesPerMs);
    const auto wanted =
        Wanted(rows, {support::DecodeSound(folder_ / "source.qv"), support::DecodeSound(folder_ / "noise.qva")}, 12003);
    for (const AudioRow& row : rows) {
        if (row.fileIndex < 0) continue;
        const auto from = static_cast<std::size_t>(row.pos) * kSamplesPerMs + 96;
        const auto end = static_cast<std::size_t>(std::min(row.posEnd, 12003)) * kSamplesPerMs - 96;
        // Just behind the row's start, and just before its end.
        for (const auto& [first, last] : {std::pair{from, from + 9600}, std::pair{end - 9600, end}}) {
            const bool canShift = first >= 200 && last + 200 < result.size();
            const int shift = canShift ? support::BestShift(result, wanted, first, last, 100) : 0;
            EXPECT_EQ(shift, 0) << "row at " << row.pos;
            EXPECT_GT(support::SoundSnr(result, wanted, first, last), 8) << "row at " << row.pos;
        }
    }
    for (std::size_t i = (4096 + 30) * kSamplesPerMs; i < (5056 - 30) * kSamplesPerMs; ++i)
        ASSERT_LT(std::abs(result[i]), 0.01F);
}

TEST_F(MixSoundTest, UntouchedSoundIsCopied) {
    const std::vector<AudioRow> rows = {
        {0, 4000, 0, 0, 4000, 100}, {4000, 5000, 1, 0, 1000, 100}, {5000, 12000, 0, 5000, 12000, 100}};
    const MixReport report = SaveMix({.target = folder_ / "media.qv",
                                      .sources = {folder_ / "source.qv", folder_ / "noise.qva"},
                                      .audioRows = rows,
                                      .frameRows = {{0, 12000, 0, 12000, 1}}},
                                     {});
    EXPECT_EQ(report.soundPackets, 601);
    EXPECT_GT(report.copiedSoundPackets, 601 - 50 - 2 * 20);
    EXPECT_EQ(report.copiedPictures, report.pictures);
}

TEST_F(MixSoundTest, TheCameraFollowsTheRowsLikeThePicture) {
    MakeRecording(folder_ / "camera.mkv", {"", "-vf negate -c:v libvpx -b:v 1M", 2}, 12);
    engine_.recordings->MakeContainer(
        {.recording = folder_ / "recording.mkv", .camera = folder_ / "camera.mkv", .target = folder_ / "two.qv"}, {});
    SaveMix({.target = folder_ / "media.qv",
             .sources = {folder_ / "two.qv"},
             .audioRows = kPlainSound,
             .frameRows = kEditedFrames},
            {});
    CheckWhole(folder_ / "media.qv");
    EXPECT_TRUE(engine_.lib->qvVideoExists(folder_ / "media.qv"));
    const auto source = support::DecodePictures(folder_ / "two.qv", 1);
    const auto result = support::DecodePictures(folder_ / "media.qv", 1);
    for (Ms t = 0; t < 12000; t += 50)
        ASSERT_GT(support::Psnr(result.At(t), source.At(SourceAt(kEditedFrames, t))), 38) << "at " << t << " ms";
}

TEST_F(MixSoundTest, ThumbnailsShowThePictureAtTheirPosition) {
    std::ofstream(folder_ / "thumblist.txt") << "7010\r\n0\nnothing\n99999\n";
    const auto wait = [this] {
        while (engine_.lib->ThumbTime() != -1) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    engine_.lib->ThumbCreate(folder_ / "source.qv", folder_ / "thumblist.txt");
    wait();
    const std::pair<const char*, const char*> wanted[] = {{"0", "0"}, {"7010", "7"}, {"99999", "11.95"}};
    for (const auto& [position, seconds] : wanted) {
        const fs::path thumb = folder_ / "thumbnails" / (std::string(position) + ".jpg");
        const auto gray = [&](const std::string& input, const char* name) {
            Output("ffmpeg -v error -y " + input +
                   " -map 0:v:0 -frames:v 1 -vf scale=160:90 -pix_fmt gray -f rawvideo " + Quoted(folder_ / name));
            return support::ReadBytes(folder_ / name);
        };
        const auto is = gray("-i " + Quoted(thumb), "is.gray");
        EXPECT_EQ(is.size(), 160U * 90);
        EXPECT_GT(
            support::Psnr(is, gray("-ss " + std::string(seconds) + " -i " + Quoted(folder_ / "source.qv"), "as.gray")),
            28)
            << position;
    }
    engine_.lib->ThumbCreate(folder_ / "source.qv", folder_ / "none.txt");
    wait();
}

TEST_F(MixSoundTest, WrongInputFailsWithItsReasonAndLeavesNothing) {
    const fs::path source = folder_ / "source.qv";
    const MixRequest good{.target = folder_ / "out" / "media.qv",
                          .sources = {source},
                          .audioRows = kPlainSound,
                          .frameRows = {{0, 12000, 0, 12000, 1}}};
    fs::create_directory(folder_ / "out");
    fs::copy_file(source, folder_ / "cut.qv");
    fs::resize_file(folder_ / "cut.qv", fs::file_size(source) / 2);
    const auto bad = [&](auto change) {
        MixRequest request = good;
        change(request);
        return request;
    };
    const std::pair<MixRequest, const char*> cases[] = {
        {bad([](MixRequest& it) { it.frameRows[0].pos = 1; }), "frame row 1 does not begin"},
        {bad([](MixRequest& it) { it.audioRows[0].srcPosEnd = 5; }), "audio row 1 runs at another speed"},
        {bad([](MixRequest& it) { it.sources = {"/nowhere/media.qv"}; }), "/nowhere/media.qv: No such file"},
        {bad([&](MixRequest& it) { it.sources = {folder_ / "noise.wav"}; }), "is no media container"},
        {bad([&](MixRequest& it) { it.sources = {folder_ / "noise.qva"}; }), "has no picture"},
        {bad([&](MixRequest& it) { it.sources = {folder_ / "cut.qv"}; }), "cut.qv"},
        {bad([&](MixRequest& it) { it.target = folder_ / "none" / "media.qv"; }), "No such file"},
    };
    for (const auto& [request, reason] : cases) {
        try {
            SaveMix(request, {});
            ADD_FAILURE() << "saved in spite of: " << reason;
        } catch (const std::exception& error) {
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
        }
        EXPECT_TRUE(fs::is_empty(folder_ / "out")) << reason;
    }
}

TEST_F(MixSoundTest, AnAbandonedSaveLeavesNothing) {
    fs::create_directory(folder_ / "out");
    const std::vector<AudioRow> rows = {{0, 12000, 0, 0, 12000, 90}};
    const std::vector<FrameRow> frames = {{0, 1, 0, 501, 1}, {1, 11500, 501, 12000, 0}};
    for (int wait = 0; wait < 20; ++wait) {
        engine_.mixEdit->qvMixSave(folder_ / "out", JoinFileList({folder_ / "source.qv"}), 1, rows, frames);
        std::this_thread::sleep_for(std::chrono::milliseconds(wait * 2));
        engine_.mixEdit->Abandon();
        const bool done = engine_.mixEdit->qvGetSavePercent() == 100;
        EXPECT_EQ(fs::exists(folder_ / "out" / "media.qv"), done);
        EXPECT_FALSE(fs::exists(folder_ / "out" / "media.qv.part"));
        fs::remove(folder_ / "out" / "media.qv");
    }
}

}  // namespace
}  // namespace qv
