// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundPlan.h"

#include <gtest/gtest.h>

#include "sound/SoundFormat.h"

namespace qv {
namespace {

/// Source 0 and 1 are 10 s of mono, 2 is 10 s of stereo, 3 is mono and ends with 5000 ms and 7 samples.
const std::vector<SoundFacts> kSources = {{1, 480000}, {1, 480000}, {2, 480000}, {1, 240007}};

struct PlanCase {
    const char* name;
    std::vector<AudioRow> rows;
    std::int64_t samples;
    const char* plan;
};

void PrintTo(const PlanCase& one, std::ostream* out) { *out << one.name; }

class SoundPlanTest : public testing::TestWithParam<PlanCase> {};

TEST_P(SoundPlanTest, Text) {
    EXPECT_EQ(SoundPlanToText(PlanSound(GetParam().rows, kSources, {1, GetParam().samples})), GetParam().plan);
}

// 10 s are 501 packets, and packet n is heard from 20 n - 6.5 ms to 20 n + 13.5 ms; its window 2.5 ms more on each side.
const PlanCase kCases[] = {
    {"Nothing", {}, 0, ""},
    {"Identity", {{0, 10000, 0, 0, 10000, 100}}, 480000, "copy 0..500 from #0 0\n"},
    {"IdentityInThreeRows",
     {{0, 3001, 0, 0, 3001, 100}, {3001, 3002, 0, 3001, 3002, 100}, {3002, 10000, 0, 3002, 10000, 100}},
     480000,
     "copy 0..500 from #0 0\n"},
    {"ShortIdentity", {{0, 300, 0, 0, 300, 100}}, 14400, "copy 0..15 from #0 0\n"},
    {"CutAtTheEnd", {{0, 10000, 0, 0, 10000, 100}}, 240000, "copy 0..250 from #0 0\n"},
    {"RowsBehindTheEndDoNotFadeIt", {{0, 10000, 0, 0, 10000, 100}}, 479999, "copy 0..500 from #0 0\n"},
    {"SourceEndsBeforeTheLastMs", {{0, 5001, 3, 0, 5001, 100}}, 240048, "copy 0..249 from #3 0\nencode 250..250\n"},
    {"SourceEndsBehindTheEnd", {{0, 5000, 3, 0, 5000, 100}}, 240000, "copy 0..250 from #3 0\n"},
    {"RowIsLongerThanItsSource", {{0, 8000, 3, 0, 8000, 100}}, 384000, "copy 0..249 from #3 0\nencode 250..400\n"},
    {"SilenceBehind",
     {{0, 5000, 0, 0, 5000, 100}, {5000, 6000, -1, 0, 0, 0}},
     288000,
     "copy 0..249 from #0 0\nencode 250..300\n"},
    {"SecondsCutOut",
     {{0, 4000, 0, 0, 4000, 100}, {4000, 8000, 0, 6000, 10000, 100}},
     384000,
     "copy 0..199 from #0 0\nencode 200..200\ncopy 201..400 from #0 301\n"},
    {"ShiftIsNoPacket",
     {{0, 4000, 0, 0, 4000, 100}, {4000, 7999, 0, 6001, 10000, 100}},
     383952,
     "copy 0..199 from #0 0\nencode 200..400\n"},
    {"Inserted",
     {{0, 4000, 0, 0, 4000, 100}, {4000, 6000, 1, 100, 2100, 100}, {6000, 12000, 0, 4000, 10000, 100}},
     576000,
     "copy 0..199 from #0 0\nencode 200..200\ncopy 201..299 from #1 6\nencode 300..300\ncopy 301..600 from #0 201\n"},
    {"Louder",
     {{0, 4000, 0, 0, 4000, 100}, {4000, 6000, 0, 4000, 6000, 101}, {6000, 10000, 0, 6000, 10000, 100}},
     480000,
     "copy 0..199 from #0 0\nencode 200..300\ncopy 301..500 from #0 301\n"},
    {"BeginsInside", {{0, 9980, 0, 20, 10000, 100}}, 479040, "encode 0..0\ncopy 1..499 from #0 2\n"},
    {"UnderASecond",
     {{0, 1030, 0, 0, 1030, 100}, {1030, 9970, 0, 1060, 10000, 100}},
     478560,
     "copy 0..50 from #0 0\nencode 51..498\n"},
    {"NotWorthIt",
     {{0, 980, 0, 0, 980, 100}, {980, 9940, 0, 1040, 10000, 100}},
     477120,
     "encode 0..49\ncopy 50..497 from #0 53\n"},
    {"Stereo", {{0, 10000, 2, 0, 10000, 100}}, 480000, "encode 0..500\n"},
    {"NoSuchSource", {{0, 2000, 9, 0, 2000, 100}}, 96000, "encode 0..100\n"},
    {"PacketsThatReachIntoAFade",
     {{0, 4016, 0, 0, 4016, 100}, {4016, 4030, -1, 0, 0, 0}, {4030, 9980, 0, 4050, 10000, 100}},
     479040,
     "copy 0..199 from #0 0\nencode 200..202\ncopy 203..499 from #0 204\n"},
    {"RowsOfAnotherLengthInTheirSource",
     {{0, 4000, 0, 0, 4020, 100}, {4000, 9980, 0, 4020, 10000, 100}},
     479040,
     "copy 0..199 from #0 0\nencode 200..200\ncopy 201..499 from #0 202\n"},
    {"RowsEndEarly", {{0, 4000, 0, 0, 4000, 100}}, 480000, "copy 0..199 from #0 0\nencode 200..500\n"},
};

INSTANTIATE_TEST_SUITE_P(Cases, SoundPlanTest, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace qv
