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
    bool ShowSlide(std::int32_t slideIndex) override { return Note("slide", slideIndex, 0); }
    bool Insert(const CAudioSeg& record) override { return Note("insert", record.segIndex, record.posEnd); }
    bool Remove(std::int32_t segIndex) override { return Note("remove", segIndex, 0); }
    bool Split(std::int32_t segIndex, Ms split) override { return Note("split", segIndex, split); }
    bool Merge(std::int32_t segIndex, Ms split, std::int32_t track) override {
        return Note("merge", segIndex, split) && track == 1;
    }
    bool Move(std::int32_t segIndex, Ms posDif) override { return Note("move", segIndex, posDif); }
    bool VolAdjust(std::int32_t segIndex, std::int32_t volDif) override { return Note("vol", segIndex, volDif); }

    std::string told;
    std::string failsAt;

private:
    bool Note(const std::string& what, int number, int argument) {
        const std::string step = what + std::to_string(number) + ":" + std::to_string(argument);
        if (what != "slide" || step == failsAt) told += step + " ";
        return step != failsAt;
    }
};

class History : public testing::Test {
protected:
    void Add(Action action, std::int32_t segIndex, ActionDetail detail = {}) {
        history->ActionAdd(action, {segIndex, 2, 1, 9984, 14984, {}, "/p/a.qva", 64, 5064}, detail);
    }
    /// What was replayed; the newest entry in force / the newest, and its group.
    std::string Told() {
        return std::exchange(replay.told, {}) + std::to_string(history->curIndex()) + "/" +
               std::to_string(history->lastIndex()) + " g" + std::to_string(history->lastGroupId());
    }
    std::string Undo() { return history->Undo(replay), Told(); }
    std::string Redo() { return history->Redo(replay), Told(); }

    std::filesystem::path folder = support::TestFolder();
    std::filesystem::path log = folder / "step_log_mix.txt";
    doubles::World world;
    std::optional<CHistory> history{std::in_place, world.world, folder};
    Replay replay;
};

TEST_F(History, ReplaysAGroupUpToWhatFails) {
    history->StartGroup();
    Add(Action::Insert, 1);
    Add(Action::Split, 1, {.split = 12032});
    Add(Action::Remove, 3);
    Add(Action::Move, 5, {.posDif = -640});
    Add(Action::VolAdjust, 5, {.volDif = 25});
    history->EndGroup();
    EXPECT_EQ(Undo(), "vol5:-25 move5:640 insert3:14984 merge1:12032 remove1:0 0/5 g1");
    EXPECT_EQ(Redo(), "insert1:14984 split1:12032 remove3:0 move5:-640 vol5:25 5/5 g1");
    EXPECT_EQ(Redo(), "5/5 g1");
    replay.failsAt = "move5:640";
    EXPECT_EQ(Undo(), "vol5:-25 move5:640 4/5 g1");
    replay.failsAt = "slide2:0";
    EXPECT_EQ(Undo(), "slide2:0 4/5 g1");
    EXPECT_EQ(Redo(), "slide2:0 5/5 g1");
}

TEST_F(History, TakesAnEmptyGroupBackAndForgetsWhatWasUndone) {
    history->StartGroup();
    history->EndGroup();
    EXPECT_EQ(Told(), "0/0 g0");
    Add(Action::Remove, 1);
    Add(Action::Remove, 3);
    EXPECT_EQ(Undo(), "insert3:14984 1/2 g2");
    Add(Action::Remove, 5);
    EXPECT_EQ(Redo(), "2/2 g3");
    history->ActionReset();
    EXPECT_EQ(Undo(), "0/0 g0");
}

TEST_F(History, WritesTheStepLog) {
    Add(Action::VolAdjust, 1, {.volDif = -25});
    Add(Action::Move, 100001, {.posDif = -1000000});
    Add(Action::Split, 1, {.split = 12032});
    Undo();
    Redo();
    history.reset();
    const std::string split =
        "     1\t    1\t    2\t  9984\t 14984\t 12032\t     0\t    64\t  5064\t   0\t/p/a.qva\r\n";
    EXPECT_EQ(
        ReadFile(log),
        "\r\n=== Begin (2024/3/5 13:04:05) ===\r\n"
        "GID,    Action,     seg,    track,  slide,  pos,    end,    split,  posDif, sPos,   sEnd,   volDif, File\r\n"
        "   1\tVolAdjust\t     1\t    1\t    2\t  9984\t 14984\t     0\t     0\t    64\t  5064\t -25\t/p/a.qva\r\n"
        "   2\t    Move\t100001\t    1\t    2\t  9984\t 14984\t     0\t-1000000\t    64\t  5064\t   0\t/p/a.qva\r\n"
        "   3\t   Split\t" +
            split + "   3\tSplit(U)\t" + split + "   3\tSplit(R)\t" + split + "=== End (2024/3/5 13:04:05) ===\r\n");
}

TEST_F(History, CutsALongLogOnceToItsEnd) {
    const std::string tail = std::string(32767, 'b') + "é😀";  // 32770 units
    const std::string cases[][2] = {{std::string(7230, 'a') + tail, tail.substr(1)}, {tail.substr(2), tail.substr(2)}};
    for (const auto& [old, kept] : cases) {
        history.reset();
        std::ofstream(log, std::ios::binary) << old;
        history.emplace(world.world, folder);
        Add(Action::Insert, 1);
        Add(Action::Insert, 1);
        EXPECT_EQ(ReadFile(log).substr(0, kept.size() + 13), kept + "\r\n=== Begin (");
    }
}

}  // namespace
}  // namespace mirrane
