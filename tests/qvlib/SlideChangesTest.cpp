// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/SlideChanges.h"

#include <random>
#include <sstream>

#include "support/Media.h"

namespace qv {
namespace {

template <typename... Parts>
std::string Join(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// Makes up what is shown in 640 x 360 at 10 pictures a second, as the text of an .ass file. Times in whole 100 ms.
class Script {
public:
    explicit Script(unsigned seed) : random_(seed) {}

    int Pick(int from, int to) { return from + static_cast<int>(random_() % static_cast<unsigned>(to - from + 1)); }
    std::string Words(int count) {
        const char* words[] = {"energy", "system", "linear", "value", "matrix", "theorem", "proof",  "limit",
                               "graph",  "node",   "cost",   "noise", "phase",  "charge",  "market", "protein",
                               "supply", "state",  "clause", "verb",  "error",  "mean",    "sample", "theory"};
        std::string text = "The";
        for (int i = 0; i < count; ++i) text += Join(' ', words[Pick(0, 23)]);
        return text;
    }
    void Put(Ms from, Ms to, const std::string& tags, const std::string& text) {
        const auto time = [](Ms ms) {
            return Join(ms / 3600000, ':', ms / 60000 % 60, ':', ms / 1000 % 60, '.', ms / 100 % 10, 0);
        };
        lines_ += Join("Dialogue: ", time(from), ',', time(to), ",D,{\\an7", tags, '}', text, '\n');
    }
    /// A title and points below it, each of which comes up `delay` ms behind the one before.
    void PutSlide(Ms from, Ms to, const std::string& title, const std::vector<std::string>& points, int fade = 0,
                  Ms delay = 0) {
        const std::string fading = Join("\\fad(", fade, ",0)");
        Put(from, to, "\\pos(24,14)\\fs30" + fading, title);
        for (std::size_t i = 0; i < points.size() && from < to; ++i, from += delay)
            Put(from, to, Join("\\pos(44,", 74 + 48 * i, ")\\fs24", fading), "• " + points[i]);
    }
    /// It rests, moves or is gone.
    void PutPointer(Ms length);

    [[nodiscard]] std::string Text() const {
        return "[Script Info]\nPlayResX: 640\nPlayResY: 360\n[V4+ Styles]\nFormat: Name,Fontname,Fontsize,"
               "PrimaryColour,OutlineColour,Outline,Shadow\nStyle: D,DejaVu Sans,14,&H202020,&HFFFFFF,0,0\n"
               "[Events]\nFormat: Start,End,Style,Text\n" +
               lines_;
    }

private:
    std::mt19937 random_;
    std::string lines_;
};

void Script::PutPointer(Ms length) {
    std::string here = "300,200";
    for (Ms time = 0; time < length;) {
        const Ms end = time + Pick(3, 20) * 100;
        const int deed = Pick(0, 7);
        const std::string there = deed < 5 ? Join(Pick(20, 620), ',', Pick(60, 340)) : here;
        if (deed < 7)
            Put(time, end, Join("\\move(", here, ',', there, ")\\1c&H0&\\bord1\\p1"),
                "m 0 0 l 0 17 4 13 7 19 10 18 7 12 12 12");
        here = there;
        time = end;
    }
}

struct Lecture {
    std::vector<Ms> turns;  ///< when the next slide begins; of a fade, its middle
    Ms length = 0;
    std::string script;
    Ms film = 0;  ///< when a film begins to play inside a slide, for 6 s; 0: none
};

/// 101 slides of one template. Some keep their title and all but two points, some come up point by point, some fade in,
/// some have a caret that blinks, and in one the text scrolls. A pointer is about all the time.
Lecture Talk(unsigned seed) {
    constexpr int kFilm = 40;
    constexpr int kScroll = 60;
    Script script(seed);
    Lecture talk;
    std::string title;
    std::vector<std::string> points;
    for (int slide = 0; slide <= 100; ++slide) {
        const Ms start = talk.length;
        const Ms end = talk.length += slide == kFilm || slide == kScroll ? 8000 : script.Pick(28, 48) * 100;
        const int fade = slide % 10 == 3 ? 400 : 0;
        if (slide > 0) talk.turns.push_back(start + fade / 2);
        if (slide == kFilm) talk.film = start + 1000;
        if (slide % 8 != 7) {
            title = script.Words(script.Pick(2, 4));
            points.resize(slide == kFilm ? 1 : static_cast<std::size_t>(script.Pick(3, 5)));
            for (std::string& point : points) point = script.Words(script.Pick(3, 6));
        } else {
            for (const std::size_t i : {0, 1}) points[i] = script.Words(script.Pick(3, 6));
        }
        if (slide == kScroll) points.clear();
        script.PutSlide(start, end, title, points, fade, slide % 6 == 5 ? 700 : 0);
        script.Put(start, end, "\\pos(300,340)", std::to_string(slide + 1));
        for (int y = 70; y < 340 && slide == kScroll; y += 22)
            script.Put(start, end, Join("\\fs18\\clip(0,60,640,335)\\move(40,", y, ",40,", y - 150, ",2500,4500)"),
                       script.Words(6));
        for (Ms t = start; t < end && slide % 5 == 0; t += 1000)
            script.Put(t, t + 500, "\\pos(300,100)\\p1", "m 0 0 l 2 0 2 20 0 20");
    }
    script.PutPointer(talk.length);
    talk.script = script.Text();
    return talk;
}

/// Slides of text, one after the other; after the last one comes the first one again.
Lecture Plain(const std::vector<Ms>& turns, Ms length, unsigned slides) {
    Script all(0);
    for (unsigned i = 0; i <= turns.size(); ++i) {
        Script words(i % slides);
        all.PutSlide(i == 0 ? 0 : turns[i - 1], i < turns.size() ? turns[i] : length, words.Words(3),
                     {words.Words(5), words.Words(5), words.Words(5)});
    }
    return {turns, length, all.Text()};
}

/// @param hasSpeaker a noisy camera's picture in the lower right corner
std::filesystem::path Film(const Lecture& lecture, const std::string& name, const std::string& encoder,
                           bool hasSpeaker = false) {
    const auto folder = support::TestFolder();
    support::WriteBytes(folder / "lecture.ass", {lecture.script.begin(), lecture.script.end()});
    const auto overlay = [](const char* what, Ms from, Ms to) {
        return Join("[a];", what, "[b];[a][b]overlay=x=W-w-20:y=H-h-20:enable='between(t,", from / 1000.0, ',',
                    to / 1000.0 - 0.05, ")'");
    };
    const std::string graph =
        Join("color=white:s=640x360:r=10,ass='", (folder / "lecture.ass").string(), '\'',
             overlay("testsrc2=s=260x150:r=10", lecture.film, lecture.film + (lecture.film > 0 ? 6000 : 0)),
             overlay("testsrc2=s=130x100:r=10,noise=alls=12:allf=t", 0, hasSpeaker ? lecture.length : 0));
    return support::MakeMedia(folder, name,
                              Join("-f lavfi -i \"", graph, "\" -t ", lecture.length, "ms -pix_fmt yuv420p ", encoder));
}

TEST(SlideChanges, OfLecturesAreFoundAndNoneInvented) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"coarse.mp4", "-c:v libx264 -preset ultrafast -crf 35", false},
        {"speaker.mkv", "-c:v libx264 -preset ultrafast -b:v 150k -g 50 -sc_threshold 0", true},
    };
    const Lecture talk = Talk(5);
    for (const auto& [file, encoder, hasSpeaker] : cases) {
        auto told = FindSlideChanges(Film(talk, file, encoder, hasSpeaker), kUsualSensitivity, 1000, {});
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
        std::vector<Ms> missed;
        for (const Ms turn : talk.turns) {
            const auto isNear = [turn](Ms time) { return std::abs(time - turn) <= 200; };
            if (std::erase_if(told, isNear) == 0) missed.push_back(turn);
        }
        EXPECT_LE(missed.size(), 5U) << file << " of 100: " << testing::PrintToString(missed);
        EXPECT_LE(told.size(), 3U) << file << ": " << testing::PrintToString(told) << " are invented";
    }
}

