// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "ToolFolder.h"

namespace fs = std::filesystem;
using nlohmann::json;
using std::chrono::microseconds;

namespace {

const std::string kTool = "'" QVTOOL_PATH "' ";
constexpr int kPerMs = 48;  ///< sound samples

/// A running `qvtool edit`, spoken to line by line.
class Session {
public:
    Session(const fs::path& folder, const std::string& arguments, const std::string& before = {}) {
        std::signal(SIGPIPE, SIG_IGN);
        fs::remove(folder / "in");
        mkfifo((folder / "in").c_str(), S_IRUSR | S_IWUSR);
        const std::string command = "cd '" + folder.string() + "' && echo $$ && " + before +
                                    " XDG_CACHE_HOME=cache appdata=. exec " + kTool + "edit " + arguments +
                                    " <in 2>err.txt";
        out_ = popen(command.c_str(), "re");
        child_ = Read();
        in_ = open((folder / "in").c_str(), O_WRONLY | O_CLOEXEC);
    }
    ~Session() { End(); }

    void Send(const std::string& line) const {
        const std::string bytes = line + "\n";
        if (write(in_, bytes.data(), bytes.size()) < 0) ADD_FAILURE() << line << ": nobody reads";
    }
    /// Null when the program has ended.
    [[nodiscard]] json Read() const {
        std::string line;
        for (int letter = 0; (letter = std::fgetc(out_)) != EOF && letter != '\n';) line += static_cast<char>(letter);
        return line.empty() ? json() : json::parse(line);
    }
    json Do(const std::string& line) const {
        Send(line);
        return Read();
    }
    /// Commands that have to succeed, parted by ";".
    void DoAll(const std::string& lines) const {
        std::stringstream stream(lines);
        for (std::string line; std::getline(stream, line, ';');) {
            const json result = Do(line);
            EXPECT_TRUE(result.is_object() && result["ok"] == true) << line << ": " << result;
        }
    }
    void Signal(int signal) const { kill(child_, signal); }
    /// The exit status, after the script's end.
    int End() {
        if (out_ == nullptr) return 0;
        close(in_);
        return WEXITSTATUS(pclose(std::exchange(out_, nullptr)));
    }

private:
    pid_t child_ = 0;
    int in_ = -1;
    std::FILE* out_ = nullptr;
};

class Edit : public ToolFolder {
protected:
    /// A project of ten seconds in two slides, quickly saved.
    void MakeSmallProject(const std::string& name) const {
        Shell(
            "ffmpeg -v error -f lavfi -i testsrc=r=5:s=320x240:d=10 -f lavfi -i sine=f=440:d=10 -c:v libvpx -g 10 "
            "-b:v 500k -c:a libopus small.webm; printf '0 One\\n4000 Two\\n' >slides");
        Shell(kTool + "new small.webm " + name + " --slides slides >/dev/null");
    }
    [[nodiscard]] std::string HashOf(const std::string& project) const {
        return Command("cd '" + project + "' && find . -type f ! -name step_log_mix.txt | sort | xargs md5sum").out;
    }
    /// 48 kHz, one channel, -1 to 1.
    [[nodiscard]] std::vector<float> Sound(const std::string& file) const {
        const std::string bytes = Command("ffmpeg -v error -i '" + file + "' -vn -ac 1 -ar 48000 -f f32le -").out;
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        return samples;
    }
    void ExpectSameTimes(const json& edited, const json& saved) const;
    void ExpectHeard(const json& lines) const;
    void ExpectSeen(const json& lines) const;
};

/// What undo and redo bring back.
json Content(json dump) {
    for (auto& track : dump["tracks"])
        for (auto& seg : track)
            for (const char* key : {"selected", "visible", "left", "width"}) seg.erase(key);
    return {dump["slides"], dump["tracks"]};
}

struct Row {
    int pos, posEnd, file, srcPos, srcPosEnd, vol;
};

/// The rows of one kind. In a row of pictures file and volume mean nothing.
std::vector<Row> Rows(const json& lines, char kind) {
    std::vector<Row> rows;
    for (std::string line : lines) {
        if (line[0] != kind) continue;
        if (kind == 'F') line.insert(line.find(',', line.find(',', 3) + 1), ", 0");
        Row row{};
        std::sscanf(line.c_str() + 1, ", %d, %d, %d, %d, %d, %d", &row.pos, &row.posEnd, &row.file, &row.srcPos,
                    &row.srcPosEnd, &row.vol);
        rows.push_back(row);
    }
    return rows;
}

using Sounds = std::vector<std::vector<float>>;

/// What a row plays at a sample of the timeline, also ahead of its start and behind its end.
float Played(const Row& row, const Sounds& sources, int sample) {
    const int at = sample - (row.pos - row.srcPos) * kPerMs;
    if (row.file < 0 || at < 0) return 0;
    const auto& source = sources[static_cast<std::size_t>(row.file)];
    const float raw = at < static_cast<int>(source.size()) ? source[static_cast<std::size_t>(at)] : 0;
    return std::clamp(raw * static_cast<float>(row.vol) / 100, -1.F, 1.F);
}

/// From, to and by how many samples late something is looked at, in samples.
struct Window {
    int from, to;
    int late = 0;
};

/// How far saved sound lies from what two rows play when the one gives way to the other at a sample.
double Distance(const std::array<Row, 2>& pair, int border, const Sounds& sources, const std::vector<float>& saved,
                Window window) {
    double distance = 0;
    for (int i = window.from; i < window.to; ++i)
        distance += std::pow(
            double(Played(pair[i < border ? 0 : 1], sources, i)) - saved[static_cast<std::size_t>(i + window.late)], 2);
    return distance;
}

double Loudness(const Row& row, const Sounds& sources, int ms) {
    double sum = 0;
    for (int i = ms * kPerMs; i < (ms + 12) * kPerMs; ++i) sum += std::pow(Played(row, sources, i), 2);
    return std::sqrt(sum / (12 * kPerMs));
}

/// Document, media file and editor tell the same.
void Edit::ExpectSameTimes(const json& edited, const json& saved) const {
    const json info = json::parse(Run("info P --json").out);
    EXPECT_EQ(info["duration"], saved["duration"]);
    EXPECT_EQ(saved["duration"], edited["duration"]);
    const auto keys = Command(
        "echo; ffprobe -v error -select_streams v -skip_frame nokey -show_entries frame=pts "
        "-of csv=p=0 P/media.qv | tr -d ,");
    ASSERT_EQ(info["slides"].size(), edited["slides"].size());
    for (std::size_t i = 0; i < info["slides"].size(); ++i) {
        for (const char* key : {"title", "pos", "posEnd", "len"}) {
            EXPECT_EQ(info["slides"][i][key], saved["slides"][i][key]) << i << key;
            EXPECT_EQ(edited["slides"][i][key], saved["slides"][i][key]) << i << key;
        }
        const std::string pos = saved["slides"][i]["pos"].dump();
        EXPECT_NE(keys.out.find("\n" + pos + "\n"), std::string::npos) << "no key at " << pos;
        EXPECT_TRUE(fs::exists(folder_ / "P/thumbnails" / (pos + ".jpg"))) << pos;
    }
}

/// What is heard is what the rows tell, and each begins where they tell.
void Edit::ExpectHeard(const json& lines) const {
    constexpr double kLoud = 0.025;
    Sounds sources;
    for (const std::string line : lines)
        if (line[0] == 'S') sources.push_back(Sound("kept/" + line.substr(line.rfind('/') + 1)));
    const std::vector<Row> rows = Rows(lines, 'A');
    const std::vector<float> heard = Sound("P/media.qv");
    EXPECT_NEAR(static_cast<double>(heard.size()), rows.back().posEnd * kPerMs, 20 * kPerMs);
    int looked = 0;
    int borders = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        for (const int ms : {row.pos + 10, row.posEnd - 80}) {
            if (row.posEnd - row.pos < 200 || Loudness(row, sources, ms) < kLoud) continue;
            const auto distance = [&](int late) {
                return Distance({row, row}, 0, sources, heard, {ms * kPerMs, (ms + 60) * kPerMs, late});
            };
            for (const int late : {-48, -10, -1, 1, 10, 48})
                EXPECT_LT(distance(0), distance(late)) << "row " << i << " at " << ms << ", " << late;
            ++looked;
        }
        if (i == 0 || rows[i - 1].pos - rows[i - 1].srcPos == row.pos - row.srcPos ||
            std::min(Loudness(row, sources, row.pos), Loudness(rows[i - 1], sources, row.pos - 12)) < kLoud)
            continue;
        const auto distance = [&](int ms) {
            return Distance({rows[i - 1], row}, (row.pos + ms) * kPerMs, sources, heard,
                            {(row.pos - 12) * kPerMs, (row.pos + 12) * kPerMs});
        };
        for (const int ms : {-6, -3, 3, 6}) EXPECT_LT(distance(0), distance(ms)) << row.pos << ", " << ms;
        ++borders;
    }
    EXPECT_GT(looked, 12);
    EXPECT_GT(borders, 2);
}

