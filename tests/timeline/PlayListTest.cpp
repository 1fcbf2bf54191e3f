// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/PlayList.h"

#include <gtest/gtest.h>

#include <random>

#include "doubles/Player.h"
#include "support/Basics.h"
#include "timeline/Lecture.h"

namespace mirrane {
namespace {

using modPlayList::MuteAudio;

/// A lecture with a work folder.
struct Desk : Lecture {
    explicit Desk(const std::string& slides) : Lecture(slides) { state.gTempWorkFolder = support::TestFolder(); }

    bool Make(MuteAudio muteAudio = MuteAudio::No) { return modPlayList::SetPlayList(state, muteAudio, &player); }
    [[nodiscard]] std::string File() const { return ReadFile(state.gTempWorkFolder / "PlayList.txt"); }
    /// What the player was given, as the file tells it.
    [[nodiscard]] std::string Played() const {
        return modPlayList::ToText(player.sources) + modPlayList::ToText(player.frameRows) +
               modPlayList::ToText(player.audioRows);
    }

    doubles::Player player;
};

/// What the file says, of "F 0 10 0 10 1/A ..." for what follows its sources.
std::string FileOf(const std::string& rows) {
    std::string text = "S, 0, /p/media.qv\r\nS, 1, /p/a.qva";
    for (const char letter : rows.empty() ? rows : "/" + rows)
        text += letter == '/' ? "\r\n" : letter == ' ' ? ", " : std::string(1, letter);
    return text + "\r\n";
}

/// A segment as Put takes it.
std::string SegText(int slide, int number, Ms pos, Ms end, const std::string& rest) {
    std::ostringstream text;
    text << slide << '#' << number << ':' << pos << '-' << end << rest;
    return text.str();
}

/// The message of a failure with that text.
std::string Failed(const std::string& reason) {
    return "SetPlayList|Error occured while setting play list! This program will now exit!\r\n(Err.Description: " +
           reason + ")\n";
}

constexpr char kTorn[] =
    "SetPlayList|Error occured while checking continuity of frame segments! This program will now exit!\n";
constexpr char kThreeSlides[] = "0-64000 64000-128000 128000-180000";

// clang-format off
struct Picture {
    const char *claim, *slides, *ends /* of the slides, where an edit changed them */, *track1, *track2, *rows;
    std::string told = {};
};
const Picture kPictures[] = {
    {"nothing edited", kThreeSlides, "", "2#4:64000-128000<64000", "",
     "F 0 180000 0 180000 1/A 0 180000 0 0 180000 100"},
    {"the end of slide 1 cut off", kThreeSlides, "1:49984", "1#8:0-49984<0", "",
     "F 0 49984 0 49984 1/F 49984 49985 49984 64001 1/F 49985 165984 64001 180000 0/"
     "A 0 49984 0 0 49984 100/A 49984 165984 0 64000 180000 100"},
    {"the head cut off", kThreeSlides, "1:54016", "1#10:0-54016<9984", "",
     "F 0 1 0 9985 1/F 1 170016 9985 180000 0/A 0 170016 0 9984 180000 100"},
    {"Track 2 over the middle", kThreeSlides, "", "", "1#1:9984-12480<0*75@2 1#3:12480-14984<2496*75@2",
     "F 0 180000 0 180000 1/A 0 9984 0 0 9984 100/A 9984 14984 1 0 5000 75/A 14984 180000 0 14984 180000 100"},
    {"of two that overlap by less than a sample the first is heard to its end", kThreeSlides, "", "",
     "1#1:4992-15042<0*100@2 1#5:15040-29984<5056*100@2",
     "F 0 180000 0 180000 1/A 0 4992 0 0 4992 100/A 4992 15042 1 0 10050 100/A 15042 29984 1 5058 20000 100/"
     "A 29984 180000 0 29984 180000 100"},
    {"a gap over the border of slides 1 and 2", kThreeSlides, "1:69968 2:137936",
     "1#2:0-64000<0 2#4:73936-137936<64000", "1#1:64000-69968<0*100@2",
     "F 0 64000 0 64000 1/F 64000 69968 64000 64000 0/F 69968 73936 64000 64000 1/F 73936 189936 64000 180000 0/"
     "A 0 64000 0 0 64000 100/A 64000 69968 1 0 5968 100/A 69968 73936 -1 0 0 0/A 73936 189936 0 64000 180000 100"},
    {"a gap over two borders is cut at the first", kThreeSlides, "1:69968 3:192000",
     "1#2:0-64000<0 2# 3#6:140000-192000<128000", "",
     "F 0 64000 0 64000 1/F 64000 69968 64000 64000 0/F 69968 140000 64000 64000 1/"
     "F 140000 140001 64000 128001 0/F 140001 192000 128001 180000 0/"
     "A 0 64000 0 0 64000 100/A 64000 140000 -1 0 0 0/A 140000 192000 0 128000 180000 100"},
    {"a gap at the head", kThreeSlides, "1:68992", "1#2:4992-68992<0", "",
     "F 0 4992 0 0 1/F 4992 184992 0 180000 0/A 0 4992 -1 0 0 0/A 4992 184992 0 0 180000 100"},
    {"Track 2 past the end of Track 1", kThreeSlides, "3:190000", "3#6:128000-160000<128000", "3#1:150000-190000<0*100@2",
     "F 0 160000 0 160000 1/F 160000 190000 160000 160000 0/A 0 150000 0 0 150000 100/A 150000 190000 1 0 40000 100"},
    {"web pages, a row never recorded, a source unknown, another volume", "0-64000 - ? 64000-128000", "",
     "1#2:0-64000<0*50", "4#1:64000-65000<0*100@0",
     "F 0 64000 0 64000 1/F 64000 128000 64000 128000 1/"
     "A 0 64000 0 0 64000 50/A 64000 65000 -2 0 1000 100/A 65000 128000 0 65000 128000 100"},

    {"back in the recording", "0-64000", "", "1#8:0-9984<9984 1#10:9984-19968<0", "", "", kTorn},
    {"overlapping", "0-64000", "", "1#8:0-40000<0 1#10:39999-64000<40000", "", "", kTorn},
    {"an empty Track 1", "0-64000 -", "", "1#", "", "", Failed("Subscript out of range")},
    {"no length at all", "0-0", "", "", "", "F 0 0 0 0 1", Failed("The sound at 0 ms has no end")},
    {"beyond 32 bits", "0-64000", "", "1#2:2147483647-2147483647<5", "", "", Failed("Overflow")},
};
// clang-format on

TEST(PlayList, IsWrittenToTheByteAndPlayedUnlessItFails) {
    for (const auto& it : kPictures) {
        SCOPED_TRACE(it.claim);
        Desk desk(it.slides);
        SetEnds(desk.state.gSlideList, it.ends);
        Put(desk.state, 0, it.track1);
        Put(desk.state, 1, it.track2);
        EXPECT_EQ(desk.Make(), it.told.empty());
        EXPECT_EQ(desk.world.user.Told(), it.told);
        EXPECT_EQ(desk.File(), FileOf(it.rows));
        EXPECT_EQ(desk.Played(), it.told.empty() ? desk.File() : "");
    }
}

TEST(PlayList, HoldsNoMoreThan128AudioRows) {
    Desk desk(kThreeSlides);
    for (int i = 0; i < 64; ++i) Put(desk.state, 1, SegText(1, 2 * i + 1, i * 640, i * 640 + 320, "<0*100@2"));
    EXPECT_TRUE(desk.Make());
    const std::string before = desk.Played();
    EXPECT_TRUE(before.ends_with("A, 40320, 40640, 1, 0, 320, 100\r\nA, 40640, 180000, 0, 40640, 180000, 100\r\n"));
    Put(desk.state, 1, "1#129:40640-40960<0*100@2");
    EXPECT_FALSE(desk.Make());
    EXPECT_EQ(desk.world.user.Told(), Failed("Subscript out of range"));
    EXPECT_EQ(desk.File(), FileOf("F 0 180000 0 180000 1"));
    EXPECT_EQ(desk.Played(), before);
}

TEST(PlayList, IsMuteOnRequestAndTakesTheBaseVolume) {
    Desk desk("0-64000");
    desk.state.gBaseVolPercent = 80;
    for (const auto& [mute, volume] : {std::pair{MuteAudio::No, "80"}, {MuteAudio::Yes, "0"}}) {
        EXPECT_TRUE(desk.Make(mute));
        EXPECT_EQ(desk.File(), FileOf("F 0 64000 0 64000 1/A 0 64000 0 0 64000 " + std::string(volume)));
    }
}

TEST(PlayList, KnowsSourcesByEveryByteAndARowByItsLine) {
    OneBased<std::filesystem::path> files;
    for (const char* file : {"/p//a.qva", "/p/A.qva", "/p/a.qva"}) files.Append(file);
    EXPECT_EQ(modPlayList::FindSrcFile(files, "/p/a.qva") * 10 + modPlayList::FindSrcFile(files, "/p/a"), 29);
    const std::filesystem::path odd[] = {"/p/50%?, A.qva", "/p/x\r\nA, 0, 1"};
    EXPECT_EQ(modPlayList::ToText(odd), "S, 0, /p/50%?, A.qva\r\nS, 1, /p/x%0D%0AA, 0, 1\r\n");
}

// ------------------------------------------------------------------------------------------- against a slow truth

std::string Sound(int source, Ms at, int volume) {
    return "source " + std::to_string(source) + " at " + std::to_string(at) + " * " + std::to_string(volume);
}

/// What is heard of a track at a time: asks every segment, and every slide that is not open.
std::string HeardOn(const EditorState& state, int track, Ms time) {
    for (const CWaveSeg& seg : state.gWaveTrack.at(static_cast<std::size_t>(track)).items)
        if (seg.pos <= time && time < seg.posEnd) return Sound(track, seg.srcPos + time - seg.pos, seg.volPercent);
    const CSlideList& slides = state.gSlideList;
    for (int i = 1; track == 0 && i <= slides.Count(); ++i)
        if (!state.gSlideLoaded[static_cast<std::size_t>(i) - 1] && slides.GetPos(i) <= time && time < slides.GetEnd(i))
            return Sound(0, std::stoi(state.gGrid.GetPos(i)) + time - slides.GetPos(i), 100);
    return "silence";
}

template <typename Row>
const Row& RowAt(const std::vector<Row>& rows, Ms time) {
    for (const Row& row : rows)
        if (row.pos <= time && time < row.posEnd) return row;
    throw std::out_of_range("no row at " + std::to_string(time));
}

std::string Heard(const qv::AudioRow& row, Ms time) {
    return row.fileIndex < 0 ? "silence" : Sound(row.fileIndex, row.srcPos + time - row.pos, row.volPercent);
}

/// The picture, told as the sound of Track 1 that belongs to it, at any volume.
std::string Seen(const qv::FrameRow& row, Ms time) {
    if (row.srcPos == row.srcPosEnd) return "silence";
    const bool isBridge = row.posEnd - row.pos == 1;
    return "source 0 at " + std::to_string(isBridge ? row.srcPosEnd - 1 : row.srcPos + time - row.pos) + " ";
}

/// Opens some slides, cuts them up, drops and moves pieces, and lays pieces of another source on Track 2.
class RandomEditor {
public:
    RandomEditor(EditorState& state, unsigned seed) : state_(state), random_(seed) {
        for (int slide = 1; slide <= state_.gSlideList.Count(); ++slide)
            if (state_.gSlideList.IsOnTimeline(slide) && Upto(2) > 0) Edit(slide);
    }

private:
    int Upto(int most) { return std::uniform_int_distribution<>(0, most)(random_); }

