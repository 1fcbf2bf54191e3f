// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace mirrane {

/// The text of an XML document, whatever encoding its bytes are in: what a byte order mark tells, else the shape of the
/// first characters, else what the declaration names, else UTF-8. Lines end in LF, a byte order mark is left out. The
/// declaration stays as it stands. The Chinese, Japanese and Korean names stand for the wider sets that documents of that
/// name are really written in.
/// @throws std::runtime_error with the reason: an encoding that nobody knows, a byte that it does not have, a zero
///         character
[[nodiscard]] std::string XmlToUtf8(std::string_view bytes);

/// A text without the characters that no XML document may hold, as most control characters; bytes that are no UTF-8
/// become U+FFFD.
[[nodiscard]] std::string LegalXmlText(std::string_view text);

}  // namespace mirrane
