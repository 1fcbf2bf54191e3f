// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Text.h"

#include <algorithm>
#include <cstdint>

namespace mirrane {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kBlanks = " \t\r\n";

unsigned Byte(char c) { return static_cast<unsigned char>(c); }

/// One character of a UTF-8 text.
struct Decoded {
    char32_t code = kReplacement;
    std::size_t bytes = 1;
};

/// How many bytes a character has that begins with this one, as that byte claims; 0 when none begins so.
std::size_t ClaimedBytes(unsigned first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return 2;
    if (first >= 0xE0 && first < 0xF0) return 3;
    if (first >= 0xF0 && first < 0xF5) return 4;
    return 0;
}

bool IsSurrogate(char32_t code) { return code >= 0xD800 && code < 0xE000; }

/// The first character of a text that is not empty. What is no UTF-8 (a longer form than needed, half a pair, a number
/// beyond the last one, a piece) is one byte of it.
Decoded DecodeFirst(std::string_view text) {
    const std::size_t bytes = ClaimedBytes(Byte(text[0]));
    if (bytes == 0 || bytes > text.size()) return {};
    if (bytes == 1) return {Byte(text[0]), 1};
    char32_t code = Byte(text[0]) & (0x7FU >> bytes);
    for (std::size_t i = 1; i < bytes; ++i) {
        if ((Byte(text[i]) & 0xC0U) != 0x80) return {};
        code = code << 6 | (Byte(text[i]) & 0x3FU);
    }
    const bool isTooLong = (bytes == 3 && code < 0x800) || (bytes == 4 && code < 0x10000);
    if (isTooLong || IsSurrogate(code) || code > 0x10FFFF) return {};
    return {code, bytes};
}

std::size_t Units(char32_t code) { return code >= 0x10000 ? 2 : 1; }

void AppendUtf8(std::string& text, char32_t code) {
    const auto put = [&text](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (code < 0x80) {
        put(code);
        return;
    }
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string text;
    text.reserve(utf8.size());
    while (!utf8.empty()) {
        const Decoded next = DecodeFirst(utf8);
        utf8.remove_prefix(next.bytes);
        if (Units(next.code) == 1) {
            text += static_cast<char16_t>(next.code);
            continue;
        }
        const char32_t above = next.code - 0x10000;
        text += static_cast<char16_t>(0xD800 + (above >> 10));
        text += static_cast<char16_t>(0xDC00 + (above & 0x3FF));
    }
    return text;
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string text;
    text.reserve(utf16.size());
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        char32_t code = utf16[i];
        const bool isHigh = code >= 0xD800 && code < 0xDC00;
        const bool isPair = isHigh && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 && utf16[i + 1] < 0xE000;
        if (isPair) code = 0x10000 + ((code - 0xD800) << 10) + (char32_t{utf16[++i]} - 0xDC00);
        AppendUtf8(text, IsSurrogate(code) ? kReplacement : code);
    }
    return text;
}

std::size_t TextLength(std::string_view utf8) {
    std::size_t length = 0;
    while (!utf8.empty()) {
        const Decoded next = DecodeFirst(utf8);
        length += Units(next.code);
        utf8.remove_prefix(next.bytes);
    }
    return length;
}

std::string TextPrefix(std::string_view utf8, std::size_t length) {
    std::size_t taken = 0;
    while (taken < utf8.size()) {
        const Decoded next = DecodeFirst(utf8.substr(taken));
        if (Units(next.code) > length) break;
        length -= Units(next.code);
        taken += next.bytes;
    }
    return std::string(utf8.substr(0, taken));
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
    if (from.empty()) return text;
    std::string replaced;
    std::size_t start = 0;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, start)) {
        replaced.append(text, start, at - start).append(to);
        start = at + from.size();
    }
    return start == 0 ? text : replaced.append(text, start);
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    for (;;) {
        const std::size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return pieces;
        text.remove_prefix(end + 1);
    }
}

std::string Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

std::string StripTabs(std::string_view text) {
    std::string stripped(text);
    std::erase_if(stripped, [](char c) { return c == '\t' || c == '\v'; });
    return stripped;
}

std::string AsciiLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::string GetCmdArg(std::string_view commandLine, int number) {
    std::string argument;
    bool isInside = false;
    bool isQuoted = false;
    for (const char c : commandLine) {
        if (c == ' ' && !isQuoted) {
            if (isInside && --number == 0) return argument;
            isInside = false;
            argument.clear();
            continue;
        }
        isInside = true;
        if (c == '"')
            isQuoted = !isQuoted;
        else
            argument += c;
    }
    return number == 1 ? argument : std::string();
}

}  // namespace mirrane
