// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace qv {

/// A thread that works in turns on the task it was given last, and gives that up for a newer one. The last member of its
/// owner, whose turns use the others.
template <typename Task>
class FeederThread {
public:
    /// For a turn's result: nothing is to be done before something is told.
    static constexpr std::chrono::milliseconds kRest = std::chrono::milliseconds::max();
    /// One turn, on the thread.
    ///     task    a newer one than all turns before have had, if there is one
    ///     isOn    as SetOn told last
    /// Returns how long the next turn can wait unless something is told.
    using Turn = std::function<std::chrono::milliseconds(std::optional<Task> task, bool isOn)>;

    explicit FeederThread(Turn turn) : turn_(std::move(turn)), thread_([this] { Work(); }) {}
    /// Waits for the turn that is under way, which is cancelled.
    ~FeederThread() {
        Tell([this] { isEnding_ = isCancelled_ = true; });
        thread_.join();
    }
    FeederThread(const FeederThread&) = delete;
    FeederThread& operator=(const FeederThread&) = delete;

    void Give(Task task) {
        Tell([&] {
            wanted_ = std::move(task);
            isCancelled_ = true;
        });
    }
    void SetOn(bool isOn) {
        Tell([&] { isOn_ = isOn; });
    }
    /// Asked by a turn: its work is not wanted any more.
    [[nodiscard]] bool IsCancelled() const { return isCancelled_; }

private:
    template <typename Change>
    void Tell(Change&& change) {
        {
            const std::lock_guard lock(mutex_);
            change();
            isTold_ = true;
        }
        changed_.notify_all();
    }

    void Work() {
        std::unique_lock lock(mutex_);
        while (!isEnding_) {
            auto task = std::exchange(wanted_, std::nullopt);
            const bool isOn = isOn_;
            isTold_ = isCancelled_ = false;
            lock.unlock();
            const auto wait = turn_(std::move(task), isOn);
            lock.lock();
            if (wait == kRest) {
                changed_.wait(lock, [this] { return isTold_; });
            } else {
                changed_.wait_for(lock, wait, [this] { return isTold_; });
            }
        }
    }

    Turn turn_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Task> wanted_;
    bool isOn_ = false;
    bool isTold_ = false;  ///< since the turn began
    bool isEnding_ = false;
    std::atomic<bool> isCancelled_ = false;
    std::thread thread_;
};

}  // namespace qv