/// The picture at twenty times is the one that the rows tell.
void Edit::ExpectSeen(const json& lines) const {
    constexpr int kTick = 40;
    constexpr std::size_t kPixels = 64 * 36;
    const auto pictures = [&](const std::string& file) {
        return Command("ffmpeg -v error -i " + file +
                       " -an -vf fps=25:start_time=0:round=up,scale=64:36,format=gray -f rawvideo -");
    };
    const std::string seen = pictures("P/media.qv").out;
    const std::string source = pictures("kept/media.qv").out;
    const auto difference = [&](int tick, int sourceTick) {
        const auto a = std::min(static_cast<std::size_t>(tick), seen.size() / kPixels - 1) * kPixels;
        const auto b = std::min(static_cast<std::size_t>(sourceTick), source.size() / kPixels - 1) * kPixels;
        double sum = 0;
        for (std::size_t i = 0; i < kPixels; ++i)
            sum += std::abs(static_cast<std::uint8_t>(seen[a + i]) - static_cast<std::uint8_t>(source[b + i]));
        return sum / kPixels;
    };
    const std::vector<Row> rows = Rows(lines, 'F');
    for (int probe = 1; probe < 40; probe += 2) {
        const int ms = rows.back().posEnd * probe / 40 / kTick * kTick;
        const Row row = *std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return ms < r.posEnd; });
        const int from = row.srcPos == row.srcPosEnd ? row.srcPos - 1 : row.srcPos + ms - row.pos;
        EXPECT_LT(std::min(difference(ms / kTick, from / kTick), difference(ms / kTick, from / kTick + 1)), 4) << ms;
    }
}

