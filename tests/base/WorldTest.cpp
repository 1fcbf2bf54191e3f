// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/World.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

TEST(World, ErrorReports) {
    doubles::World made("none.xml");
    made.world.gStepLabel = "RemoveIndexNode";
    ReportStepError(made.world, ErrorText(std::overflow_error("Overflow")), "ProjectFile.Save");
    ReportStepError(made.world, "File not found", "");
    EXPECT_EQ(made.user.Told(), "ProjectFile.Save|Overflow: RemoveIndexNode\n|File not found\n");
}

TEST(World, DatesAndTimes) {
    EXPECT_EQ(GetNowString({2024, 3, 5, 3, 4, 0}), "2024/3/5 03:04:00");
    SystemClock clock;
    std::string tenSecondsAgo;
    std::string printed;
    for (int i = 0; i < 3 && (printed.empty() || tenSecondsAgo != printed); ++i) {  // in one and the same second
        tenSecondsAgo = GetNowString(clock.Now(10));
        printed = support::Output("date -d '10 seconds ago' '+%Y/%-m/%-d %H:%M:%S' | tr -d '\\n'");
    }
    EXPECT_EQ(tenSecondsAgo, printed);
    const std::uint32_t before = clock.TickMs();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    const std::uint32_t passed = clock.TickMs() - before;
    EXPECT_TRUE(passed >= 29 && passed < 5000) << passed;
}

TEST(World, Folders) {
    doubles::Host host;
    const auto all = [&host] {
        return TempFolder(host).string() + " " + AppDataFolder(host).string() + " " + ConfigFolder(host).string();
    };
    host.environment = {{"HOME", "/home/u"}};
    EXPECT_EQ(all(), "/tmp /home/u/.local/share /home/u/.config");
    host.environment.insert({{"TMPDIR", "/t"}, {"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c"}});
    EXPECT_EQ(all(), "/t /d /c");
    host.environment.insert({{"temp", "/t2"}, {"appdata", "/d2"}});
    EXPECT_EQ(all(), "/t2 /d2 /c");

    SystemHost system;
    ::setenv("MIRRANE_PROGRAM_FOLDER", "", 1);
    EXPECT_TRUE(std::filesystem::equivalent(system.ProgramFolder(), MIRRANE_SOURCE_DIR "/data"))
        << "an empty one is none";
    ::setenv("MIRRANE_PROGRAM_FOLDER", "/elsewhere", 1);
    EXPECT_EQ(system.ProgramFolder(), "/elsewhere");
    ::unsetenv("MIRRANE_PROGRAM_FOLDER");
}

}  // namespace
}  // namespace mirrane
