// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

#include "base/World.h"
#include "qvlib/IQvLib.h"
#include "store/ProjectFile.h"

/// Whether the media file is sound, and whether the document agrees with it. The media file is never changed here.
namespace mirrane::modMediaQv {

/// What the checks work with. The keys that were listed last are kept in gMediaKeys: " 0 15040 33920 ", a blank before
/// and behind each.
struct MediaContext {
    World& world;
    qv::IQvLib& lib;
    std::string gMediaKeys = {};
};

/// How deep a check goes, and why, which the user is told.
enum class Check { Quick, Whole, WholeAfterFailedRecording };

/// Checks a media file under a status window. @returns false after a message
bool VerifyMediaFile(MediaContext& context, const std::filesystem::path& media, Check check);

/// Whether the file's format is the one that this program reads. @returns false after a message
bool IsQvFmtCompatible(MediaContext& context, const std::filesystem::path& media);

/// The keys of folder/media.qv in the form of gMediaKeys.
/// @throws std::filesystem::filesystem_error when the engine left no list
[[nodiscard]] std::string ListMediaKeys(MediaContext& context, const std::filesystem::path& folder);

/// Whether the media file has a keyframe at that time. @param refresh lists the keys again
[[nodiscard]] bool MediaKeyExists(MediaContext& context, Ms key, bool refresh, const std::filesystem::path& folder);

/// Brings the document in line with the media file: a slide at the beginning, no slide without a keyframe, and, after
/// asking, the duration. Saves the document when it was changed, after a copy to project.qvp.__.
/// Without a media file nothing is touched; one without any keyframe tells nothing about the slides and is a failure.
/// @returns false when the project must not be opened; the user was told
bool FixProjectIndex(MediaContext& context, CProjectFile& gProject, const std::filesystem::path& gProjectFolder);

}  // namespace mirrane::modMediaQv
