// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Time.h"

#include <cmath>
#include <stdexcept>
#include <vector>

#include "base/Text.h"

namespace mirrane {

namespace {

constexpr std::int64_t kMsPerSecond = 1000;
constexpr std::int64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr std::int64_t kMsPerHour = 60 * kMsPerMinute;

std::int64_t FloorDiv(std::int64_t value, std::int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

/// At least so many digits, zeros in front; the sign is not counted.
std::string Padded(std::int64_t number, std::size_t digits) {
    const std::string text = std::to_string(std::abs(number));
    const std::string zeros(digits - std::min(digits, text.size()), '0');
    return (number < 0 ? "-" : "") + zeros + text;
}

/// A time cut at its minutes and hours; what is left of it below a minute. Of negative times the hours are rounded down
/// and the minutes keep the sign, as everybody who writes these documents does.
struct ClockParts {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t restMs = 0;
};

ClockParts CutAtMinutes(std::int64_t ms) {
    ClockParts parts;
    parts.hours = FloorDiv(ms, kMsPerHour);
    parts.minutes = FloorDiv(ms, kMsPerMinute) % 60;
    parts.restMs = ms - parts.hours * kMsPerHour - parts.minutes * kMsPerMinute;
    return parts;
}

/// "05" or "05.500".
std::string SecondsText(std::int64_t ms) {
    const std::string whole = Padded(ms / kMsPerSecond, 2);
    const std::int64_t rest = ms % kMsPerSecond;
    return rest == 0 ? whole : whole + "." + Padded(rest, 3);
}

}  // namespace

std::string CTime::GetString(Ms ms, std::string_view unit) {
    if (ms == -1) return "-";
    ClockParts parts = CutAtMinutes(ms);
    if (unit == "sec") {
        parts.restMs = RoundHalfEven(static_cast<double>(parts.restMs) / kMsPerSecond) * kMsPerSecond;
        if (parts.restMs == kMsPerMinute) {
            parts.restMs = 0;
            ++parts.minutes;
        }
        if (parts.minutes == 60) {
            parts.minutes = 0;
            ++parts.hours;
        }
    }
    const std::string hours = parts.hours > 0 ? std::to_string(parts.hours) + ":" : "";
    return hours + Padded(parts.minutes, 2) + ":" + SecondsText(parts.restMs);
}

Ms CTime::GetSecond(std::string_view text) {
    const std::vector<std::string> parts = Split(text, ':');
    if (parts.size() < 2) throw std::out_of_range("\"" + std::string(text) + "\" is not a time");
    const bool hasHours = parts.size() == 3;
    const std::size_t minutes = hasHours ? 1 : 0;
    const double hoursMs = hasHours ? NumberPrefix(parts[0]) * kMsPerHour : 0;
    return RoundHalfEven(hoursMs + NumberPrefix(parts[minutes]) * kMsPerMinute +
                         NumberPrefix(parts[minutes + 1]) * kMsPerSecond);
}

std::string FormatTenths(std::int32_t tenths) {
    const ClockParts parts = CutAtMinutes(std::int64_t{tenths} * 100);
    return std::to_string(parts.hours) + ":" + Padded(parts.minutes, 2) + ":" + Padded(parts.restMs / kMsPerSecond, 2) +
           "." + std::to_string(parts.restMs % kMsPerSecond / 100);
}

std::string FormatSeconds(double seconds) {
    const ClockParts parts = CutAtMinutes(std::llround(seconds * kMsPerSecond));
    return std::to_string(parts.hours) + ":" + Padded(parts.minutes, 2) + ":" + SecondsText(parts.restMs);
}

std::string FormatRuler(Ms ms) { return FormatTenths(ms / 100); }

}  // namespace mirrane
