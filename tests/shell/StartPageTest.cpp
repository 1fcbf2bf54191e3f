// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/StartPage.h"

#include <gtest/gtest.h>

#include "base/Text.h"
#include "doubles/QvLib.h"
#include "doubles/World.h"
#include "shell/Manual.h"
#include "shell/Paths.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

using std::string;
using std::filesystem::path;

/// A page on a disk with projects, whose recordings are all sound; what the window is told is noted.
struct StartPageOn : testing::Test {
    StartPageOn() {
        doubled.host.environment["temp"] = folder / "temp";
        page.face = {.choose =
                         [this](const string& title, const string& filter, const path& start) {
                             told += title + ";" + filter + ";" + start.string() + " ";
                             return chosen;
                         },
                     .setEnabled = [this](bool on) { told += on ? "on " : "off "; },
                     .listChanged = [this] { told += "list "; },
                     .unload = [this] { told += "unload "; }};
    }
    /// @param version of its document, of which another than 7 cannot be opened
    path Make(const string& name, char version = '7') {
        string document = ReadFile(MIRRANE_SOURCE_DIR "/data/default.qvp");
        document.replace(document.find("7.0"), 1, 1, version);
        create_directories(folder / name);
        Disk().Write(folder / name / "project.qvp", document);
        return folder / name / "project.qvp";
    }
    /// What was told since the last time, and the project that is open.
    string Told() {
        EXPECT_EQ(doubled.user.busyDepth, 0);
        string all = std::exchange(told, "") + doubled.user.Told() + state.gProjectFolder.filename().string();
        doubled.user.boxes.clear();
        return all;
    }
    string Token(const char* key) { return doubled.settings.Get("tokens\\Tallowin", key).value_or("none"); }
    string Text(const char* key) { return "|" + GetResString(doubled.world, "frmNewProject", key) + "\n"; }
    /// Numbers, names and folders of the list.
    string List() {
        string list;
        for (const RecentRow& row : page.lProj())
            list += std::to_string(row.number) + (row.isCurrent ? "! " : " ") + row.name + "@" +
                    row.folder.filename().string() +
                    (row.picture.empty() ? "" : "=" + row.picture.filename().string()) + " ";
        return list;
    }

    const path folder = support::TestFolder();
    string told;
    std::optional<path> chosen;
    doubles::World doubled;
    doubles::QvLib lib;
    modMediaQv::MediaContext check{doubled.world, lib};
    EditorState state{doubled.world};
    StartPage page{state, check};
};

TEST_F(StartPageOn, StaysUntilAProjectIsOpenAndTellsTheOtherPrograms) {
    using modFiles::Quiet;
    const path good = Make("good");
    const path bad = Make("bad", '8');
    const string refusal = "|Incompatible project version! Please upgrade your Mirrane!\n";
    page.Form_Load();
    page.openProj(bad, Quiet::No);
    EXPECT_EQ(Told(), "off on " + refusal);
    page.openProj(bad, Quiet::Yes);
    EXPECT_EQ(Told(), "off unload " + refusal);
    EXPECT_EQ(List() + Token("project"), "none");
    page.Form_Unload();
    EXPECT_EQ(Token("project") + Token("touchtime"), "0");
    const path deep = folder / "none/deep";
    page.openProj(deep / "project.qvp", Quiet::No);
    const string nowhere = GetResString(doubled.world, "frmCommon", "msgParentFolderNotExist");
    EXPECT_EQ(Told(), "off on |" + ReplaceAll(nowhere, "%s", deep.string()) + "\n");
    EXPECT_FALSE(FolderExists(deep.parent_path()));
    page.openProj(good.parent_path() / "any.qvp", Quiet::No);
    EXPECT_EQ(Told() + state.gProjectFileName, "off unload goodproject.qvp");
    EXPECT_EQ(List() + Token("project"), "1! Mirrane Title@good " + good.parent_path().string());
    EXPECT_EQ(page.lProj().front().date, "2024/3/5 13:04:05");
    page.Form_Unload();
    EXPECT_EQ(Token("project"), good.parent_path());
    // With a project open already: it is opened again, unless it has gone.
    page.openProj(bad, Quiet::No);
    EXPECT_EQ(Told(), "off on " + refusal + "good");
    EXPECT_TRUE(state.gProject.version.starts_with('7'));
    remove_all(good.parent_path());
    page.openProj(bad, Quiet::No);
    EXPECT_EQ(Told(), "off unload " + refusal + "good");
}

TEST_F(StartPageOn, OpensNothingElseMeanwhile) {
    const path old = Make("old", '5');
    doubled.user.answers = {Answer::No};
    EXPECT_FALSE(page.isOpening());
    page.face.setEnabled = [&](bool) {
        EXPECT_TRUE(page.isOpening());
        page.openProj(Make("good"), modFiles::Quiet::No);
    };
    page.openProj(old, modFiles::Quiet::No);
    EXPECT_FALSE(page.isOpening());
    EXPECT_NE(Told().find("Version Incompatible|"), string::npos);
}

TEST_F(StartPageOn, TellsAFaultAndStays) {
    struct Broken final : IClock {
        DateTime Now(int /*secondsAgo*/) override { throw std::runtime_error("no time"); }
        std::uint32_t TickMs() override { return 0; }
    } clock;
    World world{doubled.user, doubled.disk, clock, doubled.settings, doubled.host, doubled.texts};
    EditorState brokenState(world);
    StartPage broken(brokenState, check);
    broken.face = page.face;
    broken.openProj(Make("good"), modFiles::Quiet::No);
    EXPECT_EQ(Told(), "off on frmNewProject.openProj()|no time\n");
    EXPECT_EQ(brokenState.gProjectFolder, "");
}