TEST_F(Edit, AWholeRoadOfEditsIsSavedAsItWasShown) {
    Shell(kTool + "demo P >/dev/null && mkdir tmp kept && cp P/media.qv kept");
    // Tones that rise all the time sound like no other moment of themselves.
    for (const std::string name : {"1.wav", "2.mp3", "3.wma", "4.mp4", "5.wav"})
        Shell("ffmpeg -v error -f lavfi -i \"aevalsrc='0.5*sin(2*PI*(" + std::to_string(300 + 200 * (name[0] - '0')) +
              "*t+90*t*t))':d=2.7" + name.substr(0, 1) + "\" " + name);
    Shell(kTool + "import 5.wav kept/5.qva >/dev/null");
    Session session(folder_, "P", "temp='" + (folder_ / "tmp").string() + "'");
    session.DoAll("viewport 200;slide 2;zoomin;slide 3;slide 4;slide 5;slide 1;title 5 \"Größe & mehr\"");
    const json start = session.Do("dump");
    session.DoAll("seek 5000;split;select 12;volume 25;ruler 300;track 0");
    session.DoAll("slide 2;seek 4000;split;seek 9000;split;select 20;remove;drag 22 -16000");
    session.DoAll("slide 3;seek 3000;import 1.wav;import 2.mp3;seek 1000;import 3.wma;setpos 0 0 6 5;import 4.mp4");
    session.DoAll("place kept/5.qva 36000 overwrite;mark 3;volume -50");
    session.DoAll("next;tracks 1 0;seek 12352;split;seek 14592;split;select 28;setvol 400;select 30;drag 30 40");
    session.DoAll("prev;play 300;stop;slide 5");
    const json edited = session.Do("dump");
    for (int i = 0; i < 30; ++i) session.Do("undo");
    EXPECT_EQ(session.Do("undo")["reason"], "Undo is disabled");
    EXPECT_EQ(Content(session.Do("dump")), Content(start));
    for (int i = 0; i < 30; ++i) session.Do("redo");
    EXPECT_EQ(Content(session.Do("dump")), Content(edited));

    const json lines = session.Do("playlist")["lines"];
    EXPECT_NE(lines.dump().find("A, 35968, 38718, 5, 0, 2750,"), std::string::npos)
        << "not laid where it was told to be";
    Shell("cp tmp/_qvMix*/audio/*.qva kept");
    session.DoAll("save");
    const json saved = session.Do("dump");
    EXPECT_EQ(session.Do("save")["reason"], "Save is disabled");
    EXPECT_EQ(session.End(), 0);
    EXPECT_TRUE(fs::is_empty(folder_ / "tmp"));
    EXPECT_EQ(Run("verify --whole P").out, "P/media.qv: sound\nP/project.qvp: agrees with it, 5 slides\n");
    ExpectSameTimes(edited, saved);
    ExpectHeard(lines);
    ExpectSeen(lines);
}

