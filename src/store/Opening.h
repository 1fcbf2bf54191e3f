// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/World.h"
#include "store/Grid.h"
#include "store/MediaCheck.h"
#include "store/ProjectFile.h"

/// What makes a project folder fit for editing, and what is done to it when the editor leaves.
///
///     media.qv.__ project.qvp.__    a save point: container and document as another program of the suite has kept them
///     media.qv.move                 another program was moving a container in when it ended
///     rec.tmp                       a recording was under way and did not finish
///     project.qvp.mix.tmp           the document ahead of a save of ours that was cut off
///     media.qv.~mv                  half a copy that such a save was making from another disk
namespace mirrane::modOpening {

struct Opened {
    bool isReady = false;   ///< the editor may come up; gProject is loaded
    bool upgraded = false;  ///< the converter has brought the project to this version
};

/// Refuses what cannot be edited, makes a document where none is, brings back what a crash left, offers to convert an old
/// project, settles a recording that was cut off, brings the document in line with the media file, and supplies the files
/// of the published page. A step that fails by itself does not stop the others.
/// @returns not ready after a message, or after the user's No, with the folder as the steps until then have left it
Opened OpenProjectFolder(modMediaQv::MediaContext& context, CProjectFile& gProject,
                         const std::filesystem::path& gProjectFolder);

/// Brings back the save point that another program of the suite has left. What cannot be moved back now is left for the
/// next time.
/// @returns whether a document was moved in
bool RestoreFromCrash(World& world, const std::filesystem::path& gProjectFolder);

/// The first attribute of the document's root element; "" when it cannot be read.
[[nodiscard]] std::string GetProjectVersion(const std::filesystem::path& document);

/// Leaves the folder without leftovers: a save point is moved back, and folders of pages and small pictures that no row
/// names are deleted. A grid without rows knows of none: then nothing is deleted.
/// Tells its own failure.
void ClearFolder(World& world, const CGrid& gGrid, const std::filesystem::path& gProjectFolder);

/// Deletes the files of a folder, if there is one, that are not to be kept. @param keep names
/// @throws std::exception that names the first one that cannot be deleted
void DeleteUnusedThumbs(World& world, const std::filesystem::path& folder, const std::vector<std::string>& keep);

}  // namespace mirrane::modOpening
