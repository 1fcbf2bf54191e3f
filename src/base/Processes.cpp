// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Processes.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include "base/Text.h"

namespace mirrane {

namespace {

constexpr std::chrono::milliseconds kShellPoll{250};
constexpr std::chrono::milliseconds kExecPoll{100};

int StatusOf(int waitStatus) { return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus); }

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments) {
    std::vector<std::string> copies = arguments;  // the system asks for what it may write to
    std::vector<char*> pointers;
    pointers.reserve(copies.size() + 1);
    for (std::string& argument : copies) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    if (copies.empty()) throw std::system_error(EINVAL, std::generic_category(), "no program");
    const int error = ::posix_spawnp(&pid_, pointers[0], nullptr, nullptr, pointers.data(), environ);
    if (error != 0) throw std::system_error(error, std::generic_category(), copies[0]);
}

void ChildProcess::Reap(int options) {
    if (status_) return;
    int waitStatus = 0;
    int got = 0;
    do got = ::waitpid(pid_, &waitStatus, options);
    while (got < 0 && errno == EINTR);
    if (got > 0) status_ = StatusOf(waitStatus);
    if (got < 0) status_ = -1;
}

std::optional<int> ChildProcess::ExitStatus() {
    Reap(WNOHANG);
    return status_;
}

int ChildProcess::Wait() {
    Reap(0);
    return status_.value_or(-1);
}

void ChildProcess::Kill() {
    if (ExitStatus()) return;
    ::kill(pid_, SIGKILL);
    Reap(0);
}

int ShellAndWait(World& world, const std::vector<std::string>& arguments) {
    ChildProcess child(arguments);
    for (;;) {
        world.user.Sleep(kShellPoll);
        if (const auto status = child.ExitStatus()) return *status;
    }
}

int ExecuteAndWait(const std::filesystem::path& file, const std::vector<std::string>& parameters, bool wait) {
    std::vector<std::string> arguments = {file.string()};
    arguments.insert(arguments.end(), parameters.begin(), parameters.end());
    ChildProcess child(arguments);
    return wait ? child.Wait() : 0;
}

void frmExecCmd::InitCmd(std::string command, std::vector<std::string> arguments, UseShell useShell) {
    command_ = std::move(command);
    arguments_ = std::move(arguments);
    useShell_ = useShell;
}

void frmExecCmd::Show() {
    const std::string program = Trim(command_);
    const auto fail = [this](const std::string& why) {
        ShowFailure(world_, "Execution failed because " + why, "frmExecCmd.tmrExec_Timer");
    };
    if (program.empty()) {
        fail("command is empty!");
        return;
    }
    if (!FileExists(program)) {
        fail("\"" + command_ + "\" does not exist!");
        return;
    }
    std::vector<std::string> arguments = {program};
    arguments.insert(arguments.end(), arguments_.begin(), arguments_.end());
    try {
        const BusyCursor modal(world_);
        Run(arguments);
    } catch (const std::system_error& error) {
        fail("\"" + command_ + "\" does not start: " + error.code().message());
    }
}

void frmExecCmd::Run(const std::vector<std::string>& arguments) {
    isCancelled_ = false;
    ChildProcess child(arguments);
    if (useShell_ == UseShell::Yes) {
        child.Wait();
        return;
    }
    while (!child.ExitStatus()) {
        if (isCancelled_) {
            child.Kill();
            return;
        }
        world_.user.Sleep(kExecPoll);
    }
}

}  // namespace mirrane
