// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/MediaCheck.h"

#include <algorithm>
#include <stdexcept>

#include "base/Disk.h"
#include "base/Files.h"
#include "base/Text.h"

namespace mirrane::modMediaQv {

namespace fs = std::filesystem;

namespace {

constexpr char kForm[] = "frmCommon";

std::string Text(World& world, const std::string& key, const std::string& defaultText = {}) {
    return GetResString(world, kForm, key, defaultText);
}

/// The status window, as long as this lives.
class StatusWindow {
public:
    StatusWindow(IUser& user, const std::string& text) : user_(user) { user_.ShowStatus(text); }
    ~StatusWindow() { user_.HideStatus(); }
    StatusWindow(const StatusWindow&) = delete;
    StatusWindow& operator=(const StatusWindow&) = delete;

private:
    IUser& user_;
};

std::string StatusText(World& world, Check check) {
    switch (check) {
        case Check::WholeAfterFailedRecording:
            return Text(world, "msgLastRecFailed",
                        "Recording was not completed successfully. Please wait while checking files.");
        case Check::Whole:
            return Text(world, "msgVerifyWholeQv", "Verifying whole \"media.qv\". Please wait.");
        case Check::Quick:
            break;
    }
    return Text(world, "msgVerifyQv", "Verifying \"media.qv\" ...");
}

bool IsSound(MediaContext& context, const fs::path& media, Check check) {
    const StatusWindow status(context.world.user, StatusText(context.world, check));
    return check == Check::Quick ? context.lib.verifyQvFile(media) : context.lib.verifyWholeQvFile(media);
}

/// The recording begins with a slide. @returns true when it was added
bool AddMissingFirstSlide(World& world, CProjectFile& gProject) {
    const auto isTimed = [](const CIndexItem& row) { return !IsOffTimeline(row.pos, row.Url); };
    const auto first = std::find_if(gProject.items.begin(), gProject.items.end(), isTimed);
    if (first == gProject.items.end() || IntegerPrefix(first->pos) == 0) return false;
    CIndexItem slide;
    slide.title = "----";
    slide.pos = "0";
    slide.RecDate = GetNowString(world.clock.Now());
    gProject.AddIndex(std::move(slide), 1);
    return true;
}

std::string RemovedLine(int row, const std::string& title) {
    constexpr std::size_t kLongest = 50;
    const std::string shown = TextLength(title) > kLongest ? TextPrefix(title, kLongest) + " ..." : title;
    return "Slide " + std::to_string(row) + " :  \"" + shown + "\"\r\n";
}

/// Removes the slides that the media file has no keyframe for.
/// @returns a line for each, in the order of the index
/// @throws std::runtime_error when there is no keyframe at all: such a file tells nothing about the slides
std::string RemoveSlidesWithoutKey(MediaContext& context, CProjectFile& gProject, const fs::path& gProjectFolder) {
    std::string removed;
    bool refresh = true;
    for (int row = static_cast<int>(gProject.items.size()); row >= 1; --row) {
        const CIndexItem& item = gProject.items[static_cast<std::size_t>(row - 1)];
        if (IsOffTimeline(item.pos, item.Url)) continue;
        const bool hasKey = MediaKeyExists(context, IntegerPrefix(item.pos), refresh, gProjectFolder);
        if (refresh && Trim(context.gMediaKeys).empty()) throw std::runtime_error("media.qv holds no picture");
        refresh = false;
        if (hasKey) continue;
        removed.insert(0, RemovedLine(row, item.title));
        gProject.RemoveIndex(row);
    }
    return removed;
}

/// @returns false when the document could not be saved, which the user was told
bool RepairIndex(MediaContext& context, CProjectFile& gProject, const fs::path& gProjectFolder) {
    const bool isAdded = AddMissingFirstSlide(context.world, gProject);
    const std::string removed = RemoveSlidesWithoutKey(context, gProject, gProjectFolder);
    if (!removed.empty()) ShowMessage(context.world, Text(context.world, "msgQvpIndexErr") + "\r\n" + removed);
    if (!isAdded && removed.empty()) return true;
    modFiles::CopyFileOver(context.world, InFolder(gProjectFolder, "project.qvp"),
                           InFolder(gProjectFolder, "project.qvp.__"));
    return gProject.Save({});
}

/// @returns false when the user did not want it, the media file is damaged or the document could not be saved
bool RepairDuration(MediaContext& context, CProjectFile& gProject, const fs::path& media) {
    World& world = context.world;
    const Ms length = context.lib.GetLength(media);
    if (length == gProject.duration()) return true;
    const Answer answer = world.user.Ask({.text = Text(world, "msgQvpDurationErr"), .buttons = Buttons::YesNo});
    if (answer != Answer::Yes || !VerifyMediaFile(context, media, Check::Whole)) return false;
    gProject.duration(length);
    if (!gProject.Save({})) return false;
    ShowMessage(world, Text(world, "msgRepairSucceed"));
    return true;
}

}  // namespace

bool VerifyMediaFile(MediaContext& context, const fs::path& media, Check check) {
    World& world = context.world;
    if (!FileExists(media)) {
        ShowFailure(world, "File '" + media.string() + "' not exist!");
        return false;
    }
    if (IsSound(context, media, check)) return true;
    ShowFailure(world, check == Check::WholeAfterFailedRecording
                           ? Text(world, "msgRecFailedAndQvErr", "File format error!")
                           : Text(world, "msgVerifyQvErr", "Verify media.qv error!"));
    return false;
}

bool IsQvFmtCompatible(MediaContext& context, const fs::path& media) {
    constexpr int kMinorNumbers = 256;
    World& world = context.world;
    try {
        const int version = context.lib.GetFileFormatVersion(media);
        const int major = RoundHalfEven(static_cast<double>(version) / kMinorNumbers);
        const int minor = version % kMinorNumbers;
        if (major == 7 && minor <= 0) return true;
        const std::string text = Text(world, "msgIncompatibleQvFmtVer",
                                      "Incompatible file format version (%s)! Please upgrade your Mirrane.");
        ShowFailure(world, ReplaceAll(text, "%s", std::to_string(major) + "." + std::to_string(minor)));
    } catch (const std::exception& failure) {
        ShowFailure(world, ErrorText(failure), "IsQvFmtCompatible");
    }
    return false;
}

std::string ListMediaKeys(MediaContext& context, const fs::path& folder) {
    const fs::path keyFile = InFolder(folder, "media.key");
    context.lib.ListIndex(keyFile, InFolder(folder, "media.qv"));
    std::string keys = " ";
    for (const std::string& line : Split(ReadFile(keyFile), '\n')) {
        const std::string key = Trim(line);
        if (!key.empty()) keys += key + " ";
    }
    modFiles::DeleteFileIfAny(context.world, keyFile);
    return keys;
}

bool MediaKeyExists(MediaContext& context, Ms key, bool refresh, const fs::path& folder) {
    if (refresh || context.gMediaKeys.empty()) context.gMediaKeys = ListMediaKeys(context, folder);
    return context.gMediaKeys.find(" " + std::to_string(key) + " ") != std::string::npos;
}

bool FixProjectIndex(MediaContext& context, CProjectFile& gProject, const fs::path& gProjectFolder) {
    try {
        // Without the recording nothing can be told about the slides, and they are not to blame.
        const fs::path media = InFolder(gProjectFolder, "media.qv");
        if (!FileExists(media)) return true;
        return RepairIndex(context, gProject, gProjectFolder) && RepairDuration(context, gProject, media);
    } catch (const std::exception& failure) {
        ShowFailure(context.world, Text(context.world, "msgFixProjErr") + " (" + ErrorText(failure) + ")");
        return false;
    }
}

}  // namespace mirrane::modMediaQv
