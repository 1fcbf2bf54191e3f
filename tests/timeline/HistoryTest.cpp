// SPDX-License-Identifier: GPL-3.0-or-later
#include "timeline/History.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <utility>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

/// Notes what is to be replayed; one of the steps fails on request.
class Replay final : public IReplay {
public:
    bool ShowSlide(std::int32_t slideIndex) override { return Note("slide", slideIndex); }
    bool Insert(const CAudioSeg& record) override { return Note("insert", record.segIndex, record.posEnd); }
    bool Remove(std::int32_t segIndex) override { return Note("remove", segIndex); }
    bool Split(std::int32_t segIndex, Ms split) override { return Note("split", segIndex, split); }
    bool Merge(std::int32_t newSegIndex, Ms split, std::int32_t trackIndex) override {
        return Note("merge", newSegIndex, split) && trackIndex == 1;
    }
    bool Move(std::int32_t segIndex, Ms posDif) override { return Note("move", segIndex, posDif); }
    bool VolAdjust(std::int32_t segIndex, std::int32_t volDif) override { return Note("vol", segIndex, volDif); }

    std::string told;
    std::string failsAt;

private:
    bool Note(const std::string& what, int number, std::optional<int> argument = {}) {
        const std::string step = what + std::to_string(number) + (argument ? ":" + std::to_string(*argument) : "");
        told += step + " ";
        return step != failsAt;
    }
};

class History : public testing::Test {
protected:
    void Add(Action action, std::int32_t segIndex, ActionDetail detail = {}) {
        history->ActionAdd(action,
                           {.segIndex = segIndex,
                            .slideIndex = 1,
                            .trackIndex = 1,
                            .pos = 9984,
                            .posEnd = 14984,
                            .srcFile = "/p/a.qva",
                            .srcPos = 64,
                            .srcPosEnd = 5064},
                           detail);
    }
    /// What was replayed, and Indices.
    std::string Undo() {
        history->Undo(replay);
        return std::exchange(replay.told, {}) + Indices();
    }
    std::string Redo() {
        history->Redo(replay);
        return std::exchange(replay.told, {}) + Indices();
    }
    /// "2/3 g1": the newest in force, the newest, its group.
    [[nodiscard]] std::string Indices() const {
        return std::to_string(history->curIndex()) + "/" + std::to_string(history->lastIndex()) + " g" +
               std::to_string(history->lastGroupId());
    }
    [[nodiscard]] std::string Log() const { return ReadFile(log); }

    std::filesystem::path folder = support::TestFolder();
    std::filesystem::path log = folder / "step_log_mix.txt";
    doubles::World world;
    std::optional<CHistory> history{std::in_place, world.world, folder};
    Replay replay;
};

TEST_F(History, UndoesAndRedoesByTheOppositeDeeds) {
    history->StartGroup();
    Add(Action::Insert, 1);
    Add(Action::Split, 1, {.split = 12032});
    Add(Action::Remove, 3);
    Add(Action::Move, 5, {.posDif = -640});
    Add(Action::VolAdjust, 5, {.volDif = 25});
    history->EndGroup();
    EXPECT_EQ(Undo(),
              "slide1 vol5:-25 slide1 move5:640 slide1 insert3:14984 slide1 merge1:12032 slide1 remove1 0/5 g1");
    EXPECT_EQ(Undo(), "0/5 g1");
    EXPECT_EQ(Redo(),
              "slide1 insert1:14984 slide1 split1:12032 slide1 remove3 slide1 move5:-640 slide1 vol5:25 5/5 g1");
    EXPECT_EQ(Redo(), "5/5 g1");
}

