// SPDX-License-Identifier: GPL-3.0-or-later
#include "frame/Editor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "base/EventLoop.h"
#include "doubles/World.h"
#include "editing/Commands.h"
#include "editing/WaveEdit.h"
#include "frame/ClapMicrophone.h"
#include "frame/TwoSlides.h"
#include "shell/Progress.h"
#include "timeline/Lecture.h"

namespace mirrane {

using std::filesystem::path;

/// The editor on a project of two slides of 3 s, made by the engine, with a page that no slide names.
struct EditorLife : testing::Test, IOpenMediaFile, IRecAudioWindow {
    EditorLife() {
        create_directories(folder / "html9");
        world.host.environment["temp"] = base / "temp";
        world.user.onEvents = [this] { loop.RunEvents(); };
        Open();
    }

    void Open() {
        editor.reset();
        state = std::make_unique<EditorState>(world.world);
        state->gProjectFolder = folder;
        editor =
            std::make_unique<Editor>(*state, engine, *player, check,
                                     EditorPorts{window, window, *this, *capture, *this,
                                                 [this](std::function<void()> later) { loop.Post(std::move(later)); },
                                                 [this] { ends += "exit "; }, [this] { ends += "closed "; }});
        editor->Form_Load();
        editor->Save_Click();  // there is nothing yet
        Do([this] { editor->tmrLayout_Timer(); });
    }
    std::optional<path> Choose(const std::string&, const std::string&, const path&) override { return {}; }
    void ShowModal(RecAudio& rules) override { speak(rules); }
    /// Does something, and lets it come to its end.
    void Do(const std::function<void()>& deed) {
        deed();
        do loop.RunFor(std::chrono::milliseconds(5));
        while (state->gIsBusy());
    }
    /// Cuts slide 2 in its middle, and shows slide 1 again.
    void SplitSlide2() {
        Do([this] { editor->slideView.LoadSlide(2, WhileBusy::Refuse); });
        Do([this] { editor->transport.SeekInSlide(1000); });
        Do([this] { modCommands::mnuSplit_Click(editor->edit); });
        Do([this] { editor->slideView.LoadSlide(1, WhileBusy::Refuse); });
    }
    /// How many boxes come up, what ends, and what is there then.
    std::string Unload(std::deque<Answer> answers) {
        world.user.boxes.clear();
        world.user.answers = std::move(answers);
        (void)editor->Form_Unload();
        return std::to_string(world.user.boxes.size()) + " " + std::exchange(ends, {}) +
               (FolderExists(state->gTempWorkFolder) ? "work" : "") + (FolderExists(folder / "html9") ? " html9" : "");
    }
    std::string Track1() const { return ToText(state->gWaveTrack[0]); }

