// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/Settings.h"
#include "base/Text.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

/// A value comes back as it was written, but for bytes that are no text; these are repaired once and for all.
void CheckRoundTrip(const std::string& text) {
    const std::string repaired = mirrane::ToUtf8(mirrane::ToUtf16(text));
    Require(mirrane::ToUtf8(mirrane::ToUtf16(repaired)) == repaired);
    Require(mirrane::FromHexValue(mirrane::ToHexValue(text)) == repaired);
    Require(mirrane::FromHexValue(mirrane::ToHexValue(repaired)) == repaired);
    Require(mirrane::ToHexValue(repaired) == mirrane::ToHexValue(text));
}

/// Whatever another program wrote: it is text then, or left alone.
void CheckForeign(const std::string& value) {
    const std::string text = mirrane::FromHexValue(value);
    Require(text == value || text == mirrane::ToUtf8(mirrane::ToUtf16(text)));
}

void CheckPrefixes(const std::string& text) {
    const std::size_t length = mirrane::TextLength(text);
    Require(length == mirrane::ToUtf16(text).size());
    Require(mirrane::TextPrefix(text, length) == text);
    for (std::size_t n = 0; n < std::min<std::size_t>(length, 40); ++n) {
        const std::string prefix = mirrane::TextPrefix(text, n);
        Require(text.starts_with(prefix));
        const std::size_t got = mirrane::TextLength(prefix);
        Require(got == n || got + 1 == n);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CheckRoundTrip(bytes);
    CheckForeign(bytes);
    CheckForeign("&H" + bytes);
    CheckPrefixes(bytes);
    return 0;
}
