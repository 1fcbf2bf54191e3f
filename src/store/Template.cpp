// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/Template.h"

#include "base/Disk.h"
#include "base/Files.h"

namespace mirrane {

namespace {

using std::filesystem::path;

bool MakeFolderIfNone(World& world, const path& folder) {
    if (FolderExists(folder)) return true;
    try {
        world.disk.MakeFolder(folder);
        return true;
    } catch (const std::filesystem::filesystem_error&) {
        return false;
    }
}

/// What the program's folder holds may be read-only; the project is the user's.
bool CopyAsOwn(World& world, const path& source, const path& target) {
    if (!modFiles::CopyFileOver(world, source, target)) return false;
    try {
        world.disk.AddOwnerWrite(target);
        return true;
    } catch (const std::filesystem::filesystem_error&) {
        return false;
    }
}

/// Lays the contents of one folder over those of another. Nothing is done when the first one is not there.
bool CopyContents(World& world, const path& source, const path& target) {
    if (!FolderExists(source)) return true;
    bool isComplete = true;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator entry(source, error), end; !error && entry != end;
         entry.increment(error)) {
        const path to = target / entry->path().lexically_relative(source);
        std::error_code ignored;
        const bool isCopied =
            entry->is_directory(ignored) ? MakeFolderIfNone(world, to) : CopyAsOwn(world, entry->path(), to);
        isComplete = isComplete && isCopied;
    }
    return isComplete && !error;
}

/// Names come from a document; they must not lead out of the folder that they are meant for.
bool IsPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

}  // namespace

std::optional<path> PhotoOf(const CProjectFile& gProject, const path& gProjectFolder) {
    const path photo = InFolder(gProjectFolder, gProject.photo);
    return IsPlainName(gProject.photo) && FileExists(photo) ? std::optional(photo) : std::nullopt;
}

std::string TitleOfFolder(const path& gProjectFolder) {
    const path name = gProjectFolder.filename();
    return name.extension() == ".qvp" ? name.stem().string() : name.string();
}

bool ApplyProjectTemplate(World& world, CProjectFile& gProject, const path& gProjectFolder) {
    const path photo = InFolder(gProjectFolder, gProject.photo);
    const path keptPhoto = InFolder(gProjectFolder, "bak." + gProject.photo);
    // One that is kept already is the user's, left by a run that was cut off; the photo is then the template's.
    if (PhotoOf(gProject, gProjectFolder) && !FileExists(keptPhoto) &&
        !modFiles::MoveFileOver(world, photo, keptPhoto, modFiles::Quiet::Yes))
        return false;

    const path programFolder = world.host.ProgramFolder();
    const path templates = InFolder(programFolder, "template");
    bool isDone = CopyContents(world, InFolder(programFolder, "encfiles"), gProjectFolder);
    if (!IsPlainName(gProject.templateName) || !FolderExists(InFolder(templates, gProject.templateName)))
        gProject.templateName = "default";
    isDone = CopyContents(world, InFolder(templates, gProject.templateName), gProjectFolder) && isDone;
    for (const char* picture : {"index.jpg", "pic.jpg"})
        isDone = modFiles::DeleteFileIfAny(world, InFolder(gProjectFolder, picture)) && isDone;
    isDone = gProject.Save({}) && isDone;
    if (FileExists(keptPhoto)) isDone = modFiles::MoveFileOver(world, keptPhoto, photo, modFiles::Quiet::Yes) && isDone;
    return isDone;
}

}  // namespace mirrane
