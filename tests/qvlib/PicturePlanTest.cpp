// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PicturePlan.h"

#include "support/Media.h"

namespace qv {
namespace {

TEST(PicturePlan, CopiesWhatItCanAndEncodesUpToTheNextKey) {
    const std::vector<Ms> one{0};
    const std::vector<Ms> two{0, 64000};
    const std::vector<Ms> three{0, 64000, 128000};
    const std::tuple<const char*, const char*, std::vector<Ms>, const char*> cases[] = {
        {"slide start between keys is encoded up to the next key", "*0-50000 *50000-180000", three,
         "copy 0-50000 to 0;encode 50000-64000 to 50000;copy 64000-180000 to 64000;"},
        {"cut behind which a key stands", "*0-49984 *49984>64001 64001-180000", three,
         "copy 0-49984 to 0;copy 64000-180000 to 49984;"},
        {"cut into the middle", "*0-20000 20000>30001 30001-180000", three,
         "copy 0-20000 to 0;encode 30000-64000 to 20000;copy 64000-180000 to 54000;"},
        {"cut at the head", "*0>30001 30001-180000", two, "encode 30000-64000 to 0;copy 64000-180000 to 34000;"},
        {"cut that reaches no key is encoded whole", "*0-20000 20000>30001 30001-70000", one,
         "copy 0-20000 to 0;encode 30000-70000 to 20000;"},
        {"hold in between goes on", "*0-50000 50000+3000 50000-64000", one,
         "copy 0-50000 to 0;go on 50000-64000 to 53000;"},
        {"slide start in a hold needs its picture", "*0-64000 64000+5968 *64000+3968 64000-90064", two,
         "copy 0-64000 to 0;hold 63999 to 69968-73936;copy 64000-90064 to 73936;"},
        {"hold at the head shows the first picture", "*0+5000 0-64000", one, "hold 0 to 0-5000;copy 0-64000 to 5000;"},
    };
    for (const auto& [name, rows, keys, wanted] : cases) {
        CheckFrameRows(support::FrameRows(rows));
        std::string plan = PicturePlanToText(PlanPicture(support::FrameRows(rows), keys));
        std::replace(plan.begin(), plan.end(), '\n', ';');
        EXPECT_EQ(plan, wanted) << name;
    }
}

TEST(FrameRows, RefusedWithTheRowAndTheFault) {
    const std::pair<std::vector<FrameRow>, const char*> cases[] = {
        {{}, "there are no frame rows"},
        {{{5, 10, 5, 10, 1}}, "frame row 1 does not begin where the one before ends"},
        {{{0, 10, 0, 10, 1}, {11, 20, 11, 20, 0}}, "frame row 2 does not begin where the one before ends"},
        {{{0, 0, 0, 0, 1}}, "frame row 1 has no length"},
        {{{0, 10, -1, 9, 1}}, "frame row 1 has a negative source time"},
        {{{0, 10, 20, 15, 1}}, "frame row 1 runs at another speed than its source"},
    };
    for (const auto& [rows, fault] : cases)
        EXPECT_EQ(support::Complaint([&, &bad = rows] { CheckFrameRows(bad); }), fault);
}

}  // namespace
}  // namespace qv
