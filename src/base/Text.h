// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Text is UTF-8. Where a length is told in characters, it counts UTF-16 units, as the documents' other programs do.
namespace mirrane {

/// Bytes that are no UTF-8 become U+FFFD, one each.
[[nodiscard]] std::u16string ToUtf16(std::string_view utf8);
/// Halves of surrogate pairs that stand alone become U+FFFD.
[[nodiscard]] std::string ToUtf8(std::u16string_view utf16);

/// In UTF-16 units.
[[nodiscard]] std::size_t TextLength(std::string_view utf8);
/// The first `length` UTF-16 units; a pair that the cut would halve stays out. The whole text when it is no longer.
[[nodiscard]] std::string TextPrefix(std::string_view utf8, std::size_t length);

[[nodiscard]] std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);
/// Cuts at each separator: "a,,b" has three pieces, "" one.
[[nodiscard]] std::vector<std::string> Split(std::string_view text, char separator);
/// Without blanks, tabs and line ends at either end.
[[nodiscard]] std::string Trim(std::string_view text);
/// Without the characters 9 and 11 (tab, vertical tab).
[[nodiscard]] std::string StripTabs(std::string_view text);
/// The letters A to Z become small ones; all else stays.
[[nodiscard]] std::string AsciiLower(std::string_view text);

/// The n-th argument of a command line, counting from 1; "" when there are fewer. Arguments are parted by blanks; double
/// quotes hold blanks and are left out.
[[nodiscard]] std::string GetCmdArg(std::string_view commandLine, int number);

}  // namespace mirrane
