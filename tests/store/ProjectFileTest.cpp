// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ProjectFile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "base/Disk.h"
#include "base/Text.h"
#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

using std::filesystem::path;
using std::filesystem::perms;
using support::Output;
using support::Quoted;

path Write(const path& file, const std::string& bytes) {
    Disk().Write(file, bytes);
    return file;
}

std::string Times(std::size_t count, const std::string& text) { return ReplaceAll(std::string(count, '#'), "#", text); }

std::string Replaced(const std::string& text, const std::string& from, const std::string& to) {
    EXPECT_NE(text.find(from), std::string::npos) << from;
    return ReplaceAll(text, from, to);
}

std::string Row(const std::string& pos, const std::string& title = "t", const std::string& more = {}) {
    return "<item><title>" + title + "</title><recdate>d</recdate><pos>" + pos + "</pos>" + more + "</item>";
}

/// The program's own template, with rows and a duration of a minute; above 600 bytes.
std::string Document(const std::string& rows) {
    return Replaced(ReadFile(MIRRANE_SOURCE_DIR "/data/default.qvp"), "<index duration=\"00:00\" type=\"OL\"/>",
                    "<index duration=\"01:00\" type=\"UL\">" + rows + "</index>");
}

struct ProjectFile : testing::Test {
    const path folder = support::TestFolder();
    const path file = folder / "project.qvp";
    doubles::World world{Write(folder / "res.xml",
                               "<res><form name=\"frmCommon\"><text name=\"msgQvpError\">ERR</text>"
                               "<text name=\"msgQvpErrorSkip\">SKIP?</text></form></res>")};
    CProjectFile project{world.world};

    bool Load(const std::string& bytes) { return project.Load(Write(file, bytes)); }
    [[nodiscard]] bool Holds(const std::string& piece) const { return ReadFile(file).find(piece) != std::string::npos; }

    /// "pos title url|" of each row.
    [[nodiscard]] std::string Rows() const {
        std::string text;
        for (const CIndexItem& item : project.items) text += item.pos + " " + item.title + " " + item.Url + "|";
        return text;
    }

    /// "index.item(2).pos " for each step that the user was asked to skip.
    [[nodiscard]] std::string StepsAsked() const {
        const std::string told = ReplaceAll(world.user.Told(), "Load project.qvp|ERR ", "");
        return ReplaceAll(told, "\r\nSKIP?\n", " ");
    }
};

TEST_F(ProjectFile, KeepsWhatItDoesNotKnow) {
    const std::string neutral = ReadFile(MIRRANE_SOURCE_DIR "/data/default.qvp");
    ASSERT_TRUE(Load(neutral) && project.Save({}));
    EXPECT_EQ(ReadFile(file), neutral);
    const char* const cases[][3] = {
        // in the template; in a foreign document; there when it is saved, "~" for the line ends
        {"<tallowin version=\"7.0\">\r\n",
         "<!DOCTYPE q [<!ENTITY a \"b\"><!ENTITY c \"d\">]><!-- <old><b/></old> --><q b='7.1' a='1'>",
         "<!DOCTYPE q [<!ENTITY a \"b\">~<!ENTITY c \"d\">]>~<!-- <old><b/></old> -->~<q b=\"7.1\" a=\"1\">~"},
        {"<project>",
         "<project z='1' y='2'><?abstract x><y?><index type='UL' note='x' duration='00:30.500'><item id='9'>"
         "<title>A &lt;1&gt;</title><pos>0</pos><recdate>2024/3/5</recdate><url>u</url></item>\n</index>",
         "<project z=\"1\" y=\"2\">~<?abstract x><y?>"},
        {"<index duration=\"00:00\" type=\"OL\"/>", "",
         "<index duration=\"00:30.500\" type=\"UL\">~<item>~<title>A &lt;1&gt;</title>~<recdate>2024/3/5</recdate>~"
         "<pos>0</pos>~</item>~</index>"},
        {"<comments/>", "<comments>\n<![CDATA[<p>1</p>]]><!--c--></comments><new a='1&#1;'> one <b>two</b> <i/></new>",
         "<comments>~<![CDATA[<p>1</p>]]>~<!--c-->~</comments>~<new a=\"1\"> one <b>two</b>~<i/>~</new>"},
        {"<photo size=\"160x120\">", "<photo w='80x60' size='1'>", "<photo w=\"80x60\" size=\"1\">"},
        {"<sound option=\"3\"/>", "<sound o='2'>a\nb&#13;c</sound>", "<sound o=\"2\">a~b&#13;c</sound>"},
        {"</project>\r\n</tallowin>", "</project><tail> &#32;</tail></q>", "</project>~<tail/>~</q>"}};
    std::string foreign = neutral;
    std::string expected = neutral;
    for (const auto& [known, before, after] : cases) {
        foreign = Replaced(foreign, known, before);
        expected = Replaced(expected, known, ReplaceAll(after, "~", "\r\n"));
    }
    ASSERT_TRUE(Load(foreign));
    EXPECT_EQ(project.photoSize + project.soundOption + project.comments, "80x602<p>1</p>");
    for (int time = 1; time <= 2; ++time) {
        ASSERT_TRUE(project.Save({}));
        EXPECT_EQ(ReadFile(file) + world.user.Told(), expected) << time;
        ASSERT_TRUE(project.Load(file));
    }
}