TEST_F(Edit, AnEditThatIsTakenBackLeavesTheSavedProjectAsItWas) {
    Shell(kTool + "demo P >/dev/null && cp -r P Q");
    std::ofstream(folder_ / "script")
        << "\xEF\xBB\xBF# louder and softer again\r\n\r\nvolume 25\r\nvolume -25\r\nsave\r\nvolume 25";
    ASSERT_EQ(Run("edit P script --direct").status, 0);
    EXPECT_EQ(Command("diff -rq P Q").out, "Only in P: step_log_mix.txt\n");
}

TEST_F(Edit, WhatMakesNoSenseIsRefusedWithAReason) {
    MakeSmallProject("P");
    const std::string before = HashOf("P");
    std::vector<std::pair<std::string, std::string>> cases = {
        {"viewport 0", "0 does not lie between 1 and 16383"},
        {"slide 3", "3 does not lie between 1 and 2"},
        {"goto 2147483648", "\"2147483648\" is no whole number of 32 bits"},
        {"select 4", "there is no segment 4 on the shown slide"},
        {"track 2", "2 does not lie between 0 and 1"},
        {"splitat 9 100", "there is no segment 9 on the shown slide"},
        {"drag 2 20000", "20000 does not lie between -16383 and 16383"},
        {"import", "usage: import FILE"},
        {"place a.qva 0 aside", "\"aside\" is none of push overwrite"},
        {"place a.qva 9999 push", "9999 ms does not lie in the shown slide"},
        {"setpos 0 60 0 0", "60 is too much for its field"},
        {"title 1 \"Name", "a double quote is not closed"},
        {"answer maybe", "\"maybe\" is none of ok cancel yes no"},
        {"frob", "unknown command \"frob\""},
        // These are understood, and refused by the editor.
        {"prev", "cmdPrev is disabled"},
        {"setpos 0 0 9 0", "Out of range!"},
        {"remove", "at least one"},
        {"setvol -5", "nothing was changed"},
        {"drag 2 -5", "nothing was changed"},
        {"splitat 2 9999", "out of range"},
        {"import none.wav", "does not exist!"},
        {"import slides", "Unsupported"},
        {"place slides 0 push", "holds no sound that can be laid down"},
    };
    for (const std::string name : {"seek", "ruler", "mark", "setvol", "volume", "play", "wait"})
        cases.emplace_back(name + " 1.5", "\"1.5\" is no whole number of 32 bits");
    for (const std::string name : {"split", "remove", "zoomin", "zoomout", "undo", "redo", "save", "stop", "next",
                                   "prev", "dump", "playlist", "close"})
        cases.emplace_back(name + " 1", "usage: " + name);
    Session session(folder_, "P --keep-going");
    for (const auto& [line, reason] : cases) {
        const json result = session.Do(line);
        EXPECT_NE(result.value("reason", "").find(reason), std::string::npos) << line << result;
        EXPECT_EQ(result["ok"], false) << line;
    }
    session.DoAll("slide 2;seek 1000;tracks 1 1");
    const json dump = session.Do("dump");
    EXPECT_EQ(dump["history"]["lastIndex"], 0);
    EXPECT_EQ(json({dump["curSlide"], dump["position"], dump["cursor"], dump["trackSelected"], dump["posInfo"]}).dump(),
              "[2,4992,15,[-1,-1],\"0:00:00.9 / 0:00:05.9\"]");
    EXPECT_EQ(session.End(), 0);
    const Result stopped = Command("printf '\\nslide 2\\nslide 3\\nslide 1\\n' | " + kTool + "edit P");
    EXPECT_EQ(stopped.status, 2) << stopped.out;
    EXPECT_EQ(stopped.err, "qvtool: standard input: line 3: 3 does not lie between 1 and 2\n");
    EXPECT_EQ(Run("edit P none.txt").err, "qvtool: none.txt: cannot be read\n");
    EXPECT_NE(Run("edit nowhere").err.find("nowhere: there is no such folder\n"), std::string::npos);
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
    EXPECT_EQ(HashOf("P"), before);
}

