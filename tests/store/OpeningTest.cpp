// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Opening.h"

#include <regex>

#include "base/Text.h"
#include "doubles/QvLib.h"
#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane::modOpening {
namespace {

using std::string;
using std::filesystem::path;

/// Makes a folder of "path=bytes path=@7,03:00,0", where the latter is a document of version 7, 03:00 long, with one slide
/// at 0.
void Lay(const path& folder, const string& told) {
    const string slide = "$2\"><item><title/><recdate/><url>h/i</url><pos>$3</pos></item></index>";
    const string blank = ReplaceAll(ReadFile(MIRRANE_SOURCE_DIR "/data/default.qvp"), "00:00\" type=\"OL\"/>", slide);
    remove_all(folder);
    for (string entry : Split(told, ' ')) {
        entry = std::regex_replace(entry, std::regex("@(.),(.*),(.*)"), ReplaceAll(blank, "7.0", "$1.0"));
        const path file = folder / entry.substr(0, entry.find('='));
        create_directories(file.parent_path());
        std::ofstream(file) << entry.substr(entry.find('=') + 1);
    }
}

/// A container of 03:00 with a key at 0, whatever its bytes, and a user who says No.
struct Opening : testing::Test {
    Opening() {
        Lay(program, "default.qvp=@7,00:00,-1 template/default/index.html=page");
        doubled.host.programFolder = program;
        doubled.disk.failsFromThenOn = true;
        lib.length = 180000;
        lib.keys = {0};
    }
    string Box(const char* form, const char* key) { return "|" + GetResString(doubled.world, form, key); }
    string Offer() { return "Version Incompatible" + Box("frmCommon", "msgNeedToUpgrade") + "\n"; }
    /// What was told, and whether the editor may come up.
    /// @param failAt the change from which on the disk is full; 0: it has room
    string Open(int failAt = 0) {
        doubled.user.boxes.clear();
        doubled.disk.failAt = failAt == 0 ? 0 : doubled.disk.changes + failAt;
        const Opened opened = OpenProjectFolder(context, project, folder);
        return doubled.user.Told() + (opened.isReady ? "open" : "stay") + (opened.upgraded ? " upgraded" : "");
    }
    /// How the folder differs, byte for byte, from one of these files; "" when it does not.
    string Odds(const string& files) {
        Lay(program / "same", files);
        return support::Output("diff -r '" + folder.string() + "' '" + program.string() + "/same' || true");
    }
    /// What succeeds does so too after an opening on a disk that was full from any change on.
    /// @param after empty: as before
    void Opens(const string& before, const string& told, const string& after = {}) {
        // No opening here makes as many as 20 changes.
        for (int change = told.ends_with("open") ? 20 : 0; change >= 0; --change) {
            Lay(folder, before);
            if (change > 0) Open(change);
            EXPECT_TRUE(Open() == told || change > 0) << before << "\n" << doubled.user.Told();
            EXPECT_EQ(Odds(after.empty() ? before : after), "") << before << " without change " << change;
        }
    }

