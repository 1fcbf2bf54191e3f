// SPDX-License-Identifier: GPL-3.0-or-later
#include <functional>

#include "doubles/Editing.h"
#include "doubles/Player.h"
#include "doubles/QvLib.h"
#include "doubles/QvMixEdit.h"
#include "media/AudioImport.h"
#include "media/Remap.h"
#include "media/Sampling.h"
#include "media/Save.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

using std::filesystem::path;

/// Notes what a job's window shows, "[title|text] 40:text 100:text [] "; and chooses a file.
struct Windows final : IProgressWindow, IOpenMediaFile {
    void Init(const std::string& title, const std::string& text) override { shown += "[" + title + "|" + text + "] "; }
    void Set(int percent, const std::string& text) override { shown += std::to_string(percent) + ":" + text + " "; }
    void Finish() override { shown += "[] "; }
    std::optional<path> Choose(const std::string&, const std::string&, const path&) override { return chosen; }
    std::string shown;
    path chosen;
};

/// The pipelines on a project of 180 s with a web page, and an engine that does what it is told. The last 14 s of the
/// first slide are cut away; the second one is shown.
struct Desk : doubles::Editing {
    Desk() : Editing("0-64000 64000-128000 - 128000-180000") {
        for (const path& made : {folder, base / "work", base / "temp"}) create_directories(made);
        state.gProjectFolder = folder;
        state.gTempWorkFolder = state.gTempAudioFolder = base / "work";
        lecture.world.host.environment["temp"] = base / "temp";
        state.gGrid.SetTitle(1, "...Lesson");
        Disk().Copy(MIRRANE_SOURCE_DIR "/data/default.qvp", document);
        state.gProject.Load(document);
        for (int row = 1; row <= 4; ++row) state.gProject.AddIndex(state.gGrid.item(row));
        state.gProject.duration(180000);
        state.gProject.Save({});
        Disk().Write(container, "recorded");
        Disk().Write(folder / "inteIndex.txt", "ver=1.0\nlastFinalPos=64000\n1024,a\n55040,b\n64000,c\n");
        state.gInteList.Load(folder / "inteIndex.txt", 180000);
        Put(state, 0, "1#8:0-49984<0");
        SetEnds(state.gSlideList, "1:49984");
        state.gHistory.ActionAdd(Action::Remove, {}, {});
        Show(2);
        slideView.fails = true;  // from now on it only notes what it is told
        lib.length = 165984;
        before = Files();
    }

    /// Each line of each file in the project, but for a document that could not take its place, as the user was told.
    [[nodiscard]] std::string Files() const {
        return support::Output("cd '" + folder.string() + "' && grep -r --exclude=project.qvp.tmp '' | sort");
    }

    /// The editor is free again, with no scratch file left. Document and media file are new, both or neither; in the
    /// latter case nothing has changed and nothing is lost.
    void ExpectWhole(bool isSaved) const {
        EXPECT_TRUE(form.IsFormEnabled() && state.busyDepth + user.busyDepth == 0 && is_empty(base / "temp"));
        EXPECT_EQ(Files() == before && form.IsEnabled(Control::Save) && state.gHistory.CanUndo(), !isSaved);
        EXPECT_TRUE(!isSaved || ReadFile(container) == "made by the engine");
        EXPECT_EQ(state.gProject.items.at(1).pos, isSaved ? "49984" : "64000");
        EXPECT_FALSE(FileExists(base / "work/media.qv"));
    }

    /// Nothing can be moved over the media file.
    void BarTheMedia() {
        remove(container);
        create_directory(container);
        before = Files();
    }

    const path base = support::TestFolder(), folder = base / "project";
    const path document = folder / "project.qvp", container = folder / "media.qv";
    std::string before;
    doubles::QvLib lib{};
    doubles::QvMixEdit mixEdit;
    doubles::Player player;
    Windows windows;
    modMediaQv::MediaContext check{.world = lecture.world.world, .lib = lib};
    MediaContext media{ctx, lib, mixEdit, player, check, windows, windows, windows};
};

