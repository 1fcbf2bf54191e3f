// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/Save.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Trapped.h"
#include "media/Job.h"
#include "media/Remap.h"
#include "media/ScratchFile.h"
#include "media/Thumbnails.h"
#include "qvlib/FileList.h"
#include "store/ThumbList.h"
#include "timeline/PlayList.h"

namespace mirrane::modSave {

namespace fs = std::filesystem;

namespace {

constexpr char kTitle[] = "Save_Click";
constexpr int kMoveTries = 10;

enum class Outcome {
    Saved,
    Failed,    ///< after a message; everything is as it was
    MustExit,  ///< there is no play list, which the user was told; the program cannot go on
};

/// What a save changes of the document before it is known to succeed.
struct DocumentFields {
    std::vector<CIndexItem> items;
    std::string durationText;
    std::string screenSize;
};

/// One save, from the press of the button to the end of its last step.
class Saving {
public:
    explicit Saving(MediaContext& media)
        : media_(media),
          world_(media.world()),
          state_(media.state()),
          document_(InFolder(state_.gProjectFolder, "project.qvp")),
          backup_(InFolder(state_.gProjectFolder, "project.qvp.mix.tmp")),
          newMedia_(InFolder(state_.gTempWorkFolder, "media.qv")) {}

    Outcome Run();

private:
    // Until the media file has moved in. Each of those with a result returns false after a message.
    Outcome RunToSwap();
    bool MakeInteIndex();
    bool DoQvMixSave();
    bool IsNewMediaRight();
    void TakeOverSlides();
    void MakeBackup();
    bool SaveDocument();
    bool MoveMediaIn();
    void TakeDocumentBack();

    // Behind that. These may throw.
    void FinishProject();
    void ShowSavedProject();
    void MakeThumbnails();
    void ReplaceInteIndex();
    void RefillGrid();
    template <typename Work>
    void Step(const char* label, const Work& work);

