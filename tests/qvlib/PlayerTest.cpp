// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/IPlayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <map>
#include <mutex>
#include <thread>

#include "av/Av.h"
#include "picture/PictureSource.h"
#include "player/Shown.h"
#include "qvlib/Engine.h"
#include "sound/RowMixer.h"
#include "sound/SoundFormat.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Luma = std::vector<std::uint8_t>;

constexpr Ms kLength = 9000;

/// The thread that uses the player: the test's own, whenever it says so.
class Loop {
public:
    void Post(std::function<void()> deed) {
        const std::lock_guard lock(mutex_);
        deeds_.push_back(std::move(deed));
        changed_.notify_one();
    }

    /// Runs what was posted until something has come true. @returns false when it does not within ten seconds
    bool RunUntil(const std::function<bool()>& isTrue) {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!isTrue()) {
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, 1ms, [this] { return !deeds_.empty(); });
            if (std::chrono::steady_clock::now() > end) return false;
            if (deeds_.empty()) continue;
            const auto deed = std::move(deeds_.front());
            deeds_.pop_front();
            lock.unlock();
            deed();
        }
        return true;
    }

    void RunFor(std::chrono::milliseconds time) {
        const auto end = std::chrono::steady_clock::now() + time;
        RunUntil([end] { return std::chrono::steady_clock::now() > end; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> deeds_;
};

/// A sound device whose time passes when the test pulls.
class HandPulled : public ISoundOut {
public:
    bool Start(int channels, Fill fill) override {
        if (isBroken) return false;
        channels_ = channels;
        fill_ = std::move(fill);
        played_ = 0;
        return true;
    }
    void Stop() override { fill_ = nullptr; }
    [[nodiscard]] std::int64_t Played() const override { return played_; }

    [[nodiscard]] bool IsRunning() const { return fill_ != nullptr; }

    /// Plays so many ms of sound, or all that is left, waiting where the player is not ready.
    std::vector<float> Pull(Ms ms) {
        std::vector<float> heard;
        const std::size_t wanted = static_cast<std::size_t>(ms) * kSamplesPerMs * static_cast<std::size_t>(channels_);
        const auto end = std::chrono::steady_clock::now() + 5s;
        for (int empty = 0; heard.size() < wanted && empty < 50 && std::chrono::steady_clock::now() < end; ++empty) {
            std::vector<float> block(std::min<std::size_t>(wanted - heard.size(), 480), 7.0F);
            const std::size_t given = fill_(block) * static_cast<std::size_t>(channels_);
            EXPECT_TRUE(
                std::all_of(block.begin() + static_cast<long>(given), block.end(), [](float x) { return x == 0; }));
            heard.insert(heard.end(), block.begin(), block.begin() + static_cast<long>(given));
            played_ += static_cast<std::int64_t>(block.size()) / channels_;
            if (given > 0) empty = 0;
            if (given < block.size()) std::this_thread::sleep_for(2ms);
        }
        return heard;
    }

    bool isBroken = false;

private:
    int channels_ = 1;
    Fill fill_;
    std::atomic<std::int64_t> played_ = 0;
};

/// The source time whose picture the rows show at t, told row by row.
Ms SourceAt(const std::vector<FrameRow>& rows, Ms t) {
    const auto row = std::find_if(rows.begin(), rows.end(), [t](const FrameRow& one) { return t < one.posEnd; });
    if (row->srcPos == row->srcPosEnd) return std::max(row->srcPos - 1, 0);
    if (row->srcPosEnd - row->srcPos != row->posEnd - row->pos) return row->srcPosEnd - 1;
    return row->srcPos + (t - row->pos);
}

/// A hold before the next slide, a cut, and a jump back to the beginning.
const std::vector<FrameRow> kFrames = {{0, 2000, 0, 2000, 1},       {2000, 2500, 2000, 2000, 0},
                                       {2500, 4500, 2000, 4000, 0}, {4500, 4501, 4000, 5021, 0},
                                       {4501, 7000, 5021, 7520, 1}, {7000, kLength, 100, 2100, 1}};
const std::vector<FrameRow> kWholePicture = {{0, kLength, 0, kLength, 1}};
/// Loud beyond saturation, quiet, silent, a missing source, a source that ends before its row.
const std::vector<AudioRow> kSounds = {{0, 1984, 0, 0, 1984, 100},         {1984, 3200, 1, 512, 1728, 130},
                                       {3200, 4096, 0, 3200, 4096, 9999},  {4096, 5056, -1, 0, 0, 0},
                                       {5056, 6000, 7, 0, 944, 100},       {6000, 7000, 1, 2500, 3500, 50},
                                       {7000, kLength, 0, 7000, 9000, 100}};
const std::vector<AudioRow> kWholeSound = {{0, kLength, 0, 0, kLength, 100}};

struct CodecCase {
    const char* name;
    const char* encode;
};
const CodecCase kVp9 = {"Vp9", "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M"};

class PlayerTest : public testing::TestWithParam<CodecCase> {
protected:
    void SetUp() override {
        MakeSource("source.qv", "", GetParam().encode);
        MakeNoise(3, 3);
        player_->OnSeekFinished([this] { ++finished_; });
        player_->OnPicture([this](const ShownPicture& picture) { shown_ = picture; });
    }

    /// Every picture is another one; a key every 2.5 s.
    fs::path MakeSource(const char* name, const char* filter, const char* encode) {
        const fs::path recording = support::MakeMedia(
            folder_, "recording.mkv",
            std::string("-f lavfi -i testsrc2=s=160x96:r=20:d=9") + filter +
                " -f lavfi -i anoisesrc=c=brown:r=48000:a=0.4:seed=9:d=9,lowpass=2000 -g 50 -c:a pcm_s16le " + encode);
        engine_.recordings->MakeContainer({.recording = recording, .target = folder_ / name}, {});
        return folder_ / name;
    }

    void MakeNoise(int seconds, int seed) {
        const fs::path wave =
            support::MakeMedia(folder_, "noise.wav",
                               "-f lavfi -i anoisesrc=c=pink:r=48000:a=0.5:seed=" + std::to_string(seed) +
                                   ":d=" + std::to_string(seconds));
        engine_.mixEdit->qvImportWave(wave, folder_ / "noise.qva");
        while (engine_.mixEdit->GetImportProgress() < 100) ASSERT_GE(engine_.mixEdit->GetImportProgress(), 0);
    }

    std::vector<fs::path> Sources() { return {folder_ / "source.qv", folder_ / "noise.qva"}; }

    void OpenWith(const std::vector<AudioRow>& sounds, const std::vector<FrameRow>& frames) {
        ASSERT_TRUE(player_->Open(folder_ / "source.qv"));
        player_->SetPlayList(Sources(), sounds, frames);
    }

    void SeekAndWait(Ms ms) {
        const int before = finished_;
        player_->Seek(ms);
        EXPECT_EQ(finished_, before);
        EXPECT_EQ(player_->Position(), ms);
        ASSERT_TRUE(loop_.RunUntil([&] { return finished_ > before; })) << ms;
        EXPECT_EQ(finished_, before + 1);
        EXPECT_EQ(player_->Position(), ms);
    }

    /// What a reader of the rows that has just come there hears.
    std::vector<float> Wanted(const std::vector<AudioRow>& rows, Ms from, Ms to) {
        const auto files = Sources();
        const auto open = [files](int index) { return OpenSound(files.at(static_cast<std::size_t>(index))); };
        RowMixer mixer({rows, files, open, 1, std::int64_t{kLength} * kSamplesPerMs}, OnDamage::Throw);
        std::vector<float> sound(static_cast<std::size_t>(to - from) * kSamplesPerMs);
        mixer.Read(std::int64_t{from} * kSamplesPerMs, sound);
        return sound;
    }

    /// The source's pictures by their times, each decoded after the one before.
    static std::map<Ms, Luma> AllPictures(const fs::path& file) {
        std::map<Ms, Luma> all;
        PictureSource(file, false).Decode(0, kLength, [&all](const Picture& picture) {
            all[picture.time] = support::Samples(*picture.frame, 0);
            return true;
        });
        return all;
    }

    static const Luma& Standing(const std::map<Ms, Luma>& all, Ms src) {
        return std::prev(all.upper_bound(src))->second;
    }

    [[nodiscard]] Luma ShownLuma() const {
        return shown_.owner ? support::Samples(*static_cast<const AVFrame*>(shown_.owner.get()), 0) : Luma();
    }

    fs::path folder_ = support::TestFolder();
    Engine engine_ = MakeEngine({});
    Loop loop_;
    int finished_ = 0;
    ShownPicture shown_;
    std::shared_ptr<HandPulled> device_ = std::make_shared<HandPulled>();
    std::unique_ptr<IPlayer> player_ = MakePlayer(
        {.post = [this](std::function<void()> deed) { loop_.Post(std::move(deed)); }, .soundOut = device_, .log = {}});
};

class PlayerCodecTest : public PlayerTest {};

TEST_P(PlayerCodecTest, ASeekShowsThePictureOfItsMillisecondFromWhereverItComes) {
    OpenWith(kSounds, kFrames);
    const auto all = AllPictures(folder_ / "source.qv");
    ASSERT_EQ(all.size(), 180U);
    EXPECT_EQ(player_->PictureSize(), (PictureDim{160, 96}));
    for (const Ms t : {0,    49,   50,  1999, 2000, 2499, 2500, 4499, 4500, 4501, 2549, 2600, 8999,
                       6999, 7000, 100, 4520, 1,    2499, 2450, 7399, 7400, 7401, 8950, 5700, 0}) {
        shown_ = {};
        SeekAndWait(t);
        EXPECT_EQ(shown_.pos, t);
        EXPECT_TRUE(ShownLuma() == Standing(all, SourceAt(kFrames, t))) << t;
    }
    SeekAndWait(kLength + 5000);
    EXPECT_TRUE(ShownLuma() == Standing(all, SourceAt(kFrames, kLength - 1)));
}

TEST_P(PlayerCodecTest, PlayingShowsEachPictureWhenItsSoundIsHeard) {
    OpenWith(kSounds, kFrames);
    const auto all = AllPictures(folder_ / "source.qv");
    SeekAndWait(1700);
    player_->Play();
    for (Ms t = 1700; t < kLength; t = player_->Position()) {
        const Luma& wanted = Standing(all, SourceAt(kFrames, t));
        ASSERT_TRUE(loop_.RunUntil([&] { return ShownLuma() == wanted; })) << t;
        EXPECT_LE(shown_.pos, t);
        device_->Pull(t < 2600 || (t > 4400 && t < 4600) ? 7 : 61);
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, PlayerCodecTest,
                         testing::Values(kVp9, CodecCase{"Vp8", "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M"},
                                         CodecCase{"Av1", "-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 1M"},
                                         CodecCase{"H264", "-c:v libx264 -preset veryfast -bf 3 -b_strategy 0"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(PlayerTest, WhatIsHeardIsWhatTheSaverReads) {
    OpenWith(kSounds, kFrames);
    for (const Ms from : {0, 1983, 7300, 5000, 8900}) {
        SeekAndWait(from);
        player_->Play();
        EXPECT_EQ(player_->State(), PlayState::Playing);
        const Ms to = std::min(kLength, from + 4300);
        EXPECT_TRUE(device_->Pull(4300) == Wanted(kSounds, from, to)) << from;
        EXPECT_EQ(player_->Position(), to);
        player_->Pause();
        EXPECT_EQ(player_->State(), PlayState::Paused);
        EXPECT_FALSE(device_->IsRunning());
    }
}

TEST_P(PlayerTest, PausingStoppingAndTheEnd) {
    OpenWith(kWholeSound, kWholePicture);
    EXPECT_EQ(player_->State(), PlayState::Stopped);
    player_->Play();
    EXPECT_EQ(player_->State(), PlayState::Playing);
    EXPECT_TRUE(loop_.RunUntil([&] { return device_->IsRunning(); }));
    device_->Pull(333);
    EXPECT_EQ(player_->Position(), 333);
    player_->Pause();
    EXPECT_EQ(player_->State(), PlayState::Paused);
    loop_.RunFor(20ms);
    EXPECT_EQ(player_->Position(), 333);
    player_->Play();
    loop_.RunUntil([&] { return device_->IsRunning(); });
    EXPECT_TRUE(device_->Pull(100) == Wanted(kWholeSound, 333, 433));
    player_->Stop();
    EXPECT_EQ(player_->State(), PlayState::Stopped);
    player_->Pause();
    EXPECT_EQ(player_->State(), PlayState::Stopped);
    // A seek while playing goes on playing, from there and with the new list.
    player_->Play();
    loop_.RunUntil([&] { return device_->IsRunning(); });
    player_->SetPlayList(Sources(), kSounds, kWholePicture);
    SeekAndWait(8800);
    EXPECT_EQ(player_->State(), PlayState::Playing);
    EXPECT_TRUE(device_->Pull(300) == Wanted(kSounds, 8800, kLength));
    EXPECT_EQ(player_->State(), PlayState::Paused);
    EXPECT_EQ(player_->Position(), kLength);
    EXPECT_TRUE(loop_.RunUntil([&] { return !device_->IsRunning(); }));
    player_->Play();
    EXPECT_EQ(player_->State(), PlayState::Paused);
    EXPECT_EQ(player_->Position(), kLength);
    EXPECT_EQ(finished_, 1);
}

TEST_P(PlayerTest, ANewListHoldsFromTheNextSeekOrPlayOn) {
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(1000);
    std::vector<AudioRow> quiet = {{0, kLength, 1, 0, kLength, 30}};
    player_->SetPlayList(Sources(), quiet, kWholePicture);
    const auto wanted = Wanted(quiet, 1000, 1200);
    quiet.clear();
    EXPECT_EQ(player_->Position(), 1000);
    player_->Play();
    ASSERT_TRUE(loop_.RunUntil([&] { return device_->IsRunning(); }));
    EXPECT_TRUE(device_->Pull(200) == wanted);
    // The same path is another file now.
    player_->Pause();
    fs::remove(folder_ / "noise.qva");
    MakeNoise(4, 77);
    player_->SetPlayList(Sources(), kSounds, kWholePicture);
    SeekAndWait(2000);
    player_->Play();
    EXPECT_TRUE(device_->Pull(500) == Wanted(kSounds, 2000, 2500));
}

TEST_P(PlayerTest, EachSeekIsToldOnceWhateverComesOfIt) {
    const std::vector<FrameRow> broken = {{0, 1000, 0, 1000, 1}, {1500, 2000, 0, 500, 1}};
    SeekAndWait(500);  // nothing is open
    EXPECT_FALSE(player_->Open(folder_ / "noise.qva"));
    SeekAndWait(600);
    ASSERT_TRUE(player_->Open(folder_ / "source.qv"));
    SeekAndWait(700);  // no list
    player_->Play();
    EXPECT_EQ(player_->State(), PlayState::Paused);
    for (const auto& [sounds, frames] :
         {std::pair{kWholeSound, kWholePicture}, {kWholeSound, broken}, {{}, kFrames}, {kWholeSound, {}}, {{}, {}}}) {
        player_->SetPlayList({"/nowhere.qv"}, sounds, frames);
        for (const Ms t : {kLength + 5000, 300, kLength, -4}) SeekAndWait(t);
    }
    const int before = finished_;
    OpenWith(kSounds, kFrames);
    constexpr int kStorm = 60;
    for (int i = 0; i < kStorm; ++i) {
        player_->Seek(i * 977 % kLength);
        if (i % 7 == 0) loop_.RunFor(std::chrono::milliseconds(i % 5));
        if (i % 13 == 0) player_->SetPlayList(Sources(), kWholeSound, kFrames);
    }
    EXPECT_TRUE(loop_.RunUntil([&] { return finished_ == before + kStorm; }));
    const Ms last = (kStorm - 1) * 977 % kLength;
    EXPECT_EQ(shown_.pos, last);
    loop_.RunFor(50ms);
    EXPECT_EQ(finished_, before + kStorm);
    EXPECT_EQ(player_->Position(), last);
    EXPECT_TRUE(ShownLuma() == Standing(AllPictures(folder_ / "source.qv"), SourceAt(kFrames, last)));
}

TEST_P(PlayerTest, AfterCloseNothingIsToldAndTheFileMayBeAnother) {
    const auto before = AllPictures(folder_ / "source.qv");
    const fs::path other = MakeSource("other.qv", ",negate", kVp9.encode);
    for (int wait = 0; wait < 12; ++wait) {
        OpenWith(kWholeSound, kWholePicture);
        player_->Seek(100);
        player_->Seek(8000 - wait * 300);
        std::this_thread::sleep_for(std::chrono::milliseconds(wait));
        player_->Close();
        EXPECT_EQ(player_->Position(), 0);
        EXPECT_EQ(player_->State(), PlayState::Stopped);
        EXPECT_EQ(player_->PictureSize(), PictureDim{});
    }
    loop_.RunFor(50ms);
    EXPECT_EQ(finished_, 0);
    fs::rename(other, folder_ / "source.qv");
    const auto after = AllPictures(folder_ / "source.qv");
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(4000);
    EXPECT_TRUE(ShownLuma() == Standing(after, 4000));
    EXPECT_FALSE(ShownLuma() == Standing(before, 4000));
    player_->OnSeekFinished([this] { player_.reset(); });  // ends in its own event
    player_->Seek(3000);
    EXPECT_TRUE(loop_.RunUntil([&] { return player_ == nullptr; }));
    loop_.RunFor(20ms);
}

TEST_P(PlayerTest, PicturesCostNothingUntilSomebodyTakesThem) {
    player_->OnPicture({});
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(3000);
    EXPECT_FALSE(shown_.owner);
    const auto all = AllPictures(folder_ / "source.qv");
    const auto take = [this](const ShownPicture& picture) { shown_ = picture; };
    player_->OnPicture(take);
    EXPECT_TRUE(loop_.RunUntil([&] { return ShownLuma() == Standing(all, 3000); }));
    player_->OnPicture({});
    player_->Play();
    loop_.RunUntil([&] { return device_->IsRunning(); });
    device_->Pull(1000);
    player_->OnPicture(take);
    EXPECT_TRUE(loop_.RunUntil([&] { return ShownLuma() == Standing(all, 4000); }));
    EXPECT_EQ(finished_, 1);
    player_->Stop();
    player_->OnPicture({});
    player_->Seek(6000);
    player_->OnPicture(take);  // while the seek is under way
    EXPECT_TRUE(loop_.RunUntil([&] { return finished_ == 2; }));
    EXPECT_TRUE(ShownLuma() == Standing(all, 6000));
}

TEST_P(PlayerTest, WithoutADeviceASteadyClockTakesItsPlace) {
    device_->isBroken = true;
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(200);
    const auto begin = std::chrono::steady_clock::now();
    player_->Play();
    Ms last = 200;
    for (int i = 0; i < 60; ++i) {
        loop_.RunFor(10ms);
        const Ms now = player_->Position();
        const auto passed =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
        EXPECT_GE(now, last);
        EXPECT_NEAR(now, static_cast<double>(200 + passed.count()), 200);
        last = now;
    }
    EXPECT_GT(last, 500);
    player_->Pause();
    const Ms paused = player_->Position();
    loop_.RunFor(30ms);
    EXPECT_EQ(player_->Position(), paused);
}

TEST_P(PlayerTest, DamageEndsAStretchAndNothingElse) {
    const auto all = AllPictures(folder_ / "source.qv");
    const auto clean = support::ReadBytes(folder_ / "source.qv");
    const auto size = clean.size();
    for (const auto& [from, count] :
         {std::pair{size / 2, std::size_t{3000}}, {size / 3, size / 4}, {size * 2 / 5, 40U}}) {
        auto bytes = clean;
        for (std::size_t i = from; i < from + count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
        support::WriteBytes(folder_ / "source.qv", bytes);
        OpenWith(kWholeSound, kWholePicture);
        for (Ms t = 0; t < kLength; t += 310) SeekAndWait(t);
        shown_ = {};
        SeekAndWait(5050);  // as likely as any to lie behind something broken: a picture stands there nevertheless
        EXPECT_TRUE(shown_.owner);
        SeekAndWait(1000);
        EXPECT_TRUE(ShownLuma() == Standing(all, 1000));
        SeekAndWait(8700);
        EXPECT_TRUE(ShownLuma() == Standing(all, 8700));
        SeekAndWait(1000);
        player_->Play();
        EXPECT_EQ(device_->Pull(kLength).size(), static_cast<std::size_t>(kLength - 1000) * kSamplesPerMs);
    }
}

INSTANTIATE_TEST_SUITE_P(Vp9, PlayerTest, testing::Values(kVp9),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ShownPictureTest, IsDrawnInTheColoursAndTheSizeAskedFor) {
    const av::Frame frame = av::NewPictureFrame(AV_PIX_FMT_YUV420P, 32, 16);
    const std::array<int, 3> red = {81, 90, 240};  // by the matrix of small pictures
    for (std::size_t plane = 0; plane < 3; ++plane)
        std::fill_n(frame->data[plane], frame->linesize[plane] * (plane == 0 ? 16 : 8),
                    static_cast<std::uint8_t>(red.at(plane)));
    const Picture picture{std::shared_ptr<const AVFrame>(frame.get(), [](const AVFrame*) {}), 0};
    const ShownPicture shown = ToShown(picture, 7);
    EXPECT_EQ(shown.planeCount, 3);
    EXPECT_EQ(shown.chromaShiftX, 1);
    EXPECT_EQ(shown.planes[2][0], 240);
    std::vector<std::uint8_t> drawn(8 * 40 - 8);
    const PictureDim size{8, 8};
    EXPECT_TRUE(DrawBgra(shown, {drawn, 40, size}));
    EXPECT_NEAR(drawn[40 * 7 + 28 + 2], 255, 2);
    EXPECT_NEAR(drawn[40 * 7 + 28], 0, 2);
    EXPECT_EQ(drawn[40 * 7 + 28 + 3], 255);
    EXPECT_EQ(drawn[33], 0);  // between the lines
    EXPECT_FALSE(DrawBgra(shown, {std::span(drawn).first(8 * 40 - 9), 40, size}));
    EXPECT_FALSE(DrawBgra(shown, {drawn, 31, size}));
    EXPECT_FALSE(DrawBgra({}, {drawn, 40, size}));
}

}  // namespace
}  // namespace qv