TEST_F(StartPageOn, ListsProjectsWithTheirTitlesAndFirstPictures) {
    EXPECT_EQ(List(), "");
    RecentProjects recent(doubled.settings);
    const string slides =
        "<index><!-- "
        "--><item><pos>0</pos><url>h/i</url></item><item><pos>64</pos></item><item><pos>9</pos></item></index>";
    const std::pair<const char*, string> documents[] = {
        {"torn.qvp", "<a"},
        {"untitled", "<a/>"},
        {"slides", "<a><project><abstract><title> A &amp; B </title></abstract>" + slides + "</project></a>"}};
    for (const auto& [name, document] : documents) {
        Disk().Write(Make(name), document);
        create_directories(folder / name / "thumbnails");
        for (const char* pos : {"0", "9", "64"}) Disk().Write(folder / name / "thumbnails" / pos += ".jpg", "");
        recent.AddRecentProject(folder / name / "project.qvp", {});
    }
    page.Form_Load();
    EXPECT_EQ(List(), "1 A & B@slides=64.jpg 2 untitled@untitled 3 torn@torn.qvp ");
    remove(folder / "slides/thumbnails/64.jpg");
    remove_all(folder / "untitled");
    page.lProj_Click(2);
    EXPECT_EQ(Told(), "list " + Text("msgNoProject"));
    EXPECT_FALSE(FolderExists(folder / "untitled"));
    EXPECT_EQ(List(), "1 A & B@slides 2 torn@torn.qvp ");
    page.lProj_Click(2);
    EXPECT_EQ(Told(), "off on |Unrecognized project version!\n");
    EXPECT_THROW(page.lProj_Click(3), std::out_of_range);
}

TEST_F(StartPageOn, OpensWhatIsChosenOrDropped) {
    const string dialog = "Open Mirrane Project;Mirrane Project (*.qvp)|*.qvp;";
    page.lOpenProj_Click();
    EXPECT_EQ(Told(), dialog + " ");
    chosen = folder / "gone/project.qvp";
    page.lOpenProj_Click();
    EXPECT_EQ(Told(), dialog + " list " + Text("msgNoProject"));
    chosen = Make("good");
    page.lOpenProj_Click();
    EXPECT_EQ(Told(), dialog + " off unload good");
    page.lOpenProj_Click();
    EXPECT_EQ(Told(), dialog + (folder / "good").string() + " off unload good");
    state.gProjectFolder.clear();
    Disk().Write(folder / "good/notes.txt", "");
    for (const char* other : {"", "good/notes.txt", "gone", "gone.qvp"}) page.Drop(folder / other);
    EXPECT_EQ(Told(), "");
    create_directory(folder / "new");
    Disk().Write(folder / "new/media.qv", "");
    for (const auto& [dropped, project] :
         {std::pair("good", "good"), {"good/", "good"}, {"good/project.qvp", "good"}, {"new", "new"}}) {
        state.gProjectFolder.clear();
        page.Drop(folder / dropped);
        EXPECT_EQ(Told(), "off unload " + string(project));
    }
}

TEST(ContractStr, KeepsBothEnds) {
    const auto letters = [](const string& text) {
        return static_cast<int>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
    };
    for (const auto& [text, width, shown] : {std::tuple("/home/me", 8, "/home/me"),
                                             {"/home/me", 7, "/h...me"},
                                             {"/home/me", 6, "/...me"},
                                             {"/home/me", 4, "...e"},
                                             {"/home/me", 1, "..."},
                                             {"/é/課程/専", 6, "/.../専"},
                                             {"課課課課課課", 5, "課...課"}})
        EXPECT_EQ(contractStr(text, width, letters), shown) << width;
}

TEST(Paths, APersonMeansAProjectByItsFolderOrAFileInIt) {
    const path folder = support::TestFolder() / "lecture";
    create_directory(folder);
    Disk().Write(folder / "media.qv", "");
    const string document = folder / "project.qvp";
    for (const string& told : {folder.string(), folder.string() + "/", document, (folder / "media.qv").string(),
                               folder.string() + "/../lecture/.", relative(folder).string()})
        EXPECT_EQ(DocumentMeantBy(told), told == document ? document + "/project.qvp" : document) << told;
    EXPECT_EQ(DocumentMeantBy("/" + folder.string()).string(), "/" + document) << "a network stays one";
}

/// The language, and the pages that are found below res.
TEST(Manual, LiesInTheFolderOfItsLanguageElseInEnglish) {
    const path folder = support::TestFolder();
    doubles::Host host;
    host.programFolder = folder;
    const auto found = [&] {
        string pages = ManualLanguage(host) + ":";
        for (const ManualPart part : {ManualPart::Whole, ManualPart::QuickStart, ManualPart::Tutorial})
            if (const auto page = FindManual(host, part))
                pages += " " + relative(page->file, folder / "res").string() + "#" + page->anchor;
        return pages;
    };
    EXPECT_EQ(found(), "en:");
    for (const char* below : {"help", "res/help_en/help", "res/help_de/help"}) create_directories(folder / below);
    Disk().Write(folder / "res/help_en/help/index.html", "");
    EXPECT_EQ(found(), "en: help_en/help/index.html# help_en/help/index.html#first-steps");
    Disk().Write(folder / "help/lang.txt", " de \r\nen");
    Disk().Write(folder / "res/help_de/help/tutorial.html", "");
    EXPECT_EQ(found(), "de: help_de/help/tutorial.html#");
    Disk().Write(folder / "help/lang.txt", "fr");
    EXPECT_EQ(found(), "fr: help_en/help/index.html# help_en/help/index.html#first-steps");
}

}  // namespace
}  // namespace mirrane