TEST(Save, MakesTheEditedTimelineTheProject) {
    Desk desk;
    desk.mixEdit.looks = {40, 100};
    desk.lib.thumbTimes = {999999999, 82992};
    desk.media.freeTag = 1;
    modSave::Save_Click(desk.media);
    EXPECT_EQ(desk.Boxes() + desk.windows.shown,
              "[Save project|Saving... (0%)] 40:Saving... (40%) 100:Saving... (100%) [] "
              "[Creating thumbnails ... 0%|Creating thumbnails ... 0%] 50:Creating thumbnails ... 50% "
              "100:Creating thumbnails ... 100% [] ");
    EXPECT_EQ(desk.lib.calls, "verifyWholeQvFile media.qv, SetFreeTag media.qv, ThumbCreate media.qv, ");
    EXPECT_EQ(desk.life.told + desk.slideView.told + std::to_string(desk.transport.toolbars), "Reload Slide:2 1");
    desk.ExpectWhole(true);
    EXPECT_EQ(ReadFile(desk.folder / "inteIndex.txt"), "ver=1.0\nlastFinalPos=49984\n1024,a\n49984,c\n");
    EXPECT_EQ(support::Output("ls " + desk.folder.string()),
              "inteIndex.txt\nmedia.qv\nproject.qvp\nstep_log_mix.txt\n");
    EXPECT_EQ(desk.state.gGrid.GetTitle(1) + desk.state.gGrid.GetEnd(4), "Lesson165984");
}

TEST(Save, LeavesAWholeProjectWhicheverChangeOfTheDiskFails) {
    for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        Desk desk;
        doubles::FaultyDisk& disk = desk.lecture.world.disk;
        disk.failAt = disk.changes + n;
        modSave::Save_Click(desk.media);
        if (disk.changes < disk.failAt) break;
        const bool isSaved = n == 1 || n > 8;  // before that the media file was not moved; nobody needs PlayList.txt
        desk.ExpectWhole(isSaved);
        EXPECT_EQ(desk.slideView.told, isSaved ? "Slide:2 " : "") << "the steps behind the swap run";
        EXPECT_TRUE(isSaved || !desk.Boxes().empty());
        disk.failAt = 0;
        if (!isSaved) modSave::Save_Click(desk.media);
        desk.ExpectWhole(true);
    }
}

// clang-format off
TEST(Save, ChangesNothingOrFinishesInTrouble) {
    const std::tuple<const char*, std::function<void(Desk&)>, std::string, bool> cases[] = {
        {"a seek runs", [](Desk& desk) { desk.state.gIsSeeking = true; }, "", false},
        {"no play list", [](Desk& desk) { Put(desk.state, 0, "1#10:49000-49984<0"); },
         "SetPlayList|Error occured while checking continuity of frame segments! This program will now exit!\nExit ", false},
        {"the engine fails", [](Desk& desk) { desk.mixEdit.looks = {40, -1}; }, "|Failed to save project!\n", false},
        {"damaged", [](Desk& desk) { desk.lib.isWholeSound = false; },
         "|Verify media.qv error!\n|Save project failed! ( Verify file error )\n", false},
        {"too short", [](Desk& desk) { --desk.lib.length; }, "|Save project failed! ( Unmatched Duration )\n", false},
        {"barred", [](Desk& desk) {
             desk.BarTheMedia();
             desk.user.onEvents = [&desk] { desk.life.told += '.'; };  // once for the engine, twice for each try
         }, "|Save Project Failed! (Move file error)\n.....................", false},
        {"told to end", [](Desk& desk) { desk.media.isLeaving = true; }, "Exit ", false},
        {"told to end in the swap, at a close", [](Desk& desk) {
             desk.BarTheMedia();
             desk.state.isClosing = true; desk.mixEdit.looks = {50};
             desk.user.onEvents = [&desk] {
                 desk.media.isLeaving = FileExists(desk.folder / "project.qvp.mix.tmp");
                 if (desk.media.isLeaving) remove(desk.container);
             };
         }, "Exit ", true}};
    // clang-format on
    for (const auto& [claim, arrange, told, isSaved] : cases) {
        SCOPED_TRACE(claim);
        Desk desk;
        arrange(desk);
        modSave::Save_Click(desk.media);
        EXPECT_EQ(desk.Boxes() + desk.life.told, told);
        desk.ExpectWhole(isSaved);
    }
}

