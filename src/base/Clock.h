// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace mirrane {

/// A wall-clock moment in the user's time zone.
struct DateTime {
    int year = 1970;
    int month = 1;  ///< 1 to 12
    int day = 1;    ///< 1 to 31
    int hour = 0;   ///< 0 to 23
    int minute = 0;
    int second = 0;
};

class IClock {
public:
    virtual ~IClock() = default;
    /// @param secondsAgo the moment so long before the present one
    [[nodiscard]] virtual DateTime Now(int secondsAgo = 0) = 0;
    /// Milliseconds that only ever grow; begins again at 0 after 2^32, so compare differences.
    [[nodiscard]] virtual std::uint32_t TickMs() = 0;
};

/// The system's clock.
class SystemClock final : public IClock {
public:
    [[nodiscard]] DateTime Now(int secondsAgo = 0) override;
    [[nodiscard]] std::uint32_t TickMs() override;
};

/// "2024/3/5"
[[nodiscard]] std::string GetDateString(const DateTime& moment);
/// "13:04:05"
[[nodiscard]] std::string GetTimeString(const DateTime& moment);
/// "2024/3/5 13:04:05"
[[nodiscard]] std::string GetNowString(const DateTime& moment);

}  // namespace mirrane
