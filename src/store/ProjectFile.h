// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/World.h"
#include "store/IndexItem.h"

namespace mirrane {

class ProjectTree;

/// The project document project.qvp: its XML tree, kept alive between Load and Save, and a mirror of the fields that the
/// program knows. What it does not know of the tree stays as it is, comments and the order of attributes included; only
/// the index is written anew, as the last section, so that what stands in it beside the fields of CIndexItem is lost.
class CProjectFile {
public:
    explicit CProjectFile(World& world);
    ~CProjectFile();
    CProjectFile(const CProjectFile&) = delete;
    CProjectFile& operator=(const CProjectFile&) = delete;

    std::string version;
    std::string title;
    std::string author;
    std::string manager;
    std::string company;
    std::string category;
    std::string keywords;
    std::string comments;
    std::string audioBitrate;  ///< kbit/s
    std::string videoBitrate;  ///< kbit/s
    std::string videoSize;     ///< "320x240"; empty: none
    std::string preview;
    std::string screenSize;    ///< "1280x720"
    std::string templateName;  ///< the element "template"
    std::string photoSize;
    std::string photo;
    std::string soundOption;
    std::string sound;
    std::string showcursor;
    std::string realcursor;
    std::vector<CIndexItem> items;  ///< in the order of the document
    std::string indexType;
    bool limitIndexToDuration = true;
    std::string durationText;        ///< as CTime writes it
    std::filesystem::path fileName;  ///< of the last Load

    /// ms. @throws std::out_of_range when durationText is no time
    [[nodiscard]] Ms duration() const;
    void duration(Ms ms);

    /// Fills the mirror. What is missing in the document is told in a message box with the choice to go on without it
    /// (then the document is saved at the end) or to stop.
    /// A document that cannot be read at all is told with the reason. A row whose time lies before that of the row ahead
    /// counts as missing.
    /// @returns false, with the mirror at its defaults or half filled, when there is no such file, it is no document of
    ///          version 7, or the user stopped
    bool Load(const std::filesystem::path& file);

    /// Writes the mirror to the tree, and the tree to "<file>.tmp" and that over the file, which is the old or the new
    /// document at every instant. Elements that the document lacks are made. Rows at or past the duration are dropped,
    /// in the document and in items, unless limitIndexToDuration says otherwise.
    /// @param file empty: the file of the last Load
    /// @returns false after a message; the file is then as it was
    bool Save(const std::filesystem::path& file);
    /// Save without the element "project" between root and sections, and with the screen's size as it was read. A file in
    /// this form is for others: Load misses the sections.
    bool SaveToXml(const std::filesystem::path& file);

    /// Adds a row ahead of the 1-based position `before`, behind all others when there is no such position.
    void AddIndex(CIndexItem item, int before = 0);
    /// Removes the 1-based row, or all of them. @throws std::out_of_range
    void RemoveIndex(int index);
    static constexpr int kAllRows = -99;
    void SetTitle(int index, const std::string& newTitle);
    /// Overwrites title, pos and RecDate of the last row, and Url when the new one is not empty.
    void SetLastItem(const CIndexItem& item);

private:
    enum class Form { Whole, WithoutProject };

    bool Write(const std::filesystem::path& file, Form form);
    void RebuildIndex();

    World& world_;
    std::unique_ptr<ProjectTree> tree_;  ///< none before a document was read
};

}  // namespace mirrane
