// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/SlideChanges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "picture/SlideWatcher.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

/// A made recording: slides of text with a caret that blinks and a pointer that comes and goes.
struct Lecture {
    std::vector<Ms> turns;  ///< when the next slide begins
    Ms length = 0;
    int slides = 1000;     ///< that differ: after the last one comes the first one again
    bool fades = false;    ///< each change takes the second before its turn
    bool speaker = false;  ///< a film in the lower right corner
};

std::filesystem::path Film(const Lecture& lecture, const std::string& name, const std::string& encoder) {
    const auto count = [](auto number) { return std::to_string(number); };
    std::string times = count(lecture.length + 2000) + "*gt(N," + count(lecture.turns.size()) + ")";
    for (std::size_t i = 0; i < lecture.turns.size(); ++i) {
        times += "+eq(N," + count(i + 1) + ")*" + count(lecture.turns[i]);
    }
    // Lines of 12 points, ragged on the right, of letters that are other ones on each slide; all twice as large in the film.
    const std::string graph =
        "color=white:s=320x180,trim=end_frame=" + count(lecture.turns.size() + 2) +
        ",geq=cb=128:cr=128:lum='st(0,mod(N," + count(lecture.slides) +
        "));if(between(Y,12,155)*gt(mod(Y,12),4)*between(X,20,150+mod(ld(0)*77+floor(Y/12)*131,100))"
        "*lt(mod(abs(sin(floor(X/3)*12.9+floor(Y/"
        "2)*78.2+ld(0)*37.7))*4375.8,1),0.4),30,240)',scale=640x360:flags=neighbor,setpts='(" +
        times + ")/1000/TB',fps=" + (lecture.fades ? "1" : "25") +
        (lecture.fades ? ",framerate=fps=25:interp_start=0:interp_end=255:scene=100" : "") +
        ",drawbox=x=200:y=330:w=2:h=20:color=black:t=fill:enable='lt(mod(t,1),0.5)'[slides];"
        "color=black:s=9x13:r=25[pointer];testsrc2=s=130x100:r=25[speaker];"
        "[slides][pointer]overlay=x='300+250*sin(1.1*t)':y='180+140*sin(0.7*t)':enable='lt(mod(t,6),3)'[pointed];"
        "[pointed][speaker]overlay=x=510:y=260:enable=" +
        count(lecture.speaker ? 1 : 0);
    const std::string length = " -t " + count(lecture.length) + "ms ";
    return support::MakeMedia(support::TestFolder(), name, "-f lavfi -i \"" + graph + "\"" + length + encoder);
}

TEST(SlideChanges, OfLecturesAreFoundAndNoneInvented) {
    struct Case {
        const char* file;
        const char* encoder;
        bool isFadedAndSpoken;
    };
    const Case cases[] = {
        {"keys.mp4", "-c:v libx264 -preset superfast -crf 28 -g 75 -sc_threshold 0", false},
        {"faded.wmv", "-c:v wmv2 -b:v 400k -g 100", true},
    };
    for (const Case& now : cases) {
        std::mt19937 random(5);  // NOLINT(cert-msc51-cpp): the same lecture each time
        Lecture lecture;
        lecture.fades = lecture.speaker = now.isFadedAndSpoken;
        for (int i = 0; i < 50; ++i) {
            const Ms step = lecture.fades ? 1000 : 40;
            lecture.length += static_cast<Ms>(2000 + random() % 3000) / step * step;
            lecture.turns.push_back(lecture.length);
        }
        lecture.length += 4000;
        auto told = FindSlideChanges(Film(lecture, now.file, now.encoder), kUsualSensitivity, 1000, {});
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
        int found = 0;
        std::string missed;
        for (const Ms turn : lecture.turns) {
            const Ms middle = lecture.fades ? turn - 500 : turn;
            const auto isNear = [&](Ms time) { return std::abs(time - middle) <= 200; };
            const bool isFound = std::erase_if(told, isNear) > 0;
            found += isFound ? 1 : 0;
            if (!isFound) missed += std::to_string(turn) + " ";
        }
        EXPECT_GE(found, 48) << now.file << " of 50; missed: " << missed;
        EXPECT_LE(told.size(), 1U) << now.file << testing::PrintToString(told) << " are invented";
    }
}