TEST_F(ProjectFile, AsksAboutEachThingThatIsMissing) {
    const std::string whole = Document(Row("0"));
    const auto without = [&](const std::string& piece) { return Replaced(whole, piece, ""); };
    const std::string late = "index.item(3).pos ";
    // the document, how often the user skips before cancelling, whether it loads; the steps asked about, the rows,
    // the steps asked about when the document that was made whole is loaded
    const std::tuple<std::string, std::size_t, bool, std::string, const char*, std::string> cases[] = {
        {Document(Row("59999") + Row("-1", "w", "<url>u</url>") + Row("-2", "t", "<url>u</url>")), 0, true, "",
         "59999 t |-1 w u|-2 t |", ""},
        {Document(Row("0") + Row("5000") + Row("3000") + Row("4000")), 9, true, late, "0 t |5000 t |4000 t |", late},
        {Document(Row("-1") + "<!-- x -->" + Row("0")), 9, true, "index.item(1).url ", "0 t |", ""},
        {Document("<item><title/><pos>0</pos></item>" + Row("1")), 9, true, "index.item(1).recdate ", "1 t |", ""},
        {without("<author/>"), 9, true, "abstract ", "0 t |", ""},
        {without("<photo size=\"160x120\">photo.gif</photo>"), 9, true, "configure configure ", "0 t |", ""},
        {Replaced(whole, "index", "indeks"), 1, false, "index.duration index.duration ", "", ""},
        {without(" version=\"7.0\""), 9, false, "set default value ", "", ""},
        {Replaced(whole, "7.0", "6.0"), 9, false, "", "", ""}};
    for (const auto& [document, skips, loads, steps, rows, stepsLater] : cases) {
        SCOPED_TRACE(document);
        world.user.boxes.clear();
        world.user.answers.assign(skips, Answer::Ok);
        EXPECT_EQ(Load(document), loads);
        EXPECT_EQ(StepsAsked() + Rows(), steps + rows);
        // Whoever skipped something gets a document that lacks nothing.
        const bool isRewritten = loads && !steps.empty();
        EXPECT_EQ(ReadFile(file) != document, isRewritten);
        if (!isRewritten) continue;
        world.user.boxes.clear();
        EXPECT_TRUE(project.Load(file));
        EXPECT_EQ(StepsAsked(), stepsLater);
        EXPECT_EQ(project.title + project.photo + project.photoSize, "Mirrane Titlephoto.gif160x120");
    }
}

