// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PicturePlan.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qv {
namespace {

struct PlanCase {
    const char* name;
    std::vector<FrameRow> rows;
    std::vector<Ms> keys;
    const char* plan;
};

class PicturePlanTest : public testing::TestWithParam<PlanCase> {};

TEST_P(PicturePlanTest, Steps) {
    const PlanCase& it = GetParam();
    CheckFrameRows(it.rows);
    EXPECT_EQ(PicturePlanToText(PlanPicture(it.rows, it.keys)), it.plan);
}

// A row is pos, posEnd, srcPos, srcPosEnd, isSlideStart.
const PlanCase kPlanCases[] = {
    {"NothingChanged", {{0, 180000, 0, 180000, 1}}, {0, 64000, 128000}, "copy 0-180000 to 0\n"},
    {"SlideStartsOnKeysGoOn",
     {{0, 64000, 0, 64000, 1}, {64000, 180000, 64000, 180000, 1}},
     {0, 64000, 128000},
     "copy 0-180000 to 0\n"},
    {"SlideStartBetweenKeysIsEncodedUpToTheNextKey",
     {{0, 50000, 0, 50000, 1}, {50000, 180000, 50000, 180000, 1}},
     {0, 64000, 128000},
     "copy 0-50000 to 0\nencode 50000-64000 to 50000\ncopy 64000-180000 to 64000\n"},
    {"CutBehindWhichAKeyStands",
     {{0, 49984, 0, 49984, 1}, {49984, 49985, 49984, 64001, 1}, {49985, 165984, 64001, 180000, 0}},
     {0, 64000, 128000},
     "copy 0-49984 to 0\ncopy 64000-180000 to 49984\n"},
    {"CutIntoTheMiddle",
     {{0, 20000, 0, 20000, 1}, {20000, 20001, 20000, 30001, 0}, {20001, 170000, 30001, 180000, 0}},
     {0, 64000, 128000},
     "copy 0-20000 to 0\nencode 30000-64000 to 20000\ncopy 64000-180000 to 54000\n"},
    {"CutAtTheHead",
     {{0, 1, 0, 30001, 1}, {1, 150000, 30001, 180000, 0}},
     {0, 64000},
     "encode 30000-64000 to 0\ncopy 64000-180000 to 34000\n"},
    {"CutThatReachesNoKeyIsEncodedWhole",
     {{0, 20000, 0, 20000, 1}, {20000, 20001, 20000, 30001, 0}, {20001, 60000, 30001, 70000, 0}},
     {0},
     "copy 0-20000 to 0\nencode 30000-70000 to 20000\n"},
    {"HoldAtTheEndCostsNothing",
     {{0, 64000, 0, 64000, 1}, {64000, 70000, 64000, 64000, 0}},
     {0},
     "copy 0-64000 to 0\n"},
    {"HoldInBetweenGoesOn",
     {{0, 50000, 0, 50000, 1}, {50000, 53000, 50000, 50000, 0}, {53000, 67000, 50000, 64000, 0}},
     {0},
     "copy 0-50000 to 0\ngo on 50000-64000 to 53000\n"},
    {"SlideStartInAHoldNeedsItsPicture",
     {{0, 64000, 0, 64000, 1},
      {64000, 69968, 64000, 64000, 0},
      {69968, 73936, 64000, 64000, 1},
      {73936, 100000, 64000, 90064, 0}},
     {0, 64000},
     "copy 0-64000 to 0\nhold 63999 to 69968-73936\ncopy 64000-90064 to 73936\n"},
    {"HoldAtTheHeadShowsTheFirstPicture",
     {{0, 5000, 0, 0, 1}, {5000, 69000, 0, 64000, 0}},
     {0},
     "hold 0 to 0-5000\ncopy 0-64000 to 5000\n"},
    {"AnEncodedStretchGoesOnOverARowBorder",
     {{0, 1, 0, 30001, 1}, {1, 10000, 30001, 40000, 0}, {10000, 40000, 40000, 70000, 0}},
     {0, 64000},
     "encode 30000-64000 to 0\ncopy 64000-70000 to 34000\n"},
    {"SourceAgainFromItsStart",
     {{0, 10000, 0, 10000, 1}, {10000, 20000, 0, 10000, 0}},
     {0},
     "copy 0-10000 to 0\ncopy 0-10000 to 10000\n"},
};

INSTANTIATE_TEST_SUITE_P(Plans, PicturePlanTest, testing::ValuesIn(kPlanCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FrameRows, RefusedWithTheRowAndTheFault) {
    const struct {
        std::vector<FrameRow> rows;
        const char* fault;
    } cases[] = {
        {{}, "there are no frame rows"},
        {{{5, 10, 5, 10, 1}}, "frame row 1 does not begin where the one before ends"},
        {{{0, 10, 0, 10, 1}, {11, 20, 11, 20, 0}}, "frame row 2 does not begin where the one before ends"},
        {{{0, 0, 0, 0, 1}}, "frame row 1 has no length"},
        {{{0, 10, -1, 9, 1}}, "frame row 1 has a negative source time"},
        {{{0, 10, 0, 20, 1}}, "frame row 1 runs at another speed than its source"},
        {{{0, 10, 20, 15, 1}}, "frame row 1 runs at another speed than its source"},
        {{{0, 2147483647, 0, 2147483647, 1}, {2147483647, -2147483648, 0, 1, 0}}, "frame row 2 has no length"},
    };
    for (const auto& it : cases) {
        try {
            CheckFrameRows(it.rows);
            ADD_FAILURE() << "taken, but: " << it.fault;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), it.fault);
        }
    }
}

}  // namespace
}  // namespace qv