TEST(SlideChanges, AreFoundBetweenKeysAndShortSlidesBelongToTheNext) {
    const std::string oneKey = "-c:v libx264 -preset superfast -g 999 -sc_threshold 0";
    const auto there = Film(Plain({3000, 6000}, 15000, 2), "glance.mp4", oneKey);
    EXPECT_EQ(FindSlideChanges(there, 50, 0, {}), (std::vector<Ms>{3000, 6000})) << "and back";
    EXPECT_EQ(FindSlideChanges(there, 50, 3500, {}), (std::vector<Ms>{6000}));
    // The second slide is passed by on the way to the third.
    const auto by = Film(Plain({6000, 6800, 14000}, 18000, 9), "passing.mp4", "-c:v libx264 -preset ultrafast -g 50");
    EXPECT_EQ(FindSlideChanges(by, 50, 0, {}), (std::vector<Ms>{6000, 6800, 14000}));
    EXPECT_EQ(FindSlideChanges(by, 50, 2000, {}), (std::vector<Ms>{6000, 14000}));
    EXPECT_EQ(FindSlideChanges(by, 50, 7000, {}), (std::vector<Ms>{14000}));

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)FindSlideChanges(by, 50, 0, JobContext{{stop.get_token(), {}}}), Abandoned);
}

}  // namespace
}  // namespace qv