TEST_F(ProjectFile, TellsWhatCannotBeReadAndDoesNotReplaceIt) {
    EXPECT_FALSE(project.Load(folder / "none.qvp"));
    EXPECT_EQ(world.user.Told(), "");
    const std::pair<const char*, const char*> cases[] = {
        {"<?xml version=\"1.0\" encoding=\"big5//IGNORE\"?><a b='7'/>", "the encoding \"big5//IGNORE\" is unknown"},
        {"<?xml version=\"1.0\" encoding=\"GB2312\"?><a b='7\xFF'/>", "byte 47 is not GB18030"},
        {"<a b='7'>\r\n<c>\r\n</a>", "line 3: Start-end tags mismatch"},
        {"", "line 1: No document element found"}};
    const std::string head = "Load project.qvp|The project document cannot be read.\r\n" + file.string() + "\r\n";
    for (const auto& [bytes, reason] : cases) {
        ASSERT_TRUE(Load(Document({})));
        world.user.boxes.clear();
        EXPECT_FALSE(Load(bytes));
        EXPECT_EQ(world.user.Told(), head + reason + "\n");
        project.durationText = "01:00";
        EXPECT_FALSE(project.Save({}));
        EXPECT_EQ(ReadFile(file), bytes);
    }
}

TEST_F(ProjectFile, NormalisesTheVideoProfile) {
    const char* const cases[][3] = {{"500", "640x480", "96,160x120"},       {"500", "240x180", "192,240x180"},
                                    {"500", "320x240", "320,320x240"},      {"320", "1x1", "96,160x120"},
                                    {" 192 ", " 160x120\n", "192,160x120"}, {"320", "", "320,"}};
    for (const auto& [bitrate, size, then] : cases) {
        const std::string profile = std::string("<bitrate>") + bitrate + "</bitrate>\r\n<size>" + size + "<";
        ASSERT_TRUE(Load(Replaced(Document({}), "<bitrate>96</bitrate>\r\n<size>160x120<", profile)));
        EXPECT_EQ(project.videoBitrate + "," + project.videoSize, then);
    }
}

TEST_F(ProjectFile, SaveDropsRowsPastTheEnd) {
    ASSERT_TRUE(Load(Document({})));
    project.AddIndex({.title = "b\t\v\x01 \xFF", .pos = "59999", .size = "5"});
    project.AddIndex({.title = "past", .pos = "60000"});
    project.AddIndex({.title = "web", .pos = "-1", .Url = "u"}, 1);
    project.AddIndex({.title = "past", .pos = "70000"}, 3);
    project.AddIndex({.title = "last", .pos = "7"}, 5);
    project.limitIndexToDuration = false;
    ASSERT_TRUE(project.Save({}));
    EXPECT_EQ(Rows(), "-1 web u|59999 b\t\v\x01 \xFF |70000 past |60000 past |7 last |");
    project.limitIndexToDuration = true;
    ASSERT_TRUE(project.Save({}));
    EXPECT_EQ(Rows(), "-1 web u|59999 b\t\v\x01 \xFF |7 last |");
    EXPECT_TRUE(Holds("<title>b \xEF\xBF\xBD</title>\r\n<recdate/>\r\n<pos>59999</pos>\r\n<size>5</size>"));
    project.SetLastItem({.title = "new", .pos = "59999", .RecDate = "d"});
    project.RemoveIndex(1);
    EXPECT_EQ(Rows(), "59999 b\t\v\x01 \xFF |59999 new |");
    ASSERT_TRUE(project.SaveToXml(file));
    Output("xmllint --noout " + Quoted(file));
    EXPECT_TRUE(!Holds("project>") && Holds("</index>\r\n\r\n</tallowin>"));
}

TEST_F(ProjectFile, ForeignTitlesBecomeUtf8) {
    const std::string title = "\xE9\x8C\x84\xE9\x9F\xB3\xE6\x95\x99\xE5\xAD\xB8";  // traditional characters
    const std::pair<std::string, std::string> cases[] = {
        {"gb2312", "GBK"}, {"Big5", "BIG5"}, {"UTF-16", "UTF-16"}, {"", "UTF-16BE"}, {"", "UTF-16LE"}};
    for (const auto& [declared, written] : cases) {
        Write(folder / "utf8", Replaced(Document(Row("0", title)), "\"UTF-8\"", "\"" + declared + "\""));
        Output("iconv -f UTF-8 -t " + written + " " + Quoted(folder / "utf8") + " > " + Quoted(file));
        ASSERT_TRUE(project.Load(file) && project.Save({}));
        EXPECT_EQ(ReadFile(file).find("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<tallowin"), 0) << written;
        EXPECT_TRUE(Holds("<title>" + title + "</title>")) << written;
    }
    ASSERT_TRUE(Load("\xEF\xBB\xBF" + Replaced(Document(Row("0", title)), "UTF-8", "big5")));
    EXPECT_EQ(Rows(), "0 " + title + " |");
}

