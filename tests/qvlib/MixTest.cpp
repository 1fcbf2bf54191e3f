// SPDX-License-Identifier: GPL-3.0-or-later
#include "mix/Mix.h"

#include <set>
#include <thread>

#include "mkv/Check.h"
#include "support/Decoded.h"
#include "support/Media.h"
#include "support/SoundFixtures.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using support::Output;
using support::Quoted;
using support::SourceAt;

constexpr std::size_t kPerMs = kSamplesPerMs;

/// Cuts two pieces out, holds the picture once, and begins slides on a key, between keys and in a hold.
const auto kEdited = support::FrameRows(
    "*0-2000 2000>3521 3521-7000 7000+1000 7000-9000 *9000-10000 *10000>10501 10501-12000 12000+520 *12000+500");
const auto kWholePicture = support::FrameRows("*0-12000");
const auto kWholeSound = support::AudioRows("#0:0-12000");

class MixTest : public support::EngineTest {
protected:
    MixReport Mix(const std::vector<FrameRow>& frames, const std::vector<AudioRow>& sounds = kWholeSound) {
        const MixReport report = SaveMix({media_, {source_, folder_ / "noise.qva"}, sounds, frames}, {});
        CheckWhole(media_);
        return report;
    }

    /// The picture of the mix, every 10 ms, is the source's that kEdited means.
    void ExpectEdited(int track) const {
        const auto source = support::DecodePictures(source_, track);
        const auto result = support::DecodePictures(media_, track);
        for (Ms t = 0; t < 12000; t += 10)
            ASSERT_GT(support::Psnr(result.At(t), source.At(SourceAt(kEdited, t))), 38) << "at " << t << " ms";
    }

    /// The luma of the first picture that ffmpeg sees.
    [[nodiscard]] std::vector<std::uint8_t> OnePicture(const std::string& input,
                                                       const std::string& form = "-vf extractplanes=y") const {
        Output("ffmpeg -v error -y " + input + " -map 0:v:0 -frames:v 1 " + form + " -f rawvideo " +
               Quoted(folder_ / "one"));
        return support::ReadBytes(folder_ / "one");
    }

    const fs::path media_ = folder_ / "media.qv";
    const fs::path source_ = folder_ / "source.qv";
};

class MixCodecTest : public MixTest, public testing::WithParamInterface<const char*> {};

