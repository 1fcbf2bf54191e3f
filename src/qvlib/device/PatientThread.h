// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace qv {

/// A thread for calls that may never return, so that who asks for them does not wait for ever. One that hangs at the end
/// is left to itself: what the deeds use must be kept alive by them.
class PatientThread {
public:
    using Deed = std::function<void()>;

    explicit PatientThread(std::chrono::milliseconds patience);
    ~PatientThread();
    PatientThread(const PatientThread&) = delete;
    PatientThread& operator=(const PatientThread&) = delete;

    /// Does it behind what was asked before, and waits.
    /// @returns false when it is not done within the patience; it may be done later
    bool Do(Deed deed);

    /// Asks for a deed without waiting. Outlives the thread, may be called on any.
    [[nodiscard]] std::function<void(Deed)> Poster() const;

private:
    struct Desk {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<Deed> deeds;
        std::uint64_t asked = 0;
        std::uint64_t done = 0;
        bool isClosing = false;
        bool hasEnded = false;
    };

    static std::uint64_t Ask(Desk& desk, Deed deed);
    static void Work(Desk& desk);

    const std::chrono::milliseconds patience_;
    const std::shared_ptr<Desk> desk_ = std::make_shared<Desk>();
    std::thread thread_;
};

}  // namespace qv
