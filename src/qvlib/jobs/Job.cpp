// SPDX-License-Identifier: GPL-3.0-or-later
#include "jobs/Job.h"

#include <algorithm>
#include <utility>

namespace qv {

namespace {

constexpr int kDone = 100;
constexpr int kFailed = -1;
constexpr int kMostWhileRunning = 99;

}  // namespace

void Job::Start(std::function<void(const JobContext&)> work) noexcept {
    Abandon();
    percent_ = 0;
    try {
        thread_ = std::jthread([this, work = std::move(work)](const std::stop_token& stop) { Run(stop, work); });
    } catch (const std::exception& error) {
        if (log_) log_(error.what());
        percent_ = kFailed;
    }
}

void Job::Abandon() noexcept {
    if (!thread_.joinable()) return;
    thread_.request_stop();
    thread_.join();
}

void Job::Run(const std::stop_token& stop, const std::function<void(const JobContext&)>& work) noexcept {
    try {
        work({stop, [this](double done) { Raise(done); }});
        percent_ = kDone;
        return;
    } catch (const Abandoned&) {
    } catch (const std::exception& error) {
        if (log_) log_(error.what());
    }
    percent_ = kFailed;
}

/// Several threads may tell progress; the highest counts.
void Job::Raise(double done) {
    const int told = std::clamp(static_cast<int>(done * kDone), 0, kMostWhileRunning);
    int known = percent_;
    while (known < told && !percent_.compare_exchange_weak(known, told)) {
    }
}

}  // namespace qv
