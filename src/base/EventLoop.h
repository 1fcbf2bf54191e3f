// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace mirrane {

/// The event loop of a program without windows: functions that are posted from any thread, and timers, all run on the
/// thread that calls one of the Run functions. They may be called from within a function that they run.
class EventLoop {
public:
    using Clock = std::chrono::steady_clock;

    /// Has a function run later, never inside this call, in the order of the calls. From any thread.
    void Post(std::function<void()> function);
    /// Has a function run at each interval; one that comes late is not made up for, and none runs within itself. Before
    /// the loop is run for the first time.
    void Every(std::chrono::milliseconds interval, std::function<void()> function);

    /// Runs what is pending. What is posted meanwhile waits for the next call.
    void RunEvents();
    /// Runs what comes up within a span of time.
    void RunFor(std::chrono::milliseconds time);
    /// Runs what comes up until something holds, which is asked after each turn, or the time is over.
    /// @returns whether it holds
    bool RunUntil(const std::function<bool()>& isDone, std::chrono::milliseconds most);

private:
    struct Timer {
        std::chrono::milliseconds interval;
        std::function<void()> function;
        Clock::time_point due;
        bool isRunning = false;
    };

    void RunTimers();
    void RunPosted();
    [[nodiscard]] Clock::time_point NextDue(Clock::time_point latest) const;

    std::mutex mutex_;  ///< of posted_
    std::condition_variable wake_;
    std::deque<std::function<void()>> posted_;
    std::deque<Timer> timers_;  ///< a timer stays where it is
};

}  // namespace mirrane
