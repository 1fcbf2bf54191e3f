// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <regex>

#include "base/Text.h"
#include "editing/UserScript.h"
#include "timeline/Soundness.h"

namespace mirrane {

/// A user without a plan, on five slides, of which some begin off the grid, and a web page among them.
class RandomUser : public UserScript {
public:
    explicit RandomUser(unsigned seed)
        : UserScript("0-64000 64000-69968 69968-133968 - 133968-140032 140032-320000"), random_(seed) {
        lecture.world.disk.isDry = true;
        state.mHasVideoRecords = seed % 4 == 0;
        for (int slide = 1; slide <= 6; ++slide) Show(slide);
    }

    /// One command, as UserScript takes it.
    std::string NextCommand() {
        if (!ctx.hasTimeline()) return "slide:" + std::to_string(Within(1, 6));
        std::istringstream choice(
            R"(line:POS track:0,1 track:1,1 split;grab:0~500 let:0~500 split;panel:0~1 up;panel:0~1 down;zoomin;zoomout;push:POS,1~9000;
            over:POS,64~30000;undo;undo undo redo;redo;slide:1~6;track:0,0~1 track:1,0~1 mark:SEG remove;mark:SEG vol:-60~60;
            press:SEG release:SEG type:-5~300 setvol;press:SEG move:SEG,0~500 move:SEG,-500~0 release:SEG;press:SEG move:SEG,-500~500 cancel;)");
        std::string deed;
        for (int skipped = Within(0, 16); skipped >= 0; --skipped) std::getline(choice >> std::ws, deed, ';');
        const CWaveSeg& seg = AnySeg();
        const Ms pos = std::max(modLayout::SlideStart(ctx), FloorToGrid(Within(seg.pos, seg.posEnd - 1)));
        deed = ReplaceAll(ReplaceAll(deed, "SEG", std::to_string(seg.segIndex)), "POS", std::to_string(pos));
        static const std::regex range("(-?[0-9]+)~([0-9]+)");
        for (std::smatch hit; std::regex_search(deed, hit, range);)
            deed =
                hit.prefix().str() + std::to_string(Within(std::stoi(hit[1]), std::stoi(hit[2]))) + hit.suffix().str();
        return deed;
    }

private:
    int Within(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
    const CWaveSeg& AnySeg() {
        const CWaveTrack& track = state.gWaveTrack[state.gWaveTrack[1].Count() > 0 && Within(0, 1) != 0 ? 1 : 0];
        const CWaveSeg& seg = track.items.item(Within(1, track.Count()));
        return seg.slideIndex == ctx.curSlide() ? seg : AnySeg();
    }

    std::mt19937 random_;
};

TEST(RandomEdits, StaySoundAndCanBeUndoneAndRedone) {
    const char* asked = std::getenv("MIRRANE_EDIT_RUNS");
    const unsigned long runs = asked != nullptr ? std::strtoul(asked, nullptr, 10) : 24;
    for (unsigned seed = 1; seed <= runs; ++seed) {
        RandomUser user(seed);
        const std::string start = user.Text();
        for (int i = 0; i < 200; ++i) {
            user.Do(user.NextCommand());
            ASSERT_EQ(Fault(user.state), "") << "seed " << seed << ", command " << i;
        }
        while (user.state.gHistory.CanRedo()) user.Do("redo");
        const std::string end = user.Text();
        for (int i = 0; i < 1000 && user.state.gHistory.CanUndo(); ++i) user.Do("undo");
        ASSERT_EQ(user.Text(), start) << "seed " << seed;
        for (int i = 0; i < 1000 && user.state.gHistory.CanRedo(); ++i) user.Do("redo");
        ASSERT_EQ(user.Text(), end) << "seed " << seed;
    }
}

}  // namespace mirrane