TEST_F(History, KeepsGroupsApart) {
    history->StartGroup();
    history->EndGroup();
    EXPECT_EQ(Indices(), "0/0 g0");
    Add(Action::Remove, 1);
    Add(Action::Remove, 3);
    history->StartGroup();
    history->EndGroup();
    EXPECT_EQ(Indices(), "2/2 g2");
    EXPECT_EQ(Undo(), "slide1 insert3:14984 1/2 g2");
    EXPECT_TRUE(history->CanUndo() && history->CanRedo());
    Add(Action::Remove, 5);  // what was undone is lost
    EXPECT_EQ(Indices(), "2/2 g3");
    EXPECT_FALSE(history->CanRedo());
    EXPECT_EQ(Undo(), "slide1 insert5:14984 1/2 g3");
    EXPECT_EQ(Undo(), "slide1 insert1:14984 0/2 g3");
    EXPECT_EQ(Redo(), "slide1 remove1 1/2 g3");
    history->ActionReset();
    EXPECT_EQ(Indices(), "0/0 g0");
    for (int i = 1; i <= 1025; ++i) Add(Action::Move, i, {.posDif = i});
    EXPECT_EQ(Undo(), "slide1 move1025:-1025 1024/1025 g1025");
}

TEST_F(History, StopsWhereAReplayFails) {
    history->StartGroup();
    for (const int segIndex : {1, 3, 5}) Add(Action::Remove, segIndex);
    history->EndGroup();
    replay.failsAt = "insert3:14984";
    EXPECT_EQ(Undo(), "slide1 insert5:14984 slide1 insert3:14984 2/3 g1");
    replay.failsAt = "remove5";
    EXPECT_EQ(Redo(), "slide1 remove5 3/3 g1");
    const std::string before = Log();
    replay.failsAt = "slide1";
    EXPECT_EQ(Undo(), "slide1 3/3 g1");
    EXPECT_EQ(Log(), before);  // it did not come to the step
}

TEST_F(History, WritesTheStepLog) {
    Add(Action::Insert, 1);
    Add(Action::VolAdjust, 1, {.volDif = -25});
    Add(Action::Move, 100001, {.posDif = -1000000});
    Add(Action::Split, 1, {.split = 12032});
    Undo();
    Redo();
    history.reset();
    const std::string split =
        "     1\t    1\t    1\t  9984\t 14984\t 12032\t     0\t    64\t  5064\t   0\t/p/a.qva\r\n";
    const std::string log =
        "\r\n=== Begin (2024/3/5 13:04:05) ===\r\n"
        "GID,    Action,     seg,    track,  slide,  pos,    end,    split,  posDif, sPos,   sEnd,   volDif, File\r\n"
        "   1\t  Insert\t     1\t    1\t    1\t  9984\t 14984\t     0\t     0\t    64\t  5064\t   0\t/p/a.qva\r\n"
        "   2\tVolAdjust\t     1\t    1\t    1\t  9984\t 14984\t     0\t     0\t    64\t  5064\t -25\t/p/a.qva\r\n"
        "   3\t    Move\t100001\t    1\t    1\t  9984\t 14984\t     0\t-1000000\t    64\t  5064\t   0\t/p/a.qva\r\n"
        "   4\t   Split\t" +
        split + "   4\tSplit(U)\t" + split + "   4\tSplit(R)\t" + split + "=== End (2024/3/5 13:04:05) ===\r\n";
    EXPECT_EQ(Log(), log);
    CHistory(world.world, folder).ActionReset();
    EXPECT_EQ(Log(), log);  // one that had nothing to say
}

TEST_F(History, CutsALongLogOnceToItsEnd) {
    const std::string tail = std::string(32767, 'b') + "é😀";  // the last 32770 units
    const std::string cases[][2] = {{std::string(7230, 'a') + tail, tail.substr(1)},
                                    {tail.substr(2), tail.substr(2)},  // 32768 stay whole
                                    {"", ""}};
    for (const auto& [old, kept] : cases) {
        history.reset();
        std::ofstream(log, std::ios::binary) << old;
        history.emplace(world.world, folder);
        Add(Action::Insert, 1);
        Add(Action::Insert, 1);
        EXPECT_EQ(Log().substr(0, kept.size() + 13), kept + "\r\n=== Begin (");
    }
    history.reset();
    world.disk.failAt = world.disk.changes + 1;  // a log that cannot be cut grows
    std::ofstream(log, std::ios::binary) << "a" + tail;
    history.emplace(world.world, folder);
    Add(Action::Insert, 1);
    EXPECT_EQ(Log().substr(0, 3), "abb");
    EXPECT_TRUE(world.user.boxes.empty());
}

}  // namespace
}  // namespace mirrane
