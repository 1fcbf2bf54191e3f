// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace qv {

/// Hands items from one thread to another, with room for a few, so that neither runs far ahead.
template <typename Item>
class BoundedQueue {
public:
    explicit BoundedQueue(std::size_t room) : room_(room) {}

    /// Waits for room. @returns false when the queue was closed; the item is dropped then
    bool Push(Item item) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return closed_ || items_.size() < room_; });
        if (closed_) return false;
        items_.push_back(std::move(item));
        changed_.notify_all();
        return true;
    }

    /// Waits for an item. @returns nothing when the queue was closed and is empty
    std::optional<Item> Pop() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return closed_ || !items_.empty(); });
        if (items_.empty()) return std::nullopt;
        Item item = std::move(items_.front());
        items_.pop_front();
        changed_.notify_all();
        return item;
    }

    /// What is in it can still be taken; nothing more goes in.
    void Close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        changed_.notify_all();
    }

private:
    const std::size_t room_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Item> items_;
    bool closed_ = false;
};

}  // namespace qv