    MediaContext& media_;
    World& world_;
    EditorState& state_;
    const fs::path document_;
    const fs::path backup_;
    const fs::path newMedia_;
    std::unique_ptr<ScratchFile> inteIndex_;  ///< on the edited timeline; none: it stays as it is
    DocumentFields before_;
};

bool Tell(World& world, const char* text) {
    ShowFailure(world, text);
    return false;
}

// ------------------------------------------------------------------------------------------------------ up to the swap

Outcome Saving::Run() {
    before_ = {state_.gProject.items, state_.gProject.durationText, state_.gProject.screenSize};
    Outcome outcome = Outcome::Failed;
    TrappedVoid(world_, kTitle, [&] { outcome = RunToSwap(); });
    if (outcome == Outcome::Saved) {
        FinishProject();
        if (media_.isLeaving) return outcome;
        ShowSavedProject();
        MakeThumbnails();
        return outcome;
    }
    state_.gProject.items = std::move(before_.items);
    state_.gProject.durationText = std::move(before_.durationText);
    state_.gProject.screenSize = std::move(before_.screenSize);
    media_.edit.form.Enable(Control::Save, true);
    media_.edit.form.Changed();
    modFiles::DeleteFileIfAny(world_, newMedia_);
    return outcome;
}

Outcome Saving::RunToSwap() {
    world_.gStepLabel = "Clear media.qv in temp folder";
    modFiles::DeleteFileIfAny(world_, newMedia_);

    world_.gStepLabel = "Set PlayList";
    if (!modPlayList::SetPlayList(state_, modPlayList::MuteAudio::No, &media_.player)) return Outcome::MustExit;

    world_.gStepLabel = "Save temp inteIndex.txt";
    if (!MakeInteIndex()) return Outcome::Failed;

    world_.gStepLabel = "qv MixSave";
    if (!DoQvMixSave() || !IsNewMediaRight()) return Outcome::Failed;
    TakeOverSlides();
    if (media_.isLeaving) return Outcome::Failed;

    world_.gStepLabel = "Backup project.qvp";
    MakeBackup();

    world_.gStepLabel = "Set duration of qvp and save";
    if (!SaveDocument()) return Outcome::Failed;

    world_.gStepLabel = "Move the saved files to project folder";
    return MoveMediaIn() ? Outcome::Saved : Outcome::Failed;
}

bool Saving::MakeInteIndex() {
    if (!NeedRewriteInteIndex(state_)) return true;
    inteIndex_ = std::make_unique<ScratchFile>(world_, "inte_");
    return SaveRemappedInteIndex(state_, inteIndex_->Path());
}

bool Saving::DoQvMixSave() {
    return Trapped(world_, "DoQvMixSave", [this] {
        const JobView view{.title = GetResString(world_, "frmMixEditor", "msgSaveProj", "Save project"),
                           .text =
                               [this](int percent) {
                                   return FilledText(world_, "msgSaving", "Saving... (%s%)", std::to_string(percent));
                               },
                           .progress = [this] { return media_.mixEdit.qvGetSavePercent(); }};
        const bool isDone = RunJob(media_, view, [this] {
            media_.mixEdit.qvMixSave(state_.gTempWorkFolder, qv::JoinFileList(state_.gSrcFiles.values()),
                                     state_.gSrcFiles.Count(), state_.gAudioRows, state_.gFrameRows);
        });
        if (!isDone) TellFailure(media_, "msgSaveFailure", "Failed to save project!");
        return isDone;
    });
}

bool Saving::IsNewMediaRight() {
    if (!modMediaQv::VerifyMediaFile(media_.check, newMedia_, modMediaQv::Check::Whole))
        return Tell(world_, "Save project failed! ( Verify file error )");
    if (media_.lib.GetLength(newMedia_) != state_.gSlideList.duration())
        return Tell(world_, "Save project failed! ( Unmatched Duration )");
    return true;
}

void Saving::TakeOverSlides() {
    constexpr std::string_view kUnfinished = "...";
    world_.gStepLabel = "title";
    const std::string title = state_.gGrid.GetTitle(1);
    if (title.starts_with(kUnfinished)) state_.gGrid.SetTitle(1, title.substr(kUnfinished.size()));

    world_.gStepLabel = "Set pos, posEnd, titile of qvp";
    std::vector<CIndexItem>& items = state_.gProject.items;
    const std::int32_t rows = std::min(state_.gGrid.Rows(), static_cast<std::int32_t>(items.size()));
    for (std::int32_t row = 1; row <= rows; ++row) {
        CIndexItem& item = items[static_cast<std::size_t>(row) - 1];
        item.title = state_.gGrid.GetTitle(row);
        if (!state_.gSlideList.IsOnTimeline(row)) continue;
        item.pos = std::to_string(state_.gSlideList.GetPos(row));
        item.posEnd = std::to_string(state_.gSlideList.GetEnd(row));
    }

    world_.gStepLabel = "Set MaxScreenSize of qvp";
    const qv::PictureDim size = media_.lib.GetFileHeaderDim(newMedia_);
    state_.gProject.screenSize = std::to_string(size.width) + "x" + std::to_string(size.height);
}

void Saving::MakeBackup() {
    if (!modFiles::CopyFileOver(world_, document_, backup_))
        throw std::runtime_error("\"" + document_.string() + "\" could not be copied");
}

bool Saving::SaveDocument() {
    state_.gProject.duration(state_.gSlideList.duration());
    if (state_.gProject.Save({})) return true;
    TakeDocumentBack();
    return false;
}

bool Saving::MoveMediaIn() {
    if (MoveFileRetry(world_, newMedia_, InFolder(state_.gProjectFolder, "media.qv"), kMoveTries)) return true;
    Tell(world_, "Save Project Failed! (Move file error)");
    TakeDocumentBack();
    return false;
}

void Saving::TakeDocumentBack() { modFiles::MoveFileOver(world_, backup_, document_, modFiles::Quiet::No); }

// ----------------------------------------------------------------------------------------------------- behind the swap

/// Runs a step whose failure is told and stops nobody.
template <typename Work>
void Saving::Step(const char* label, const Work& work) {
    world_.gStepLabel = label;
    TrappedVoid(world_, kTitle, work);
}

void Saving::FinishProject() {
    Step("Move the saved files to project folder", [this] { modFiles::DeleteUnforced(world_, backup_); });
    Step("Overwrite inteIndex and reload", [this] { ReplaceInteIndex(); });
    Step("Update ListView", [this] { RefillGrid(); });
    Step("ActionReset", [this] {
        state_.gHistory.ActionReset();
        if (media_.freeTag == 1) media_.lib.SetFreeTag(InFolder(state_.gProjectFolder, "media.qv"));
    });
}

void Saving::ShowSavedProject() {
    EditContext& edit = media_.edit;
    Step("Reload media.qv", [&] { edit.life->ReloadMedia(); });
    const int row = state_.gGrid.SelectedRow();
    Step(("Loadslide " + std::to_string(row)).c_str(), [&] { edit.slideView->LoadSlide(row, WhileBusy::Allow); });
    Step("SetToolbar", [&] { edit.transport->SetToolbar(); });
}

void Saving::MakeThumbnails() {
    Step("thumblist.txt", [this] { WriteThumbList(world_, state_.gGrid, state_.gProjectFolder); });
    TrappedVoid(world_, kTitle, [this] { CreateThumbnails(media_); });
    modFiles::DeleteFileIfAny(world_, InFolder(state_.gProjectFolder, "thumblist.txt"));
}

void Saving::ReplaceInteIndex() {
    if (!inteIndex_) return;
    const fs::path live = InFolder(state_.gProjectFolder, "inteIndex.txt");
    // The list first: with the new times in it, the next save can make good what the move may miss now.
    state_.gInteList.Load(inteIndex_->Path(), state_.gProject.duration());
    if (!modFiles::MoveFileOver(world_, inteIndex_->Path(), live, modFiles::Quiet::Yes))
        throw std::runtime_error("\"" + live.string() + "\" could not be replaced");
}

void Saving::RefillGrid() {
    CGrid& grid = state_.gGrid;
    grid.Redraw(false);
    try {
        grid.Clear();
        grid.SetDuration(state_.gProject.duration());
        for (const CIndexItem& item : state_.gProject.items) grid.Append(item.title, item.pos, item.RecDate, item.Url);
        grid.Update();
    } catch (...) {
        grid.Redraw(true);
        throw;
    }
    state_.gSlideCount = grid.Rows();
    grid.Redraw(true);
}

/// What the editor is like during a save.
class SaveHold {
public:
    explicit SaveHold(MediaContext& media) : media_(media), busyHold_(media.state()), formHold_(media.edit.form) {
        media_.isSaving = true;
        media_.edit.form.Enable(Control::Save, false);
        media_.edit.form.Changed();
    }
    ~SaveHold() { media_.isSaving = false; }
    SaveHold(const SaveHold&) = delete;
    SaveHold& operator=(const SaveHold&) = delete;

private:
    MediaContext& media_;
    BusyHold busyHold_;
    FormHold formHold_;
};

}  // namespace

void Save_Click(MediaContext& media) {
    if (!media.edit.isIdle()) return;
    Outcome outcome = Outcome::Failed;
    {
        const SaveHold hold(media);
        outcome = Saving(media).Run();
    }
    // Nobody waits for this save any more: its holds are gone.
    if (outcome == Outcome::MustExit || media.isLeaving) media.edit.life->ForceExit();
}

bool MoveFileRetry(World& world, const fs::path& source, const fs::path& target, int tries) {
    constexpr std::chrono::milliseconds kPause{500};
    for (int i = 0; i < tries; ++i) {
        if (modFiles::MoveFileOver(world, source, target, modFiles::Quiet::Yes)) return true;
        world.user.RunEvents();
        world.user.Sleep(kPause);
    }
    return false;
}

}  // namespace mirrane::modSave