TEST_P(MixCodecTest, CopiesWhatItCanAndShowsWhatTheRowsMean) {
    MakeSource("source.qv", GetParam());
    const auto carried = support::PacketLines(source_);
    EXPECT_EQ(carried, support::PacketLines(folder_ / "recording.mkv"));
    Mix(kWholePicture);
    EXPECT_EQ(support::PacketLines(media_), carried) << "nothing changed";

    Mix(kEdited);
    EXPECT_EQ(engine_.lib->GetLength(media_), 12000);
    ExpectEdited(0);
    const auto hash = [](const std::string& line) { return line.substr(line.rfind(' ')); };
    std::set<std::string> known;
    for (const std::string& line : carried) known.insert(hash(line));
    const auto lines = support::PacketLines(media_);
    const auto isNew = [&](const std::string& line) { return !known.contains(hash(line)); };
    // Only 20 pictures a second between a cut and the next key (2.5 + 1.5 s), and one in the hold, are new; an outside
    // encoder that codes some pictures out of order costs a few more at each end.
    EXPECT_LE(std::count_if(lines.begin(), lines.end(), isNew), 81 + 12);

    const auto keys = KeysOf(media_);
    EXPECT_TRUE(std::ranges::includes(keys, std::vector<Ms>{0, 4480, 8480, 9480, 11500}));
    const auto source = support::DecodePictures(source_);
    for (const Ms key : keys) {
        const auto alone = OnePicture("-ss " + std::to_string(key / 1000.0) + " -i " + Quoted(media_));
        EXPECT_GT(support::Psnr(alone, source.At(SourceAt(kEdited, key))), 38) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Codecs, MixCodecTest,
    testing::Values("-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M",
                    "-c:v libvpx-vp9 -deadline good -cpu-used 5 -lag-in-frames 16 -auto-alt-ref 1 -b:v 1M",
                    "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M",
                    "-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 1M",
                    "-c:v libx264 -preset veryfast -bf 3 -b_strategy 0",
                    "-c:v libx264 -preset medium -bf 8 -x264-params b-pyramid=normal:b-adapt=0",
                    "-c:v libx264 -preset veryfast -pix_fmt yuv444p"));

class MixSoundTest : public MixTest {
protected:
    MixSoundTest() {
        MakeSource("source.qv");
        MakeNoise(6, 3);
    }
};

TEST_F(MixSoundTest, RowsAreHeardExactToTheSample) {
    const auto rows =
        support::AudioRows("#0:0-1984 #1:512-1728 #0:3200-4096 #-1:0-960 #1:64-2048*50 #0:1000-2984*130 #0:6004-9980");
    Mix(support::FrameRows("*0-12003"), rows);
    const auto result = support::DecodeSound(media_);
    ASSERT_EQ(result.size(), 12003 * kPerMs);
    const auto open = [this](int index) { return OpenSound(index == 0 ? source_ : folder_ / "noise.qva"); };
    const auto wanted = support::Mixed({rows, {source_, folder_ / "noise.qva"}, open, 1, 12003 * kPerMs});
    for (const AudioRow& row : rows) {
        if (row.fileIndex < 0) continue;
        const auto from = static_cast<std::size_t>(row.pos) * kPerMs + 96;
        const auto end = static_cast<std::size_t>(std::min(row.posEnd, 12003)) * kPerMs - 96;
        // Just behind the row's start, and just before its end.
        for (const auto& [first, last] : {std::pair{from, from + 9600}, std::pair{end - 9600, end}}) {
            const bool canShift = first >= 200 && last + 200 < result.size();
            EXPECT_EQ(canShift ? support::BestShift(result, wanted, first, last, 100) : 0, 0) << "row at " << row.pos;
            EXPECT_GT(support::SoundSnr(result, wanted, first, last), 8) << "row at " << row.pos;
        }
    }
    for (std::size_t i = (4096 + 30) * kPerMs; i < (5056 - 30) * kPerMs; ++i) ASSERT_LT(std::abs(result[i]), 0.01F);
}

TEST_F(MixSoundTest, AnImportHasEverySampleInItsPlace) {
    const auto imported = support::DecodeSound(MakeNoise(33, 4));  // two borders between stretches of the encoder
    const auto wave = support::DecodeSound(folder_ / "noise.wav");
    ASSERT_EQ(imported.size(), wave.size());
    for (std::size_t at = 100; at + 9700 <= wave.size(); at += 9600)
        ASSERT_EQ(support::BestShift(imported, wave, at, at + 9600, 100), 0) << "sample " << at;
}

TEST_F(MixSoundTest, UntouchedSoundIsCopied) {
    const MixReport report = Mix(kWholePicture, support::AudioRows("#0:0-4000 #1:0-1000 #0:5000-12000"));
    EXPECT_EQ(report.soundPackets, 601);
    EXPECT_GT(report.copiedSoundPackets, 601 - 50 - 2 * 20);
    EXPECT_EQ(report.copiedPictures, report.pictures);
}

TEST_F(MixSoundTest, TheCameraFollowsTheRowsLikeThePicture) {
    fs::copy_file(folder_ / "recording.mkv", folder_ / "picture.mkv");
    MakeSource("camera.qv", "-g 40 -vf negate -c:v libvpx -b:v 1M");
    engine_.recordings->MakeContainer(
        {.recording = folder_ / "picture.mkv", .camera = folder_ / "recording.mkv", .target = source_}, {});
    Mix(kEdited);
    EXPECT_TRUE(engine_.lib->qvVideoExists(media_));
    ExpectEdited(1);
}

TEST_F(MixSoundTest, ThumbnailsShowThePictureAtTheirPosition) {
    std::ofstream(folder_ / "thumblist.txt") << "7010\r\n0\nnothing\n99999\n";
    for (const char* list : {"thumblist.txt", "none.txt"}) {
        engine_.lib->ThumbCreate(source_, folder_ / list);
        while (engine_.lib->ThumbTime() != -1) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    const std::pair<std::string, std::string> wanted[] = {{"0", "0"}, {"7010", "7"}, {"99999", "11.95"}};
    for (const auto& [position, seconds] : wanted) {
        const std::string gray = "-pix_fmt gray";
        const auto is = OnePicture("-i " + Quoted(folder_ / "thumbnails" / (position + ".jpg")), gray);
        EXPECT_EQ(is.size(), 160U * 90);
        EXPECT_GT(support::Psnr(is, OnePicture("-ss " + seconds + " -i " + Quoted(source_), gray)), 28) << position;
    }
}

TEST_F(MixSoundTest, WrongInputFailsWithItsReasonAndLeavesNothing) {
    const fs::path out = folder_ / "out" / "media.qv";
    fs::create_directory(folder_ / "out");
    fs::copy_file(source_, folder_ / "cut.qv");
    fs::resize_file(folder_ / "cut.qv", fs::file_size(source_) / 2);
    const std::pair<MixRequest, const char*> cases[] = {
        {{out, {source_}, kWholeSound, {{1, 12000, 0, 12000, 1}}}, "frame row 1 does not begin"},
        {{out, {source_}, {{0, 12000, 0, 0, 5, 100}}, kWholePicture}, "audio row 1 runs at another speed"},
        {{out, {"/nowhere/media.qv"}, kWholeSound, kWholePicture}, "/nowhere/media.qv: No such file"},
        {{out, {folder_ / "noise.wav"}, kWholeSound, kWholePicture}, "is no media container"},
        {{out, {folder_ / "noise.qva"}, kWholeSound, kWholePicture}, "has no picture"},
        {{out, {folder_ / "cut.qv"}, kWholeSound, kWholePicture}, "cut.qv"},
        {{folder_ / "none" / "media.qv", {source_}, kWholeSound, kWholePicture}, "No such file"},
    };
    for (const auto& [request, reason] : cases) {
        const std::string told = support::Complaint([&, &it = request] { SaveMix(it, {}); });
        EXPECT_NE(told.find(reason), std::string::npos) << reason << ", but " << told;
        EXPECT_TRUE(fs::is_empty(folder_ / "out")) << reason;
    }
}

TEST_F(MixSoundTest, AnAbandonedSaveLeavesNothing) {
    const auto frames = support::FrameRows("*0>501 501-12000");
    for (int wait = 0; wait < 20; ++wait) {
        engine_.mixEdit->qvMixSave(folder_, JoinFileList({source_}), 1, support::AudioRows("#0:0-12000*90"), frames);
        std::this_thread::sleep_for(std::chrono::milliseconds(wait * 2));
        engine_.mixEdit->Abandon();
        EXPECT_EQ(fs::exists(media_), engine_.mixEdit->qvGetSavePercent() == 100);
        EXPECT_FALSE(fs::exists(folder_ / "media.qv.part"));
        fs::remove(media_);
    }
}

}  // namespace
}  // namespace qv
