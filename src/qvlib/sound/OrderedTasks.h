// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "MediaError.h"

namespace qv {

/// Runs tasks on several threads and gives their results back in the order in which the tasks were added. One thread
/// adds and takes; it adds as long as there is Room, so that no more than a few results wait in memory. Each thread
/// has one Worker, made when its first task comes.
template <typename Worker, typename Result>
class OrderedTasks {
public:
    using Task = std::function<Result(Worker&, std::stop_token)>;
    using MakeWorker = std::function<std::unique_ptr<Worker>()>;

    /// @param stop tells the tasks to end with Abandoned
    OrderedTasks(int threads, MakeWorker makeWorker, std::stop_token stop)
        : mostThreads_(static_cast<std::size_t>(threads)),
          makeWorker_(std::move(makeWorker)),
          onStop_(std::move(stop), [this] { stop_.request_stop(); }) {}

    /// Ends what is under way and waits for the threads.
    ~OrderedTasks() {
        stop_.request_stop();
        threads_.clear();
    }
    OrderedTasks(const OrderedTasks&) = delete;
    OrderedTasks& operator=(const OrderedTasks&) = delete;

    [[nodiscard]] bool HasRoom() const { return results_.size() < 2 * mostThreads_; }
    [[nodiscard]] bool IsEmpty() const { return results_.empty(); }

    void Add(Task task) {
        std::packaged_task<Result(Slot&)> work([this, task = std::move(task)](Slot& slot) {
            if (stop_.stop_requested()) throw Abandoned();
            if (!slot) slot = makeWorker_();
            return task(*slot, stop_.get_token());
        });
        results_.push_back(work.get_future());
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(std::move(work));
        }
        added_.notify_one();
        if (threads_.size() < std::min(mostThreads_, results_.size())) threads_.emplace_back([this] { Work(); });
    }

    /// Waits for the oldest task's result.
    /// @throws what the task threw, or Abandoned
    Result Take() {
        std::future<Result> result = std::move(results_.front());
        results_.pop_front();
        return result.get();
    }

private:
    using Slot = std::unique_ptr<Worker>;

    void Work() {
        Slot slot;
        while (true) {
            std::unique_lock lock(mutex_);
            // Once told to stop, the threads still run through what waits, so that no one waits for a result in vain.
            if (!added_.wait(lock, stop_.get_token(), [this] { return !waiting_.empty(); })) return;
            auto work = std::move(waiting_.front());
            waiting_.pop_front();
            lock.unlock();
            work(slot);
        }
    }

    std::size_t mostThreads_;
    MakeWorker makeWorker_;
    std::stop_source stop_;
    std::stop_callback<std::function<void()>> onStop_;
    std::deque<std::future<Result>> results_;  ///< of the adding thread alone
    std::mutex mutex_;
    std::condition_variable_any added_;
    std::deque<std::packaged_task<Result(Slot&)>> waiting_;
    std::vector<std::jthread> threads_;
};

}  // namespace qv
