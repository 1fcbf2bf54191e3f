// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/World.h"

/// Programs started by this one: argument vectors, never a shell, in the current folder.
namespace mirrane {

/// A running program. Its end is waited for by whoever holds it; one that is dropped early runs on by itself.
class ChildProcess {
public:
    /// @param arguments the program and what it is told
    /// @throws std::system_error when it cannot be started
    explicit ChildProcess(const std::vector<std::string>& arguments);
    ~ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Empty while it runs; then what it returned, or 128 + the signal that ended it, or -1 when the system did not keep
    /// it.
    [[nodiscard]] std::optional<int> ExitStatus();
    /// Blocks until it has ended. @returns as ExitStatus
    int Wait();
    /// Ends it. When this returns it runs no more.
    void Kill();

private:
    void Reap(int options);

    int pid_ = 0;
    std::optional<int> status_;
};

/// Runs a program to its end and lets events run meanwhile.
/// @returns its exit status
/// @throws std::system_error when it cannot be started
int ShellAndWait(World& world, const std::vector<std::string>& arguments);

/// Starts a program; with wait, runs it to its end without letting events run.
/// @returns its exit status, 0 without wait
/// @throws std::system_error when it cannot be started
int ExecuteAndWait(const std::filesystem::path& file, const std::vector<std::string>& parameters, bool wait);

/// The window, never seen, that runs a command while the rest of the program is disabled and lives on.
class frmExecCmd {
public:
    explicit frmExecCmd(World& world) : world_(world) {}

    enum class UseShell { No, Yes };

    /// @param command   path of the program; blanks around it are passed over when it is looked for and started
    /// @param arguments each arrives at the program whole
    /// @param useShell  Yes: nothing else runs until the program has ended, and nobody can cancel it
    void InitCmd(std::string command, std::vector<std::string> arguments, UseShell useShell);
    /// Returns when the program has ended or Cancel was called; after a message when there is none or it cannot be
    /// started. Never throws on their account.
    void Show();
    /// To be called while Show waits.
    void Cancel() { isCancelled_ = true; }

private:
    void Run(const std::vector<std::string>& arguments);

    World& world_;
    std::string command_;
    std::vector<std::string> arguments_;
    UseShell useShell_ = UseShell::No;
    bool isCancelled_ = false;
};

}  // namespace mirrane
