// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/EventLoop.h"

#include <algorithm>
#include <utility>

namespace mirrane {

void EventLoop::Post(std::function<void()> function) {
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back(std::move(function));
    }
    wake_.notify_one();
}

void EventLoop::Every(std::chrono::milliseconds interval, std::function<void()> function) {
    timers_.push_back({interval, std::move(function), Clock::now() + interval});
}

void EventLoop::RunEvents() {
    RunTimers();
    RunPosted();
}

void EventLoop::RunFor(std::chrono::milliseconds time) {
    RunUntil([] { return false; }, time);
}

bool EventLoop::RunUntil(const std::function<bool()>& isDone, std::chrono::milliseconds most) {
    const auto end = Clock::now() + most;
    while (true) {
        RunEvents();
        if (isDone()) return true;
        if (Clock::now() >= end) return false;
        std::unique_lock lock(mutex_);
        wake_.wait_until(lock, NextDue(end), [this] { return !posted_.empty(); });
    }
}

void EventLoop::RunTimers() {
    for (Timer& timer : timers_) {
        if (timer.isRunning || Clock::now() < timer.due) continue;
        timer.due = Clock::now() + timer.interval;
        timer.isRunning = true;
        timer.function();
        timer.isRunning = false;
    }
}

void EventLoop::RunPosted() {
    std::unique_lock lock(mutex_);
    for (std::size_t left = posted_.size(); left > 0 && !posted_.empty(); --left) {
        const auto function = std::move(posted_.front());
        posted_.pop_front();
        lock.unlock();
        function();
        lock.lock();
    }
}

EventLoop::Clock::time_point EventLoop::NextDue(Clock::time_point latest) const {
    for (const Timer& timer : timers_)
        if (!timer.isRunning) latest = std::min(latest, timer.due);
    return latest;
}

}  // namespace mirrane