    const path base = support::TestFolder();
    const path folder = MakeTwoSlides(base);
    EventLoop loop;
    doubles::World world;
    ProgressWindow window;
    qv::Engine engine = qv::MakeEngine({});
    std::unique_ptr<qv::IPlayer> player = qv::MakePlayer(
        {.post = [this](std::function<void()> event) { loop.Post(std::move(event)); }, .soundOut = {}, .log = {}});
    std::shared_ptr<doubles::ClapMicrophone> microphone = std::make_shared<doubles::ClapMicrophone>();
    std::unique_ptr<qv::IQvCapture> capture = qv::MakeCapture({.soundIn = microphone, .channels = 1, .log = {}});
    std::function<void(RecAudio&)> speak;
    modMediaQv::MediaContext check{world.world, *engine.lib};
    std::string ends;
    std::unique_ptr<EditorState> state;
    std::unique_ptr<Editor> editor;
};

TEST_F(EditorLife, UndoesAcrossSlidesSavesOnLeavingAndOpensWhatItSaved) {
    SplitSlide2();
    const std::string split = "1#2:0-3000<0 2#6:3000-3968<3000 2#8:3968-6000<3968";
    EXPECT_EQ(Track1(), split);
    editor->transport.cmdPlay_Click();
    Do([this] { editor->Undo_Click(); });
    EXPECT_EQ(Track1(), "1#2:0-3000<0 2#4:3000-6000<3000");
    EXPECT_EQ(state->gGrid.CurrIndex(), 2);
    Do([this] { editor->Redo_Click(); });
    EXPECT_EQ(Track1(), split);
    for (CWaveSeg& seg : state->gWaveTrack[0].items) seg.selected(seg.segIndex == 8);
    Do([this] { modCommands::mnuRemove_Click(editor->edit); });
    EXPECT_EQ(Unload({Answer::Yes}), "1 closed ") << world.user.Told();
    Open();
    EXPECT_EQ(state->gProject.duration(), 3968);
    EXPECT_EQ(Unload({}), "0 closed ");
}

TEST_F(EditorLife, ClosesWhenNobodyIsBusyAndTheUserAgreesOrWhenToldTo) {
    SplitSlide2();
    ++state->busyDepth;
    EXPECT_EQ(Unload({}), "0 work html9");
    --state->busyDepth;
    loop.Post([this] { editor->transport.SeekInSlide(1000); });
    EXPECT_EQ(Unload({Answer::Cancel}), "1 work html9");
    EXPECT_FALSE(state->gIsSeeking);
    world.disk.failAt = world.disk.changes + 2;
    EXPECT_EQ(Unload({Answer::Yes}).substr(1), " work html9");  // the save has failed
    world.disk = {};
    EXPECT_EQ(Unload({Answer::No}), "1 closed ");
    EXPECT_EQ(world.settings.Get("configure", "touchTime"), "2024/3/5 13:04:0-5");
    Open();
    editor->transport.SeekInSlide(0);
    editor->Terminate();
    editor->ForceExit();
    EXPECT_TRUE(std::exchange(ends, {}) == "exit " && !FolderExists(state->gTempWorkFolder));
    Disk().Remove(folder / "project.qvp");
    Open();
    EXPECT_FALSE(editor->form.IsEnabled(Control::cmdPlay) || editor->form.IsEnabled(Control::Save));
    editor->Exit_Click();
    EXPECT_EQ(ends, "closed ");
}

/// ms until it is loud in a take.
double FirstSound(const path& take) {
    const path samples = path(take) += ".raw";
    support::Output("ffmpeg -v error -i " + support::Quoted(take) + " -f u8 -ac 1 -ar 48000 " +
                    support::Quoted(samples));
    const std::vector<std::uint8_t> heard = support::ReadBytes(samples);
    const auto loud = std::find_if(heard.begin(), heard.end(), [](int level) { return std::abs(level - 128) > 25; });
    return static_cast<double>(loud - heard.begin()) / 48;
}

TEST_F(EditorLife, AsksOnceForASaveBeforeThePiecesOfTheSoundAreTooMany) {
    EditContext& edit = editor->edit;
    const WaveSegs& segs = state->gWaveTrack[0].items;
    const auto lastSeg = [&segs] { return segs.item(segs.Count()).segIndex; };
    const auto louder = [&] {
        modWaveEdit::VolAdjust(edit, lastSeg(), 5, modWaveEdit::Log::Yes);
        modCommands::SeekAgain(edit);
    };
    world.user.boxes.clear();
    for (const std::int32_t slide : {1, 2}) {
        Do([&] { editor->slideView.LoadSlide(slide, WhileBusy::Refuse); });
        const Ms start = state->gSlideList.GetPos(slide);
        for (Ms at = start - start % 64 + 64; at + 64 < start + 3000; at += 64) {
            ASSERT_TRUE(modWaveEdit::SplitWaveSeg(edit, lastSeg(), at, modWaveEdit::Log::Yes));
            Do(louder);
            ASSERT_EQ(world.user.boxes.size(), state->gAudioRows.size() > 80 ? 1U : 0U) << world.user.Told();
        }
    }
    EXPECT_GT(state->gAudioRows.size(), 85U);
    Do([this] { editor->Save_Click(); });
    EXPECT_EQ(state->gAudioRows.size(), 1U);
}

TEST_F(EditorLife, HasNothingToDoInAProjectWithoutSlides) {
    copy_file(path(MIRRANE_SOURCE_DIR) / "data/default.qvp", folder / "project.qvp",
              std::filesystem::copy_options::overwrite_existing);
    world.user.boxes.clear();
    Open();
    ASSERT_EQ(world.user.boxes.size(), 1U) << world.user.Told();
    EXPECT_NE(world.user.Told().find("no slides"), std::string::npos) << world.user.Told();
    EXPECT_FALSE(editor->form.IsEnabled(Control::cmdPlay) || editor->form.IsEnabled(Control::Save));
    EXPECT_EQ(Unload({}), "0 closed  html9");
}

TEST_F(EditorLife, AVoiceLiesWhereItWasSpokenAgainstThePicture) {
    Ms seen = 0;
    speak = [&](RecAudio& rules) {
        rules.cmdRec_Click();
        loop.RunFor(std::chrono::milliseconds(700));
        microphone->Clap();
        seen = player->Position();
        loop.RunFor(std::chrono::milliseconds(300));
        rules.tmrRecording_Timer();
        rules.cmdRec_Click();
    };
    Do([this] { editor->transport.SeekInSlide(1000); });
    Do([this] { editor->recorder.cmdRecAudio_Click(); });
    ASSERT_EQ(state->gWaveTrack[1].items.Count(), 1) << world.user.Told();
    const CWaveSeg& take = *state->gWaveTrack[1].items.begin();
    EXPECT_EQ(take.pos, 960);
    EXPECT_NEAR(take.pos + FirstSound(take.srcFile), seen, 10);
    EXPECT_NEAR(take.posEnd - take.pos, 1000, 200);
    EXPECT_EQ(player->Position(), 960);
    Do([this] { editor->Undo_Click(); });
    EXPECT_EQ(state->gWaveTrack[1].items.Count(), 0);
    Do([this] { editor->Redo_Click(); });
    EXPECT_EQ(state->gWaveTrack[1].items.Count(), 1);
}

}  // namespace mirrane
