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
    const struct {
        std::vector<CAudioSeg> before;  // pos, posEnd, file, srcPos, srcPosEnd, volume, track
        const char* after;
    } cases[] = {
        {{}, ""},
        {{{0, 10, 1, 5, 15, 100, 0}}, "0-10<5-15"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 9, 0}, {20, 35, 1, 20, 35, 9, 0}}, "0-35<0-35"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 7, 0}, {20, 30, 1, 20, 30, 7, 0}}, "0-10<0-10 10-30<10-30"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 11, 21, 9, 0}}, "0-10<0-10 10-20<11-21"},
        {{{0, 10, 1, 0, 10, 9, 0}, {11, 20, 1, 10, 19, 9, 0}}, "0-10<0-10 11-20<10-19"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 2, 10, 20, 9, 0}}, "0-10<0-10 10-20<10-20"},
        {{{0, 10, 1, 0, 10, 9, 0}, {10, 20, 1, 10, 20, 9, 1}}, "0-10<0-10 10-20<10-20"},
        {{{10, 20, 1, 10, 20, 9, 0}, {0, 10, 1, 0, 10, 9, 0}}, "10-20<10-20 0-10<0-10"},
    };
    for (const auto& it : cases) {
        CAudioSegList list;
        for (const CAudioSeg& seg : it.before) list.Add(seg);
        list.Optimize();
        EXPECT_EQ(ToText(list), it.after);
    }
}

TEST(AudioSegList, PutsSegmentsWhereTheyAreToldTo) {
    CAudioSegList list;
    for (const Ms at : {0, 1, 2}) list.Add({.pos = at, .posEnd = at + 1, .segIndex = 7});
    list.Add({.pos = 4, .posEnd = 5}, 2, 1);
    list.Add({.pos = 6, .posEnd = 7}, CAudioSegList::kNowhere, 4);
    list.Add({.pos = 8, .posEnd = 9}, CAudioSegList::kNowhere, 1);
    EXPECT_EQ(ToText(list), "0-1<0-0 8-9<0-0 4-5<0-0 1-2<0-0 2-3<0-0 6-7<0-0");
    EXPECT_TRUE(list.Switch(6, 2));
    EXPECT_FALSE(list.Switch(2, 7));
    EXPECT_THROW(list.Switch(0, 1), std::out_of_range);
    EXPECT_EQ(ToText(list), "0-1<0-0 6-7<0-0 4-5<0-0 1-2<0-0 2-3<0-0 8-9<0-0");
    list.AddItem(list.items.item(1), 1);
    EXPECT_EQ(list.items.item(1).segIndex, 0);  // nothing of the history
}

TEST(SlideList, FollowsEveryChangeOfLength) {
    const struct {
        const char* slides;
        const char* ends;
        const char* after;
        Ms duration;
    } cases[] = {
        {"", "", "", 0},
        {"0-64000 - 64000-128000", "1:69968", "0-69968 -1-0 69968-133968 ", 133968},
        {"0-64000 - 64000-128000", "3:100000", "0-64000 -1-0 64000-100000 ", 100000},
        {"0-64000 64000-128000 128000-180000", "1:49984 2:60000", "0-49984 49984-60000 60000-112000 ", 112000},
        {"5000-64000 ? 64000-128000", "1:65000", "5000-65000 -1-0 65000-129000 ", 124000},
    };
    for (const auto& it : cases) {
        Lecture lecture(it.slides);
        CSlideList& slides = lecture.state.gSlideList;
        SetEnds(slides, it.ends);
        std::string after;
        for (int i = 1; i <= slides.Count(); ++i)
            after += std::to_string(slides.GetPos(i)) + "-" + std::to_string(slides.GetEnd(i)) + " ";
        EXPECT_EQ(after, it.after);
        EXPECT_EQ(slides.duration(), it.duration) << it.after;
        if (slides.Count() > 0) slides.SetLen(1, 32000);
        EXPECT_EQ(slides.Count() > 0 ? slides.GetLen(1) : 32000, 32000);
    }
}

TEST(SlideList, FindsTheSlideOfATime) {
    const struct {
        const char* slides;
        Ms time;
        int slide;
    } cases[] = {
        {"- -", 0, 0},
        {"0-69968 - 69968-133968", 69967, 1},
        {"0-69968 - 69968-133968", 69968, 3},
        {"0-69968 69968-133968 -", 133968, 2},
        {"? 0-69968 ?", 69968, 2},
        {"5000-64000 64000-128000", 4999, 2},
    };
    for (const auto& it : cases)
        EXPECT_EQ(Lecture(it.slides).state.gSlideList.GetIndex(it.time), it.slide) << it.slides << " at " << it.time;
}

}  // namespace
}  // namespace mirrane
