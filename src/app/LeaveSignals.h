// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace app {

/// SIGTERM, SIGINT and SIGHUP as an event of the application's loop, also of a loop within it. One at a time in a process.
class LeaveSignals {
public:
    /// @throws std::runtime_error
    explicit LeaveSignals(std::function<void()> onLeave);
    ~LeaveSignals();
    LeaveSignals(const LeaveSignals&) = delete;
    LeaveSignals& operator=(const LeaveSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace app
