// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/WaveEdit.h"

#include <gtest/gtest.h>

#include "doubles/Editing.h"
#include "editing/Replay.h"
#include "timeline/PlayList.h"

namespace mirrane {
namespace {

using modWaveEdit::Log;

struct WaveEdit : testing::Test, doubles::Editing {
    WaveEdit() : Editing("0-64000 64000-128000 128000-183600") {}

    void Undo() { state.gHistory.Undo(replay); }
    void Redo() { state.gHistory.Redo(replay); }
    [[nodiscard]] const CWaveSeg& Seg(std::int32_t segIndex) { return modWaveEdit::SegOf(ctx, segIndex); }
    [[nodiscard]] int Samples(std::int32_t segIndex) { return static_cast<int>(Seg(segIndex).samples.PCM.size()); }

    Replay replay{ctx};
};

TEST_F(WaveEdit, SplitsInsideASegmentOnly) {
    const std::string inside = "1#8:0-19968<0 1#10:19968-64000<19968";
    const std::string line = "1#2:0-64000<0|Split line is out of range!\n";
    const std::string time = "1#2:0-64000<0|Split position is out of range!\n";
    // The cursor's pixel, or -1 to split by time alone.
    const std::tuple<int, Ms, std::string> cases[] = {{-1, 20000, inside}, {-1, 63, time},       {-1, 64000, time},
                                                      {1, 63, time},       {499, 20000, inside}, {500, 20000, line},
                                                      {0, 20000, line}};
    Show(1);
    transport.isPlaying = true;
    for (const auto& [pixel, at, after] : cases) {
        form.picLine = pixel;
        transport.position = at;
        modWaveEdit::SplitWaveSeg(ctx, 2, pixel < 0 ? at : modWaveEdit::kAtLine, Log::Yes);
        EXPECT_EQ(Track(0) + Boxes(), after) << pixel << " " << at;
        Undo();
        EXPECT_EQ(Track(0) + transport.told, "1#2:0-64000<0StopHere ");
    }
}

TEST_F(WaveEdit, DividesTheSamplesAsTheyAreSpread) {
    Show(1);
    const Ms cases[][4] = {{10100, 4992, 79, 79}, {64000, 19968, 312, 688}, {100, 64, 2, 0}};
    for (const auto& [duration, split, left, right] : cases) {
        modWaveEdit::InsertWaveSeg(ctx, {1, 1, "/p/a.qva", 0, duration}, Log::No);
        const auto before = Seg(1).samples.PCM;
        modWaveEdit::SplitWaveSeg(ctx, 1, split, Log::No);
        EXPECT_EQ(std::pair(Samples(3), Samples(5)), std::pair(left, right));
        modWaveEdit::MergeWaveSeg(ctx, 1, split, 1);
        EXPECT_EQ(Seg(1).samples.PCM, before);
        modWaveEdit::RemoveWaveSeg(ctx, 1, Log::No);
    }
}

TEST_F(WaveEdit, GivesTheSameNumbersAgainAtAnyZoom) {
    Show(1);
    modWaveEdit::SplitWaveSeg(ctx, 2, 20000, Log::Yes);
    EXPECT_EQ(std::tuple(Seg(8).Left(), Seg(8).Width(), Seg(10).Left(), Seg(10).Width()), std::tuple(0, 157, 156, 345));
    modWaveEdit::SplitWaveSeg(ctx, 10, 20032, Log::Yes);
    modWaveEdit::InsertWaveSeg(ctx, {1, 1, "/p/a.qva", 0, 640}, Log::Yes);
    modWaveEdit::SplitWaveSeg(ctx, 1, 64, Log::Yes);
    for (const int segIndex : {12, 3, 5}) modWaveEdit::RemoveWaveSeg(ctx, segIndex, Log::Yes);
    modWaveEdit::InsertWaveSeg(ctx, {1, 7, "/p/a.qva", 0, 640}, Log::Yes);
    for (const int zoom : {2, 1, 8}) {
        for (int step = 0; step < 8; ++step) Undo();
        EXPECT_EQ(Tracks(), "1#2:0-64000<0\n");
        EXPECT_EQ(Seg(2).samples.PCM.at(999), doubles::Sampler::PeakAt(63936));
        modLayout::doZoom(ctx, zoom, modLayout::ResetView::No);
        for (int step = 0; step < 8; ++step) Redo();
        EXPECT_EQ(Tracks() + Boxes(), "1#8:0-19968<0 1#14:20032-64000<20032\n1#7:0-640<0") << zoom;
    }
}

TEST_F(WaveEdit, LetsTheSlideGrowAndShrinkWithWhatIsLaidDown) {
    Show(1);
    modWaveEdit::InsertWaveSeg(ctx, {1, 1, "/p/b.qva", 60032, 10050, 64, 75}, Log::Yes);
    modWaveEdit::MoveWaveSeg(ctx, 1, 640, modWaveEdit::Moved::NotYet, Log::Yes);
    EXPECT_EQ(std::tuple(Seg(1).Left(), Seg(1).Width(), Seg(1).volPercent), std::tuple(474, 79, 75));
    EXPECT_EQ(form.lSlideEnd + " " + Track(1), "70722 1#1:60672-70722<64");
    modWaveEdit::RemoveWaveSeg(ctx, 1, Log::Yes);
    modWaveEdit::InsertWaveSeg(ctx, {1, 3, "/p/media.qv", 0, 64}, Log::Yes);
    EXPECT_EQ(sampler.told, "/p/b.qva:64-10114/157#0 /p/media.qv:0-64/1#1 ");
    EXPECT_EQ(form.lSlideEnd + modPlayList::ToText(state.gSrcFiles.values()),
              "64000S, 0, /p/media.qv\r\nS, 1, /p/a.qva\r\nS, 2, /p/b.qva\r\n");
}

TEST_F(WaveEdit, MergesThePartsThatBelongTogether) {
    Put(state, 0, "1#8:0-19968<0 1#10:19968-64000<19968");
    Put(state, 1, "1#1:4928-9984<64@2 1#3:4992-9984<64@2 1#5:9984-19968<5056@2");
    Show(1);
    modWaveEdit::MergeWaveSeg(ctx, 7, 9984, 1);  // 1 ends there too, under 3
    EXPECT_EQ(Track(1), "1#1:4928-9984<64 1#7:4992-19968<64");
    for (const int volDif : {-101, -25}) modWaveEdit::VolAdjust(ctx, 8, volDif, Log::Yes);
    for (const Ms split : {19968, 19904}) EXPECT_FALSE(modWaveEdit::MergeWaveSeg(ctx, 2, split, 0));
    Undo();
    EXPECT_FALSE(state.gHistory.CanUndo());
    EXPECT_FALSE(modWaveEdit::MergeWaveSeg(ctx, 10, 19968, 0));
    EXPECT_FALSE(modWaveEdit::VolAdjust(ctx, 12, 25, Log::Yes));
    EXPECT_EQ(Boxes() + life.told,
              "|Failed to find right waveSeg!\n|Failed to find left waveSeg!\n"
              "|Error occured while loading UI component! This program will now exit!\r\n"
              "(Err.Description: The view 10 is already loaded)\n"
              "VolAdjust|There is no segment 12: Check volume\nUnload ");
}

TEST_F(WaveEdit, ReplaysOnTheSlideWhereItHappened) {
    transport.holdsSeeks = true;
    user.onEvents = [this] { transport.FinishSeek(); };
    Show(2);
    EXPECT_FALSE(modWaveEdit::SplitWaveSeg(ctx, 4, 70016, Log::Yes));  // a seek runs
    user.RunEvents();
    modWaveEdit::SplitWaveSeg(ctx, 4, 70016, Log::Yes);
    Show(1);
    Undo();
    EXPECT_EQ(Track(0) + slideView.told + transport.told, "1#2:0-64000<0 2#4:64000-128000<64000Slide:2 Seek:64000 ");
    user.onEvents = [this] { state.isClosing = true; };
    transport.qvSeekTo(0);
    Redo();
    EXPECT_EQ(Track(0), "1#2:0-64000<0 2#4:64000-128000<64000");
}

}  // namespace
}  // namespace mirrane