TEST_F(Edit, QuestionsGetTheQueuedAnswerAndElseTheMostCareful) {
    MakeSmallProject("P");
    Shell("sed -i 's/duration=\"[^\"]*\"/duration=\"00:09\"/' P/project.qvp && cp -r P Q");
    const Result refused = Command("echo dump | " + kTool + "edit Q");
    EXPECT_EQ(refused.status, 1) << refused.out;
    Session session(folder_, "P");
    session.DoAll("answer yes");
    EXPECT_GE(session.Do("dump")["duration"], 10000);
    const json removal = session.Do("remove");
    EXPECT_EQ(removal["ok"], false);
    EXPECT_EQ(removal["messages"][0]["text"], removal["reason"]);
    EXPECT_EQ(removal["messages"][0]["answer"], "ok");
    session.DoAll("volume 25;answer cancel");
    const json stayed = session.Do("close");
    EXPECT_EQ(stayed["ok"], false);
    EXPECT_EQ(stayed["messages"][0]["answer"], "cancel");
    session.DoAll("answer yes;close");
    EXPECT_EQ(session.End(), 0);
    EXPECT_NE(HashOf("P"), HashOf("Q"));
}

/// A project that is being saved by a script when it is cut off, and what is found when it is opened again.
class CutOffSave : public Edit {
protected:
    static constexpr char kScript[] = "seek 1000;split;select 6;remove;drag 8 -500";

    CutOffSave() {
        MakeSmallProject("whole");
        Shell("echo '" + std::string(kScript) + ";save' | tr ';' '\\n' >script");
        Reset();
        EXPECT_EQ(Run("edit P script").status, 0);
        newDuration_ = Duration();
    }
    void Reset() const { Shell("rm -rf P tmp; cp -r whole P; mkdir tmp"); }
    [[nodiscard]] int Duration() const { return json::parse(Run("info P --json").out)["duration"].get<int>(); }

    /// The old project or the new one. The user is told and asked nothing, as the answer could only be wrong.
    void ExpectOldOrNew(const std::string& when) const {
        const Result opened = Command("echo dump | " + kTool + "edit P");
        ASSERT_EQ(opened.status, 0) << when << ": " << opened.err;
        EXPECT_EQ(opened.err, "") << when;
        EXPECT_EQ(json::parse(opened.out)["slides"].size(), 2U) << when;
        EXPECT_TRUE(Duration() == newDuration_ + 960 || Duration() == newDuration_) << when << ": " << Duration();
        EXPECT_EQ(Run("verify --whole P").status, 0) << when;
        EXPECT_EQ(Command("ls P | grep -F .~mv || true").out, "") << when;
    }

private:
    int newDuration_ = 0;
};

enum class From { Start, Swap };

