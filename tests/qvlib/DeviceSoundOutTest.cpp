// SPDX-License-Identifier: GPL-3.0-or-later
#include "qvlib/ISoundOut.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "support/Basics.h"
#include "support/SoundServer.h"

namespace qv {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// How long others on the machine may keep a thread waiting.
constexpr int kBusyMs = 300;

int MsSince(Clock::time_point begin) { return static_cast<int>((Clock::now() - begin) / 1ms); }

/// What happens to the sound server after 300 ms of playing.
struct Trouble {
    const char* name;
    /// What signal it gets (-1: there is no server yet), how long time is watched then, and how much of it may be lost.
    int signal, watchedMs, lostMs;
    const char* log;
};

/// A sound server whose only device keeps what it plays for a recorder.
class SoundServerTest : public testing::Test {
protected:
    /// @returns false when no server comes up, or no recorder
    bool BeginServer() {
        if (!server_.Begin("--load='module-null-sink rate=48000 format=float32le channels=1 norewinds=1'"))
            return false;
        const auto record = server_.Shell() +
                            "timeout 5 sh -c 'rm -f ~/heard;"
                            "parec --rate=48000 --channels=1 --format=float32le --raw >~/heard & "
                            "until test -s ~/heard; do sleep .02; done' >/dev/null 2>&1";
        return std::system(record.c_str()) == 0;
    }

    /// Begins to play; frame n is (n + 1) / 2^20.
    void Start() {
        out_->Start(1, [n = 0](std::span<float> out) mutable {
            for (float& x : out) x = static_cast<float>(++n) / (1 << 20);
            return out.size();
        });
    }
    /// Plays for some time. @returns how many ms of it are not heard
    int LostIn(int ms) {
        const auto first = out_->Played();
        const auto begin = Clock::now();
        std::this_thread::sleep_for(ms * 1ms);
        return MsSince(begin) - static_cast<int>(out_->Played() - first) / 48;
    }

    support::SoundServer server_;
    std::string log_;
    std::shared_ptr<ISoundOut> out_;
};

using SlowDeviceTest = SoundServerTest;
class DeviceSoundOutTest : public SoundServerTest, public testing::WithParamInterface<Trouble> {};

TEST_P(DeviceSoundOutTest, TimeGoesOnWhateverHappensAndTheNextStartIsHeard) {
    const Trouble& trouble = GetParam();
    if (trouble.signal >= 0 && !BeginServer()) GTEST_SKIP() << "pulseaudio cannot be started here";
    out_ = MakeDeviceSoundOut([this](const std::string& line) { log_ += line.substr(0, line.find(':')); });
    Start();
    LostIn(300);
    server_.Signal(trouble.signal);
    const int lost = LostIn(trouble.watchedMs);
    EXPECT_GT(lost, -kBusyMs);
    EXPECT_LT(lost, trouble.lostMs + kBusyMs);
    const auto begin = Clock::now();
    out_->Stop();
    EXPECT_LT(MsSince(begin), 200 + kBusyMs);
    EXPECT_EQ(log_, trouble.log);

    server_.Signal(SIGKILL);
    if (!BeginServer()) GTEST_SKIP() << "pulseaudio cannot be started here";
    Start();
    LostIn(700);
    out_->Stop();
    server_.Signal(SIGKILL);
    const auto bytes = support::ReadBytes(server_.Folder() / "heard");
    std::vector<float> heard(bytes.size() / sizeof(float));
    std::memcpy(heard.data(), bytes.data(), heard.size() * sizeof(float));
    std::erase(heard, 0.0F);
    for (std::size_t i = 0; i < heard.size(); ++i) ASSERT_EQ(heard[i] * (1 << 20), static_cast<float>(i + 1));
    EXPECT_NEAR(static_cast<int>(heard.size() / 48), static_cast<int>(out_->Played() / 48), kBusyMs);
}

TEST_F(SlowDeviceTest, IsWaitedForUntilItBegins) {
    if (!BeginServer()) GTEST_SKIP() << "pulseaudio cannot be started here";
    out_ = MakeDeviceSoundOut([this](const std::string& line) { log_ += line; });
    std::this_thread::sleep_for(200ms);
    server_.Signal(SIGSTOP);
    Start();
    EXPECT_GT(LostIn(1200), 1200 - 100) << "nothing is heard yet";
    server_.Signal(SIGCONT);
    EXPECT_LT(LostIn(1000), 2 * kBusyMs);
    out_->Stop();
    EXPECT_EQ(log_, "");
}

INSTANTIATE_TEST_SUITE_P(Troubles, DeviceSoundOutTest,
                         testing::Values(Trouble{"None", 0, 3000, 60, ""},
                                         Trouble{"NoServer", -1, 800, 60, "there is no sound device"},
                                         Trouble{"Killed", SIGKILL, 800, 150, "the sound device is lost"},
                                         Trouble{"Hanging", SIGSTOP, 1500, 600, "the sound device is lost"}),
                         [](const auto& trouble) { return trouble.param.name; });

}  // namespace
}  // namespace qv
