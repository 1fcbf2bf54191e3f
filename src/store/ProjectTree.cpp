// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/ProjectTree.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/Text.h"
#include "store/XmlText.h"

namespace mirrane {
namespace {

using pugi::xml_node;

/// The node behind this one in the order of the document, below `top`. Walks without recursion, since the depth of a
/// document is in nobody's hand.
xml_node NextBelow(xml_node node, xml_node top) {
    if (node.first_child()) return node.first_child();
    while (node != top && !node.next_sibling()) node = node.parent();
    return node == top ? xml_node() : node.next_sibling();
}

bool IsText(xml_node node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }

/// pugi's values of nodes and of attributes have the same operations.
template <class Holder>
void MakeValueLegal(Holder holder) {
    const std::string legal = LegalXmlText(holder.value());
    if (legal != holder.value()) holder.set_value(legal.c_str());
}

/// Without the blanks ahead of it, which a reader passes over.
void MakeValueBegin(xml_node node) {
    const std::string value = node.value();
    const std::size_t begin = std::min(value.find_first_not_of(" \t\r\n"), value.size());
    if (begin > 0) node.set_value(value.substr(begin).c_str());
}

/// Takes out what a character reference or a stray control character can bring in: characters that no document may hold,
/// and blanks that would be gone after the next reading.
void Tidy(xml_node top) {
    xml_node node = top;
    while (node) {
        MakeValueLegal(node);
        if (node.type() == pugi::node_doctype || node.type() == pugi::node_pi) MakeValueBegin(node);
        for (const pugi::xml_attribute attribute : node.attributes()) MakeValueLegal(attribute);
        const xml_node next = NextBelow(node, top);
        const bool holdsText = node.type() == pugi::node_pcdata || node.type() == pugi::node_doctype;
        if (holdsText && Trim(node.value()).empty()) node.parent().remove_child(node);
        node = next;
    }
}

/// How much of the text, from its beginning, is a comment, a section of character data or a processing instruction, whose
/// inside is not the writer's to break into lines. 0: none begins here.
std::size_t LengthLeftAlone(std::string_view text) {
    constexpr std::pair<std::string_view, std::string_view> kKinds[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& [open, close] : kKinds) {
        if (!text.starts_with(open)) continue;
        const std::size_t end = text.find(close, open.size());
        return end == std::string_view::npos ? text.size() : end + close.size();
    }
    return 0;
}

std::string BreakIntoLines(std::string_view raw) {
    std::string text;
    text.reserve(raw.size() + raw.size() / 8);
    std::size_t aloneUntil = 0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '<' && i >= aloneUntil) aloneUntil = i + LengthLeftAlone(raw.substr(i));
        if (raw[i] == '\r') {
            text += "&#13;";  // as it stands it would be read as a line end
        } else if (raw[i] == '\n') {
            text += "\r\n";
        } else {
            text += raw[i];
        }
        const bool isBetweenTags = raw[i] == '>' && i + 1 < raw.size() && raw[i + 1] == '<';
        if (isBetweenTags && i + 1 >= aloneUntil) text += "\r\n";
    }
    return text;
}

struct StringWriter final : pugi::xml_writer {
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
    std::string text;
};

}  // namespace

ProjectTree::ProjectTree(std::string_view bytes) {
    const std::string text = XmlToUtf8(bytes);
    const pugi::xml_parse_result result =
        document_.load_buffer(text.data(), text.size(), pugi::parse_full, pugi::encoding_utf8);
    if (!result) {
        const auto line = std::count(text.begin(), text.begin() + result.offset, '\n') + 1;
        throw std::runtime_error("line " + std::to_string(line) + ": " + result.description());
    }
    Tidy(document_.root());
    const xml_node declaration = document_.first_child();
    pugi::xml_attribute encoding = declaration.attribute("encoding");
    if (declaration.type() == pugi::node_declaration && encoding && AsciiLower(encoding.value()) != "utf-8")
        encoding.set_value("UTF-8");
}

std::string ProjectTree::Text() const {
    StringWriter writer;
    document_.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return BreakIntoLines(writer.text);
}

xml_node ProjectTree::Find(std::string_view path) const {
    xml_node node = Root();
    for (const std::string& name : Split(path, '.')) node = ChildElement(node, name);
    return node;
}

xml_node ChildElement(xml_node parent, std::string_view name) {
    for (const xml_node child : parent.children()) {
        if (child.type() == pugi::node_element && child.name() == name) return child;
    }
    return {};
}

xml_node MakeElement(xml_node above, std::string_view path) {
    xml_node node = above;
    for (const std::string& name : Split(path, '.')) {
        const xml_node child = ChildElement(node, name);
        node = child ? child : node.append_child(name.c_str());
    }
    return node;
}

std::string ElementText(xml_node element) {
    std::string text;
    for (xml_node node = element; node; node = NextBelow(node, element)) {
        if (IsText(node)) text += node.value();
    }
    return text;
}

void SetElementText(xml_node element, std::string_view text) {
    const std::string legal = LegalXmlText(text);
    if (ElementText(element) == legal) return;
    while (element.first_child()) RemoveNode(element.first_child());
    if (!Trim(legal).empty()) element.append_child(pugi::node_pcdata).set_value(legal.c_str());
}

void SetAttribute(pugi::xml_attribute attribute, std::string_view text) {
    attribute.set_value(LegalXmlText(text).c_str());
}

void RemoveNode(xml_node node) {
    // pugi would recurse into a branch; so it gets leaves alone.
    const xml_node end = node.parent();
    while (node != end) {
        if (node.first_child()) {
            node = node.first_child();
        } else {
            const xml_node leaf = std::exchange(node, node.parent());
            node.remove_child(leaf);
        }
    }
}

}  // namespace mirrane
