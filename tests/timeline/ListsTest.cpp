// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <sstream>

#include "timeline/AudioSegList.h"
#include "timeline/Lecture.h"

namespace mirrane {
namespace {

/// "0-10<5-15": where segments lie, there and in their source.
std::string ToText(const CAudioSegList& list) {
    std::ostringstream text;
    for (const CAudioSeg& it : list.items)
        text << (text.tellp() > 0 ? " " : "") << it.pos << '-' << it.posEnd << '<' << it.srcPos << '-' << it.srcPosEnd;
    return text.str();
}

TEST(AudioSegList, MergesWhatIsOneStretch) {
    // pos, posEnd, file, srcPos, srcPosEnd, volume, track
    const std::pair<std::vector<CAudioSeg>, const char*> cases[] = {
        {{}, ""},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 9, 0}, {20, 35, 1, 20, 35, 9, 0}}, "0-35<0-35"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 7, 0}, {20, 30, 1, 20, 30, 7, 0}}, "0-10<0-10 10-30<10-30"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 11, 21, 9, 0}}, "0-10<0-10 10-20<11-21"},
        {{{0, 10, 1, 0, 10, 9, 0}, {11, 20, 1, 10, 19, 9, 0}}, "0-10<0-10 11-20<10-19"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 2, 10, 20, 9, 0}}, "0-10<0-10 10-20<10-20"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 9, 1}}, "0-10<0-10 10-20<10-20"}};
    for (const auto& [before, after] : cases) {
        CAudioSegList list;
        for (const CAudioSeg& seg : before) list.Add(seg);
        list.Optimize();
        EXPECT_EQ(ToText(list), after);
    }
}

TEST(SlideList, FollowsEveryChangeOfLength) {
    const std::tuple<const char*, const char*, const char*, Ms> cases[] = {
        // slides, new ends; what is then, how long
        {"", "", "", 0},
        {"0-64000 - 64000-128000", "1:69968", "0-69968 -1-0 69968-133968 ", 133968},
        {"0-64000 - 64000-128000", "3:100000", "0-64000 -1-0 64000-100000 ", 100000},
        {"0-64000 64000-128000 128000-180000", "1:49984 2:60000", "0-49984 49984-60000 60000-112000 ", 112000},
        {"5000-64000 ? 64000-128000", "1:65000", "5000-65000 -1-0 65000-129000 ", 124000}};
    for (const auto& [before, ends, wanted, duration] : cases) {
        Lecture lecture(before);
        CSlideList& slides = lecture.state.gSlideList;
        SetEnds(slides, ends);
        std::string after;
        for (int i = 1; i <= slides.Count(); ++i)
            after += std::to_string(slides.GetPos(i)) + "-" + std::to_string(slides.GetEnd(i)) + " ";
        EXPECT_EQ(after, wanted);
        EXPECT_EQ(slides.duration(), duration) << wanted;
    }
}

TEST(SlideList, FindsTheSlideOfATime) {
    const std::tuple<const char*, Ms, int> cases[] = {{"- -", 0, 0},
                                                      {"0-69968 - 69968-133968", 69967, 1},
                                                      {"0-69968 - 69968-133968", 69968, 3},
                                                      {"0-69968 69968-133968 -", 133968, 2},
                                                      {"5000-64000 64000-128000", 4999, 2}};
    for (const auto& [slides, time, slide] : cases)
        EXPECT_EQ(Lecture(slides).state.gSlideList.GetIndex(time), slide) << slides << " at " << time;
}

}  // namespace
}  // namespace mirrane
