// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "media/MediaContext.h"

/// Makes the edited timeline the project's new state. A new media file is written into the work folder and checked; only
/// then document and media file are swapped, the document behind a backup. A crash at any instant leaves a project that
/// opens.
///
///     gTempWorkFolder   media.qv made, checked ------------------------+
///     gProjectFolder    project.qvp -> project.qvp.mix.tmp             |
///                       project.qvp written                            v
///                       media.qv <---------------- moved in: from here on the project is saved
///                       project.qvp.mix.tmp deleted, then all that follows the new times
namespace mirrane::modSave {

/// Nothing while the editor is not idle. What fails before the media file has moved in is told, and leaves the project's
/// folder, the edits and their history as they were; what fails behind that is told, and keeps nothing else from running.
/// Told to end meanwhile (isLeaving), it gives up before the document is touched, finishes the swap behind that, and ends
/// the program.
void Save_Click(MediaContext& media);

/// Moves a file over another, in several tries with a pause behind each failed one. Quiet.
bool MoveFileRetry(World& world, const std::filesystem::path& source, const std::filesystem::path& target, int tries);

}  // namespace mirrane::modSave