TEST(Remap, KeepsWhatLiesInKeptMaterial) {
    const std::vector<std::string> texts(4);
    const std::vector<qv::FrameRow> cut = {{0, 1, 0, 9985}, {1, 170016, 9985, 180000}};
    EXPECT_EQ(modSave::Remapped({{5056, 9984, 9985, 180000}, texts}, cut).times, (std::vector<Ms>{0, 1}));
    const std::vector<qv::FrameRow> holds = {
        {0, 99, 0, 99}, {99, 100, 99, 99}, {100, 500, 99, 99}, {500, 600, 99, 199}};
    EXPECT_EQ(modSave::Remapped({{98, 99, 100, 198}, texts}, holds).times, (std::vector<Ms>{98, 500, 501, 599}));
}

// clang-format off
TEST(AudioImport, TakesTheRoadOfTheFile) {
    const std::tuple<const char*, std::deque<int>, std::string> cases[] = {
        // the file, the progress of the jobs; what engine and user are told, with "~" for the temporary WAV
        {"talk.wav", {}, "Wave talk.wav>talk.wav.qva "},
        {"talk.wav", {}, "Wave talk.wav>talk(2).wav.qva "},
        {"TALK.WMA", {}, "Wmv TALK.WMA>TALK.WMA.qva "},
        {"1.wmv", {}, "Wmv 1.wmv>1.wmv.qva "},
        {"-3.wmv", {}, "|Import failed! Path is not valid!\n"},
        {"-2.wmv", {9, -1}, "Transcode -2.wmv>~ |Failed to import audio because of transcoding error!\n"},
        {"a.mpeg", {100, 9, -1}, "Transcode a.mpeg>~ Wave ~>a.mpeg.qva |Failed to import audio!\n"},
        {"mute.avi", {}, "Add Media|Import failed! This video has no audio channel!\n"},
        {"alien.mp3", {}, "Add Media|Import failed! Unsupported video/audio format!\n"},
        {"rare.mp4", {}, "link "}};
    // clang-format on
    Desk desk;
    desk.form.face.showMsgLink = [&desk](const std::string& message) {
        if (message.find("codec") != std::string::npos) desk.mixEdit.told += "link ";
    };
    for (const auto& [name, looks, expected] : cases) {
        desk.mixEdit.looks = looks;
        const auto made = modAudioImport::ImportAudioFile(desk.media, desk.base / name);
        EXPECT_EQ(made.length, FileExists(made.file) ? 5030 : 0);
        std::string told = std::exchange(desk.mixEdit.told, "");
        for (std::size_t at = 0; (at = told.find("_qv_rad")) != std::string::npos;) told.replace(at, 20, "~");
        EXPECT_EQ(told + desk.Boxes(), expected);
        desk.ExpectWhole(false);
    }
}

TEST(AudioImport, LaysTheSoundWhereThePlayerStands) {
    Desk desk;
    Sampler sampler(desk.media);
    desk.ctx.sampler = &sampler;
    desk.mixEdit.looks = {100, 100, 0, -1};
    desk.user.onEvents = [&] { EXPECT_TRUE(!desk.form.IsFormEnabled() && desk.state.gIsBusy()); };
    desk.transport.isPlaying = true;
    desk.transport.position = 70000;
    Disk().Write(desk.windows.chosen = desk.base / "song.mp3", "song");
    modAudioImport::cmdImportAudio_Click(desk.media);
    EXPECT_EQ(desk.windows.shown,
              "[Import Audio|Step 1/2 - Transcoding... (0%)] 100:Step 1/2 - Transcoding... (100%) [] "
              "[Import Audio|Step 2/2 - Importing... (0%)] 100:Step 2/2 - Importing... (100%) [] "
              "[Sample Waves|Sampling... (0%)] 0:Sampling... (0%) [] ");
    EXPECT_EQ(desk.Boxes() + desk.transport.told, "|Failed to sample waves!\nPause Seek:69952 ");
    EXPECT_TRUE(desk.Track(1) == "2#1:69952-74982<0" && desk.state.gWaveTrack[1].trackSelected);

    desk.state.isClosing = true;  // a job is given up, beside another one it is not begun
    desk.mixEdit = {};
    desk.mixEdit.looks = {50};
    EXPECT_EQ(modAudioImport::ImportAudioFile(desk.media, "/p/a.wav").length, 0);
    desk.media.isJobRunning = true;
    EXPECT_EQ(modAudioImport::ImportAudioFile(desk.media, "/p/a.wav").length, 0);
    EXPECT_EQ(desk.mixEdit.told, "Wave a.wav>a.wav.qva Abandon ");
}

}  // namespace
}  // namespace mirrane
