// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Opening.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <stdexcept>

#include "base/Files.h"
#include "base/Processes.h"
#include "base/Trapped.h"
#include "store/ProjectTree.h"
#include "store/Template.h"
#include "store/ThumbList.h"
#include "store/Time.h"

namespace mirrane::modOpening {

namespace fs = std::filesystem;

namespace {

using fs::path;
using modFiles::Quiet;

constexpr char kFormerDocument[] = "project.qvp.mix.tmp";

/// Moves the save point onto container and document. The document goes first: as long as the container's copy lies there,
/// whoever comes next sees that this was cut off, and does it again.
/// @returns whether all that there is of it was moved
bool MoveSavePointBack(World& world, const path& gProjectFolder) {
    const path keptDocument = InFolder(gProjectFolder, "project.qvp.__");
    if (FileExists(keptDocument) &&
        !modFiles::MoveFileOver(world, keptDocument, InFolder(gProjectFolder, "project.qvp"), Quiet::Yes))
        return false;
    return modFiles::MoveFileOver(world, InFolder(gProjectFolder, "media.qv.__"), InFolder(gProjectFolder, "media.qv"),
                                  Quiet::Yes);
}

/// Whether a document was written for a container of that length, whose keys are gMediaKeys. It is only read.
bool BelongsTo(modMediaQv::MediaContext& context, const path& document, Ms length) {
    try {
        const ProjectTree tree(ReadFile(document));
        const pugi::xml_node index = tree.Find("project.index");
        if (CTime::GetSecond(index.attribute("duration").value()) != length) return false;
        for (const pugi::xml_node row : index.children()) {
            if (row.type() != pugi::node_element) continue;
            const std::string pos = ElementText(ChildElement(row, "pos"));
            if (IsOffTimeline(pos, {})) continue;
            if (!modMediaQv::MediaKeyExists(context, IntegerPrefix(pos), false, document.parent_path())) return false;
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// A save was cut off while document and container were swapped: which of the two documents the container belongs to.
enum class CutOffSave { None, Unclear, Document, FormerDocument };

CutOffSave WhatWasCutOff(modMediaQv::MediaContext& context, const path& gProjectFolder) {
    const path former = InFolder(gProjectFolder, kFormerDocument);
    const path media = InFolder(gProjectFolder, "media.qv");
    if (!FileExists(former) || !FileExists(media)) return CutOffSave::None;
    const Ms length = context.lib.GetLength(media);
    if (length <= 0) return CutOffSave::Unclear;
    context.gMediaKeys = modMediaQv::ListMediaKeys(context, gProjectFolder);
    if (BelongsTo(context, InFolder(gProjectFolder, "project.qvp"), length)) return CutOffSave::Document;
    return BelongsTo(context, former, length) ? CutOffSave::FormerDocument : CutOffSave::Unclear;
}

/// One opening of a folder, in steps.
class Opening {
public:
    Opening(modMediaQv::MediaContext& context, CProjectFile& gProject, const path& gProjectFolder)
        : context_(context), world_(context.world), gProject_(gProject), gProjectFolder_(gProjectFolder) {}

    Opened Run();

private:
    /// @returns false when the project must not be opened; the user was told, or has decided so
    using Step = bool (Opening::*)();

    bool RefuseNetwork();
    bool MakeFolderIfNone();
    bool RefuseReadOnly();
    bool DropHalfCopies();
    bool RefuseFullDisk();
    bool MakeFilesWritable();
    bool MakeDocumentIfNone();
    bool ReadVideoSize();
    bool RestoreSavePoint();
    bool RestoreFormerDocument();
    bool CheckVersion();
    bool LoadDocument();
    bool CheckMediaFormat();
    bool SettleRecording();
    bool NameNewProject();
    bool FixIndex();
    bool SupplyPage();

    [[nodiscard]] path In(const char* name) const { return InFolder(gProjectFolder_, name); }
    /// '\0' when there is none.
    [[nodiscard]] char VersionDigit() const;
    bool Refuse(const std::string& text);
    bool OfferUpgrade();

    modMediaQv::MediaContext& context_;
    World& world_;
    CProjectFile& gProject_;
    const path& gProjectFolder_;
    bool isNew_ = false;
    bool upgraded_ = false;
    std::string videoSize_;  ///< of a new project; empty: the default one
};

Opened Opening::Run() {
    constexpr Step kSteps[] = {&Opening::RefuseNetwork,      &Opening::MakeFolderIfNone,
                               &Opening::RefuseReadOnly,     &Opening::DropHalfCopies,
                               &Opening::RefuseFullDisk,     &Opening::MakeFilesWritable,
                               &Opening::MakeDocumentIfNone, &Opening::ReadVideoSize,
                               &Opening::RestoreSavePoint,   &Opening::RestoreFormerDocument,
                               &Opening::CheckVersion,       &Opening::LoadDocument,
                               &Opening::CheckMediaFormat,   &Opening::SettleRecording,
                               &Opening::NameNewProject,     &Opening::FixIndex,
                               &Opening::SupplyPage};
    for (const Step step : kSteps) {
        try {
            if (!(this->*step)()) return {.isReady = false, .upgraded = upgraded_};
        } catch (const std::exception&) {
            // What this step would have done is missing; the steps behind it find out whether that matters.
        }
    }
    return {.isReady = true, .upgraded = upgraded_};
}

char Opening::VersionDigit() const {
    const std::string version = GetProjectVersion(In("project.qvp"));
    return version.empty() ? '\0' : version.front();
}

bool Opening::Refuse(const std::string& text) {
    ShowFailure(world_, text);
    return false;
}

bool Opening::RefuseNetwork() {
    if (!modFiles::IsNetworkPath(gProjectFolder_)) return true;
    return Refuse(GetResString(world_, "frmNewProject", "msgNet"));
}

bool Opening::MakeFolderIfNone() {
    return FolderExists(gProjectFolder_) || modFiles::CreateFolderWithMsg(world_, gProjectFolder_);
}

bool Opening::RefuseReadOnly() {
    if (modFiles::IsFolderWritable(world_, gProjectFolder_)) return true;
    return Refuse(GetResString(world_, "frmNewProject", "msgReadOnly"));
}

/// A save that was cut off while it brought the container in from another disk; its copy may be what fills this one.
bool Opening::DropHalfCopies() {
    for (const char* name : {"media.qv.~mv", "project.qvp.mix.tmp.~mv"}) modFiles::DeleteFileIfAny(world_, In(name));
    return true;
}

bool Opening::RefuseFullDisk() {
    constexpr std::int32_t kLeastMB = 100;
    const std::int32_t free = modFiles::GetFreeSpaceMB(world_, gProjectFolder_);
    if (free >= kLeastMB) return true;
    return Refuse(GetResString(world_, "frmNewProject", "msgDiskSpace") + ": " + std::to_string(free) + "MB");
}

bool Opening::MakeFilesWritable() {
    modFiles::ClearReadOnly(world_, gProjectFolder_);
    return true;
}

bool Opening::MakeDocumentIfNone() {
    const path document = In("project.qvp");
    isNew_ = !FileExists(document);
    if (isNew_ && modFiles::CopyFileOver(world_, InFolder(world_.host.ProgramFolder(), "default.qvp"), document))
        world_.disk.AddOwnerWrite(document);
    return true;
}

bool Opening::ReadVideoSize() {
    if (isNew_) videoSize_ = world_.settings.Get("configure", "videoSize").value_or("");
    return true;
}

bool Opening::RestoreSavePoint() {
    if (RestoreFromCrash(world_, gProjectFolder_)) isNew_ = false;
    return true;
}

/// With the other document's times the container would lose slides: where the right one cannot be had, nothing is opened.
bool Opening::RestoreFormerDocument() {
    const CutOffSave save = WhatWasCutOff(context_, gProjectFolder_);
    if (save == CutOffSave::Document) modFiles::DeleteFileIfAny(world_, In(kFormerDocument));
    if (save != CutOffSave::FormerDocument) return true;
    isNew_ = false;
    return modFiles::MoveFileOver(world_, In(kFormerDocument), In("project.qvp"), Quiet::No);
}

bool Opening::CheckVersion() {
    const char version = VersionDigit();
    if (version < '0' || version > '9') return Refuse("Unrecognized project version!");
    if (version > '7') {
        return Refuse(GetResString(world_, "frmCommon", "msgNeedNewVer",
                                   "Incompatible project version! Please upgrade your Mirrane!"));
    }
    // Older ones than the converter knows are refused without an offer, when they are loaded.
    return (version != '5' && version != '6') || OfferUpgrade();
}

bool Opening::OfferUpgrade() {
    const std::string text = GetResString(world_, "frmCommon", "msgNeedToUpgrade");
    if (world_.user.Ask({text, "Version Incompatible", Buttons::YesNo}) == Answer::Yes) {
        path tool = InFolder(world_.host.ProgramFolder(), "qvFmtCvt");
        if (!FileExists(tool)) tool += ".exe";
        frmExecCmd converter(world_);
        converter.InitCmd(tool.string() + " ", {gProjectFolder_.string()}, frmExecCmd::UseShell::No);
        converter.Show();
    }
    // The project alone tells what came of it.
    const char version = VersionDigit();
    upgraded_ = version != '5' && version != '6';
    return upgraded_;
}

bool Opening::LoadDocument() {
    return Trapped(world_, "OpenProjectFolder", [this] { return gProject_.Load(In("project.qvp")); });
}

bool Opening::CheckMediaFormat() {
    return !FileExists(In("media.qv")) || modMediaQv::IsQvFmtCompatible(context_, In("media.qv"));
}

bool Opening::SettleRecording() {
    if (!FileExists(In("media.qv")) || !FileExists(In("rec.tmp"))) return true;
    if (!modMediaQv::VerifyMediaFile(context_, In("media.qv"), modMediaQv::Check::WholeAfterFailedRecording))
        return false;
    modFiles::DeleteFileIfAny(world_, In("rec.tmp"));
    return true;
}

bool Opening::NameNewProject() {
    if (!isNew_) return true;
    gProject_.title = TitleOfFolder(gProjectFolder_);
    if (!videoSize_.empty()) gProject_.videoSize = videoSize_;
    gProject_.Save({});
    return true;
}

bool Opening::FixIndex() {
    return gProject_.items.empty() || modMediaQv::FixProjectIndex(context_, gProject_, gProjectFolder_);
}

bool Opening::SupplyPage() {
    if (!FileExists(In("index.html"))) ApplyProjectTemplate(world_, gProject_, gProjectFolder_);
    return true;
}

/// All of them before the first one is touched.
std::vector<path> EntriesOf(const path& folder) { return {fs::directory_iterator(folder), fs::directory_iterator()}; }

bool Holds(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Names in the project folder that the index speaks of.
struct Used {
    std::vector<std::string> folders;  ///< of pages
    std::vector<std::string> thumbs;   ///< files
};

/// @throws std::invalid_argument for a page that lies in no folder
Used UsedBy(const CGrid& gGrid, const path& gProjectFolder) {
    Used used;
    for (int row = 1; row <= gGrid.Rows(); ++row) {
        const std::string url = gGrid.GetUrl(row);
        if (url.empty()) {
            const Ms pos = IntegerPrefix(gGrid.GetPos(row));
            used.thumbs.push_back(ThumbnailOf(gProjectFolder, pos).filename().string());
            continue;
        }
        const std::size_t end = url.find_first_of("/\\");
        if (end == std::string::npos) throw std::invalid_argument("The page \"" + url + "\" lies in no folder");
        const std::string folder = url.substr(0, end);
        used.folders.push_back(folder);
        used.thumbs.push_back(folder + ".jpg");
    }
    return used;
}

void DeleteUnusedPages(World& world, const path& gProjectFolder, const std::vector<std::string>& keep) {
    for (const path& entry : EntriesOf(gProjectFolder)) {
        const std::string name = entry.filename().string();
        if (!name.starts_with("html") || !FolderExists(entry) || Holds(keep, name)) continue;
        if (!modFiles::DeleteFolderIfAny(world, entry))
            throw std::runtime_error(entry.string() + ": cannot be deleted");
    }
}

}  // namespace

Opened OpenProjectFolder(modMediaQv::MediaContext& context, CProjectFile& gProject, const path& gProjectFolder) {
    return Opening(context, gProject, gProjectFolder).Run();
}

bool RestoreFromCrash(World& world, const path& gProjectFolder) {
    const path media = InFolder(gProjectFolder, "media.qv");
    const path keptMedia = InFolder(gProjectFolder, "media.qv.__");
    const path keptDocument = InFolder(gProjectFolder, "project.qvp.__");
    const path marker = InFolder(gProjectFolder, "media.qv.move");
    const bool hadDocument = FileExists(keptDocument);
    if (FileExists(marker)) {
        ShowFailure(world, "Move file error during import!", "InitProject");
        const bool isLost = !FileExists(media) && FileExists(keptMedia);
        if (!isLost || MoveSavePointBack(world, gProjectFolder)) modFiles::DeleteFileIfAny(world, marker);
    }
    if (FileExists(media) && FileExists(keptMedia)) {
        ShowMessage(world, GetResString(world, "frmEditor", "msgRestoreBackup",
                                        "Editor failed to shut down correctly last time. The files will be restored to "
                                        "the most recent save point."));
        MoveSavePointBack(world, gProjectFolder);
    }
    return hadDocument && !FileExists(keptDocument);
}

std::string GetProjectVersion(const path& document) {
    try {
        return ProjectTree(ReadFile(document)).Root().first_attribute().value();
    } catch (const std::exception&) {
        return {};
    }
}

void ClearFolder(World& world, const CGrid& gGrid, const path& gProjectFolder) {
    try {
        if (FileExists(InFolder(gProjectFolder, "media.qv.__"))) MoveSavePointBack(world, gProjectFolder);
        if (gGrid.Rows() == 0) return;
        const Used used = UsedBy(gGrid, gProjectFolder);
        DeleteUnusedPages(world, gProjectFolder, used.folders);
        DeleteUnusedThumbs(world, InFolder(gProjectFolder, "thumbnails"), used.thumbs);
    } catch (const std::exception& failure) {
        ShowFailure(world, ErrorText(failure), "ClearFolder()");
    }
}

void DeleteUnusedThumbs(World& world, const path& folder, const std::vector<std::string>& keep) {
    if (!FolderExists(folder)) return;
    for (const path& entry : EntriesOf(folder)) {
        if (FolderExists(entry) || Holds(keep, entry.filename().string())) continue;
        if (!modFiles::DeleteFileIfAny(world, entry)) throw std::runtime_error(entry.string() + ": cannot be deleted");
    }
}

}  // namespace mirrane::modOpening
