// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "ToolFolder.h"

namespace fs = std::filesystem;
using nlohmann::json;
using Names = std::vector<std::string>;

namespace {

class Tool : public ToolFolder {
protected:
    /// That a run fails with this in its words: one line, but for wrong arguments (status 2).
    void ExpectRefused(const std::string& arguments, const std::string& reason, int status = 1) const {
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, status) << arguments << ": " << result.err;
        EXPECT_NE(result.err.find(reason), std::string::npos) << arguments << ": " << result.err;
        EXPECT_EQ(result.out, "") << arguments;
        const bool isOneLine = std::count(result.err.begin(), result.err.end(), '\n') == 1;
        EXPECT_TRUE(isOneLine || status == 2) << arguments << ": " << result.err;
    }

    /// All that lies in the folder, apart from what this class and the tool keep there.
    [[nodiscard]] std::string Tree() const {
        return Command("find . -mindepth 1 ! -name err.txt ! -path './cache*' | sort").out;
    }

    [[nodiscard]] Names Files(const std::string& below = {}) const {
        Names names;
        for (const auto& entry : fs::directory_iterator(folder_ / below)) names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// A recording of ten seconds, ten pictures and one keyframe every two seconds; the picture changes at 5 s.
    void MakeRecording(const std::string& name,
                       const std::string& more = "-c:v libvpx -g 20 -keyint_min 20 -b:v 1M") const {
        Shell(
            "ffmpeg -v error -f lavfi -i testsrc=r=10:s=320x240:d=5 -f lavfi -i smptebars=r=10:s=320x240:d=5 "
            "-filter_complex '[0]trim=end_frame=1,loop=49:1,setpts=N/10/TB[a];[a][1]concat' " +
            more + " '" + name + "'");
    }

    [[nodiscard]] json Info(const std::string& folder) const {
        return json::parse(Run("info '" + folder + "' --json").out);
    }
    /// "0 Slide 1|2000 Slide 2|"
    [[nodiscard]] std::string Slides(const std::string& folder) const {
        std::string slides;
        const json info = Info(folder);
        for (const auto& slide : info["slides"])
            slides += slide["pos"].dump() + " " + slide["title"].get<std::string>() + "|";
        return slides;
    }
    [[nodiscard]] std::string Size(const std::string& picture) const {
        return Command("ffprobe -v error -show_entries stream=codec_name,width,height -of csv=p=0 '" + picture + "'")
            .out;
    }
};

const std::string kDemo = "'" MIRRANE_SOURCE_DIR "/data/demo/demo.webm'";

TEST_F(Tool, MakesReadsAndMixesTheDemonstration) {
    ASSERT_EQ(Run("container " + kDemo + " source.qv").out, "source.qv: 95360 ms\n");
    EXPECT_EQ(Run("verify --whole source.qv").status, 0);
    const Result keys = Run("keys source.qv");
    EXPECT_EQ(keys.out.substr(0, 7), "0\n3760\n") << keys.out;
    EXPECT_EQ(json::parse(Run("peaks source.qv --start 1000 --end 3000 --json").out)["peaks"].size(), 2000U / 64);

    Shell("espeak-ng -w new.wav 'This sentence is new.'");
    ASSERT_EQ(Run("import new.wav new.qva").status, 0);
    std::ofstream(folder_ / "list.txt") << "S, 0, source.qv\r\nS, 1, new.qva\r\n"
                                           "F, 0, 15040, 0, 15040, 1\r\nF, 15040, 80320, 30080, 95360, 1\r\n"
                                           "A, 0, 15040, 0, 0, 15040, 100\r\nA, 15040, 16000, 1, 0, 960, 80\r\n"
                                           "A, 16000, 80320, 0, 31040, 95360, 100\r\n";
    fs::create_directory(folder_ / "out");
    const json mixed = json::parse(Run("mix list.txt out --json").out);
    EXPECT_EQ(mixed["duration"], 80320);
    EXPECT_EQ(Run("verify --whole out").out, "out/media.qv: sound\n");
    const json result = json::parse(Run("keys out --json").out);
    EXPECT_NE(std::find(result["keys"].begin(), result["keys"].end(), 15040), result["keys"].end());
}

TEST_F(Tool, TellsWhatIsWrongInOneLineAndLeavesNothingBehind) {
    Shell("touch empty.qv media.qv; echo 'no media' >text.qv; printf 'S, 0, empty.qv\\nF, 0, ten' >bad.txt");
    Shell("printf 'S, 0, media.qv\\nF, 0, 10, 0, 10, 1' >self.txt; ffmpeg -v error -f lavfi -i sine=d=1 sound.mp3");
    Shell("ffmpeg -v error -f lavfi -i testsrc=d=1:s=64x64 silent.avi");
    const std::string before = Tree();
    const std::tuple<const char*, int, const char*> cases[] = {
        {"", 2, "subcommand is required"},
        {"keys", 2, "MEDIA is required"},
        {"peaks empty.qv --start -5", 2, "start"},
        {"keys none.qv", 1, "qvtool: none.qv: No such file or directory\n"},
        {"keys empty.qv", 1, "qvtool: empty.qv: is empty\n"},
        {"verify text.qv", 1, "qvtool: text.qv: is no media container\n"},
        {"mix bad.txt .", 1, "qvtool: bad.txt: line 2: \"ten\" is no whole number of 32 bits\n"},
        {"mix none.txt .", 1, "qvtool: none.txt: cannot be read\n"},
        {"mix self.txt .", 1, "is a source of the play list\n"},
        {"import silent.avi a.qva", 1, "silent.avi"},
        {"import sound.mp3 none/a.qva", 1, "none/a.qva: No such file or directory\n"},
        {"container sound.mp3 a.qv", 1, "qvtool: sound.mp3: has no picture, only sound\n"},
        {"container silent.avi a.qv --key 5000", 1, "qvtool: silent.avi: there is no picture at 5000 ms\n"},
    };
    for (const auto& [arguments, status, reason] : cases) ExpectRefused(arguments, reason, status);
    EXPECT_EQ(Tree(), before);
    EXPECT_EQ(Run("--version").out.substr(0, 7), "qvtool ");
    EXPECT_EQ(Run("mix --help").status, 0);
}

TEST_F(Tool, TheDemonstrationBecomesAProjectThatIsWholeInItself) {
    ASSERT_EQ(Run("demo P").out, "P: 5 slides, 01:35.360\n");
    EXPECT_EQ(Run("verify --whole P", "TMPDIR='" + folder_.string() + "'").out,
              "P/media.qv: sound\nP/project.qvp: agrees with it, 5 slides\n");
    const json info = Info("P");
    EXPECT_EQ(Slides("P"),
              "0 What this editor is for|15040 Slides, picture and two tracks|33920 Cut out a mistake|"
              "56640 Lay a new sentence on Track 2|77440 Save without risk|");
    EXPECT_EQ(info["slides"][4]["len"], 95360 - 77440);
    EXPECT_EQ(info["tracks"][0], (json{{"kind", "picture"}, {"codec", "vp9"}, {"width", 1280}, {"height", 720}}));
    EXPECT_EQ(Command("xmllint --xpath 'string(/*/project/index/@duration)' P/project.qvp").out, "01:35.360\n");
    const std::string keys = Run("keys P").out;
    for (const std::string start : {"0", "15040", "33920", "56640", "77440"}) {
        EXPECT_NE(("\n" + keys).find("\n" + start + "\n"), std::string::npos) << start;
        EXPECT_EQ(Size("P/thumbnails/" + start + ".jpg"), "mjpeg,160,90\n");
    }
    EXPECT_EQ(Files("P/thumbnails").size(), 5U);
    EXPECT_NE(Run("info P").out.find("\n   3    00:33.920   00:22.720  Cut out a mistake\n"), std::string::npos);
    EXPECT_EQ(Files(), (Names{"P", "err.txt"})) << "something was left";
}

TEST_F(Tool, AListTellsTheSlidesAndNearbyKeyframesTakeThem) {
    MakeRecording("Übung 1.webm");
    // A keyframe stands at 2000, 4000, 6000: one within 100 ms of it is taken.
    std::ofstream(folder_ / "list")
        << "\xEF\xBB\xBF# slides\r\n\r\n2080 Größe & <Maß>\r\n0:04.100\n0:00:05.85\tThird\n6.txt\n";
    EXPECT_EQ(Run("new 'Übung 1.webm' 'Mein Kurs' --slides list").err,
              "qvtool: list: line 6: \"6.txt\" is no time such as 1:02:03.500, 2:03 or 123500\n");
    Shell("sed -i '$d' list");
    ASSERT_EQ(Run("new 'Übung 1.webm' 'Mein Kurs/' --slides list").out, "Mein Kurs/: 4 slides, 00:10\n");
    EXPECT_EQ(Slides("Mein Kurs"), "0 Slide 1|2000 Größe & <Maß>|4000 Slide 3|5850 Third|");
    EXPECT_EQ(Run("verify 'Mein Kurs'").status, 0);
    const json made = json::parse(
        Run("new 'Übung 1.webm' exact --exact --slides list --title 'T & U' --camera 'Übung 1.webm' --json").out);
    EXPECT_EQ(made["slides"][1], (json{{"title", "Größe & <Maß>"}, {"pos", 2080}}));
    EXPECT_EQ(Slides("exact"), "0 Slide 1|2080 Größe & <Maß>|4100 Slide 3|5850 Third|");
    EXPECT_EQ(Info("exact")["title"], "T & U");
    EXPECT_EQ(Info("exact")["tracks"][1]["kind"], "camera");
    EXPECT_EQ(Run("verify exact --whole").status, 0);
}

TEST_F(Tool, WithoutAListOrChaptersTheSlidesAreFoundInThePicture) {
    MakeRecording("silent.avi", "-c:v mpeg4 -q:v 3 -metadata title='Told title'");
    ASSERT_EQ(Run("new silent.avi P").status, 0);
    EXPECT_EQ(Slides("P"), "0 Slide 1|5000 Slide 2|");
    EXPECT_EQ(Info("P")["title"], "Told title");
    EXPECT_EQ(Command("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 P/media.qv").out, "vp9\nopus\n");
    EXPECT_EQ(Size("P/thumbnails/5000.jpg"), "mjpeg,160,120\n");
    EXPECT_EQ(Run("verify P --whole").status, 0);
    EXPECT_EQ(Run("new silent.avi one --min-slide 6000").out, "one: 1 slides, 00:10\n");
}

TEST_F(Tool, RefusesInOneLineAndLeavesNothing) {
    MakeRecording("good.webm");
    Shell("ffmpeg -v error -f lavfi -i sine=d=1 sound.mp3; mkdir -p full/thumbnails project media");
    Shell("touch project/project.qvp media/media.qv; echo '# none' >none.txt; printf '0 a\\n\\n0:10 b' >late.txt");
    Shell("printf '5000\\n5000 b' >same.txt; echo '99999999999' >huge.txt; touch 'a file'");
    const std::string before = Tree();
    const std::pair<const char*, const char*> cases[] = {
        {"good.webm project", "project: already holds a project\n"},
        {"good.webm media", "media/media.qv: is in the way\n"},
        {"good.webm full", "full/thumbnails: is in the way\n"},
        {"good.webm 'a file'", "a file: is no folder\n"},
        {"good.webm /sys/project", ""},
        {"missing.webm P", "qvtool: missing.webm: no such file\n"},
        {"sound.mp3 P", "qvtool: sound.mp3: has no picture, only sound\n"},
        {"good.webm P --camera sound.mp3", "qvtool: sound.mp3: "},
        {"good.webm P --slides none.txt", "qvtool: none.txt: tells no slides\n"},
        {"good.webm P --slides late.txt", "qvtool: late.txt: line 3: the recording ends at 00:10\n"},
        {"good.webm P --slides same.txt", "qvtool: same.txt: line 2: begins no later than the slide before it\n"},
        {"good.webm P --slides huge.txt", "qvtool: huge.txt: line 1: \"99999999999\" is too late for a recording\n"},
    };
    for (const auto& [arguments, reason] : cases) ExpectRefused(std::string("new ") + arguments, reason);
    ExpectRefused("new good.webm P --bitrate 5", "bitrate", 2);
    EXPECT_EQ(Tree(), before);
}

TEST_F(Tool, AFolderThatWasThereKeepsWhatItHolds) {
    Shell("mkdir P && echo mine >P/notes.txt");
    // A file size limit is a full disk that needs no rights; the signal it would send is ignored first.
    const Result limited = Run("new " + kDemo + " P", "trap '' XFSZ; ulimit -f 1000;");
    EXPECT_EQ(limited.status, 1);
    EXPECT_TRUE(limited.err.ends_with(": File too large\n")) << limited.err;
    EXPECT_EQ(Files("P"), Names{"notes.txt"});
    ASSERT_EQ(Run("new " + kDemo + " P").status, 0);
    EXPECT_EQ(Run("verify P").status, 0);
    const Names files = Files("P");
    const Names wanted = {"media.qv", "notes.txt", "project.qvp", "thumbnails"};
    EXPECT_TRUE(std::includes(files.begin(), files.end(), wanted.begin(), wanted.end()));
    EXPECT_NE(files.front().front(), '.') << "something was left";
}

TEST_F(Tool, AStoppedRunLeavesNothing) {
    const std::string start = "'" QVTOOL_PATH "' new " + kDemo + " P --exact & sleep 0.1; kill -TERM $!; wait $!";
    EXPECT_NE(Command(start).status, 0);
    EXPECT_EQ(Files(), Names{"err.txt"});
}

TEST_F(Tool, VerifyTellsEachDisagreementAndRepairsNothing) {
    ASSERT_EQ(Run("new " + kDemo + " whole").status, 0);
    const std::pair<std::string, Names> cases[] = {
        {"s/01:35.360/01:35.359/", {"the duration is 95359 ms, that of the media file 95360 ms"}},
        {"s/01:35.360/soon/", {"\"soon\" is no duration"}},
        {"s/<pos>33920</<pos>33921</", {"\"Cut out a mistake\" at 33921 ms: there is no keyframe in the media file"}},
        {"s/<pos>0</<pos>15040</",
         {"\"What this editor is for\" at 15040 ms is the first one, and not at 0",
          "\"Slides, picture and two tracks\" at 15040 ms is no later than the one before it"}},
        {"s/version=\"7/version=\"6/", {"whole/project.qvp: is no project document of version 7"}},
        {"s/<pos>33920</<pos>-1<\\/pos><url>html1\\/i.htm<\\/url><pos>5</", {}},
    };
    Shell("cp whole/project.qvp kept");
    for (const auto& [damage, told] : cases) {
        Shell("cp kept whole/project.qvp && sed -i '" + damage + "' whole/project.qvp && ls -lR whole >before");
        const Result result = Run("verify whole");
        const std::string odds = std::regex_replace(result.err, std::regex("qvtool: note: .*\n"), "");
        EXPECT_EQ(result.status, told.empty() ? 0 : 1) << damage << result.err;
        EXPECT_TRUE(result.out.starts_with("whole/media.qv: sound\n")) << damage;
        for (const auto& line : told) EXPECT_NE(odds.find(line), std::string::npos) << damage << odds;
        EXPECT_EQ(std::count(odds.begin(), odds.end(), '\n'), std::ssize(told)) << damage << odds;
        Shell("ls -lR whole | cmp - before");
    }
    Shell("cp kept whole/project.qvp && rm whole/thumbnails/0.jpg");
    const json noted = json::parse(Run("verify whole --json").out);
    EXPECT_EQ(noted["document"], (json{{"agrees", true}, {"odds", json::array()}, {"missingThumbnails", 1}}));
    Shell("printf x | dd of=whole/media.qv bs=1 seek=400000 conv=notrunc status=none");
    EXPECT_EQ(Run("verify whole --whole").status, 1);
}

TEST_F(Tool, ThumbnailsAreMadeAgain) {
    MakeRecording("r.webm");
    ASSERT_EQ(Run("new r.webm P").status, 0);
    Shell("rm P/thumbnails/0.jpg && echo old >P/thumbnails/5000.jpg && echo web >P/thumbnails/html1.jpg");
    EXPECT_EQ(Run("thumbs P").out, "P: 2 thumbnails\n");
    for (const char* name : {"0.jpg", "5000.jpg"})
        EXPECT_EQ(Size(std::string("P/thumbnails/") + name), "mjpeg,160,120\n");
    EXPECT_EQ(Files("P/thumbnails"), (Names{"0.jpg", "5000.jpg", "html1.jpg"}));
    Shell("truncate -s 1000 P/media.qv");
    EXPECT_EQ(Run("thumbs P").status, 1);
    EXPECT_EQ(Files("P/thumbnails").size(), 3U) << "thumbnails were lost to a damaged recording";
    EXPECT_FALSE(fs::exists(folder_ / "P/thumblist.txt"));
}

}  // namespace