    void Edit(int slide) {
        Ms ends[] = {state_.gSlideList.GetPos(slide), state_.gSlideList.GetPos(slide)};
        const Ms from = std::stoi(state_.gGrid.GetPos(slide));
        const Ms to = std::stoi(state_.gGrid.GetEnd(slide));
        for (Ms at = from, next = 0; at < to; at = next) {
            next = std::min<Ms>(to, at + 64 * (1 + Upto(40)));
            if (at == from || Upto(3) > 0) Lay(slide, 0, next - at, at, ends[0]);
        }
        for (int left = Upto(3); left > 0; --left) Lay(slide, 1, 64 * (1 + Upto(30)) + Upto(63), 64 * Upto(9), ends[1]);
        state_.gSlideList.SetPosEnd(slide, std::max(ends[0], ends[1]));
    }

    /// Behind what the track has, or a bit away from it.
    void Lay(int slide, int track, Ms length, Ms srcPos, Ms& end) {
        const Ms pos = end + (Upto(3) == 0 ? 64 * Upto(50) : 0);
        end = pos + length;
        number_ += 2;
        const std::string volume = std::to_string(25 * Upto(5));
        const std::string source = "<" + std::to_string(srcPos) + "*" + volume + "@" + std::to_string(track + 1);
        Put(state_, track, SegText(slide, number_ + track, pos, end, source));
    }

    EditorState& state_;
    std::mt19937 random_;
    int number_ = 0;
};

TEST(PlayList, SaysWhatTheTracksSay) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Desk desk("0-6400 - 6400-12800 12800-16000 16000-16064 16064-25600");
        const EditorState& state = desk.state;
        RandomEditor(desk.state, seed);
        ASSERT_TRUE(desk.Make()) << desk.world.user.Told();
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + ToText(state.gWaveTrack[0]) + "\n" +
                     ToText(state.gWaveTrack[1]) + "\n" + desk.File());
        for (Ms time = 0; time < state.gSlideList.duration(); time += 64) {
            const std::string track1 = HeardOn(state, 0, time);
            const std::string track2 = HeardOn(state, 1, time);
            ASSERT_EQ(Heard(RowAt(state.gAudioRows, time), time), track2 == "silence" ? track1 : track2) << time;
            ASSERT_EQ(track1.find(Seen(RowAt(state.gFrameRows, time), time)), 0U) << time;
        }
    }
}

}  // namespace
}  // namespace mirrane
