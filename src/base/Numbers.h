// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

/// Numbers and times as the whole editor counts them: 32 bits, checked, rounded half to even.
namespace mirrane {

/// Milliseconds, on the timeline or in a source.
using Ms = std::int32_t;

/// One wave sample stands for so much sound; cuts lie on multiples of it.
inline constexpr Ms kSampleMs = 64;

/// 0.5 -> 0, 1.5 -> 2, 2.5 -> 2.
/// @throws std::overflow_error when the result, or the value, is no 32-bit number
[[nodiscard]] std::int32_t RoundHalfEven(double value);

/// @throws std::overflow_error when the result leaves 32 bits
[[nodiscard]] std::int32_t CheckedAdd(std::int32_t a, std::int32_t b);
[[nodiscard]] std::int32_t CheckedSub(std::int32_t a, std::int32_t b);
[[nodiscard]] std::int32_t CheckedMul(std::int32_t a, std::int32_t b);

/// Down to the grid of the wave samples; a remainder keeps its dividend's sign. 1000 -> 960, 63 -> 0, -63 -> 0.
[[nodiscard]] constexpr Ms FloorToGrid(Ms ms) { return ms - ms % kSampleMs; }

/// Up to the grid. 0 -> 0, 1 -> 64, 1000 -> 1024, -100 -> 0, -200 -> -128.
/// @throws std::overflow_error near the end of 32 bits
[[nodiscard]] Ms CeilToGrid(Ms ms);

/// The number that a text begins with, blanks before it passed over; 0 when there is none. Independent of the locale.
/// "12.5abc" -> 12.5, "-3" -> -3, "1e3" -> 1000, "abc" -> 0, "" -> 0, "inf" -> 0
[[nodiscard]] double NumberPrefix(std::string_view text);

/// NumberPrefix, rounded half to even.
/// @throws std::overflow_error when it is no 32-bit number
[[nodiscard]] std::int32_t IntegerPrefix(std::string_view text);

/// The number that the whole text is, blanks around it allowed, rounded half to even.
/// @throws std::invalid_argument when the text is anything else, with the text in what()
/// @throws std::overflow_error when it is no 32-bit number
[[nodiscard]] std::int32_t StrictInteger(std::string_view text);

}  // namespace mirrane
