// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/IQvCapture.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <numbers>
#include <thread>

#include "support/Decoded.h"
#include "support/Media.h"
#include "support/SoundFixtures.h"
#include "support/SoundServer.h"

namespace {

std::atomic<bool> isDiskHeldUp = false;

}  // namespace

/// Stands before the system's: a disk that can be held up.
extern "C" int fdatasync(int fd) {
    while (isDiskHeldUp) usleep(10'000);
    return static_cast<int>(syscall(SYS_fdatasync, fd));
}

namespace qv {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// How long others on the machine may keep a thread waiting.
constexpr int kBusyMs = 300;

support::Pcm Tone(int ms, float level) {
    support::Pcm tone(static_cast<std::size_t>(ms) * 48);
    for (std::size_t i = 0; i < tone.size(); ++i)
        tone[i] = level * std::sin(static_cast<float>(i % 48) * std::numbers::pi_v<float> / 24);
    return tone;
}

/// A line that the test itself speaks into.
class SpokenLine : public ISoundIn {
public:
    std::optional<std::vector<SoundInDevice>> Devices() override { return devices; }
    bool Open(const std::string& id, int /*channels*/, Take take) override {
        opened = id;
        take_ = devices && !devices->empty() ? std::move(take) : nullptr;
        return take_ != nullptr;
    }
    void Close() override { take_ = nullptr; }
    [[nodiscard]] bool IsLost() const override { return isLost; }
    [[nodiscard]] std::chrono::microseconds Latency() const override { return latency; }

    void Bring(const support::Pcm& sound) { take_(sound); }
    /// 10 ms at a time, each when it is due.
    void Speak(const support::Pcm& sound) {
        auto due = Clock::now();
        for (std::size_t at = 0; at + 480 <= sound.size(); at += 480) {
            std::this_thread::sleep_until(due += 10ms);
            take_(std::span(sound).subspan(at, 480));
        }
    }

    std::optional<std::vector<SoundInDevice>> devices = std::vector<SoundInDevice>{{"Mic", "mic"}};
    std::string opened = "none";
    std::atomic<bool> isLost = false;
    std::chrono::microseconds latency{0};

private:
    Take take_;
};

class CaptureTest : public support::EngineTest {
protected:
    std::unique_ptr<IQvCapture> CaptureFrom(const std::shared_ptr<ISoundIn>& line) {
        return MakeCapture(
            {.soundIn = line, .channels = 1, .log = [this](const std::string& told) { log_ += told + "\n"; }});
    }
    Ms LengthOf(const std::filesystem::path& file) const { return engine_.mixEdit->qvaGetDuration(file); }

    CaptureState Close() {
        capture_->CloseAudioDevice();
        CaptureState state = capture_->State();
        EXPECT_EQ(LengthOf(take_), state.recorded);
        EXPECT_FALSE(state.isOpen || state.isRecording);
        return state;
    }

    const std::filesystem::path take_ = folder_ / "Rec(1).qva";
    const std::shared_ptr<SpokenLine> line_ = std::make_shared<SpokenLine>();
    std::string log_;
    std::unique_ptr<IQvCapture> capture_ = CaptureFrom(line_);
};

TEST_F(CaptureTest, ListsWhatCanBeReadBackAndOpensIt) {
    line_->devices = std::vector<SoundInDevice>{
        {"Mic #1##_&&_", "a##b"}, {"Line\n#", "line"}, {"Mic", "c"}, {"Mic", "d"}, {"", "e"}};
    std::string list;
    ASSERT_EQ(capture_->qvQueryAudioDevice(list), 1);
    EXPECT_EQ(list, "Mic #1# #_ &&_##a# #b_&&_Line # ##line_&&_Mic##c_&&_Mic (2)##d_&&_e##e");
    EXPECT_NE(capture_->qvQueryVideoDevice(list), 1);
    struct Choice {
        std::string told, opened, name;
    };
    for (const auto& [told, opened, name] :
         {Choice{"a# #b", "a##b", "Mic #1# #_ &&_"}, Choice{"Mic (2)", "d", "Mic (2)"},
          Choice{"Line # ", "line", "Line # "}, Choice{"", "", "Mic #1# #_ &&_"}}) {
        EXPECT_NE(capture_->qvSetAudioDevice(told), 0);
        EXPECT_EQ(capture_->qvSetAudioDevice("Mic (3)"), 0);
        capture_->CheckAudioDevice(take_, 64);
        EXPECT_EQ(line_->opened, opened);
        EXPECT_EQ(capture_->State().device, name);
    }
    line_->devices = std::vector<SoundInDevice>{{std::string(509, 'a'), "1"}, {std::string(505, 'b'), "2"}, {"c", "3"}};
    ASSERT_EQ(capture_->qvQueryAudioDevice(list), 1);
    EXPECT_EQ(list.size(), 509 + 3);  // the second one would be the 1024th byte
}

TEST_F(CaptureTest, WithoutASoundSystemADeviceOrAStartThereIsNoFile) {
    std::string list;
    capture_->CheckAudioDevice(take_, 64);
    line_->Bring(Tone(200, 0.1F));
    EXPECT_EQ(capture_->GetAudioVolume(), 67);  // -20 dB
    Close();
    EXPECT_EQ(capture_->GetAudioVolume(), 0);
    EXPECT_EQ(log_, "");
    line_->devices->clear();
    EXPECT_NE(capture_->qvResetAVDevice(), 0);
    EXPECT_NE(capture_->qvQueryAudioDevice(list), 1);
    line_->devices.reset();
    EXPECT_EQ(capture_->qvResetAVDevice(), 0);
    capture_->CheckAudioDevice(take_, 64);
    capture_->StartRecordAudio();
    capture_->StopRecordAudio();
    Close();
    EXPECT_EQ(log_, "there is no sound input\n");
    EXPECT_TRUE(std::filesystem::is_empty(folder_));
}

TEST_F(CaptureTest, ATakeIsWhatWasHeardBetweenStartAndStop) {
    line_->latency = 250ms;
    capture_->SetPlaybackDelay(100);
    capture_->CheckAudioDevice(take_, 96);
    const auto sound = support::Bursts(5, 1);
    const auto begin = Clock::now();
    std::jthread speaker([&] { line_->Speak(sound); });
    std::this_thread::sleep_for(1s);
    const auto from = Clock::now() - begin + 350ms;
    capture_->StartRecordAudio();
    std::this_thread::sleep_for(2s);
    EXPECT_TRUE(capture_->State().isRecording);
    const auto until = Clock::now() - begin + 250ms;
    capture_->StopRecordAudio();
    speaker.join();
    const CaptureState state = Close();
    EXPECT_NEAR(state.recorded, static_cast<Ms>((until - from) / 1ms), 5);
    const auto recorded = support::DecodeSound(take_);
    EXPECT_NEAR(static_cast<double>(recorded.size()), state.recorded * 48.0, 24);
    const support::Pcm wanted(sound.begin() + from / 1us * 48 / 1000, sound.end());
    EXPECT_NEAR(support::BestShift(recorded, wanted, 24000, 72000, 2400), 0, 5 * 48);
    EXPECT_TRUE(engine_.lib->verifyWholeQvFile(take_));
    EXPECT_EQ(engine_.lib->GetAudioBitrate(take_), 96);
    EXPECT_EQ(CheckTake(take_, state.recorded).failure, "");
    EXPECT_NE(CheckTake(take_, state.recorded + 1).failure, "");
}

/// The ring holds 15 s. What is lost is silence, and what comes behind it stands where it was spoken.
TEST_F(CaptureTest, ADiskThatDoesNotAnswerLosesNothingForTenSecondsAndNoTimeAtAll) {
    for (const int heldMs : {12000, 20000}) {
        capture_->CheckAudioDevice(take_, 64);
        line_->Speak(Tone(200, 0.1F));
        capture_->StartRecordAudio();
        line_->Speak(Tone(1000, 0.1F));
        isDiskHeldUp = true;
        for (int ms = 0; ms < heldMs; ms += 100) line_->Bring(Tone(100, 0.1F));
        std::this_thread::sleep_for(100ms);
        isDiskHeldUp = false;
        std::this_thread::sleep_for(1s);
        line_->Bring(Tone(1000, 0.4F));
        line_->isLost = true;
        const CaptureState state = Close();
        line_->isLost = false;
        EXPECT_TRUE(state.isDeviceLost);
        EXPECT_NEAR(state.recorded, heldMs + 2000, 50);
        EXPECT_NEAR(static_cast<double>(state.framesLost), heldMs > 15000 ? (heldMs - 15000) * 48 : 0, 700 * 48);
        EXPECT_EQ(state.framesLost > 0, heldMs > 15000);
        const auto recorded = support::DecodeSound(take_);
        const auto loud = std::ranges::find_if(recorded, [](float x) { return std::abs(x) > 0.3F; });
        EXPECT_NEAR(static_cast<double>(recorded.end() - loud), 48000, 480);
    }
}

TEST_F(CaptureTest, TellsOfSilenceNoiseAndOverload) {
    capture_->CheckAudioDevice(take_, 64);
    line_->Bring(Tone(1000, 0.02F));
    line_->Bring(support::Pcm(700 * 48));
    CaptureState state = capture_->State();
    EXPECT_EQ(std::tie(state.digitalSilence, state.quiet, state.overloadedSamples), std::tuple(700, 0, 0));
    EXPECT_EQ(state.peak, 0);
    EXPECT_NEAR(state.highestPeak, 655, 1);
    line_->Bring(Tone(1000, 0.02F));
    capture_->StartRecordAudio();
    line_->Bring(Tone(500, 1.5F));
    line_->Bring(Tone(2000, 0.0005F));
    state = capture_->State();
    EXPECT_EQ(std::tie(state.digitalSilence, state.quiet), std::tuple(0, 2000));
    EXPECT_EQ(state.highestPeak, kFullScale);
    EXPECT_EQ(state.overloadedSamples, 500 * 26);  // of 48: those where 1.5 sin(x) is at least 1
    capture_->ResetPeaks();
    EXPECT_EQ(capture_->State().highestPeak, 0);
    std::this_thread::sleep_for(500ms);
    capture_->StopRecordAudio();
    Close();

    capture_->CheckAudioDevice(take_, 64);
    capture_->StartRecordAudio();
    line_->Bring(Tone(3000, 0.02F));  // a hum
    EXPECT_EQ(capture_->State().quiet, 3000);
    line_->Bring(Tone(1000, 0.05F));
    EXPECT_EQ(capture_->State().quiet, 0);
}

/// Records a file in a process of its own, which then has no time to end.
TEST_F(CaptureTest, WhatWasRecordedUntilTheProgramDiedIsThere) {
    const auto voice =
        support::MakeMedia(folder_, "voice.wav", "-f lavfi -i anoisesrc=d=20:a=0.2:seed=1 -ac 2 -ar 44100");
    const pid_t child = fork();
    if (child == 0) {
        const auto capture = CaptureFrom(MakeFileSoundIn(voice));
        capture->CheckAudioDevice(take_, 64);
        capture->StartRecordAudio();
        while (true) pause();
    }
    std::this_thread::sleep_for(4s);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const Ms length = LengthOf(take_);
    EXPECT_GE(length, 3000);
    EXPECT_EQ(CheckTake(take_, length).failure, "");
    EXPECT_FALSE(CheckTake(take_, length).isSilent);
    EXPECT_NEAR(static_cast<double>(support::DecodeSound(take_).size()), length * 48.0, 24);

    const auto bytes = support::ReadBytes(take_);
    // As the end of the power leaves a file: with zeros behind it, cut, or with zeros where its last bytes were.
    for (const auto& [size, zerosFrom, lost] :
         std::vector<std::tuple<std::size_t, std::size_t, Ms>>{{bytes.size() + 4096, bytes.size(), 0},
                                                               {bytes.size() - 100, bytes.size(), 500},
                                                               {bytes.size(), bytes.size() - 100, 500}}) {
        auto torn = bytes;
        torn.resize(size);
        for (std::size_t i = zerosFrom; i < size; ++i) torn[i] = 0;
        support::WriteBytes(take_, torn);
        EXPECT_EQ(LengthOf(take_), length - lost);
        EXPECT_EQ(CheckTake(take_, length - lost).failure, "");
    }
}

TEST_F(CaptureTest, AFileCanBeTheMicrophone) {
    const auto voice = support::MakeMedia(folder_, "voice.wav", "-f lavfi -i sine=d=20 -ac 6 -ar 96000");
    capture_ = CaptureFrom(MakeFileSoundIn(voice, 10));
    capture_->CheckAudioDevice(take_, 64);
    const auto begin = Clock::now();
    capture_->StartRecordAudio();
    std::this_thread::sleep_for(1s);
    capture_->StopRecordAudio();
    const auto length = static_cast<Ms>((Clock::now() - begin) * 10 / 1ms);
    const CaptureState state = Close();
    EXPECT_NEAR(state.recorded, length, 10 * kBusyMs);
    EXPECT_FALSE(CheckTake(take_, state.recorded).isSilent);
    EXPECT_EQ(state.framesLost, 0);
}

/// Two inputs of a sound server: a pipe that is spoken into, and what a device plays that plays to nobody.
class DeviceCaptureTest : public CaptureTest {
protected:
    void SetUp() override {
        const auto pipe = "--load='module-pipe-source source_name=mic file=" + pipe_.string() +
                          " format=float32le rate=48000 channels=1 source_properties=device.description=Desk' ";
        if (!server_.Begin(pipe + "--load='module-null-sink sink_name=b rate=8000 channels=8' "
                                  "--load=module-rescue-streams"))
            GTEST_SKIP() << "pulseaudio cannot be started here";
        capture_ = CaptureFrom(MakeDeviceSoundIn([this](const std::string& line) { log_ += line + "\n"; }));
    }

    support::SoundServer server_;
    const std::filesystem::path pipe_ = server_.Folder() / "pipe";
};

TEST_F(DeviceCaptureTest, RecordsInStepWithWhatIsSpoken) {
    std::string list;
    ASSERT_NE(capture_->qvResetAVDevice(), 0);
    ASSERT_EQ(capture_->qvQueryAudioDevice(list), 1);
    EXPECT_EQ(list, "Desk##mic_&&_Monitor of Null Output##b.monitor");
    ASSERT_NE(capture_->qvSetAudioDevice("Desk"), 0);
    capture_->CheckAudioDevice(take_, 64);
    const auto sound = support::Bursts(6, 3);
    const int pipe = open(pipe_.c_str(), O_WRONLY | O_NONBLOCK);
    const auto begin = Clock::now();
    std::atomic<long> brought = 0;
    std::jthread speaker([&] {
        for (std::size_t at = 0; at < sound.size(); at += 480) {
            std::this_thread::sleep_until(begin + at / 48 * 1ms + 10ms);
            brought += write(pipe, sound.data() + at, 480 * sizeof(float));
        }
    });
    std::this_thread::sleep_for(1s);
    EXPECT_GT(capture_->GetAudioVolume(), 0);
    const auto from = Clock::now() - begin;
    capture_->StartRecordAudio();
    std::this_thread::sleep_for(3s);
    EXPECT_GE(brought, 3900L * 48 * 4) << "the server does not listen";
    capture_->StopRecordAudio();
    const CaptureState state = Close();
    speaker.join();
    close(pipe);
    EXPECT_NEAR(state.recorded, 3000, 20);
    EXPECT_EQ(log_ + state.failure, "");
    const auto recorded = support::DecodeSound(take_);
    ASSERT_GT(recorded.size(), 130'000U);
    const support::Pcm wanted(sound.begin() + from / 1us * 48 / 1000, sound.end());
    const int shift = support::BestShift(recorded, wanted, 24000, 120'000, 4800);
    EXPECT_NEAR(shift, 0, 10 * 48);
}

TEST_F(DeviceCaptureTest, AnInputThatIsPulledOutEndsTheTake) {
    ASSERT_NE(capture_->qvSetAudioDevice("b.monitor"), 0);
    capture_->CheckAudioDevice(take_, 64);
    for (int i = 0; i < 200 && capture_->State().digitalSilence == 0; ++i) std::this_thread::sleep_for(20ms);
    capture_->StartRecordAudio();
    std::this_thread::sleep_for(1500ms);
    std::system((server_.Shell() + "pactl unload-module module-null-sink >/dev/null 2>&1").c_str());
    for (int i = 0; i < 200 && capture_->State().isRecording; ++i) std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(capture_->State().isDeviceLost);
    EXPECT_FALSE(capture_->State().isRecording);
    const CaptureState state = Close();
    EXPECT_NEAR(state.recorded, 1500, 500);
    EXPECT_EQ(state.failure, "Monitor of Null Output: the sound input is lost");
    EXPECT_NE(capture_->qvResetAVDevice(), 0);
    server_.Signal(SIGKILL);
    EXPECT_EQ(capture_->qvResetAVDevice(), 0);
}

}  // namespace
}  // namespace qv
