// SPDX-License-Identifier: GPL-3.0-or-later
#include "sound/SoundPlan.h"

#include <cmath>

#include "sound/SoundFormat.h"
#include "support/Media.h"

namespace qv {
namespace {

// 10 s are 501 packets, and packet n is heard from 20 n - 6.5 ms to 20 n + 13.5 ms; its window 2.5 ms more on each side.
TEST(SoundPlan, CopiesEachPacketThatIsHeardAsItIs) {
    // Source 0 and 1 are 10 s of mono, 2 is 10 s of stereo, 3 is mono and ends with 5000 ms and 7 samples.
    const std::vector<SoundFacts> sources = {{1, 480000}, {1, 480000}, {2, 480000}, {1, 240007}};
    const struct {
        const char* name;
        const char* rows;
        double ms;  ///< of the target
        const char* plan;
    } cases[] = {
        {"nothing", "", 0, ""},
        {"identity", "#0:0-10000", 10000, "copy 0..500 from #0 0;"},
        {"identity in three rows", "#0:0-3001 #0:3001-3002 #0:3002-10000", 10000, "copy 0..500 from #0 0;"},
        {"cut at the end", "#0:0-10000", 5000, "copy 0..250 from #0 0;"},
        {"rows behind the end do not fade it", "#0:0-10000", 479999 / 48.0, "copy 0..500 from #0 0;"},
        {"source ends before the last ms", "#3:0-5001", 5001, "copy 0..249 from #3 0;encode 250..250;"},
        {"row is longer than its source", "#3:0-8000", 8000, "copy 0..249 from #3 0;encode 250..400;"},
        {"silence behind", "#0:0-5000 #-1:0-1000", 6000, "copy 0..249 from #0 0;encode 250..300;"},
        {"seconds cut out", "#0:0-4000 #0:6000-10000", 8000,
         "copy 0..199 from #0 0;encode 200..200;copy 201..400 from #0 301;"},
        {"shift is no packet", "#0:0-4000 #0:6001-10000", 7999, "copy 0..199 from #0 0;encode 200..400;"},
        {"inserted", "#0:0-4000 #1:100-2100 #0:4000-10000", 12000,
         "copy 0..199 from #0 0;encode 200..200;copy 201..299 from #1 6;encode 300..300;copy 301..600 from #0 201;"},
        {"louder", "#0:0-4000 #0:4000-6000*101 #0:6000-10000", 10000,
         "copy 0..199 from #0 0;encode 200..300;copy 301..500 from #0 301;"},
        {"begins inside", "#0:20-10000", 9980, "encode 0..0;copy 1..499 from #0 2;"},
        {"under a second", "#0:0-1030 #0:1060-10000", 9970, "copy 0..50 from #0 0;encode 51..498;"},
        {"not worth it", "#0:0-980 #0:1040-10000", 9940, "encode 0..49;copy 50..497 from #0 53;"},
        {"stereo", "#2:0-10000", 10000, "encode 0..500;"},
        {"packets that reach into a fade", "#0:0-4016 #-1:0-14 #0:4050-10000", 9980,
         "copy 0..199 from #0 0;encode 200..202;copy 203..499 from #0 204;"},
        {"rows end early", "#0:0-4000", 10000, "copy 0..199 from #0 0;encode 200..500;"},
    };
    for (const auto& it : cases) {
        const SoundTarget target{1, std::llround(it.ms * kSamplesPerMs)};
        std::string plan = SoundPlanToText(PlanSound(support::AudioRows(it.rows), sources, target));
        std::replace(plan.begin(), plan.end(), '\n', ';');
        EXPECT_EQ(plan, it.plan) << it.name;
    }
}

}  // namespace
}  // namespace qv
