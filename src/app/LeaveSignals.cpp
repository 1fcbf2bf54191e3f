// SPDX-License-Identifier: GPL-3.0-or-later
#include "LeaveSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace app {

namespace {

constexpr std::array kSignals = {SIGTERM, SIGINT, SIGHUP};

/// Read end, write end. A handler finds nothing but what stands at namespace scope.
std::array<int, 2> pipeEnds = {-1, -1};  // NOLINT(*-non-const-global-variables)

void OnSignal(int /*signal*/) {
    const int kept = errno;
    const char byte = 0;
    (void)!write(pipeEnds[1], &byte, 1);
    errno = kept;
}

}  // namespace

LeaveSignals::LeaveSignals(std::function<void()> onLeave) {
    if (pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::runtime_error(std::string("pipe2: ") + std::strerror(errno));
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [onLeave = std::move(onLeave)] {
        std::array<char, 16> bytes{};
        while (read(pipeEnds[0], bytes.data(), bytes.size()) > 0) continue;
        onLeave();
    });
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : kSignals) sigaction(signal, &action, nullptr);
}

LeaveSignals::~LeaveSignals() {
    for (const int signal : kSignals) std::signal(signal, SIG_DFL);
    notifier_.reset();
    for (const int end : pipeEnds) close(end);
}

}  // namespace app
