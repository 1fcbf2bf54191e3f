// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/XmlText.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <pugixml.hpp>
#include <stdexcept>
#include <utility>

#include "base/Text.h"

namespace mirrane {
namespace {

using namespace std::string_view_literals;

/// A conversion to UTF-8.
class Converter {
public:
    explicit Converter(const std::string& encoding)
        : encoding_(encoding), handle_(iconv_open("UTF-8", encoding.c_str())) {
        if (reinterpret_cast<std::intptr_t>(handle_) == -1)
            throw std::runtime_error("the encoding \"" + encoding + "\" is unknown");
    }
    ~Converter() { iconv_close(handle_); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    [[nodiscard]] std::string Convert(std::string_view bytes) {
        std::string source(bytes);
        char* from = source.data();
        std::size_t left = source.size();
        std::string text;
        while (left > 0) {
            if (Step(&from, &left, text) || errno == E2BIG) continue;
            throw std::runtime_error("byte " + std::to_string(bytes.size() - left + 1) + " is not " + encoding_);
        }
        Step(nullptr, nullptr, text);
        return text;
    }

private:
    /// Converts as much as a piece of memory holds. @returns false with errno when something is left
    bool Step(char** from, std::size_t* left, std::string& text) {
        std::array<char, 65536> piece{};
        char* to = piece.data();
        std::size_t room = piece.size();
        const bool isDone = iconv(handle_, from, left, &to, &room) != static_cast<std::size_t>(-1);
        text.append(piece.data(), piece.size() - room);
        return isDone;
    }

    std::string encoding_;
    iconv_t handle_;
};

struct Encoding {
    std::string name;
    std::size_t markLength = 0;  ///< of the byte order mark
};

/// What the XML declaration tells as its encoding, read as the tree reads it; "" when it tells none.
std::string DeclaredEncoding(std::string_view bytes) {
    const std::size_t end = bytes.find("?>");
    if (end == std::string_view::npos) return {};
    pugi::xml_document head;
    head.load_buffer(bytes.data(), end + 2, pugi::parse_declaration | pugi::parse_fragment, pugi::encoding_utf8);
    const pugi::xml_node declaration = head.first_child();
    return declaration.type() == pugi::node_declaration ? declaration.attribute("encoding").value() : "";
}

/// The converter's name of a declared encoding.
std::string ConverterName(const std::string& declared) {
    constexpr std::pair<std::string_view, const char*> kWider[] = {{"gb2312", "GB18030"},
                                                                   {"gbk", "GB18030"},
                                                                   {"shift_jis", "CP932"},
                                                                   {"euc-kr", "UHC"},
                                                                   {"ks_c_5601-1987", "UHC"}};
    const std::string lower = AsciiLower(declared);
    for (const auto& [name, wider] : kWider) {
        if (lower == name) return wider;
    }
    // More than a name, such as a suffix with options, is not for the converter to see.
    constexpr auto kNameLetters = "abcdefghijklmnopqrstuvwxyz0123456789-_.:"sv;
    if (lower.find_first_not_of(kNameLetters) != std::string::npos)
        throw std::runtime_error("the encoding \"" + declared + "\" is unknown");
    return declared;
}

Encoding EncodingOf(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF"sv)) return {"UTF-8", 3};
    if (bytes.starts_with("\xFF\xFE"sv)) return {"UTF-16LE", 2};
    if (bytes.starts_with("\xFE\xFF"sv)) return {"UTF-16BE", 2};
    if (bytes.starts_with("<\0"sv)) return {"UTF-16LE"};
    if (bytes.starts_with("\0<"sv)) return {"UTF-16BE"};
    const std::string declared = DeclaredEncoding(bytes);
    return {declared.empty() ? "UTF-8" : ConverterName(declared)};
}

}  // namespace

std::string XmlToUtf8(std::string_view bytes) {
    const Encoding encoding = EncodingOf(bytes);
    std::string text = Converter(encoding.name).Convert(bytes.substr(encoding.markLength));
    if (text.find('\0') != std::string::npos) throw std::runtime_error("it holds a zero character");
    return ReplaceAll(ReplaceAll(std::move(text), "\r\n", "\n"), "\r", "\n");
}

std::string LegalXmlText(std::string_view text) {
    std::u16string units = ToUtf16(text);
    std::erase_if(units, [](char16_t unit) {
        return (unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || unit >= 0xFFFE;
    });
    return ToUtf8(units);
}

}  // namespace mirrane
