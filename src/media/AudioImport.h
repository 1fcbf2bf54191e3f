// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

#include "media/MediaContext.h"

/// Brings the sound of a file made elsewhere into the project.
namespace mirrane::modAudioImport {

/// Asks for a file and lays its sound on Track 2 where the player stands.
void cmdImportAudio_Click(MediaContext& media);

/// A .qva of a file's sound.
struct Imported {
    std::filesystem::path file;  ///< in gTempAudioFolder
    Ms length = 0;               ///< 0: the import failed, or was abandoned; the user was told
};
[[nodiscard]] Imported ImportAudioFile(MediaContext& media, const std::filesystem::path& source);

/// The first name for the .qva of a file that nobody has taken: "talk.wav.qva", "talk(2).wav.qva" ...
[[nodiscard]] std::filesystem::path TargetOf(const std::filesystem::path& gTempAudioFolder,
                                             const std::filesystem::path& source);

}  // namespace mirrane::modAudioImport
