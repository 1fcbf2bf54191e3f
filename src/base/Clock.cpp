// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Clock.h"

#include <chrono>
#include <ctime>

namespace mirrane {

namespace {

std::string TwoDigits(int number) { return (number < 10 ? "0" : "") + std::to_string(number); }

}  // namespace

DateTime SystemClock::Now(int secondsAgo) {
    const std::time_t then = std::time(nullptr) - secondsAgo;
    std::tm local{};
    if (::localtime_r(&then, &local) == nullptr) return {};
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

std::uint32_t SystemClock::TickMs() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

std::string GetDateString(const DateTime& moment) {
    return std::to_string(moment.year) + "/" + std::to_string(moment.month) + "/" + std::to_string(moment.day);
}

std::string GetTimeString(const DateTime& moment) {
    return TwoDigits(moment.hour) + ":" + TwoDigits(moment.minute) + ":" + TwoDigits(moment.second);
}

std::string GetNowString(const DateTime& moment) { return GetDateString(moment) + " " + GetTimeString(moment); }

}  // namespace mirrane
