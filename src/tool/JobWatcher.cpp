// SPDX-License-Identifier: GPL-3.0-or-later
#include "JobWatcher.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace tool {

namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(20);
constexpr int kBarWidth = 40;

/// The only way that a signal has into the program.
volatile std::sig_atomic_t gLeave = 0;  // NOLINT(*-non-const-global-variables)

void AskToLeave(int /*signal*/) { gLeave = 1; }

}  // namespace

JobWatcher::JobWatcher(std::string title) : title_(std::move(title)), onTerminal_(isatty(STDERR_FILENO) == 1) {
    std::signal(SIGINT, AskToLeave);
    std::signal(SIGTERM, AskToLeave);
}

JobWatcher::~JobWatcher() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    Clear();
}

void JobWatcher::Clear() {
    if (onTerminal_ && shown_ >= 0) std::cerr << "\r\033[K" << std::flush;
    shown_ = -1;
}

bool JobWatcher::IsToldToLeave() {
    if (gLeave != 0) stop_.request_stop();
    return stop_.stop_requested();
}

void JobWatcher::Show(int percent) {
    (void)IsToldToLeave();
    if (!onTerminal_ || percent == shown_) return;
    shown_ = percent;
    const int filled = kBarWidth * percent / 100;
    std::cerr << '\r' << title_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
              << std::string(static_cast<std::size_t>(kBarWidth - filled), ' ') << "] " << percent << '%' << std::flush;
}

bool JobWatcher::Poll(const std::function<int()>& percent, const std::function<void()>& abandon) {
    for (auto wait = std::chrono::milliseconds(1);; wait = std::min(wait * 2, kPollInterval)) {
        const int now = percent();
        if (now < 0 || now >= 100) return now >= 100;
        Show(now);
        if (stop_.stop_requested()) {
            abandon();
            std::cerr << "qvtool: stopped; nothing was written\n";
            return false;
        }
        std::this_thread::sleep_for(wait);
    }
}

}  // namespace tool
