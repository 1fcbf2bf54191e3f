// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/SlideChanges.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "av/Av.h"
#include "picture/SlideWatcher.h"
#include "support/Containers.h"
#include "support/Media.h"

namespace qv {
namespace {

// ---- made recordings -------------------------------------------------------------------------------------------

constexpr int kWidth = 640;
constexpr int kHeight = 360;
constexpr Ms kFrameMs = 40;

/// A change of slides: it begins at `begin` and takes `fadeMs`.
struct Turn {
    Ms begin = 0;
    Ms fadeMs = 0;
};

struct Lecture {
    std::vector<Turn> turns;
    Ms length = 0;
    bool speaker = false;    ///< a small film in the lower right corner
    bool twoSlides = false;  ///< every turn goes back to the slide before
};

/// Slides of four to eight seconds; every third change is a fade of a second, every third one of half a second.
Lecture MakeLecture(int slides, bool fades, bool speaker) {
    std::mt19937 random(5);  // NOLINT(cert-msc51-cpp): the same lecture each time
    Lecture lecture;
    lecture.speaker = speaker;
    for (int i = 1; i < slides; ++i) {
        lecture.length += kFrameMs * static_cast<Ms>(100 + random() % 100);
        const Ms fade = fades ? static_cast<Ms>(i % 3) * 500 : 0;
        lecture.turns.push_back({lecture.length, fade});
    }
    lecture.length += 5000;
    return lecture;
}

/// Words of a slide: strokes on a light ground, other ones on each slide, the heading always in its place.
int SlideInk(int slide, int x, int y) {
    const int line = y / 24;
    const bool heading = line == 1;
    if (line < 1 || line > 12 || y % 24 < 8 || x < 40) return 240;
    const auto seed = static_cast<std::uint32_t>(slide * 131 + line * 17);
    const auto lineLength = static_cast<int>(200 + seed * 2654435761U % 300);
    if (line % 2 == 0 && !heading) return 240;
    if (x > 40 + lineLength) return 240;
    const std::uint32_t letter = (seed * 7919U + static_cast<std::uint32_t>(x / 6) * 104729U) >> 3;
    const bool ink = (letter >> (y % 24 / 4)) % 2 == 1 && letter % 5 != 0;
    return ink ? 30 : 240;
}

using Slide = std::vector<std::uint8_t>;

Slide DrawSlide(int number) {
    Slide slide;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) slide.push_back(static_cast<std::uint8_t>(SlideInk(number, x, y)));
    }
    return slide;
}

int SpeakerInk(int frame, int x, int y) {
    const double phase = frame * 0.15;
    const double head = std::hypot(x - 60 - 12 * std::sin(phase), y - 45 - 6 * std::cos(phase * 0.7));
    return head < 28 ? 180 + static_cast<int>(30 * std::sin(phase * 2 + x * 0.2)) : 70 + (x + frame) % 40;
}

Picture DrawFrame(const Lecture& lecture, const std::vector<Slide>& slides, int frame) {
    const Ms time = frame * kFrameMs;
    std::size_t slide = 0;
    int mix = 256;  // of `slide`, against the one before
    for (const Turn& turn : lecture.turns) {
        if (time < turn.begin) break;
        ++slide;
        mix = turn.fadeMs == 0 ? 256 : std::min(256, (time - turn.begin) * 256 / turn.fadeMs);
    }
    const std::size_t last = slide == 0 ? 0 : slide - 1;
    const Slide& now = slides[lecture.twoSlides ? slide % 2 : slide];
    const Slide& before = slides[lecture.twoSlides ? last % 2 : last];
    const bool pointing = time / 3000 % 2 == 0;
    const auto pointerX = static_cast<int>(300 + 250 * std::sin(time * 0.0011));
    const auto pointerY = static_cast<int>(180 + 140 * std::sin(time * 0.0007));
    const bool caret = time / 500 % 2 == 0;
    av::Frame out = av::NewPictureFrame(AV_PIX_FMT_YUV420P, kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y) {
        std::uint8_t* line = out->data[0] + static_cast<std::ptrdiff_t>(y) * out->linesize[0];
        for (int x = 0; x < kWidth; ++x) {
            const auto at = static_cast<std::size_t>(y * kWidth + x);
            int ink = (now[at] * mix + before[at] * (256 - mix)) / 256;
            if (lecture.speaker && x >= 510 && y >= 260) ink = SpeakerInk(frame, x - 510, y - 260);
            if (caret && x >= 200 && x < 202 && y >= 310 && y < 330) ink = 20;
            if (pointing && x >= pointerX && x < pointerX + 9 && y >= pointerY && y < pointerY + 13) ink = 10;
            line[x] = static_cast<std::uint8_t>(ink);
        }
    }
    for (const int plane : {1, 2}) {
        memset(out->data[plane], 128, static_cast<std::size_t>(out->linesize[plane]) * (kHeight / 2));
    }
    return {std::shared_ptr<const AVFrame>(std::move(out)), time};
}

/// Writes the lecture as a film; ffmpeg reads the raw pictures from a pipe.
std::filesystem::path Film(const Lecture& lecture, const std::string& name, const std::string& encoder) {
    const auto file = support::TestFolder() / name;
    const std::string command = "ffmpeg -v error -nostdin -y -f rawvideo -pix_fmt yuv420p -r 25 -s 640x360 -i - " +
                                encoder + " " + support::Quoted(file);
    std::vector<Slide> slides;
    for (int i = 0; i <= static_cast<int>(lecture.turns.size()); ++i) slides.push_back(DrawSlide(i));
    FILE* pipe = popen(command.c_str(), "w");
    for (int frame = 0; frame * kFrameMs < lecture.length; ++frame) {
        const Picture picture = DrawFrame(lecture, slides, frame);
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane == 0 ? kWidth : kWidth / 2;
            for (int y = 0; y < (plane == 0 ? kHeight : kHeight / 2); ++y) {
                const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(y) * picture.frame->linesize[plane];
                fwrite(picture.frame->data[plane] + offset, 1, static_cast<std::size_t>(width), pipe);
            }
        }
    }
    EXPECT_EQ(pclose(pipe), 0);
    return file;
}

