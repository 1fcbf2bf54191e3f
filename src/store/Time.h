// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "base/Numbers.h"

/// Times as the document and the screen write them.
namespace mirrane::CTime {

/// "01:02.500", "1:00:00"; -1 is "-". With the unit "sec" whole seconds, rounded half to even; with any other, "ms" as a
/// rule, three decimals unless the seconds are whole.
[[nodiscard]] std::string GetString(Ms ms, std::string_view unit);

/// The milliseconds of "h:m:s"; with any other number of parts the first two are minutes and seconds. Each part is read
/// by its numeric prefix, the sum is rounded half to even.
/// @throws std::out_of_range for a text without ":"
/// @throws std::overflow_error beyond 32 bits
[[nodiscard]] Ms GetSecond(std::string_view text);

}  // namespace mirrane::CTime

namespace mirrane {

/// "0:01:05.5" of 655 tenths of a second.
[[nodiscard]] std::string FormatTenths(std::int32_t tenths);
/// "0:01:05", "0:01:05.500": whole seconds, or three decimals.
[[nodiscard]] std::string FormatSeconds(double seconds);
/// "0:01:05.5" of ms, cut to tenths.
[[nodiscard]] std::string FormatRuler(Ms ms);

}  // namespace mirrane
