// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/IPlayer.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "av/Av.h"
#include "player/Shown.h"
#include "sound/RowMixer.h"
#include "support/Decoded.h"
#include "support/Media.h"

namespace qv {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using support::DecodePictures;
using support::SourceAt;
using Luma = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

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
        for (const auto end = Clock::now() + 10s; !isTrue();) {
            std::unique_lock lock(mutex_);
            changed_.wait_for(lock, 1ms, [this] { return !deeds_.empty(); });
            if (Clock::now() > end) return false;
            if (deeds_.empty()) continue;
            const auto deed = std::move(deeds_.front());
            deeds_.pop_front();
            lock.unlock();
            deed();
        }
        return true;
    }

    void RunFor(std::chrono::milliseconds time) {
        RunUntil([end = Clock::now() + time] { return Clock::now() > end; });
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
        const auto end = Clock::now() + 5s;
        for (int empty = 0; heard.size() < wanted && empty < 50 && Clock::now() < end; ++empty) {
            std::vector<float> block(std::min<std::size_t>(wanted - heard.size(), 480), 7.0F);
            const std::size_t given = fill_(block) * static_cast<std::size_t>(channels_);
            const auto rest = block.begin() + static_cast<long>(given);
            EXPECT_TRUE(std::all_of(rest, block.end(), [](float x) { return x == 0; }));
            heard.insert(heard.end(), block.begin(), rest);
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

/// A hold before the next slide, a cut, and a jump back to the beginning.
const auto kFrames = support::FrameRows("*0-2000 2000+500 2000-4000 4000>5021 *5021-7520 *100-2100");
const auto kWholePicture = support::FrameRows("*0-9000");
/// Loud beyond saturation, quiet, silent, a missing source, a source that ends before its row.
const auto kSounds =
    support::AudioRows("#0:0-1984 #1:512-1728*130 #0:3200-4096*9999 #-1:0-960 #7:0-944 #1:2500-3500*50 #0:7000-9000");
const auto kWholeSound = support::AudioRows("#0:0-9000");

class PlayerTest : public support::EngineTest {
protected:
    PlayerTest() {
        MakeNoise(3, 3);
        player_->OnSeekFinished([this] { ++finished_; });
        player_->OnPicture(take_);
    }

    void OpenWith(const std::vector<AudioRow>& sounds, const std::vector<FrameRow>& frames) {
        if (!fs::exists(source_)) MakeSource("source.qv");
        ASSERT_TRUE(player_->Open(source_));
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

    void Play() {
        player_->Play();
        EXPECT_EQ(player_->State(), PlayState::Playing);
        ASSERT_TRUE(loop_.RunUntil([&] { return device_->IsRunning(); }));
    }

    void ExpectAt(PlayState state, Ms position) {
        EXPECT_EQ(player_->State(), state);
        EXPECT_EQ(player_->Position(), position);
    }

    bool Shows(const Luma& wanted) {
        return loop_.RunUntil([&] { return ShownLuma() == wanted; });
    }

    /// What a reader of the rows that has just come there hears.
    std::vector<float> Wanted(const std::vector<AudioRow>& rows, Ms from, Ms to) {
        const auto open = [files = Sources()](int index) {
            return OpenSound(files.at(static_cast<std::size_t>(index)));
        };
        RowMixer mixer({rows, Sources(), open, 1, std::int64_t{kLength} * kSamplesPerMs}, OnDamage::Throw);
        std::vector<float> sound(static_cast<std::size_t>(to - from) * kSamplesPerMs);
        mixer.Read(std::int64_t{from} * kSamplesPerMs, sound);
        return sound;
    }

    [[nodiscard]] std::vector<fs::path> Sources() const { return {source_, folder_ / "noise.qva"}; }

    static Luma LumaOf(const ShownPicture& picture) {
        return picture.owner ? support::Samples(*static_cast<const AVFrame*>(picture.owner.get()), 0) : Luma();
    }
    [[nodiscard]] Luma ShownLuma() const { return LumaOf(shown_); }

    const fs::path source_ = folder_ / "source.qv";
    Loop loop_;
    int finished_ = 0;
    ShownPicture shown_;
    const std::function<void(const ShownPicture&)> take_ = [this](const ShownPicture& picture) { shown_ = picture; };
    std::shared_ptr<HandPulled> device_ = std::make_shared<HandPulled>();
    std::unique_ptr<IPlayer> player_ = MakePlayer(
        {.post = [this](std::function<void()> deed) { loop_.Post(std::move(deed)); }, .soundOut = device_, .log = {}});
};

class PlayerCodecTest : public PlayerTest, public testing::WithParamInterface<const char*> {};

TEST_P(PlayerCodecTest, ShowsThePictureOfItsMillisecondAfterASeekAndWhenItsSoundIsHeard) {
    MakeSource("source.qv", GetParam());
    OpenWith(kSounds, kFrames);
    const auto all = DecodePictures(source_);
    ASSERT_EQ(all.times.size(), 240U);
    EXPECT_EQ(player_->PictureSize(), (PictureDim{160, 90}));
    for (const Ms t : {0,    49,   50,  1999, 2000, 2499, 2500, 4499, 4500, 4501, 2549, 2600, 8999,
                       6999, 7000, 100, 4520, 1,    2499, 2450, 7399, 7400, 7401, 8950, 5700, 0}) {
        shown_ = {};
        SeekAndWait(t);
        EXPECT_EQ(shown_.pos, t);
        EXPECT_TRUE(ShownLuma() == all.At(SourceAt(kFrames, t))) << t;
    }
    SeekAndWait(kLength + 5000);
    EXPECT_TRUE(ShownLuma() == all.At(SourceAt(kFrames, kLength - 1)));

    SeekAndWait(1700);
    Play();
    for (Ms t = 1700; t < kLength; t = player_->Position()) {
        ASSERT_TRUE(Shows(all.At(SourceAt(kFrames, t)))) << t;
        EXPECT_LE(shown_.pos, t);
        device_->Pull(t < 2600 || (t > 4400 && t < 4600) ? 7 : 61);
    }
}

INSTANTIATE_TEST_SUITE_P(Codecs, PlayerCodecTest,
                         testing::Values("-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 1M",
                                         "-c:v libvpx -deadline realtime -cpu-used 8 -b:v 1M",
                                         "-c:v libaom-av1 -usage realtime -cpu-used 8 -b:v 1M",
                                         "-c:v libx264 -preset veryfast -bf 3 -b_strategy 0"));

TEST_F(PlayerTest, WhatIsHeardIsWhatTheSaverReads) {
    OpenWith(kSounds, kFrames);
    for (const Ms from : {0, 1983, 7300, 5000, 8900}) {
        SeekAndWait(from);
        Play();
        const Ms to = std::min(kLength, from + 4300);
        EXPECT_TRUE(device_->Pull(4300) == Wanted(kSounds, from, to)) << from;
        player_->Pause();
        ExpectAt(PlayState::Paused, to);
        EXPECT_FALSE(device_->IsRunning());
    }
}

TEST_F(PlayerTest, PausingStoppingAndTheEnd) {
    OpenWith(kWholeSound, kWholePicture);
    ExpectAt(PlayState::Stopped, 0);
    Play();
    device_->Pull(333);
    player_->Pause();
    loop_.RunFor(20ms);
    ExpectAt(PlayState::Paused, 333);
    Play();
    EXPECT_TRUE(device_->Pull(100) == Wanted(kWholeSound, 333, 433));
    player_->Stop();
    player_->Pause();
    EXPECT_EQ(player_->State(), PlayState::Stopped);
    // A seek while playing goes on playing, from there and with the new list.
    Play();
    player_->SetPlayList(Sources(), kSounds, kWholePicture);
    SeekAndWait(8800);
    EXPECT_EQ(player_->State(), PlayState::Playing);
    EXPECT_TRUE(device_->Pull(300) == Wanted(kSounds, 8800, kLength));
    ExpectAt(PlayState::Paused, kLength);
    EXPECT_TRUE(loop_.RunUntil([&] { return !device_->IsRunning(); }));
    player_->Play();
    ExpectAt(PlayState::Paused, kLength);
    EXPECT_EQ(finished_, 1);
}

TEST_F(PlayerTest, ANewListReadsItsFilesAnew) {
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(1000);
    fs::remove(folder_ / "noise.qva");  // the same path is another file now
    MakeNoise(4, 77);
    player_->SetPlayList(Sources(), kSounds, kWholePicture);
    SeekAndWait(2000);
    Play();
    EXPECT_TRUE(device_->Pull(500) == Wanted(kSounds, 2000, 2500));
}

TEST_F(PlayerTest, EachSeekIsToldOnceWhateverComesOfIt) {
    const std::vector<FrameRow> broken = {{0, 1000, 0, 1000, 1}, {1500, 2000, 0, 500, 1}};
    SeekAndWait(500);  // nothing is open
    EXPECT_FALSE(player_->Open(folder_ / "noise.qva"));
    SeekAndWait(600);
    ASSERT_TRUE(player_->Open(MakeSource("source.qv")));
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
    loop_.RunFor(50ms);
    EXPECT_EQ(finished_, before + kStorm);
    const Ms last = (kStorm - 1) * 977 % kLength;
    EXPECT_EQ(shown_.pos, last);
    EXPECT_EQ(player_->Position(), last);
    EXPECT_TRUE(ShownLuma() == DecodePictures(source_).At(SourceAt(kFrames, last)));
}

TEST_F(PlayerTest, AfterCloseNothingIsToldAndTheFileMayBeAnother) {
    for (int wait = 0; wait < 12; ++wait) {
        OpenWith(kWholeSound, kWholePicture);
        player_->Seek(100);
        player_->Seek(8000 - wait * 300);
        std::this_thread::sleep_for(std::chrono::milliseconds(wait));
        player_->Close();
        ExpectAt(PlayState::Stopped, 0);
        EXPECT_EQ(player_->PictureSize(), PictureDim{});
    }
    loop_.RunFor(50ms);
    EXPECT_EQ(finished_, 0);
    const Luma before = DecodePictures(source_).At(4000);
    fs::rename(MakeSource("other.qv", "-vf negate " + support::kVp9), source_);
    OpenWith(kWholeSound, kWholePicture);
    SeekAndWait(4000);
    EXPECT_TRUE(ShownLuma() == DecodePictures(source_).At(4000));
    EXPECT_FALSE(ShownLuma() == before);
    player_->OnSeekFinished([this] { player_.reset(); });  // ends in its own event
    player_->Seek(3000);
    EXPECT_TRUE(loop_.RunUntil([&] { return player_ == nullptr; }));
    loop_.RunFor(20ms);
}

TEST_F(PlayerTest, TheCameraIsSeenAsTheRowsHaveIt) {
    MakeSource("screen.qv");
    fs::copy_file(folder_ / "recording.mkv", folder_ / "screen.mkv");
    MakeSource("camera.qv", "-vf negate " + support::kVp9);
    engine_.recordings->MakeContainer(
        {.recording = folder_ / "screen.mkv", .camera = folder_ / "recording.mkv", .target = source_}, {});
    ShownPicture camera;
    player_->OnCamera([&camera](const ShownPicture& picture) { camera = picture; });
    OpenWith(kSounds, kFrames);
    const auto screenAt = DecodePictures(source_);
    const auto cameraAt = DecodePictures(source_, 1);
    const auto shows = [&](Ms t) {
        const Ms src = SourceAt(kFrames, t);
        return loop_.RunUntil([&] { return ShownLuma() == screenAt.At(src) && LumaOf(camera) == cameraAt.At(src); });
    };
    for (const Ms t : {0, 2200, 4499, 4501, 7400}) {
        SeekAndWait(t);
        EXPECT_EQ(camera.pos, t);
        EXPECT_TRUE(LumaOf(camera) == cameraAt.At(SourceAt(kFrames, t))) << t;
        EXPECT_TRUE(shows(t)) << t;
    }
    Play();
    device_->Pull(600);
    EXPECT_TRUE(shows(8000));
    player_->OnCamera({});
    device_->Pull(200);
    EXPECT_TRUE(Shows(screenAt.At(SourceAt(kFrames, 8200))));
    EXPECT_FALSE(LumaOf(camera) == cameraAt.At(SourceAt(kFrames, 8200)));
}

TEST_F(PlayerTest, PicturesCostNothingUntilSomebodyTakesThem) {
    player_->OnPicture({});
    OpenWith(kWholeSound, kWholePicture);
    const auto all = DecodePictures(source_);
    SeekAndWait(3000);
    EXPECT_FALSE(shown_.owner);
    player_->OnPicture(take_);
    EXPECT_TRUE(Shows(all.At(3000)));
    player_->OnPicture({});
    player_->Seek(6000);
    player_->OnPicture(take_);  // while the seek is under way
    EXPECT_TRUE(loop_.RunUntil([&] { return finished_ == 2; }));
    EXPECT_TRUE(ShownLuma() == all.At(6000));
}

TEST_F(PlayerTest, WithoutADeviceAndForSilenceASteadyClockTakesItsPlace) {
    for (const bool isBroken : {true, false}) {
        SCOPED_TRACE(isBroken);
        device_->isBroken = isBroken;
        OpenWith(isBroken ? kWholeSound : support::AudioRows("#0:0-9000*0"), kWholePicture);
        SeekAndWait(200);
        const auto begin = Clock::now();
        player_->Play();
        for (Ms last = 200, now = 200; last <= 600; last = now) {
            loop_.RunFor(10ms);
            now = player_->Position();
            ASSERT_GE(now, last);
            ASSERT_NEAR(now, static_cast<double>(200 + (Clock::now() - begin) / 1ms), 200);
        }
        EXPECT_FALSE(device_->IsRunning());
        player_->Pause();
        const Ms paused = player_->Position();
        loop_.RunFor(30ms);
        EXPECT_EQ(player_->Position(), paused);
    }
}

TEST_F(PlayerTest, DamageEndsAStretchAndNothingElse) {
    const auto clean = support::ReadBytes(MakeSource("source.qv"));
    const auto all = DecodePictures(source_);
    const auto size = clean.size();
    for (const auto& [from, count] : {std::pair{size * 2 / 5, 3000UL}, {size / 3, size / 8}, {size * 9 / 20, 40UL}}) {
        auto bytes = clean;
        for (std::size_t i = from; i < from + count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
        support::WriteBytes(source_, bytes);
        OpenWith(kWholeSound, kWholePicture);
        for (Ms t = 0; t < kLength; t += 310) {
            shown_ = {};
            SeekAndWait(t);
            EXPECT_TRUE(shown_.owner) << "a picture stands behind something broken nevertheless";
        }
        for (const Ms t : {8700, 1000}) {
            SeekAndWait(t);
            EXPECT_TRUE(ShownLuma() == all.At(t)) << t;
        }
        Play();
        EXPECT_EQ(device_->Pull(kLength).size(), static_cast<std::size_t>(kLength - 1000) * kSamplesPerMs);
    }
}

TEST(ShownPictureTest, IsDrawnInTheColoursAndTheSizeAskedFor) {
    const av::Frame frame = av::NewPictureFrame(AV_PIX_FMT_YUV420P, 32, 16);
    const std::array<int, 3> red = {81, 90, 240};  // by the matrix of small pictures
    for (std::size_t plane = 0; plane < 3; ++plane)
        std::fill_n(frame->data[plane], frame->linesize[plane] * (plane == 0 ? 16 : 8),
                    static_cast<std::uint8_t>(red.at(plane)));
    const ShownPicture shown = ToShown({std::shared_ptr<const AVFrame>(frame.get(), [](const AVFrame*) {}), 0}, 7);
    std::vector<std::uint8_t> drawn(8 * 40 - 8 - 4);
    const PictureDim size{7, 8};
    EXPECT_TRUE(DrawBgra(shown, {drawn, 40, size}));
    EXPECT_NEAR(drawn[40 * 7 + 24 + 2], 255, 2);
    EXPECT_NEAR(drawn[40 * 7 + 24], 0, 2);
    EXPECT_EQ(drawn[40 * 7 + 24 + 3], 255);
    EXPECT_EQ(drawn[28], 0);  // between the lines
    EXPECT_FALSE(DrawBgra(shown, {std::span(drawn).first(8 * 40 - 13), 40, size}));
    EXPECT_FALSE(DrawBgra(shown, {drawn, 27, size}) || DrawBgra({}, {drawn, 40, size}));
}

TEST(ShownPictureTest, LooksLikeAnotherIfAllItsSamplesAreTheSame) {
    const auto make = [](int plane, int at) {
        std::shared_ptr<AVFrame> frame = av::NewPictureFrame(AV_PIX_FMT_YUV420P, 30, 6);
        for (std::size_t i = 0; i < 3; ++i) std::fill_n(frame->data[i], frame->linesize[i] * (i == 0 ? 6 : 3), 90);
        ++frame->data[plane][at];
        return Picture{frame, at};
    };
    const int line = av::NewPictureFrame(AV_PIX_FMT_YUV420P, 30, 6)->linesize[1];
    const Picture one = make(1, 15);  // beside the picture, as is all that is behind the 15th
    EXPECT_TRUE(LooksLike(one, one) && LooksLike(one, make(2, 16)));
    EXPECT_FALSE(LooksLike(one, make(0, 29)) || LooksLike(one, make(1, 2 * line + 14)) || LooksLike(one, make(2, 14)));
    EXPECT_FALSE(LooksLike(one, {}) || LooksLike({}, {}));
}

}  // namespace
}  // namespace qv