struct Score {
    int found = 0;
    int wrong = 0;
    std::string story;
};

Score Compare(const Lecture& lecture, const std::vector<Ms>& told) {
    constexpr Ms kNear = 200;
    Score score;
    std::vector<bool> used(told.size());
    for (const Turn& turn : lecture.turns) {
        bool found = false;
        for (std::size_t i = 0; i < told.size(); ++i) {
            const Ms middle = turn.begin + turn.fadeMs / 2;
            if (std::abs(told[i] - turn.begin) > kNear && std::abs(told[i] - middle) > kNear) continue;
            used[i] = found = true;
        }
        score.found += found ? 1 : 0;
        if (!found) score.story += "missed " + std::to_string(turn.begin) + "+" + std::to_string(turn.fadeMs) + " ";
    }
    for (std::size_t i = 0; i < told.size(); ++i) {
        if (used[i]) continue;
        ++score.wrong;
        score.story += "invented " + std::to_string(told[i]) + " ";
    }
    return score;
}

struct LectureCase {
    const char* name;
    bool fades;
    bool speaker;
    const char* file;
    const char* encoder;
};

class SlideChangesIn : public testing::TestWithParam<LectureCase> {};

TEST_P(SlideChangesIn, AllAreFoundAndNoneInvented) {
    const LectureCase& now = GetParam();
    const Lecture lecture = MakeLecture(21, now.fades, now.speaker);
    const auto told = FindSlideChanges(Film(lecture, now.file, now.encoder), kUsualSensitivity, 1000, {});
    const Score score = Compare(lecture, told);
    EXPECT_EQ(score.found, 20) << score.story;
    EXPECT_EQ(score.wrong, 0) << score.story;
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
}

INSTANTIATE_TEST_SUITE_P(
    Lectures, SlideChangesIn,
    testing::Values(
        LectureCase{"KeysAtTheChanges", false, false, "a.mp4", "-c:v libx264 -preset superfast -crf 28 -g 250"},
        LectureCase{"RegularKeys", false, false, "a.mp4",
                    "-c:v libx264 -preset superfast -crf 28 -g 75 -sc_threshold 0"},
        LectureCase{"Fades", true, false, "a.mp4", "-c:v libx264 -preset superfast -crf 30 -g 75 -sc_threshold 0"},
        LectureCase{"Speaker", true, true, "a.mp4", "-c:v libx264 -preset superfast -crf 28 -g 75 -sc_threshold 0"},
        LectureCase{"OneKeyOnly", false, false, "a.webm",
                    "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -crf 35 -b:v 0 -g 9999 -lag-in-frames 0"},
        LectureCase{"WindowsMediaAtLowRate", false, true, "a.wmv", "-c:v wmv2 -b:v 400k -g 100"}),
    [](const auto& info) { return info.param.name; });

TEST(SlideChanges, CanBeAbandonedAndTellsHowFarItIs) {
    Lecture lecture;
    lecture.length = 12000;
    lecture.turns = {{6000, 0}};
    const auto file = Film(lecture, "a.mp4", "-c:v libx264 -preset ultrafast -g 50");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW((void)FindSlideChanges(file, 50, 0, JobContext{{stop.get_token(), {}}}), Abandoned);
    std::vector<double> progress;
    EXPECT_EQ(FindSlideChanges(file, 50, 0, JobContext{{{}, [&](double done) { progress.push_back(done); }}}),
              (std::vector<Ms>{6000}));
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_EQ(progress.back(), 1.0);
    EXPECT_THROW((void)FindSlideChanges(file.parent_path() / "none.mp4", 50, 0, {}), MediaError);
    const auto sound = support::MakeMedia(file.parent_path(), "a.wav", "-f lavfi -i sine=d=0.1");
    EXPECT_THROW((void)FindSlideChanges(sound, 50, 0, {}), MediaError);
}

TEST(SlideChanges, ALookAtAnotherSlideBetweenTwoKeysIsFound) {
    Lecture lecture;
    lecture.length = 25000;
    lecture.turns = {{3000, 0}, {6000, 0}};
    lecture.twoSlides = true;
    const auto file = Film(lecture, "a.mp4", "-c:v libx264 -preset superfast -g 250 -keyint_min 250 -sc_threshold 0");
    EXPECT_EQ(FindSlideChanges(file, 50, 0, {}), (std::vector<Ms>{3000, 6000}));
    EXPECT_EQ(FindSlideChanges(file, 50, 3500, {}), (std::vector<Ms>{6000}));
}

TEST(SlideChanges, ShortSlidesBelongToTheNextAndGlancesBackAreNone) {
    Lecture lecture;
    lecture.length = 20000;
    lecture.turns = {{6000, 0}, {6800, 0}, {14000, 0}};  // slide 1 is passed by on the way to 2
    const auto file = Film(lecture, "a.mp4", "-c:v libx264 -preset ultrafast -g 50");
    EXPECT_EQ(FindSlideChanges(file, 50, 0, {}), (std::vector<Ms>{6000, 6800, 14000}));
    EXPECT_EQ(FindSlideChanges(file, 50, 2000, {}), (std::vector<Ms>{6000, 14000}));
    EXPECT_EQ(FindSlideChanges(file, 50, 7000, {}), (std::vector<Ms>{14000}));
}

// ---- the watcher alone -----------------------------------------------------------------------------------------

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
