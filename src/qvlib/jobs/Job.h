// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "jobs/JobContext.h"

namespace qv {

/// One long piece of work on a thread of its own, with the progress that a poller reads: 0 to 99 while it runs, 100 when
/// it is done, -1 after a failure or when it was abandoned. Started and asked by one thread.
class Job {
public:
    /// @param log told the reason when the work throws; called on the job's thread
    explicit Job(std::function<void(const std::string&)> log) : log_(std::move(log)) {}
    ~Job() { Abandon(); }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Ends what still runs, sets the progress to 0 and starts. Never throws.
    void Start(std::function<void(const JobContext&)> work) noexcept;
    /// Ends the work and waits for it; the progress is negative unless it was done already.
    void Abandon() noexcept;
    [[nodiscard]] int Percent() const { return percent_; }

private:
    void Run(const std::stop_token& stop, const std::function<void(const JobContext&)>& work) noexcept;
    void Raise(double done);

    std::function<void(const std::string&)> log_;
    std::atomic<int> percent_ = 0;
    std::jthread thread_;
};

}  // namespace qv
