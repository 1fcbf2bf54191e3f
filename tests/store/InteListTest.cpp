// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/InteList.h"

#include <gtest/gtest.h>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

struct InteList : testing::Test {
    InteList() {
        doubled.host.environment["temp"] = folder / "temp";
        std::filesystem::create_directory(folder / "temp");
    }

    bool Load(const std::string& bytes, Ms duration = 9000) {
        Disk().Write(file, bytes);
        return list.Load(file, duration);
    }

    /// "pos-posEnd:text" of each row.
    [[nodiscard]] std::string Text() const {
        std::string text;
        for (const CInteItem& item : list.items())
            text += std::to_string(item.pos) + "-" + std::to_string(item.posEnd) + ":" + item.text + " ";
        return text;
    }

    std::filesystem::path folder = support::TestFolder();
    std::filesystem::path file = folder / "inteIndex.txt";
    doubles::World doubled;
    CInteList list{doubled.world};
};

constexpr char kHead[] = "ver=1.0\nlastFinalPos=7\n";

TEST_F(InteList, LoadBringsTimesToTheGridAndThinsThemOut) {
    const std::vector<std::pair<std::string, const char*>> cases = {
        {"0,a\n1000,b\n2100,c\n", "0-1024:a 1024-2112:b 2112-9000:c "},
        {"1000,a\n1500,b\n1500,c\n", "1536-9000:c "},
        {"-200,a\n900,b\n", "-128-960:a 960-9000:b "},
        {"64,a\n1088,b\n128,c\n", "64-128:a 128-9000:c "},
        {"8000,a\n", "8000-9000:a "},
        {"1024,a\n9000,b\n2048,c\nrubbish\n", "1024-9000:a "},
        {"1024, a,\"b\",,\t\xC3\xA9 \r\n", "1024-9000: a,\"b\",,\t\xC3\xA9 \r "},
        {"\n1\n2048,a\n\n4096,b", "2048-4096:a 4096-9000:b "},
        {" 1024 \n2047.5,\n", "1024-2048: 2048-9000: "}};
    for (const auto& [rows, loaded] : cases) {
        EXPECT_TRUE(Load(kHead + rows)) << rows << doubled.user.Told();
        EXPECT_EQ(Text(), loaded) << rows;
    }
    EXPECT_TRUE(Load(kHead + std::string("1024,a\n9024,b\n2048,c\n"), 9024));
    EXPECT_EQ(Text() + std::to_string(list.lastFinalPos), "1024-9024:a 7");
    EXPECT_TRUE(list.Load(folder / "none.txt", 9000) && list.items().empty() && !list.IndexDataExists("none.txt"));
}

TEST_F(InteList, MalformedNumbersAreToldAndTheRowsBeforeThemStay) {
    for (const std::string bad : {"2048x,b", ",b", "99999999999,b", "3072,b\n1024,twice"}) {
        EXPECT_FALSE(Load(kHead + ("1024,a\n" + bad + "\n5120,c\n"))) << bad;
        EXPECT_EQ(Text() + doubled.user.boxes.back().title, "1024-0:a CInteList.Load") << bad;
    }
    EXPECT_FALSE(Load("ver=1.0\nlastFinalPos=\n1024,a\n"));
}

TEST_F(InteList, SaveWritesWhatLoadReadsOrNothing) {
    ASSERT_TRUE(Load("\xEF\xBB\xBFver=0.9=b\nlastFinalPos=5\n1024,a,\xC3\xA9\n2048,b\n"));
    EXPECT_EQ(list.ver, "0.9=b");
    for (doubled.disk.failAt = 1; !list.Save(file); ++doubled.disk.failAt, doubled.disk.changes = 0) {
        EXPECT_EQ(ReadFile(file).substr(3, 8), "ver=0.9=");
        EXPECT_TRUE(std::filesystem::is_empty(folder / "temp"));
        EXPECT_EQ(doubled.user.boxes.back().title, "CInteList.Save");
    }
    EXPECT_GE(doubled.disk.failAt, 3);
    EXPECT_EQ(ReadFile(file), "ver=1.0\nlastFinalPos=2048\n1024,a,\xC3\xA9\n2048,b\n");
}

TEST_F(InteList, ArraysGoOutAndComeBackUnrounded) {
    std::vector<Ms> times;
    std::vector<std::string> texts;
    EXPECT_TRUE(list.LoadAry({5, 7, 8999, 9000, 1}, {"a", "b", "c", "d", "e"}, 9000));
    list.GetInteAry(times, texts);
    EXPECT_TRUE(list.LoadAry(times, texts, 9500));
    EXPECT_EQ(Text(), "5-7:a 7-8999:b 8999-9500:c ");
    EXPECT_FALSE(list.LoadAry({5, 7}, {"a"}, 9000) || list.LoadAry({5, 7, 5}, {"a", "b", "c"}, 9000));
}

}  // namespace
}  // namespace mirrane