TEST_F(ProjectFile, TakesMuchAndDeep) {
    std::string bomb = "<!DOCTYPE t [<!ENTITY a0 \"ha\">";
    for (int i = 1; i < 30; ++i)
        bomb += "<!ENTITY a" + std::to_string(i) + " \"" + Times(10, "&a" + std::to_string(i - 1) + ";") + "\">";
    std::string many;
    for (int i = 0; i < 10000; ++i) many += Row(std::to_string(i));
    const std::string deep = Times(100000, "<d>") + "x" + Times(100000, "</d>");
    const std::pair<std::string, std::size_t> cases[] = {
        {Document(many), 10000},
        {Replaced(Document(Row("0", "&a29;")), "?>", "?>" + bomb + "]>"), 1},
        {Replaced(Document(Row("0")), "<author/>", deep + "<author/>"), 1}};
    for (const auto& [document, rows] : cases) {
        ASSERT_TRUE(Load(document) && project.Save({}) && project.Load(file));
        EXPECT_EQ(project.items.size(), rows);
    }
}

TEST_F(ProjectFile, AFailingDiskLeavesTheOldDocument) {
    const std::string old = Document(Row("0"));
    const char* const kept = "|Save 'project.qvp' error! The updated project is saved as 'project.qvp.tmp'\n";
    const char* const told[] = {"qvp.Save|", kept, kept, ""};
    for (int failAt = 1; failAt <= 4; ++failAt) {
        SCOPED_TRACE(failAt);
        std::filesystem::remove(file);
        std::filesystem::permissions(Write(file, old), perms{0444});
        ASSERT_TRUE(project.Load(file));
        project.title = "new";
        world.user.boxes.clear();
        world.disk = {};
        world.disk.failAt = failAt;
        EXPECT_EQ(project.Save({}), failAt == 4);
        EXPECT_TRUE(world.user.Told().starts_with(told[failAt - 1])) << world.user.Told();
        EXPECT_TRUE(failAt == 4 ? Holds("<title>new<") : ReadFile(file) == old);
        EXPECT_EQ(std::filesystem::remove(folder / "project.qvp.tmp"), failAt == 2 || failAt == 3);
    }
}

TEST_F(ProjectFile, KilledAtAnyInstantTheDocumentIsWhole) {
    std::string rows;
    for (int i = 0; i < 3000; ++i) rows += Row(std::to_string(i));
    ASSERT_TRUE(Load(Document(rows)));
    std::string versions[2];
    const auto save = [&](std::size_t version) {
        project.title = Times(1 + version * 50000, "long ");
        return project.Save({});
    };
    const auto begin = std::chrono::steady_clock::now();
    for (const std::size_t version : {0, 1}) {
        ASSERT_TRUE(save(version));
        versions[version] = ReadFile(file);
    }
    const std::chrono::duration<double> twoSaves = std::chrono::steady_clock::now() - begin;
    const char* wished = std::getenv("MIRRANE_KILLS");  // for a long run
    std::mt19937 random(1);
    int found[2] = {0, 0};
    for (int kill = wished != nullptr ? std::atoi(wished) : 60; kill > 0; --kill) {
        const pid_t child = fork();
        for (std::size_t version = 0; child == 0; version = 1 - version) {
            if (!save(version)) _exit(1);
        }
        std::this_thread::sleep_for(twoSaves * std::uniform_real_distribution<>(0, 2)(random));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_TRUE(waitpid(child, &status, 0) == child && WIFSIGNALED(status));
        const std::string bytes = ReadFile(file);
        ASSERT_TRUE(bytes == versions[0] || bytes == versions[1]) << kill;
        ++found[bytes == versions[1] ? 1 : 0];
    }
    EXPECT_TRUE(found[0] > 0 && found[1] > 0);
}

}  // namespace
}  // namespace mirrane
