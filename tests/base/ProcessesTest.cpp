// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Processes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <system_error>

#include "doubles/World.h"
#include "support/Basics.h"

namespace mirrane {
namespace {

namespace fs = std::filesystem;
using UseShell = frmExecCmd::UseShell;

class ProcessesTest : public testing::Test {
protected:
    fs::path Script(const std::string& body, mode_t mode = 0755) const {
        fs::path file = folder_ / "a tool";
        Disk().Write(file, "#!/bin/sh\nexec >\"$(dirname \"$0\")/out\"\n" + body + "\n");
        ::chmod(file.c_str(), mode);
        return file;
    }
    /// @returns what the script has printed
    std::string Show(const std::string& command, std::vector<std::string> arguments = {},
                     UseShell useShell = UseShell::No) {
        window_.InitCmd(command, std::move(arguments), useShell);
        window_.Show();
        EXPECT_EQ(made_.user.busyDepth, 0);
        return FileExists(folder_ / "out") ? ReadFile(folder_ / "out") : "";
    }

    const fs::path folder_ = support::TestFolder();
    doubles::World made_{"none.xml"};
    int events_ = 0;
    frmExecCmd window_{made_.world};
};

TEST_F(ProcessesTest, ExitStatus) {
    made_.user.onEvents = [this] { ++events_; };
    EXPECT_EQ(ShellAndWait(made_.world, {"sh", "-c", "sleep 0.05; exit 3"}), 3);
    EXPECT_GE(events_, 5);
    EXPECT_EQ(ShellAndWait(made_.world, {"sh", "-c", "kill -TERM $$"}), 128 + SIGTERM);
    EXPECT_THROW(ShellAndWait(made_.world, {(folder_ / "none").string()}), std::system_error);
    EXPECT_THROW(ShellAndWait(made_.world, {}), std::system_error);
    EXPECT_EQ(ExecuteAndWait("/bin/sh", {"-c", "exit 7"}, true), 7);
    const fs::path gate = folder_ / "gate";
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    EXPECT_EQ(ExecuteAndWait("/bin/sh", {"-c", "read word <" + support::Quoted(gate)}, false), 0) << "does not wait";
    std::ofstream(gate) << "go\n";
}

TEST_F(ProcessesTest, ArgumentsArriveWholeInTheCurrentFolder) {
    const fs::path tool = Script("printf '%s|' \"$(pwd -P)\" \"$@\"");
    const std::vector<std::string> arguments = {"/my project", "", "$HOME \"q\" 'r' *", "\xFF"};
    const std::string wanted = fs::current_path().string() + "|/my project||$HOME \"q\" 'r' *|\xFF|";
    EXPECT_EQ(Show(tool.string() + " ", arguments), wanted);
    fs::remove(folder_ / "out");
    EXPECT_EQ(Show(" " + tool.string(), arguments, UseShell::Yes), wanted);
    EXPECT_EQ(made_.user.Told(), "");
}

TEST_F(ProcessesTest, OthersLiveOnWhileTheWindowWaits) {
    const fs::path tool = Script("sleep 0.1; echo done");
    made_.user.onEvents = [this] { events_ += made_.user.busyDepth; };
    EXPECT_EQ(Show(tool.string()), "done\n");
    EXPECT_GE(events_, 10) << "with the other windows disabled";
    events_ = 0;
    EXPECT_EQ(Show(tool.string(), {}, UseShell::Yes), "done\n");
    EXPECT_EQ(events_, 0);
}

TEST_F(ProcessesTest, CancelEndsTheProgram) {
    made_.user.onEvents = [this] {
        if (FileExists(folder_ / "out") && fs::file_size(folder_ / "out") > 0) window_.Cancel();
    };
    const std::string pid = Show(Script("echo $$; exec sleep 600").string());
    ASSERT_NE(pid, "");
    EXPECT_NE(::kill(std::stoi(pid), 0), 0) << "it runs no more";
    made_.user.onEvents = {};
    EXPECT_EQ(Show(Script("sleep 0.01; echo again").string()), "again\n") << "an old cancel does not count";
}

TEST_F(ProcessesTest, WhatCannotBeRunIsTold) {
    const std::string commands[] = {"  ", (folder_ / "none ").string(), folder_.string(),
                                    Script("true", 0644).string()};
    const std::string reasons[] = {"command is empty!", "\"" + commands[1] + "\" does not exist!",
                                   "\"" + commands[2] + "\" does not exist!",
                                   "\"" + commands[3] + "\" does not start: Permission denied"};
    std::string wanted;
    for (int i = 0; i < 4; ++i) {
        Show(commands[i]);
        wanted += "frmExecCmd.tmrExec_Timer|Execution failed because " + reasons[i] + "\n";
    }
    EXPECT_EQ(made_.user.Told(), wanted);
}

}  // namespace
}  // namespace mirrane
