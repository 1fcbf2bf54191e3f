// SPDX-License-Identifier: GPL-3.0-or-later
#include <fstream>
#include <functional>

#include "doubles/Capture.h"
#include "doubles/Editing.h"
#include "doubles/Player.h"
#include "doubles/QvLib.h"
#include "doubles/QvMixEdit.h"
#include "editing/Commands.h"
#include "media/AudioRecording.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

using std::filesystem::path;

/// A lecturer at the recorder, on slide 2 of three, 1 s behind its start. A take is 5030 ms long.
struct Desk : doubles::Editing, IRecAudioWindow, IOpenMediaFile, IProgressWindow {
    Desk() : Editing("0-64000 64000-128000 128000-180000") {
        state.gProjectFolder = state.gTempAudioFolder = base;
        Show(2);
        transport.position = 65000;
        recorder.checkTake = [this](const path&, Ms) { return check; };
    }
    void ShowModal(RecAudio& rules) override { speak(rules); }
    std::optional<path> Choose(const std::string&, const std::string&, const path&) override { return {}; }
    void Init(const std::string& /*title*/, const std::string& /*text*/) override {}
    void Set(int /*percent*/, const std::string& /*text*/) override {}
    void Finish() override {}

    /// Presses the button, lets time pass, presses it again.
    void Take(RecAudio& rules) {
        rules.cmdRec_Click();
        std::ofstream(base / (name + ".qva")) << "a take";
        lecture.world.clock.ticks += 1499;
        rules.tmrRecording_Timer();
        seen = rules.lRecTime() + (state.gIsBusy() ? " busy" : "") + (form.mIsRecording ? " on the air" : "");
        rules.cmdRec_Click();
    }

    const path base = support::TestFolder();
    std::string name = "Rec(1)";
    std::string seen;
    std::function<void(RecAudio&)> speak = [this](RecAudio& rules) { Take(rules); };
    qv::TakeCheck check{.failure = {}, .length = 5030, .peak = 9000};
    doubles::QvLib lib{};
    doubles::QvMixEdit mixEdit;
    doubles::Player player;
    doubles::Capture capture;
    modMediaQv::MediaContext mediaCheck{.world = lecture.world.world, .lib = lib};
    MediaContext media{ctx, lib, mixEdit, player, mediaCheck, *this, *this, *this};
    AudioRecorder recorder{media, capture, *this};
};

TEST(Recording, LaysTheTakeOnTrack2WhereItWasSpokenOverASilentPicture) {
    Desk desk;
    for (const char* taken : {"Rec(1).qva", "Rec(2).qva"}) std::ofstream(desk.base / taken) << "an older take";
    desk.name = "Rec(3)";
    desk.lecture.world.settings.Set("configure", "audioDevice", "Headset");
    desk.transport.isPlaying = true;
    const std::string before = desk.Tracks();
    desk.recorder.cmdRecAudio_Click();
    EXPECT_EQ(desk.transport.told, "Pause Mute Seek:64960 Unmute Play Pos:66459 Pause Seek:64960 ");
    EXPECT_EQ(desk.capture.told, "Audio:Headset Check:Rec(3).qva Start Stop Close ");
    EXPECT_EQ(desk.seen, " Rec 0:00:01 busy on the air");
    EXPECT_EQ(desk.Track(1), "2#1:64960-69990<0");
    EXPECT_TRUE(desk.state.gWaveTrack[1].trackSelected && !desk.state.gIsBusy() && !desk.form.mIsRecording);
    EXPECT_EQ(desk.Boxes(), "");
    EXPECT_EQ(desk.user.statuses, (std::vector<std::string>{"Preparing the audio device. Please wait.", "-",
                                                            "Checking the recording. Please wait.", "-"}));
    modCommands::Undo_Click(desk.ctx);
    EXPECT_EQ(desk.Tracks(), before);
}

// clang-format off
TEST(Recording, LeavesTheTimelineAloneOrKeepsWhatThereIs) {
    const std::tuple<const char*, std::function<void(Desk&)>, std::string, bool> cases[] = {
        {"no sound system", [](Desk& desk) { desk.capture.hasSoundSystem = false; }, "|ResetAVDevice Error!\n", false},
        {"no input", [](Desk& desk) { desk.capture.inputs.clear(); }, "|No audio input device can be used", false},
        {"closed unstarted", [](Desk& desk) { desk.speak = [](RecAudio&) {}; }, "", false},
        {"closed while it runs", [](Desk& desk) { desk.speak = [&desk](RecAudio& rules) {
            rules.cmdRec_Click(); std::ofstream(desk.base / "Rec(1).qva") << "a take"; }; }, "", true},
        {"silent, thrown away", [](Desk& desk) { desk.check.isSilent = true; desk.user.answers = {Answer::Yes}; },
         "Record Audio|Nothing is to be heard", false},
        {"silent, kept", [](Desk& desk) { desk.check.isSilent = true; desk.user.answers = {Answer::No}; },
         "Record Audio|Nothing is to be heard", true},
        {"damaged", [](Desk& desk) { desk.check.failure = "cut short"; }, "Record Audio|The recording could not", true},
        {"the input goes", [](Desk& desk) { desk.speak = [&desk](RecAudio& rules) {
            rules.cmdRec_Click(); std::ofstream(desk.base / "Rec(1).qva") << "a take";
            desk.capture.state.isRecording = false; desk.capture.state.isDeviceLost = true; desk.capture.state.device = "Desk";
            rules.tmrGetVol_Timer(); EXPECT_TRUE(rules.isDone()); }; }, "Record Audio|The input \"Desk\" has gone", true},
        {"a seek runs", [](Desk& desk) { desk.state.gIsSeeking = true; desk.transport.holdsSeeks = true; }, "", false},
    };
    for (const auto& [name, prepare, told, isKept] : cases) {
        SCOPED_TRACE(name);
        Desk desk;
        prepare(desk);
        const std::string before = desk.Tracks();
        const ScrollBar bar = desk.form.hScrWave;
        desk.recorder.cmdRecAudio_Click();
        EXPECT_EQ(desk.Tracks() != before, isKept);
        EXPECT_EQ(desk.Boxes().substr(0, told.size()), told);
        EXPECT_TRUE(!desk.form.mIsRecording && desk.state.busyDepth == 0 && !desk.transport.isPlaying);
        EXPECT_EQ(desk.form.hScrWave.Enabled, bar.Enabled);
        if (!desk.capture.told.empty()) {
            EXPECT_EQ(desk.transport.told.substr(desk.transport.told.rfind("Seek")), "Seek:64960 ") << "sound is back";
        }
    }
}

