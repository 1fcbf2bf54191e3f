// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Processes.h"

#include <gtest/gtest.h>

#include <csignal>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

namespace fs = std::filesystem;
using UseShell = frmExecCmd::UseShell;

struct ProcessesTest : testing::Test {
    /// Runs a script in the window. @returns what it has printed
    std::string Show(const std::string& body, std::vector<std::string> arguments = {},
                     UseShell useShell = UseShell::No) {
        Disk().Write(tool_, "#!/bin/sh\nexec >" + support::Quoted(out_) + "\n" + body + "\n");
        fs::permissions(tool_, fs::perms::owner_all);
        window_.InitCmd(tool_.string(), std::move(arguments), useShell);
        window_.Show();
        return ReadFile(out_);
    }

    const fs::path tool_ = support::TestFolder() / "a tool";
    const fs::path out_ = tool_.parent_path() / "out";
    doubles::World made_{"none.xml"};
    frmExecCmd window_{made_.world};
};

TEST_F(ProcessesTest, ExitStatus) {
    int events = 0;
    made_.user.onEvents = [&events] { ++events; };
    EXPECT_EQ(ShellAndWait(made_.world, {"sh", "-c", "sleep 0.05; exit 3"}), 3);
    EXPECT_GE(events, 5);
    EXPECT_EQ(ShellAndWait(made_.world, {"sh", "-c", "kill -TERM $$"}), 128 + SIGTERM);
    EXPECT_THROW(ShellAndWait(made_.world, {"/none"}), std::system_error);
    EXPECT_EQ(ExecuteAndWait("/bin/sh", {"-c", "exit 7"}, true), 7);
}

TEST_F(ProcessesTest, ArgumentsArriveWholeInTheCurrentFolder) {
    const std::vector<std::string> arguments = {"/my project", "", "$HOME \"q\" 'r' *", "\xFF"};
    const std::string wanted = fs::current_path().string() + "|/my project||$HOME \"q\" 'r' *|\xFF|";
    for (const UseShell useShell : {UseShell::No, UseShell::Yes})
        EXPECT_EQ(Show("printf '%s|' \"$(pwd -P)\" \"$@\"", arguments, useShell), wanted) << made_.user.Told();
}

TEST_F(ProcessesTest, CancelEndsTheProgram) {
    made_.user.onEvents = [this] {
        if (made_.user.busyDepth > 0 && FileExists(out_) && !ReadFile(out_).empty()) window_.Cancel();
    };
    const std::string pid = Show("echo $$; exec sleep 600");
    EXPECT_NE(::kill(std::stoi(pid), 0), 0) << "it runs no more";
    made_.user.onEvents = {};
    EXPECT_EQ(Show("sleep 0.01; echo again"), "again\n") << "an old cancel does not count";
}

}  // namespace
}  // namespace mirrane