    path folder = support::TestFolder() / "my lecture";
    path program = folder.parent_path() / "program";
    doubles::World doubled;
    doubles::QvLib lib;
    modMediaQv::MediaContext context{doubled.world, lib};
    CProjectFile project{doubled.world};
};

TEST_F(Opening, WhatCannotBeEditedIsRefusedAndLeftAsItIs) {
    const string old = "media.qv=m rec.tmp=r project.qvp=@7,03:00,0";
    Opens("project.qvp=@x,03:00,0", "|Unrecognized project version!\nstay");
    Opens("project.qvp=@8,03:00,0", Box("frmCommon", "msgNeedNewVer") + "\nstay");
    Opens("project.qvp=@4,03:00,0", "stay");
    Opens("project.qvp=@5,03:00,0", Offer() + "stay");
    const string absent = "Execution failed because \"" + program.string() + "/qvFmtCvt.exe \" does not exist!\n";
    doubled.user.answers = {Answer::Yes};
    Opens("project.qvp=@6,03:00,0", Offer() + "frmExecCmd.tmrExec_Timer|" + absent + "stay");
    // Of two reasons the one that is looked for first is told.
    lib.isWholeSound = false;
    Opens(old, "|File format error!\nstay");
    lib.version = 1793;
    Opens(old, "|Incompatible file format version (7.1)! Please upgrade your Mirrane.\nstay");
    doubled.disk.freeBytes = 99ULL << 20U;
    Opens(old, Box("frmNewProject", "msgDiskSpace") + ": 99MB\nstay");
    EXPECT_EQ(Open(1), Box("frmNewProject", "msgReadOnly") + "\nstay");
    folder = "/" + folder.string();
    Opens(old, Box("frmNewProject", "msgNet") + "\nstay");
}

TEST_F(Opening, WhatWasCutOffIsSettled) {
    const string moving = "InitProject|Move file error during import!\n";
    const string restored = Box("frmEditor", "msgRestoreBackup") + "\nopen";
    const string fresh = "index.html= media.qv=new project.qvp=@7,03:00,-1";
    const string old = "index.html= media.qv=old project.qvp=@7,03:00,0";
    const string kept = "index.html= media.qv.__=old project.qvp.__=@7,03:00,0";
    const string former = "index.html= media.qv=old project.qvp.mix.tmp=@7,03:00,0";
    Opens(fresh + " media.qv.~mv=half project.qvp.mix.tmp.~mv=half", "open", fresh);
    Opens(fresh + " media.qv.move= rec.tmp=", moving + "open", fresh);
    Opens(kept + " media.qv.move= media.qv=new project.qvp=@7,03:00,-1", moving + restored, old);
    Opens(kept + " media.qv.move= project.qvp=@7,03:00,-1", moving + "open", old);
    Opens(kept + " project.qvp=@7,03:00,-1", "open");
    Opens(kept + " media.qv=new", restored, old);
    // Of two documents the container's one stays.
    Opens(fresh + " project.qvp.mix.tmp=@7,03:00,0", "open", fresh);
    Opens(former, "open", old);
    Opens(former + " project.qvp=@7,02:00,0", "open", old);
    Opens(former + " project.qvp=@7,03:00,1000", "open", old);
    lib.length = 0;
    Opens(former + " project.qvp=@7,00:00,-1", "open");
    lib.length = 180000;
    lib.leavesKeyList = false;
    Opens(former + " project.qvp=@7,02:00,-1", Box("frmCommon", "msgQvpDurationErr") + "\nstay");
}

TEST_F(Opening, AnOldProjectIsConvertedAndANewOneNamed) {
    std::ofstream(program / "qvFmtCvt") << "#!/bin/sh\nsed -i s/5/7/ \"$1\"/project.qvp";
    permissions(program / "qvFmtCvt", std::filesystem::perms::owner_all);
    doubled.user.answers = {Answer::Yes};
    Opens("index.html= project.qvp=@5,03:00,-1", Offer() + "open upgraded", "index.html= project.qvp=@7,03:00,-1");

    folder = program / "Lesson.qvp";
    doubled.settings.Set("configure", "videoSize", "320x240");
    doubled.disk.freeBytes = 100ULL << 20U;
    EXPECT_TRUE(Open() == "open" && project.Load(folder / "project.qvp"));
    EXPECT_EQ(project.title + project.videoSize + ReadFile(folder / "index.html"), "Lesson320x240page");
}

TEST_F(Opening, LeavingClearsWhatNoRowNames) {
    const string used = "media.qv=old project.qvp=old html1/i=p images/a=i thumbnails/0.jpg=t thumbnails/html1.jpg=t";
    const string all = used + " html2/a/b=p thumbnails/html2.jpg=t thumbnails/64000.jpg=t";
    GridTable table;
    CGrid grid(doubled.world);
    grid.Grid(table);
    for (const auto& [url, after] : {std::pair{"html1/i", all}, {"i", used}, {"", all}}) {
        Lay(folder, all + " media.qv.__=old project.qvp.__=old");
        ClearFolder(doubled.world, grid, folder);
        EXPECT_EQ(Odds(after), "") << grid.Rows();
        grid.Append("T", "0", "", "");
        grid.Append("T", "-1", "", url);
    }
    EXPECT_EQ(doubled.user.Told(), "ClearFolder()|The page \"i\" lies in no folder\n");
}

}  // namespace
}  // namespace mirrane::modOpening
