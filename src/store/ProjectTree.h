// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace mirrane {

/// An XML document in memory, with its comments, processing instructions and document type, and all in its order. Text of
/// nothing but blanks and line ends is no part of it. Elements may lie in each other as deep as they like.
class ProjectTree {
public:
    /// Reads a document in any encoding; the tree is UTF-8, and so says its declaration.
    /// @throws std::runtime_error with the reason
    explicit ProjectTree(std::string_view bytes);

    /// The document for a file: a line end CRLF between each two tags and no indentation, empty elements as "<e/>". What
    /// is read from it gives the same text again.
    [[nodiscard]] std::string Text() const;

    [[nodiscard]] pugi::xml_node Root() const { return document_.document_element(); }
    /// The element at a path of names below the root, "project.abstract.title", of several the first; no node when a part
    /// of it is missing.
    [[nodiscard]] pugi::xml_node Find(std::string_view path) const;

private:
    pugi::xml_document document_;
};

/// The first child that is an element of that name; no node when there is none.
[[nodiscard]] pugi::xml_node ChildElement(pugi::xml_node parent, std::string_view name);
/// The element at a path of names below another, made where it is missing.
pugi::xml_node MakeElement(pugi::xml_node above, std::string_view path);
/// All text in an element and the elements within.
[[nodiscard]] std::string ElementText(pugi::xml_node element);
/// Makes the text the only content of an element; one that says so already is left alone, comments in it and all.
void SetElementText(pugi::xml_node element, std::string_view text);
void SetAttribute(pugi::xml_attribute attribute, std::string_view text);
/// Takes a node with all below it out of its tree.
void RemoveNode(pugi::xml_node node);

}  // namespace mirrane
