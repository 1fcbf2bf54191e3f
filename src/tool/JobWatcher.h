// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <stop_token>
#include <string>

namespace tool {

/// Shows how far a long job is (a bar on a terminal, nothing elsewhere) and ends it when the user presses Ctrl+C or the
/// system asks the program to leave. One at a time.
class JobWatcher {
public:
    explicit JobWatcher(std::string title);
    /// Takes the bar away.
    ~JobWatcher();
    JobWatcher(const JobWatcher&) = delete;
    JobWatcher& operator=(const JobWatcher&) = delete;

    /// The next job of a longer piece of work.
    void Begin(std::string title) { title_ = std::move(title); }

    /// Polls until percent() is 100 or negative, or the user wants to leave (abandon() is called then).
    /// @returns true when it is done
    bool Poll(const std::function<int()>& percent, const std::function<void()>& abandon);

    /// For calls that work until they return: shows how far they are.
    void Show(int percent);
    /// Takes the bar away, until the next Show.
    void Clear();
    [[nodiscard]] bool IsToldToLeave();
    /// Stopped when the user wants to leave.
    [[nodiscard]] std::stop_token StopToken() const { return stop_.get_token(); }

private:
    std::string title_;
    bool onTerminal_;
    int shown_ = -1;
    std::stop_source stop_;
};

}  // namespace tool
