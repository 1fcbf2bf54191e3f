// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Glance.h"

#include <exception>

#include "base/Disk.h"
#include "base/Text.h"
#include "store/IndexItem.h"
#include "store/ProjectTree.h"
#include "store/Template.h"
#include "store/ThumbList.h"

namespace mirrane {

namespace {

using std::filesystem::path;

/// Of the first row that is on the timeline.
path FirstPicture(const ProjectTree& tree, const path& gProjectFolder) {
    for (const pugi::xml_node row : tree.Find("project.index").children()) {
        if (row.type() != pugi::node_element) continue;
        const std::string pos = ElementText(ChildElement(row, "pos"));
        if (IsOffTimeline(pos, ElementText(ChildElement(row, "url")))) continue;
        const path picture = ThumbnailOf(gProjectFolder, IntegerPrefix(pos));
        return FileExists(picture) ? picture : path();
    }
    return {};
}

}  // namespace

ProjectGlance GlanceAt(const path& gProjectFolder) {
    ProjectGlance seen{.title = TitleOfFolder(gProjectFolder), .picture = {}};
    try {
        const ProjectTree tree(ReadFile(InFolder(gProjectFolder, "project.qvp")));
        const std::string title = Trim(ElementText(tree.Find("project.abstract.title")));
        if (!title.empty()) seen.title = title;
        seen.picture = FirstPicture(tree, gProjectFolder);
    } catch (const std::exception&) {
        // What is wrong with the document is told by whoever opens it.
    }
    return seen;
}

}  // namespace mirrane
