// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/WaveTrack.h"

#include <gtest/gtest.h>

#include "timeline/Lecture.h"

namespace mirrane {
namespace {

/// Notes what it is told: "+8 " and "-8 " load and unload, "8* " paint, "8@ " place, "|0 " lines of Track 1.
class Face final : public IWaveView {
public:
    void Load(std::int32_t segIndex) override { told += "+" + std::to_string(segIndex) + " "; }
    void Unload(std::int32_t segIndex) override { told += "-" + std::to_string(segIndex) + " "; }
    void Refresh(const CWaveSeg& seg) override { told += std::to_string(seg.segIndex) + "* "; }
    void Place(const CWaveSeg& seg) override { told += std::to_string(seg.segIndex) + "@ "; }
    void RaiseLines(std::int32_t trackIndex) override { told += "|" + std::to_string(trackIndex) + " "; }
    std::string told;
};

/// Track 1, which begins with some segments.
struct WaveTrack : testing::Test {
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
    Begin("2#4:64000-128000<0 1#10:64-128<0 1#8:0-64<0 1#2:64-128<0 3#6:0-1<0 2#12:64000-64064<0 1#14:192-200<0");
    EXPECT_EQ(ToText(track),
              "1#8:0-64<0 1#2:64-128<0 1#10:64-128<0 1#14:192-200<0 2#12:64000-64064<0 2#4:64000-128000<0 3#6:0-1<0")
        << "of equal ones the shorter, then the lower number";
    EXPECT_EQ(track.getItemIndex(10) * 10 + track.getItemIndex(16), 29);
    EXPECT_EQ(&track.items.byKey(14), &track.items.item(4));
    EXPECT_THROW((void)track.items.item(8), std::out_of_range);
    track.ShiftPos(2, -64064);
    EXPECT_EQ(ToText(track),
              "1#8:0-64<0 1#2:64-128<0 1#10:64-128<0 1#14:192-200<0 2#12:-64-0<0 2#4:-64-63936<0 3#6:-64064--64063<0");
}

TEST_F(WaveTrack, RemembersItsHighestNumber) {
    Begin("1#2:0-64<0 1#10:64-128<0 2#4:128-192<0");
    for (const int position : {2, 1, 1}) {  // the last one empties the track
        track.Remove(position);
        EXPECT_EQ(track.maxSegIndex, 4);
    }
    Put(state, 0, "1#2:0-64<0 1#8:64-128<0");
    EXPECT_EQ(track.maxSegIndex, 8);
    track.RemoveAll();
    EXPECT_EQ(track.maxSegIndex, 0);
    EXPECT_EQ(face.told, "-10 -2 -4 +2 2* |0 +8 8* |0 -8 -2 ");
}

TEST_F(WaveTrack, SelectsAndShowsAndTellsWhatChanges) {
    Begin("1#2:0-64<0 1#8:64-128<0 2#4:128-192<0");
    // what is clicked and how; what is selected then, and painted
    const std::tuple<int, SelectShift, const char*, const char*> steps[] = {
        {2, SelectShift::None, "#2", "2* "},        {8, SelectShift::None, "#8", "2* 8* "},
        {4, SelectShift::Shift, "#8#4", "4* "},     {4, SelectShift::Shift, "#8#4", ""},
        {2, SelectShift::Control, "#2#8#4", "2* "}, {8, SelectShift::Control, "#2#4", "8* "},
        {2, SelectShift::None, "#2", "2* 4* 2* "}};
    for (const auto& [segIndex, shift, wanted, painted] : steps) {
        face.told.clear();
        track.SelectSeg(segIndex, shift);
        std::string selected;
        for (const CWaveSeg& seg : track.items) selected += seg.selected() ? "#" + std::to_string(seg.segIndex) : "";
        EXPECT_EQ(selected, wanted);
        EXPECT_EQ(face.told, painted) << selected;
    }
    face.told.clear();
    track.SelectAll();
    track.DeSelectAll();
    EXPECT_TRUE(track.SwitchSlide(1) && track.SwitchSlide(2) && !track.SwitchSlide(3));
    EXPECT_EQ(face.told, "8* 4* 2* 8* 4* 2@ 8@ 2@ 8@ 4@ 4@ ");
}

}  // namespace
}  // namespace mirrane
