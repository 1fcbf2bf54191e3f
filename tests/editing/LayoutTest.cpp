// SPDX-License-Identifier: GPL-3.0-or-later
#include "editing/Layout.h"

#include <gtest/gtest.h>

#include "doubles/Editing.h"
#include "editing/Selection.h"

namespace mirrane {
namespace {

/// "zoom 2: 2!@0+502, line 0, bar 0/2173 + -": segments as number@Left+Width, a selected one with "!"; "bar" alone when
/// it is disabled; "+" and "-" for the zoom buttons that are enabled.
std::string View(const doubles::Editing& on) {
    std::ostringstream text;
    text << "zoom " << modLayout::Zoom(on.ctx) << ":";
    for (const CWaveTrack& track : on.state.gWaveTrack)
        for (const CWaveSeg& seg : track.items)
            if (seg.Visible())
                text << " " << seg.segIndex << (seg.selected() ? "!" : "") << "@" << seg.Left() << "+" << seg.Width();
    text << ", line " << on.form.picLine << ", bar";
    const ScrollBar& bar = on.form.hScrWave;
    if (bar.Enabled) text << " " << bar.Value << "/" << bar.Max;
    text << (on.form.IsEnabled(Control::cmdZoomIn) ? " +" : "") << (on.form.IsEnabled(Control::cmdZoomOut) ? " -" : "");
    return text.str();
}

TEST(Layout, TurnsTimesIntoPixelsAndBack) {
    const int toPixel[][3] = {{32, 1, 1}, {33, 1, 2}, {96, 1, 3}, {160, 1, 3}, {-33, 1, 0}, {160, 2, 2}, {5000, 4, 20}};
    for (const auto& [ms, zoom, px] : toPixel) EXPECT_EQ(modLayout::TimeToPixelAt(ms, zoom), px) << ms << " " << zoom;
    EXPECT_EQ(modLayout::PixelToTimeAt(0, 8) + modLayout::PixelToTimeAt(352, 8), 0 + 179712);
    EXPECT_THROW((void)modLayout::PixelToTimeAt(16383, 4096), std::overflow_error);
    EXPECT_EQ(modSlideTimeline::SampleCount(160) + modSlideTimeline::SampleCount(32), 2 + 1);
}

TEST(Layout, FitsASlideThatIsShownForTheFirstTime) {
    const int cases[][4] = {{180000, 640, 8, 352}, {64064, 640, 2, 502},     {40896, 640, 1, 640}, {40960, 640, 2, 321},
                            {0, 640, 1, 1},        {3600000, 1000, 64, 880}, {180000, 0, 2048, 2}};
    for (const auto& [duration, viewport, zoom, width] : cases) {
        const auto [isZoom, isWidth] = modLayout::FirstViewOf(duration, viewport);
        EXPECT_EQ(std::pair(isZoom, isWidth), std::pair(zoom, width)) << duration << " in " << viewport;
    }
}

TEST(Layout, LabelsTheRulerInReadableSteps) {
    const int steps[][2] = {{8401026, 60000}, {1000, 500}, {134339863, 1800000}, {1048448, 10000}};
    for (const auto& [span, step] : steps) EXPECT_EQ(modLayout::PickRulerStep(span, 16383), step) << span;
    const std::string rulers[][2] = {
        {"0-180000", "0:01:00.0@117, 701 ticks"}, {"0-3600000", "0:30:00.0@220, 374 ticks"}, {"0-20", "0 ticks"}};
    for (const auto& [slide, wanted] : rulers) {
        doubles::Editing on(slide);
        on.Show(1);
        const auto& ticks = on.form.picRuler;
        const std::string label = ticks.empty() ? "" : ticks.at(5).label + "@" + std::to_string(ticks[5].x) + ", ";
        EXPECT_EQ(label + std::to_string(ticks.size()) + " ticks", wanted);
    }
}

TEST(Layout, KeepsTheProportionOfTheViewWhenItIsZoomed) {
    doubles::Editing on("0-180000");
    on.Show(1);
    modLayout::cmdZoomOut_Click(on.ctx);
    EXPECT_EQ(View(on), "zoom 8: 2!@0+352, line 0, bar +");
    modLayout::doZoom(on.ctx, 2, modLayout::ResetView::Yes);
    modLayout::Scroll(on.ctx, 384);
    modLayout::cmdZoomIn_Click(on.ctx);
    EXPECT_EQ(View(on), "zoom 1: 2!@0+2813, line 0, bar 1088/2173 -");
    modLayout::cmdZoomIn_Click(on.ctx);
    EXPECT_EQ(on.Boxes(), "|Exceed the max zoom out ratio!\n|Exceed the max zoom ratio!\n");
    modLayout::Scroll(on.ctx, 9999);
    modLayout::cmdZoomOut_Click(on.ctx);
    EXPECT_EQ(View(on), "zoom 2: 2!@0+1407, line 0, bar 767/767 + -");
    modLayout::SetViewportWidth(on.ctx, 645);
    modLayout::Scroll(on.ctx, 0);
    modLayout::PlaceCursor(on.ctx, 82560);
    EXPECT_EQ(View(on), "zoom 2: 2!@0+1407, line 645, bar 642/762 + -");
}

TEST(Layout, LetsASlideEndWithItsLastSound) {
    doubles::Editing on("0-64064 64064-128000");
    Put(on.state, 0, "1#8:0-19968<0 1#10:19968-64000<19968 1#12:64000-64064<64000 2#4:64064-128000<64064");
    Put(on.state, 1, "1#1:128-192<0 2#3:70016-80000<0");
    on.state.gSlideZoom = {2, 2};
    on.Show(1);
    const std::string tracks = on.Tracks();
    EXPECT_EQ(on.form.lSlideEnd, "64064");  // though 10 and 12 end in one pixel
    EXPECT_EQ(View(on), "zoom 2: 8!@0+157 10@156+345 12@500+1 1@1+1, line 0, bar +");
    modLayout::PlaceCursor(on.ctx, 64000);  // the last pixel of a segment is not on it
    modSelection::imgTrackPanel_Click(on.ctx, 0);
    EXPECT_EQ(View(on), "zoom 2: 8@0+157 10@156+345 12@500+1 1@1+1, line 500, bar +");
    on.form.drag = SegDrag{1, 0, 128, 1};
    on.state.gWaveTrack[1].items.byKey(1).move(70000);
    modLayout::SyncSlideEnd(on.ctx);
    EXPECT_EQ(on.form.lSlideEnd + " " + on.Track(1), "70064 1#1:70000-70064<0 2#3:76016-86000<0");
    modLayout::CancelDrag(on.ctx);
    EXPECT_EQ(on.Tracks(), tracks);
}

}  // namespace
}  // namespace mirrane
