// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Time.h"

#include <gtest/gtest.h>

namespace mirrane {
namespace {

TEST(Time, IsWrittenInWholeSecondsOrThreeDecimals) {
    const std::pair<Ms, const char*> cases[] = {{-1, "- -"},
                                                {-5000, "-01:3655 -01:3655"},
                                                {0, "00:00 00:00"},
                                                {999, "00:01 00:00.999"},
                                                {58500, "00:58 00:58.500"},
                                                {59500, "01:00 00:59.500"},
                                                {60500, "01:00 01:00.500"},
                                                {61500, "01:02 01:01.500"},
                                                {165984, "02:46 02:45.984"},
                                                {3599600, "1:00:00 59:59.600"},
                                                {2147483647, "596:31:24 596:31:23.647"}};
    for (const auto& [ms, text] : cases)
        EXPECT_EQ(CTime::GetString(ms, "sec") + " " + CTime::GetString(ms, "ms"), text) << ms;
}

TEST(Time, IsReadFromMinutesAndSecondsUnlessThereAreThreeParts) {
    const std::pair<const char*, Ms> cases[] = {{"01:02.500", 62500}, {"1:00:00", 3600000}, {"1:2:3:4", 62000},
                                                {"01:02abc", 62000},  {":5", 5000},         {"5:", 300000},
                                                {"00:00.0005", 0},    {"00:00.0015", 2}};
    for (const auto& [text, ms] : cases) EXPECT_EQ(CTime::GetSecond(text), ms) << text;
    EXPECT_THROW((void)CTime::GetSecond("5"), std::out_of_range);
    for (Ms ms = 0; ms < 2'000'000'000; ms += 4999) ASSERT_EQ(CTime::GetSecond(CTime::GetString(ms, "ms")), ms);
}

TEST(Time, IsShownInTheFormOfEachPlace) {
    EXPECT_EQ(FormatTenths(5) + " " + FormatTenths(655) + " " + FormatTenths(36655), "0:00:00.5 0:01:05.5 1:01:05.5");
    EXPECT_EQ(FormatSeconds(65) + " " + FormatSeconds(36065.25), "0:01:05 10:01:05.250");
    EXPECT_EQ(FormatRuler(700) + " " + FormatRuler(65500) + " " + FormatRuler(3599999),
              "0:00:00.7 0:01:05.5 0:59:59.9");
}

}  // namespace
}  // namespace mirrane