TEST(SlideChanges, AreFoundBetweenKeysAndShortSlidesBelongToTheNext) {
    const std::string oneKey = "-c:v libx264 -preset superfast -g 999 -sc_threshold 0";
    const Lecture glance{.turns = {3000, 6000}, .length = 15000, .slides = 2};
    const auto there = Film(glance, "glance.mp4", oneKey);
    EXPECT_EQ(FindSlideChanges(there, 50, 0, {}), (std::vector<Ms>{3000, 6000})) << "and back";
    EXPECT_EQ(FindSlideChanges(there, 50, 3500, {}), (std::vector<Ms>{6000}));
    const Lecture passing{.turns = {6000, 6800, 14000}, .length = 18000};  // slide 1 is passed by on the way to 2
    const auto by = Film(passing, "passing.mp4", "-c:v libx264 -preset ultrafast -g 50");
    EXPECT_EQ(FindSlideChanges(by, 50, 0, {}), (std::vector<Ms>{6000, 6800, 14000}));
    EXPECT_EQ(FindSlideChanges(by, 50, 2000, {}), (std::vector<Ms>{6000, 14000}));
    EXPECT_EQ(FindSlideChanges(by, 50, 7000, {}), (std::vector<Ms>{14000}));

    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)FindSlideChanges(by, 50, 0, JobContext{{stop.get_token(), {}}}), Abandoned);
    double last = 0;
    (void)FindSlideChanges(by, 50, 0, JobContext{{{}, [&](double done) { last = done; }}});
    EXPECT_EQ(last, 1.0);
    const auto sound = support::MakeMedia(by.parent_path(), "a.wav", "-f lavfi -i sine=d=0.1");
    EXPECT_THROW((void)FindSlideChanges(sound, 50, 0, {}), MediaError);
}

/// A picture with its left `columns` dark.
SmallPicture Dark(int columns) {
    SmallPicture picture;
    for (std::size_t i = 0; i < picture.size(); ++i) {
        picture[i] = static_cast<int>(i % kSmallWidth) < columns ? 40 : 200;
    }
    return picture;
}

/// One letter stands for 200 ms: '.' the first slide, 'a' to 'z' others, larger letters darker.
std::vector<Ms> Watch(const std::string& pictures, double share) {
    SlideWatcher watcher(share);
    Ms time = 0;
    for (const char letter : pictures) {
        const SmallPicture picture = Dark(letter == '.' ? 0 : letter - 'a' + 1);
        for (int i = 0; i < 5; ++i, time += 40) watcher.See(time, picture);
    }
    watcher.End();
    std::vector<Ms> times;
    for (const SlideChange& change : watcher.Changes()) times.push_back(change.time);
    return times;
}

TEST(SlideWatcher, TellsChangesThatStay) {
    struct Case {
        const char* name;
        const char* pictures;
        std::vector<Ms> times;
    };
    const Case cases[] = {
        {"nothing", "........................", {}},
        {"one change", "..........pppppppppppppp", {2000}},
        {"too small a change", "..........aaaaaaaaaaaaaa", {}},
        {"a flash", "..........p.............", {}},
        {"there and back", "..........pppppp........", {2000, 3200}},
        {"a fade, told at its middle", "..........dhlpppppppppppp", {2200}},
        {"at the very end", "....................pp", {4000}},
        {"slow drift",
         "...................."
         "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaabbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbcccccccccccc",
         {}},
    };
    for (const Case& now : cases) EXPECT_EQ(Watch(now.pictures, 0.012), now.times) << now.name;
    EXPECT_EQ(Watch("..........aaaaaaaaaaaaaa", 0.005), (std::vector<Ms>{2000})) << "a finer look";
}

}  // namespace
}  // namespace qv
