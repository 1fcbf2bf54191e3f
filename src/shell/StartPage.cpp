// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/StartPage.h"

#include <exception>
#include <utility>

#include "base/Disk.h"
#include "shell/Paths.h"
#include "store/Glance.h"
#include "store/Opening.h"

namespace mirrane {

namespace fs = std::filesystem;

namespace {

constexpr char kForm[] = "frmNewProject";
constexpr char kDocument[] = "project.qvp";
constexpr char kTokens[] = "tokens\\Tallowin";

/// The bytes at which the characters of a UTF-8 text begin, and its end.
std::vector<std::size_t> Borders(const std::string& text) {
    constexpr unsigned char kMask = 0xC0;
    constexpr unsigned char kFollowing = 0x80;
    std::vector<std::size_t> borders;
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & kMask) != kFollowing) borders.push_back(i);
    borders.push_back(text.size());
    return borders;
}

}  // namespace

void StartPage::Form_Unload() {
    if (!state_.gProjectFolder.empty()) return;
    state_.world.settings.Set(kTokens, "project", "");
    state_.world.settings.Set(kTokens, "touchtime", "0");
}

std::vector<RecentRow> StartPage::lProj() const {
    std::vector<RecentRow> rows;
    for (std::size_t i = 0; i < recent_.gRecentProjects().size(); ++i) {
        const fs::path folder = fs::path(recent_.gRecentProjects()[i]).parent_path();
        ProjectGlance seen = GlanceAt(folder);
        rows.push_back({.number = static_cast<int>(i) + 1,
                        .name = std::move(seen.title),
                        .isCurrent = folder == state_.gProjectFolder,
                        .folder = folder,
                        .date = recent_.gRecentDates()[i],
                        .picture = std::move(seen.picture)});
    }
    return rows;
}

void StartPage::lProj_Click(int number) {
    OpenIfThere(recent_.gRecentProjects().at(static_cast<std::size_t>(number) - 1));
}

/// An opening would make a project where none is, which nobody wants of one that has gone away meanwhile.
void StartPage::OpenIfThere(const fs::path& document) {
    if (FileExists(document)) {
        openProj(document, modFiles::Quiet::No);
        return;
    }
    ShowFailure(state_.world, GetResString(state_.world, kForm, "msgNoProject"));
    recent_.LoadRecentProjects();
    if (face.listChanged) face.listChanged();
}

void StartPage::lOpenProj_Click() {
    World& world = state_.world;
    const std::string filter = GetResString(world, kForm, "projectFiles", "Mirrane Project") + " (*.qvp)|*.qvp";
    const std::vector<std::string>& recent = recent_.gRecentProjects();
    const fs::path start = recent.empty() ? fs::path() : fs::path(recent.front()).parent_path();
    const auto file = face.choose(GetResString(world, kForm, "lOpenTitle", "Open Mirrane Project"), filter, start);
    if (file) OpenIfThere(*file);
}

void StartPage::Drop(const fs::path& dropped) {
    if (const auto document = ProjectIn(dropped)) openProj(*document, modFiles::Quiet::No);
}

void StartPage::openProj(const fs::path& path, modFiles::Quiet quiet) {
    if (std::exchange(isOpening_, true)) return;
    bool isDone = true;
    {
        const BusyCursor pointer(state_.world);
        if (face.setEnabled) face.setEnabled(false);
        const fs::path kept = state_.gProjectFolder;
        if (!TakeProject(path.parent_path())) {
            state_.gProjectFolder = kept;
            isDone = quiet == modFiles::Quiet::Yes || !ReturnTo(kept);
        }
        if (!isDone && face.setEnabled) face.setEnabled(true);
    }
    isOpening_ = false;
    if (isDone && face.unload) face.unload();
}

bool StartPage::TakeProject(const fs::path& folder) {
    World& world = state_.world;
    try {
        state_.gProjectFolder = folder;
        state_.gProjectFileName = kDocument;
        basMixMain::InitPaths(state_);
        if (!modOpening::OpenProjectFolder(check_, state_.gProject, folder).isReady) return false;
        world.settings.Set(kTokens, "project", folder.string());
        recent_.AddRecentProject(InFolder(folder, kDocument).string(), world.clock.Now());
        return true;
    } catch (const std::exception& failure) {
        ShowFailure(world, ErrorText(failure), "frmNewProject.openProj()");
        return false;
    }
}

/// Leaves the project that was open before sound. @returns false when it has gone away
bool StartPage::ReturnTo(const fs::path& kept) {
    if (kept.empty()) return true;
    if (!FolderExists(kept)) return false;
    modOpening::OpenProjectFolder(check_, state_.gProject, kept);
    return true;
}

std::optional<fs::path> ProjectIn(const fs::path& dropped) {
    if (FileExists(dropped)) {
        if (dropped.extension() != ".qvp") return std::nullopt;
        return dropped;
    }
    const fs::path folder = dropped.has_filename() ? dropped : dropped.parent_path();
    fs::path document = InFolder(folder, kDocument);
    if (FileExists(document) || FileExists(InFolder(folder, "media.qv"))) return document;
    return std::nullopt;
}

std::string contractStr(const std::string& text, int width, const std::function<int(const std::string&)>& measure) {
    if (measure(text) <= width) return text;
    const std::vector<std::size_t> borders = Borders(text);
    std::string shown = "...";
    for (std::size_t kept = 1; kept + 1 < borders.size(); ++kept) {
        const std::size_t head = borders[kept / 2];
        const std::size_t tail = borders[borders.size() - 1 - (kept - kept / 2)];
        const std::string wider = text.substr(0, head) + "..." + text.substr(tail);
        if (measure(wider) > width) break;
        shown = wider;
    }
    return shown;
}

}  // namespace mirrane
