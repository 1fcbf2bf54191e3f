// SPDX-License-Identifier: GPL-3.0-or-later
#include <regex>

#include "tool/Tool.h"

namespace {

using Names = std::vector<std::string>;

class ProjectTool : public Tool {
protected:
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
    [[nodiscard]] std::vector<int> Starts(const std::string& folder) const {
        std::vector<int> starts;
        const json info = Info(folder);
        for (const auto& slide : info["slides"]) starts.push_back(slide["pos"]);
        return starts;
    }
    [[nodiscard]] Names Titles(const std::string& folder) const {
        Names titles;
        const json info = Info(folder);
        for (const auto& slide : info["slides"]) titles.push_back(slide["title"]);
        return titles;
    }
    [[nodiscard]] std::string Size(const std::string& picture) const {
        return Command("ffprobe -v error -show_entries stream=codec_name,width,height -of csv=p=0 '" + picture + "'")
            .out;
    }
};

TEST_F(ProjectTool, TheDemonstrationBecomesAProjectThatIsWholeInItself) {
    ASSERT_EQ(Run("demo P").out, "P: 5 slides, 01:35.360\n");
    EXPECT_EQ(Run("verify --whole P", "TMPDIR='" + folder_.string() + "'").out,
              "P/media.qv: sound\nP/project.qvp: agrees with it, 5 slides\n");
    Shell("xmllint --noout P/project.qvp");
    const json info = Info("P");
    const Names titles = {"What this editor is for", "Slides, picture and two tracks", "Cut out a mistake",
                          "Lay a new sentence on Track 2", "Save without risk"};
    EXPECT_EQ(Titles("P"), titles);
    EXPECT_EQ(Starts("P"), (std::vector<int>{0, 15040, 33920, 56640, 77440}));
    EXPECT_EQ(info["duration"], 95360);
    EXPECT_EQ(info["slides"][4]["len"], 95360 - 77440);
    EXPECT_EQ(info["bytes"], fs::file_size(folder_ / "P/media.qv"));
    EXPECT_EQ(info["tracks"][0], (json{{"kind", "picture"}, {"codec", "vp9"}, {"width", 1280}, {"height", 720}}));
    EXPECT_TRUE(std::regex_match(info["slides"][1]["recdate"].get<std::string>(),
                                 std::regex(R"(\d{4}/\d{1,2}/\d{1,2} \d\d:\d\d:\d\d)")));
    const auto query = [this](const std::string& what) {
        return Command("xmllint --xpath 'string(" + what + ")' P/project.qvp").out;
    };
    EXPECT_EQ(query("/*/project/configure/profile/screen/size"), "1280x720\n");
    EXPECT_EQ(query("/*/project/index/@duration"), "01:35.360\n");
    const std::string keys = Run("keys P").out;
    for (const int start : Starts("P")) {
        EXPECT_NE(("\n" + keys).find("\n" + std::to_string(start) + "\n"), std::string::npos) << start;
        EXPECT_EQ(Size("P/thumbnails/" + std::to_string(start) + ".jpg"), "mjpeg,160,90\n");
    }
    EXPECT_EQ(Files("P/thumbnails").size(), 5U);
    EXPECT_NE(Run("info P").out.find("\n   3    00:33.920   00:22.720  Cut out a mistake\n"), std::string::npos);
    EXPECT_EQ(Files(), (Names{"P", "err.txt"})) << "something was left";
}

TEST_F(ProjectTool, AListTellsTheSlidesAndNearbyKeyframesTakeThem) {
    MakeRecording("Übung 1.webm");
    // A keyframe stands at 2000, 4000, 6000: one within 100 ms of it is taken.
    std::ofstream(folder_ / "list")
        << "\xEF\xBB\xBF# slides\r\n\r\n2080 Größe & <Maß>\r\n0:04.100\n0:00:05.85\tThird\n6.txt\n";
    EXPECT_EQ(Run("new 'Übung 1.webm' 'Mein Kurs' --slides list").err,
              "qvtool: list: line 6: \"6.txt\" is no time such as 1:02:03.500, 2:03 or 123500\n");
    Shell("sed -i '$d' list");
    ASSERT_EQ(Run("new 'Übung 1.webm' 'Mein Kurs/' --slides list").out, "Mein Kurs/: 4 slides, 00:10\n");
    EXPECT_EQ(Starts("Mein Kurs"), (std::vector<int>{0, 2000, 4000, 5850}));
    EXPECT_EQ(Titles("Mein Kurs"), (Names{"Slide 1", "Größe & <Maß>", "Slide 3", "Third"}));
    EXPECT_EQ(Info("Mein Kurs")["title"], "Mein Kurs");
    EXPECT_EQ(Run("verify 'Mein Kurs'").status, 0);
    const json made = json::parse(
        Run("new 'Übung 1.webm' exact --exact --slides list --title 'T & U' --camera 'Übung 1.webm' --json").out);
    EXPECT_EQ(made["slides"][1], (json{{"title", "Größe & <Maß>"}, {"pos", 2080}}));
    EXPECT_EQ(Starts("exact"), (std::vector<int>{0, 2080, 4100, 5850}));
    EXPECT_EQ(Info("exact")["title"], "T & U");
    EXPECT_EQ(Info("exact")["tracks"][1]["kind"], "camera");
    EXPECT_EQ(Run("verify exact --whole").status, 0);
}

TEST_F(ProjectTool, WithoutAListOrChaptersTheSlidesAreFoundInThePicture) {
    MakeRecording("silent.avi", "-c:v mpeg4 -q:v 3 -metadata title='Told title'");
    ASSERT_EQ(Run("new silent.avi P").status, 0);
    EXPECT_EQ(Starts("P"), (std::vector<int>{0, 5000}));
    EXPECT_EQ(Titles("P"), (Names{"Slide 1", "Slide 2"}));
    EXPECT_EQ(Info("P")["title"], "Told title");
    EXPECT_EQ(Command("ffprobe -v error -show_entries stream=codec_name -of csv=p=0 P/media.qv").out, "vp9\nopus\n");
    EXPECT_EQ(Size("P/thumbnails/5000.jpg"), "mjpeg,160,120\n");
    EXPECT_EQ(Run("verify P --whole").status, 0);
    EXPECT_EQ(Run("new silent.avi one --min-slide 6000").out, "one: 1 slides, 00:10\n");
}

TEST_F(ProjectTool, ChaptersThatCannotBeSlidesAreDropped) {
    MakeRecording("plain.webm");
    std::ofstream(folder_ / "meta") << ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=3000\nEND=4000\ntitle=Three\n"
                                       "[CHAPTER]\nTIMEBASE=1/1000\nSTART=3000\nEND=5000\ntitle=Again\n"
                                       "[CHAPTER]\nTIMEBASE=1/1000\nSTART=7000\nEND=8000\n"
                                       "[CHAPTER]\nTIMEBASE=1/1000\nSTART=10000\nEND=12000\ntitle=Late\n";
    Shell("ffmpeg -v error -i plain.webm -i meta -map_metadata 1 -map_chapters 1 -c copy chapters.mkv");
    ASSERT_EQ(Run("new chapters.mkv P").status, 0);
    EXPECT_EQ(Starts("P"), (std::vector<int>{0, 3000, 7000}));
    EXPECT_EQ(Titles("P"), (Names{"Slide 1", "Three", "Slide 3"}));
}

TEST_F(ProjectTool, RefusesInOneLineAndLeavesNothing) {
    MakeRecording("good.webm");
    Shell(
        "ffmpeg -v error -f lavfi -i sine=d=1 sound.mp3; echo text >text.mp4; mkdir -p full/thumbnails project media");
    Shell("touch project/project.qvp media/media.qv; echo '# none' >none.txt; printf '0 a\\n\\n0:10 b' >late.txt");
    Shell("printf '5000\\n5000 b' >same.txt; echo '99999999999' >huge.txt; echo '0:61 a' >sixty.txt; touch 'a file'");
    const auto before = Command("find . -mindepth 1 ! -name err.txt | sort").out;
    const struct {
        const char* arguments;
        const char* reason;
    } cases[] = {
        {"good.webm project", "project: already holds a project\n"},
        {"good.webm media", "media/media.qv: is in the way\n"},
        {"good.webm full", "full/thumbnails: is in the way\n"},
        {"good.webm 'a file'", "a file: is no folder\n"},
        {"good.webm no/parent", "No such file or directory\n"},
        {"good.webm /sys/project", ""},
        {"missing.webm P", "qvtool: missing.webm: no such file\n"},
        {"text.mp4 P", "qvtool: text.mp4: "},
        {"sound.mp3 P", "qvtool: sound.mp3: has no picture, only sound\n"},
        {"good.webm P --camera sound.mp3", "qvtool: sound.mp3: "},
        {"good.webm P --slides gone.txt", "qvtool: gone.txt: No such file or directory\n"},
        {"good.webm P --slides none.txt", "qvtool: none.txt: tells no slides\n"},
        {"good.webm P --slides late.txt", "qvtool: late.txt: line 3: the recording ends at 00:10\n"},
        {"good.webm P --slides same.txt", "qvtool: same.txt: line 2: begins no later than the slide before it\n"},
        {"good.webm P --slides huge.txt", "qvtool: huge.txt: line 1: \"99999999999\" is too late for a recording\n"},
        {"good.webm P --slides sixty.txt", "qvtool: sixty.txt: line 1: \"0:61\" is no time"},
    };
    for (const auto& it : cases) {
        const Result result = Run(std::string("new ") + it.arguments);
        EXPECT_EQ(result.status, 1) << it.arguments;
        EXPECT_NE(result.err.find(it.reason), std::string::npos) << it.arguments << ": " << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << it.arguments << ": " << result.err;
        EXPECT_EQ(result.out, "") << it.arguments;
    }
    EXPECT_EQ(Run("new good.webm P --bitrate 5").status, 2);
    EXPECT_EQ(Command("find . -mindepth 1 ! -name err.txt ! -path './cache*' | sort").out, before);
}

TEST_F(ProjectTool, AFolderThatWasThereKeepsWhatItHolds) {
    Shell("mkdir P && echo mine >P/notes.txt");
    ASSERT_EQ(Run("new " + kDemo + " P", "trap '' XFSZ; ulimit -f 1000;").status, 1);
    EXPECT_EQ(Files("P"), Names{"notes.txt"});
    ASSERT_EQ(Run("new " + kDemo + " P").status, 0);
    EXPECT_EQ(Run("verify P").status, 0);
    const Names files = Files("P");
    for (const char* name : {"media.qv", "notes.txt", "project.qvp", "thumbnails"})
        EXPECT_EQ(std::count(files.begin(), files.end(), name), 1) << name;
    for (const std::string& name : files) EXPECT_NE(name.front(), '.') << name;
}

TEST_F(ProjectTool, AStoppedRunLeavesNothing) {
    const std::string start = "'" QVTOOL_PATH "' new " + kDemo + " P --exact & sleep 0.1; kill -TERM $!; wait $!";
    EXPECT_NE(Command(start).status, 0);
    EXPECT_EQ(Files(), Names{"err.txt"});
}

TEST_F(ProjectTool, VerifyTellsEachDisagreementAndRepairsNothing) {
    ASSERT_EQ(Run("new " + kDemo + " whole").status, 0);
    const struct {
        const char* damage;  ///< of the document
        int status;
        Names told;
    } cases[] = {
        {"s/01:35.360/01:35.359/", 1, {"the duration is 95359 ms, that of the media file 95360 ms"}},
        {"s/01:35.360/soon/", 1, {"\"soon\" is no duration"}},
        {"s/<pos>33920</<pos>33921</",
         1,
         {"\"Cut out a mistake\" at 33921 ms: there is no keyframe in the media file"}},
        {"s/<pos>0</<pos>15040</",
         1,
         {"\"What this editor is for\" at 15040 ms is the first one, and not at 0",
          "\"Slides, picture and two tracks\" at 15040 ms is no later than the one before it"}},
        {"s/<pos>15040</<pos>60000</",
         1,
         {"index.item(3).pos\n", "\"Slides, picture and two tracks\" at 60000 ms: there is no key",
          "\"Lay a new sentence on Track 2\" at 56640 ms is no later"}},
        {"s/version=\"7/version=\"6/", 1, {"whole/project.qvp: is no project document of version 7"}},
        {"s/<.project>//", 1, {"whole/project.qvp"}},
        {"s/<pos>33920</<pos>-1<\\/pos><url>html1\\/i.htm<\\/url><pos>5</", 0, {}},
    };
    Shell("cp whole/project.qvp kept");
    for (const auto& it : cases) {
        Shell("cp kept whole/project.qvp && sed -i '" + std::string(it.damage) +
              "' whole/project.qvp && ls -lR whole >before");
        const Result result = Run("verify whole");
        const std::string told = std::regex_replace(result.err, std::regex("qvtool: note: .*\n"), "");
        EXPECT_EQ(result.status, it.status) << it.damage << result.err;
        EXPECT_EQ(result.out.starts_with("whole/media.qv: sound\n"), true) << it.damage;
        for (const auto& line : it.told) EXPECT_NE(result.err.find(line), std::string::npos) << it.damage << result.err;
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), it.told.size()) << it.damage << result.err;
        Shell("ls -lR whole | cmp - before");
    }
    Shell("cp kept whole/project.qvp && rm whole/thumbnails/0.jpg");
    const Result noted = Run("verify whole --json");
    EXPECT_EQ(noted.status, 0);
    EXPECT_EQ(noted.err, "qvtool: note: whole: 1 slides have no thumbnail\n");
    EXPECT_EQ(json::parse(noted.out)["document"],
              (json{{"agrees", true}, {"odds", json::array()}, {"missingThumbnails", 1}}));
    Shell("printf x | dd of=whole/media.qv bs=1 seek=400000 conv=notrunc status=none");
    EXPECT_EQ(Run("verify whole --whole").status, 1);
    EXPECT_EQ(Run("info none").err, "qvtool: none/project.qvp: No such file or directory\n");
}

TEST_F(ProjectTool, ThumbnailsAreMadeAgain) {
    MakeRecording("r.webm");
    ASSERT_EQ(Run("new r.webm P").status, 0);
    Shell("rm P/thumbnails/0.jpg && echo old >P/thumbnails/5000.jpg && echo web >P/thumbnails/html1.jpg");
    EXPECT_EQ(Run("thumbs P").out, "P: 2 thumbnails\n");
    EXPECT_EQ(Size("P/thumbnails/0.jpg"), "mjpeg,160,120\n");
    EXPECT_EQ(Size("P/thumbnails/5000.jpg"), "mjpeg,160,120\n");
    EXPECT_EQ(Files("P/thumbnails"), (Names{"0.jpg", "5000.jpg", "html1.jpg"}));
    Shell("truncate -s 1000 P/media.qv");
    EXPECT_EQ(Run("thumbs P").status, 1);
    EXPECT_EQ(Files("P/thumbnails").size(), 3U) << "thumbnails were lost to a damaged recording";
    EXPECT_FALSE(fs::exists(folder_ / "P/thumblist.txt"));
}

}  // namespace