/// Ends a save at some instant, by a signal. @returns whether the save was still running
bool KillDuringSave(const fs::path& folder, const char* script, int signal, From from, microseconds after) {
    Session session(folder, "P", "temp='" + (folder / "tmp").string() + "'");
    session.DoAll(script);
    session.Send("save");
    for (int i = 0; from == From::Swap && i < 1000000 && !fs::exists(folder / "P/project.qvp.mix.tmp"); ++i) continue;
    std::this_thread::sleep_for(from == From::Swap ? after / 100 : after);
    session.Signal(signal);
    const bool wasRunning = session.Read().is_null();
    session.End();
    return wasRunning;
}

TEST_F(CutOffSave, AtAnyInstant) {
    const char* const wanted = std::getenv("MIRRANE_KILLS");
    const int kills = wanted == nullptr ? 20 : std::atoi(wanted);
    std::mt19937 random(20240607);
    int cutOff = 0;
    microseconds longest{1000000};
    for (int i = 0; i < kills; ++i) {
        const int signal = i % 5 == 0 ? SIGTERM : SIGKILL;
        const microseconds after(std::uniform_int_distribution<long>(0, longest.count())(random));
        Reset();
        const bool wasRunning = KillDuringSave(folder_, kScript, signal, i % 2 == 0 ? From::Start : From::Swap, after);
        cutOff += wasRunning ? 1 : 0;
        if (!wasRunning && i % 2 == 0) longest = std::min(longest, after + after / 4);
        EXPECT_TRUE(signal == SIGKILL || fs::is_empty(folder_ / "tmp")) << i;
        ExpectOldOrNew(std::to_string(i) + ", " + std::to_string(after.count()));
    }
    std::cout << cutOff << " of " << kills << " saves were cut off\n";
    EXPECT_GT(cutOff, kills / 4) << "the signals came too late";
}

/// Killed at each call that changes names on the disk, with the work folder on the project's disk or on another.
TEST_F(CutOffSave, AtEachStep) {
    if (Command("command -v strace").status != 0) GTEST_SKIP() << "nothing here stops a program at a system call";
    constexpr int kKilled = 128 + SIGKILL;
    const std::string otherDisk = "/dev/shm/mirrane-tests-" + std::to_string(getpid());
    int kills = 0;
    for (const std::string& tmp : {std::string("tmp"), otherDisk})
        for (const std::string call : {"rename", "unlink"})
            for (int n = 1; n < 50; ++n) {
                Reset();
                Shell("rm -rf " + otherDisk + " && mkdir " + otherDisk);
                const std::string inject = "strace -f -o log -e inject=" + call + ":signal=KILL:when=";
                const int status = Command("temp=$(realpath " + tmp + ") XDG_CACHE_HOME=cache " + inject +
                                           std::to_string(n) + " " + kTool + "edit P script")
                                       .status;
                if (status != kKilled) break;
                ++kills;
                ExpectOldOrNew(call + " " + std::to_string(n) + " " + tmp);
            }
    Shell("rm -rf " + otherDisk);
    EXPECT_GT(kills, 20);
}

TEST_F(Edit, AFullTemporaryFolderCostsTheSaveAndNothingElse) {
    MakeSmallProject("P");
    const fs::path tmp = folder_ / "tmp";
    fs::create_directory(tmp);
    if (mount("tmpfs", tmp.c_str(), "tmpfs", 0, "size=4m") != 0) GTEST_SKIP() << "no file system can be mounted here";
    {
        Session session(folder_, "P", "temp='" + tmp.string() + "'");
        session.DoAll("volume 25;select 2;volume 50");
        Shell("head -c 5M /dev/zero >tmp/filler 2>/dev/null; truncate -s -8K tmp/filler");
        const std::string before = HashOf("P");
        const json failed = session.Do("save");
        EXPECT_EQ(failed["ok"], false);
        EXPECT_EQ(failed["reason"], "Failed to save project!") << failed;
        EXPECT_EQ(HashOf("P"), before);
        Shell("rm tmp/filler");
        session.DoAll("save");
    }
    EXPECT_EQ(umount(tmp.c_str()), 0);
    EXPECT_EQ(Run("verify --whole P").status, 0);
}

}  // namespace
