// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <thread>

#include "base/Files.h"
#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane::modFiles {
namespace {

namespace fs = std::filesystem;

struct MoveTest : testing::Test {
    ~MoveTest() override { fs::remove_all(inMemory_); }

    void Prepare() const {
        Disk().Write(source_, kNew);
        Disk().Write(target_, kOld);
    }
    bool Move() { return MoveFileOver(made_.world, source_, target_, Quiet::No); }
    static bool Holds(const fs::path& file, const std::string& bytes) {
        return FileExists(file) && ReadFile(file) == bytes;
    }
    fs::path Beside() const { return target_.string() + ".~mv"; }
    bool AreNamesClean() const { return !fs::exists(fs::symlink_status(Beside())); }

    const std::string kOld = std::string(700001, 'o');
    const std::string kNew = std::string(4000003, 'n');
    const fs::path folder_ = support::TestFolder();
    fs::path inMemory_ = "/dev/shm/mirrane-move-test-" + std::to_string(::getpid());
    fs::path source_ = folder_ / "fresh";
    fs::path target_ = folder_ / "media.qv";
    doubles::World made_{"none.xml"};
};

/// Lets the n-th change fail for every n; in the end the target is one of the two files, and nothing lies beside it.
TEST_F(MoveTest, EveryStepMayFail) {
    const auto changesOf = [this](bool crosses, bool copies) {
        for (int n = 1;; ++n) {
            Prepare();
            ::chmod(target_.c_str(), 0444);
            made_.disk = {};
            made_.disk.everyRenameCrosses = crosses;
            made_.disk.failAt = n;
            made_.user.boxes.clear();
            const bool done = copies ? CopyFileOver(made_.world, source_, target_) : Move();
            EXPECT_TRUE(Holds(target_, done ? kNew : kOld) && AreNamesClean()) << n;
            EXPECT_TRUE(Holds(source_, kNew) || (done && !copies && !FileExists(source_))) << n;
            const std::string told = made_.user.Told();
            EXPECT_EQ(told.ends_with(": No space left on device\n"), !done && !copies) << told;
            if (made_.disk.changes >= n) continue;
            EXPECT_TRUE(done && told.empty() && FileExists(source_) == copies);
            return n - 1;
        }
    };
    EXPECT_EQ(changesOf(false, false), 2) << "permission, rename";
    EXPECT_EQ(changesOf(true, false), 5) << "permission, rename, copy, rename, remove";
    EXPECT_EQ(changesOf(false, true), 2) << "copy, rename";
}

TEST_F(MoveTest, WithoutSourceOrTarget) {
    EXPECT_FALSE(MoveFileOver(made_.world, source_, target_, Quiet::Yes) || Move());
    EXPECT_EQ(made_.user.Told(), "|Move File Error: The source file " + source_.string() + " does not exist\n");
    Disk().Write(source_, kNew);
    ::chmod(source_.c_str(), 0640);
    EXPECT_TRUE(CopyFileOver(made_.world, source_, target_) && Holds(target_, kNew));
    EXPECT_EQ(fs::status(target_).permissions(), fs::perms(0640));
    fs::remove(target_);
    EXPECT_TRUE(Move() && Holds(target_, kNew));
}

TEST_F(MoveTest, WhatAKilledProgramLeftIsNoHindrance) {
    made_.disk.everyRenameCrosses = true;
    Prepare();
    Disk().Write(folder_ / "kept", kOld);
    fs::create_symlink(folder_ / "kept", Beside());
    EXPECT_TRUE(Move() && Holds(target_, kNew) && AreNamesClean() && !fs::is_symlink(target_));
    EXPECT_TRUE(Holds(folder_ / "kept", kOld)) << "nothing is written through a link";
}

/// Kills the mover at random instants of its work, until so many kills have hit it alive.
/// MIRRANE_KILLS: how many in all, over both directions
TEST_F(MoveTest, KilledBetweenFileSystems) {
    struct stat here {};
    struct stat there {};
    fs::create_directory(inMemory_);
    if (::stat(folder_.c_str(), &here) != 0 || ::stat(inMemory_.c_str(), &there) != 0 || here.st_dev == there.st_dev)
        GTEST_SKIP() << "no second file system";
    const char* wanted = std::getenv("MIRRANE_KILLS");
    const int kills = wanted != nullptr ? std::atoi(wanted) : 60;
    std::mt19937 random(std::random_device{}());
    int killed = 0;
    int inTheCopy = 0;
    for (int tries = 0; killed < kills; ++tries) {
        ASSERT_LT(tries, 20 * kills);
        const bool intoMemory = killed % 2 != 0;
        source_ = (intoMemory ? folder_ : inMemory_) / "fresh";
        target_ = (intoMemory ? inMemory_ : folder_) / "media.qv";
        Prepare();
        const pid_t child = ::fork();
        if (child == 0) ::_exit(Move() ? 0 : 1);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % (intoMemory ? 4000 : 12000)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        const bool isNew = Holds(target_, kNew);
        ASSERT_TRUE(isNew || (Holds(target_, kOld) && Holds(source_, kNew))) << "kill " << killed;
        ASSERT_TRUE(WIFSIGNALED(status) || (status == 0 && isNew && AreNamesClean())) << "leftovers are no hindrance";
        if (!WIFSIGNALED(status)) continue;
        ++killed;
        if (!AreNamesClean()) ++inTheCopy;
    }
    EXPECT_GT(inTheCopy, kills / 20) << "the kills missed what this is about";
}

}  // namespace
}  // namespace mirrane::modFiles