TEST(Recording, TellsWhatIsWrongWithTheSoundWhileItIsRecorded) {
    const std::tuple<const char*, std::function<void(qv::CaptureState&)>> cases[] = {
        {"", [](qv::CaptureState& state) { state.quiet = 1999; state.digitalSilence = 1999; }},
        {"Nothing but noise", [](qv::CaptureState& state) { state.quiet = 2000; }},
        {"The input is completely silent", [](qv::CaptureState& state) { state.digitalSilence = state.quiet = 2000; }},
        {"Too loud", [](qv::CaptureState& state) { state.overloadedSamples = 1; }},
        {"The computer is too slow", [](qv::CaptureState& state) { state.framesLost = 1; }},
        {"This input cannot be used: busy", [](qv::CaptureState& state) { state.failure = "busy"; }},
        {"The input \"Mic\" has gone", [](qv::CaptureState& state) { state.isDeviceLost = true; state.device = "Mic"; }},
    };
    for (const auto& [advice, happen] : cases) {
        SCOPED_TRACE(advice);
        Desk desk;
        RecAudio rules(desk.ctx, desk.capture, {.recFile = "x.qva", .mRecStartPos = 64960});
        rules.cmdRec_Click();
        happen(desk.capture.state);
        rules.tmrGetVol_Timer();
        EXPECT_EQ(rules.lAdvice().substr(0, std::string(advice).size()), advice);
        EXPECT_EQ(rules.lAdvice().empty(), std::string(advice).empty());
    }
}
// clang-format on

TEST(Recording, LightsTheBarsOfTheLevelAndKeepsThePeak) {
    Desk desk;
    RecAudio rules(desk.ctx, desk.capture, {});
    std::string lit;
    for (const int level : {0, 2, 3, 50, 51, 99, 100, 3}) {
        desk.capture.volume = level;
        rules.tmrGetVol_Timer();
        lit += std::to_string(rules.lit()) + "/" + std::to_string(rules.peak()) + " ";
    }
    EXPECT_EQ(lit, "0/0 0/0 1/1 10/10 11/11 21/21 21/21 1/21 ");
}

TEST(Recording, UsesTheInputThatWasChosenAndElseTheFirst) {
    struct Case {
        const char *audio, *video, *inputs, *cameras;
        int result;
        const char* told;
    };
    const Case cases[] = {
        {"Headset", "", "Desk##d_&&_Headset##h", "", 1, "Audio:Headset "},
        {"Gone", "", "Desk##d_&&_Headset##h", "", 1, "Audio:Desk "},
        {"", "", "Desk", "", 1, "Audio:Desk "},
        {"", "", "", "", -1, ""},
        {"Kept", "", "", "", 1, ""},
        {"", "", "Desk##d", "Cam##DV", -1, "Video:Cam "},
        {"Headset", "Cam", "Headset##h", "Cam##c", 3, "Video:Cam "},
        {"Headset", "Cam", "Headset##h", "", 3, "Audio:Headset "},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(std::string(each.audio) + "," + each.inputs + "," + each.cameras);
        Desk desk;
        doubles::World& world = desk.lecture.world;
        world.settings.Set("configure", "audioDevice", each.audio);
        world.settings.Set("configure", "videoDevice", each.video);
        desk.capture.inputs = each.inputs;
        desk.capture.cameras = each.cameras;
        EXPECT_EQ(modConfig::FindAvDevices(world.world, desk.capture), each.result);
        EXPECT_EQ(desk.capture.told, each.told);
    }
    Desk desk;
    RecAudio rules(desk.ctx, desk.capture, {});
    rules.ChooseInput(1);
    EXPECT_EQ(modConfig::KeptAudioDevice(desk.lecture.world.world) + std::to_string(rules.input()), "Headset1");
    desk.capture.refusesInputs = true;
    rules.ChooseInput(0);
    EXPECT_EQ(modConfig::KeptAudioDevice(desk.lecture.world.world) + std::to_string(rules.input()), "Headset1");
}

}  // namespace
}  // namespace mirrane
