// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/WaveTrack.h"

#include <gtest/gtest.h>

#include <utility>

#include "timeline/Lecture.h"

namespace mirrane {
namespace {

/// Notes what it is told: "+8 " and "-8 " load and unload, "8* " paint, "8@ " place, "|0 " lines of Track 1.
class Face final : public IWaveView {
public:
    void Load(std::int32_t segIndex) override { told_ += "+" + std::to_string(segIndex) + " "; }
    void Unload(std::int32_t segIndex) override { told_ += "-" + std::to_string(segIndex) + " "; }
    void Refresh(const CWaveSeg& seg) override { told_ += std::to_string(seg.segIndex) + "* "; }
    void Place(const CWaveSeg& seg) override { told_ += std::to_string(seg.segIndex) + "@ "; }
    void RaiseLines(std::int32_t trackIndex) override { told_ += "|" + std::to_string(trackIndex) + " "; }
    std::string Told() { return std::exchange(told_, {}); }

private:
    std::string told_;
};

/// Track 1, which begins with some segments.
class WaveTrack : public testing::Test {
protected:
    void Begin(const std::string& segs) {
        Put(state, 0, segs);
        state.waveViews.Face(&face);
    }

    Lecture lecture{"0-64000 64000-128000 128000-180000"};
    EditorState& state = lecture.state;
    Face face;
    CWaveTrack& track = state.gWaveTrack[0];
};

TEST_F(WaveTrack, KeepsTheOrderOfSlideAndTime) {
    Begin("2#4:64000-128000<0 1#2:64-128<0 1#8:0-64<0 1#10:64-128<0 3#6:0-1<0 2#12:64000-64064<0 1#14:192-200<0");
    EXPECT_EQ(ToText(track),
              "1#8:0-64<0 1#2:64-128<0 1#10:64-128<0 1#14:192-200<0 2#4:64000-128000<0 2#12:64000-64064<0 3#6:0-1<0");
    EXPECT_EQ(track.getItemIndex(10), 3);
    EXPECT_EQ(track.getItemIndex(16), -1);
    EXPECT_EQ(&track.items.byKey(14), &track.items.item(4));
    EXPECT_THROW((void)track.items.item(8), std::out_of_range);
    EXPECT_THROW((void)track.items.byKey(16), std::out_of_range);
    track.ShiftPos(2, -64064);
    EXPECT_EQ(ToText(track),
              "1#8:0-64<0 1#2:64-128<0 1#10:64-128<0 1#14:192-200<0 2#4:-64-63936<0 2#12:-64-0<0 3#6:-64064--64063<0");
}

TEST_F(WaveTrack, LeavesOutWhatWouldStandAheadOfAnotherTrack) {
    Begin("1#2:64-128<0");
    state.waveViews.Load(3);
    EXPECT_TRUE(track.Add({.segIndex = 3, .slideIndex = 1, .trackIndex = 1, .pos = 0, .posEnd = 64}));
    EXPECT_EQ(lecture.world.user.Told(), "CWaveTrack.Add|TrackIndex mismatch!\n");
    EXPECT_EQ(track.maxSegIndex, 3);
    EXPECT_EQ(face.Told(), "+3 3* ");
    EXPECT_THROW(state.waveViews.Load(3), std::runtime_error);
    track.Add({.segIndex = 5, .slideIndex = 1, .trackIndex = 1, .pos = 64, .posEnd = 65});  // behind: nobody asks
    EXPECT_EQ(ToText(track), "1#2:64-128<0 1#5:64-65<0");
    EXPECT_EQ(lecture.world.user.boxes.size(), 1U);
    EXPECT_THROW(track.Add({.segIndex = 5, .slideIndex = 2}), std::invalid_argument);
}

TEST_F(WaveTrack, RemembersItsHighestNumber) {
    Begin("1#2:0-64<0 1#10:64-128<0 2#4:128-192<0");
    const std::pair<int, int> removals[] = {{2, 4}, {1, 4}, {1, 4}};  // the last one empties the track
    for (const auto& [position, highest] : removals) {
        track.Remove(position);
        EXPECT_EQ(track.maxSegIndex, highest);
    }
    Put(state, 0, "1#2:0-64<0");
    EXPECT_EQ(track.maxSegIndex, 4);
    Put(state, 0, "1#8:64-128<0");
    track.RemoveAll();
    EXPECT_EQ(track.maxSegIndex, 0);
    EXPECT_EQ(face.Told(), "-10 -2 -4 +2 2* |0 +8 8* |0 -8 -2 ");
    state.waveViews.Load(8);
}

TEST_F(WaveTrack, SelectsAndShowsAndTellsWhatChanges) {
    Begin("1#2:0-64<0 1#8:64-128<0 2#4:128-192<0");
    const struct {
        int segIndex;
        SelectShift shift;
        const char* selected;
        const char* painted;
    } steps[] = {
        {2, SelectShift::None, "#2", "2* "},        {8, SelectShift::None, "#8", "2* 8* "},
        {4, SelectShift::Shift, "#8#4", "4* "},     {4, SelectShift::Shift, "#8#4", ""},
        {2, SelectShift::Control, "#2#8#4", "2* "}, {8, SelectShift::Control, "#2#4", "8* "},
        {2, SelectShift::None, "#2", "2* 4* 2* "},
    };
    for (const auto& it : steps) {
        track.SelectSeg(it.segIndex, it.shift);
        std::string selected;
        for (const CWaveSeg& seg : track.items) selected += seg.selected() ? "#" + std::to_string(seg.segIndex) : "";
        EXPECT_EQ(selected, it.selected);
        EXPECT_EQ(face.Told(), it.painted) << selected;
    }
    track.SelectAll();
    track.DeSelectAll();
    EXPECT_EQ(face.Told(), "8* 4* 2* 8* 4* ");
    EXPECT_TRUE(track.SwitchSlide(1));
    EXPECT_EQ(face.Told(), "2@ 8@ ");
    EXPECT_TRUE(track.SwitchSlide(2));
    EXPECT_EQ(face.Told(), "2@ 8@ 4@ ");
    EXPECT_FALSE(track.SwitchSlide(3));
}

}  // namespace
}  // namespace mirrane
