// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "base/Numbers.h"
#include "base/Settings.h"
#include "base/Text.h"
#include "doubles/World.h"

namespace mirrane {
namespace {

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

TEST(Numbers, RoundHalfToTheEvenNeighbour) {
    const std::pair<double, std::int32_t> cases[] = {{0.5, 0},    {1.5, 2},    {2.5, 2},     {-0.5, 0},
                                                     {-1.5, -2},  {-2.5, -2},  {2.49, 2},    {2.51, 3},
                                                     {-2.51, -3}, {99.5, 100}, {100.5, 100}, {-2147483648.5, kLeast}};
    for (const auto& [value, wanted] : cases) EXPECT_EQ(RoundHalfEven(value), wanted) << value;
    for (const double far : {2147483647.5, -2147483649.0, 1e300, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_THROW((void)RoundHalfEven(far), std::overflow_error) << far;
}

TEST(Numbers, In32BitsAndOnTheGrid) {
    EXPECT_THROW((void)CheckedAdd(kMost, 1), std::overflow_error);
    EXPECT_THROW((void)CheckedSub(kLeast, 1), std::overflow_error);
    EXPECT_THROW((void)CheckedMul(46341, 46341), std::overflow_error);
    const int cases[][3] = {{0, 0, 0},     {1, 0, 64},        {63, 0, 64},    {64, 64, 64},
                            {65, 64, 128}, {1000, 960, 1024}, {-100, -64, 0}, {-200, -192, -128}};
    for (const auto& [ms, floor, ceil] : cases) {
        EXPECT_EQ(FloorToGrid(ms), floor) << ms;
        EXPECT_EQ(CeilToGrid(ms), ceil) << ms;
    }
    EXPECT_THROW((void)CeilToGrid(kMost - 62), std::overflow_error);
}

TEST(Numbers, OfTexts) {
    const std::pair<const char*, double> prefixes[] = {{"12.5abc", 12.5}, {" \t\r\n-3", -3}, {"+7", 7},  {".5", 0.5},
                                                       {"1e3", 1000},     {"1e", 1},         {"1,5", 1}, {"abc", 0},
                                                       {"", 0},           {"inf", 0},        {"nan", 0}, {"+-3", 0},
                                                       {"-", 0},          {"0x10", 0},       {"- 3", 0}, {"-.5", -0.5}};
    for (const auto& [text, wanted] : prefixes) EXPECT_EQ(NumberPrefix(text), wanted) << text;
    EXPECT_EQ(IntegerPrefix("2.5x"), 2);
    EXPECT_EQ(StrictInteger(" 1.5 \r\n"), 2);
    for (const char* text : {"2147483648", "1e999"}) EXPECT_THROW((void)IntegerPrefix(text), std::overflow_error);
    for (const char* text : {"", " ", "12a", "1 2", "abc", "1e"})
        EXPECT_THROW((void)StrictInteger(text), std::invalid_argument) << text;
}

TEST(Text, Utf8AndUtf16) {
    const std::pair<std::string, std::u16string> texts[] = {
        {std::string("\0\x7F", 2), std::u16string(u"\0\x7F", 2)},  // the ends of each length
        {"\xC2\x80\xDF\xBF", u"\x80\x07FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBF", u"\x0800\xFFFF"},
        {"\xED\x9F\xBF\xEE\x80\x80", u"\xD7FF\xE000"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"}};
    for (const auto& [utf8, utf16] : texts) {
        EXPECT_EQ(ToUtf16(utf8), utf16);
        EXPECT_EQ(ToUtf8(utf16), utf8);
    }
    // Longer than needed, a surrogate, beyond the last one, cut short, only going on.
    for (const std::string bad : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
                                  "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xF0\x9F\x98", "\x80\xFF"})
        EXPECT_EQ(ToUtf16("a" + bad + "z"), u"a" + std::u16string(bad.size(), 0xFFFD) + u"z");
    EXPECT_EQ(ToUtf8(u"\xDC00z\xD800\xD83D\xDE00\xD800"), "\xEF\xBF\xBDz\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
    const std::string text = "a\xC3\xA9\xF0\x9F\x98\x80\xFFz";
    EXPECT_EQ(TextLength(text), 6U);
    const std::size_t prefixBytes[] = {0, 1, 3, 3, 7, 8, 9, 9};  // the face counts for two and is not cut
    for (std::size_t n = 0; n < std::size(prefixBytes); ++n)
        EXPECT_EQ(TextPrefix(text, n), text.substr(0, prefixBytes[n])) << n;
}

TEST(Text, Pieces) {
    EXPECT_EQ(ReplaceAll("%s and %s", "%s", "%s%s"), "%s%s and %s%s");
    EXPECT_EQ(Split("a,,b,", ','), (std::vector<std::string>{"a", "", "b", ""}));
    EXPECT_EQ(Trim("\r\n\t a b \t") + Trim(" \n"), "a b");
    EXPECT_EQ(StripTabs("\ta\v b\n\t"), "a b\n");
    const char* arguments[] = {"", "one", "two words", "thre e", "", "last", ""};
    for (int n = 0; n < 7; ++n) EXPECT_EQ(GetCmdArg(R"(  one "two words"  th"re e" "" last)", n), arguments[n]) << n;
}

TEST(World, DatesAndFolders) {
    EXPECT_EQ(GetNowString({2024, 3, 5, 3, 4, 0}), "2024/3/5 03:04:00");
    doubles::Host host;
    const auto all = [&host] {
        return TempFolder(host).string() + " " + AppDataFolder(host).string() + " " + ConfigFolder(host).string();
    };
    host.environment = {{"HOME", "/home/u"}};
    EXPECT_EQ(all(), "/tmp /home/u/.local/share /home/u/.config");
    host.environment.insert({{"TMPDIR", "/t"}, {"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}});
    EXPECT_EQ(all(), "/t /d /c");
}

TEST(Text, HexValues) {
    const std::pair<std::string, std::string> both[] = {
        {"", ""}, {"\xC3\xA9", "&HE900"}, {"/p/a", "&H2F0070002F006100"}, {"\xF0\x9F\x98\x80", "&H3DD800DE"}};
    for (const auto& [text, value] : both) {
        EXPECT_EQ(ToHexValue(text), value);
        EXPECT_EQ(FromHexValue(value), text);
    }
    for (const char* other : {"&H", "&HE9", "&HE900E9", "&HE90", "&HG900", "&HE90G", "&hE900", "plain", " &HE900"})
        EXPECT_EQ(FromHexValue(other), other);
}

}  // namespace
}  // namespace mirrane
