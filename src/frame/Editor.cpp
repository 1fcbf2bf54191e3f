// SPDX-License-Identifier: GPL-3.0-or-later
#include "frame/Editor.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <utility>

#include "base/Files.h"
#include "base/Trapped.h"
#include "editing/Commands.h"
#include "editing/Layout.h"
#include "media/Save.h"
#include "store/Opening.h"
#include "store/Template.h"

namespace mirrane {

namespace {

constexpr char kFormName[] = "frmMixEditor";
constexpr std::chrono::milliseconds kStopWait{200};
constexpr std::chrono::milliseconds kPollWait{100};
constexpr int kSeekPolls = 50;       ///< ForceExit waits no longer than 5 s
constexpr int kGoneForSeconds = 10;  ///< how long ago the last sign of life is said to be when the editor goes

void Touch(World& world, int secondsAgo) {
    world.settings.Set("configure", "touchTime", GetNowString(world.clock.Now(secondsAgo)));
}

}  // namespace

Editor::Editor(EditorState& state, qv::Engine& engine, qv::IPlayer& player, modMediaQv::MediaContext& check,
               EditorPorts ports)
    : edit{state, form},
      media{edit,  *engine.lib,       *engine.mixEdit,      player,
            check, ports.frmProgress, ports.frmCreateThumb, ports.openMediaFile},
      sampler(media),
      transport(edit, player),
      slideView(edit, transport, *engine.lib),
      recorder(media, ports.capture, ports.frmRecAudio),
      ports_(std::move(ports)) {
    edit.sampler = &sampler;
    edit.transport = &transport;
    edit.slideView = &slideView;
    edit.life = this;
}

Editor::~Editor() { transport.Disconnect(); }

std::filesystem::path Editor::MediaFile() const { return InFolder(state().gProjectFolder, "media.qv"); }

// ---------------------------------------------------------------------------------------------------------- Coming up

void Editor::Form_Load() {
    form.mLayoutDone = false;
    form.caption = GetResString(world(), kFormName, kFormName) + " - " + state().gProjectFolder.string();
    form.mPlayCaption = GetResString(world(), kFormName, "cmdPlay");
    form.mPauseCaption = GetResString(world(), kFormName, "cmdPause");
    form.cmdPlayCaption = form.mPlayCaption;
    form.lPlayInfo = GetResString(world(), kFormName, "lPlayInfo");
    isAlive_ = true;
    DisableAll();
    form.Enable(Control::ListView, true);  // an empty list does no harm, and has the focus
    const bool isReady = Trapped(world(), "Form_Load", [this] {
        ReadMediaFacts();
        MakeWorkFolder();
        return true;
    });
    form.Changed();
    if (!isReady) PostUnload();
}

void Editor::ReadMediaFacts() {
    media.freeTag = media.lib.GetFreeTag(MediaFile());
    media.mixEdit.qvSetAudioBitrate(media.lib.GetAudioBitrate(MediaFile()));
    state().mHasVideoRecords = media.lib.qvVideoExists(MediaFile());
}

void Editor::MakeWorkFolder() {
    state().gTempWorkFolder = modFiles::MakeTempFolder(TempFolder(world().host), "_qvMix_");
    state().gTempAudioFolder = InFolder(state().gTempWorkFolder, "audio");
    world().disk.MakeFolder(state().gTempAudioFolder);
}

void Editor::tmrLayout_Timer() {
    if (!isAlive_ || state().isClosing || isUnloadWanted_) return;
    TrappedVoid(world(), "TmrLayout", [this] {
        modLayout::InitLayout(edit);
        world().user.RunEvents();
        if (!isAlive_) return;
        if (InitProject())
            state().gInteList.Load(InFolder(state().gProjectFolder, "inteIndex.txt"), state().gProject.duration());
        form.mLayoutDone = true;
        form.Changed();
    });
}

bool Editor::InitProject() {
    const bool isLoaded = Trapped(world(), "InitProject", [this] {
        if (!state().gProject.Load(InFolder(state().gProjectFolder, "project.qvp"))) {
            ShowFailure(world(), GetResString(world(), kFormName, "msgQvpError"));
            return false;
        }
        OpenMedia();
        form.photo = PhotoOf(state().gProject, state().gProjectFolder);
        FillGrid();
        if (state().gGrid.Rows() == 0) {
            ShowFailure(world(), GetResString(world(), kFormName, "msgNoSlides"));
            return false;
        }
        state().gGrid.SelectedRow(1);
        state().gBaseVolPercent = 100;
        state().gSrcFiles.Append(MediaFile());
        ForgetEdits();
        slideView.LoadSlide(1, WhileBusy::Refuse);
        transport.SetToolbar();
        return true;
    });
    if (!isLoaded) DisableAll();
    return isLoaded;
}

void Editor::OpenMedia() {
    transport.Open(MediaFile());
    media.player.SetCursorPicture(InFolder(state().gProjectFolder, "icons/cursor.gif"));
}

void Editor::FillGrid() {
    CGrid& gGrid = state().gGrid;
    gGrid.Redraw(false);
    gGrid.SetDuration(state().gProject.duration());
    for (const CIndexItem& item : state().gProject.items) gGrid.Append(item.title, item.pos, item.RecDate, item.Url);
    gGrid.Update();
    gGrid.Redraw(true);
    state().gSlideCount = gGrid.Rows();
}

/// No slide is open, and each lies where it was recorded.
void Editor::ForgetEdits() {
    const auto slides = static_cast<std::size_t>(state().gGrid.Rows());
    state().gSlideLoaded.assign(slides, false);
    state().gSlideZoom.assign(slides, 1);
    BuildSlideList(state().gSlideList, state().gGrid);
}

/// There is nothing to work on.
void Editor::DisableAll() {
    for (std::size_t control = 0; control < kControls; ++control)
        form.Enable(static_cast<Control>(control), static_cast<Control>(control) == Control::Exit);
    form.Changed();
}

void Editor::tmrTouchReg_Timer() {
    if (!isAlive_ || state().isClosing) return;
    Touch(world(), 0);
    if (isUnloadWanted_) PostUnload();
}

void Editor::ReloadMedia() {
    OpenMedia();
    ForgetEdits();
    for (CWaveTrack& track : state().gWaveTrack) track.RemoveAll();
    (void)modFiles::RecreateFolder(world(), state().gTempAudioFolder);
    while (state().gSrcFiles.Count() > 1) state().gSrcFiles.Remove(state().gSrcFiles.Count());
}

// ----------------------------------------------------------------------------------------------------------- Tool bar

/// @returns whether the button's command may run
bool Editor::PressToolbar(Control button) {
    if (!isAlive_ || isUnloading_ || !edit.isIdle() || !form.IsEnabled(button)) return false;
    if (transport.IsPlaying()) transport.ExecPlay();
    return true;
}

void Editor::Undo_Click() {
    if (PressToolbar(Control::Undo)) modCommands::Undo_Click(edit);
}

void Editor::Redo_Click() {
    if (PressToolbar(Control::Redo)) modCommands::Redo_Click(edit);
}

void Editor::Save_Click() {
    if (PressToolbar(Control::Save)) modSave::Save_Click(media);
}

void Editor::Exit_Click() {
    if (PressToolbar(Control::Exit)) TrappedVoid(world(), "Exit_Click", [this] { (void)Form_Unload(); });
}

// -------------------------------------------------------------------------------------------------------------- Going

void Editor::PostUnload() {
    isUnloadWanted_ = true;
    ports_.post([this, there = std::weak_ptr(isThere_)] {
        if (!there.expired()) (void)Form_Unload();
    });
}

/// Nobody works, asks or waits: whoever holds the window is further out on the stack and wants to go on.
bool Editor::MayClose() const {
    return !isUnloading_ && !isLeaving_ && !state().gIsBusy() && !form.mUndoBusy && form.IsFormEnabled();
}

bool Editor::Form_Unload() {
    if (!isAlive_) return true;
    if (!MayClose()) return false;
    isUnloading_ = true;
    bool leaves = true;
    TrappedVoid(world(), "Form_Unload", [this, &leaves] { leaves = DecideToLeave(); });
    isUnloading_ = false;
    isUnloadWanted_ = false;
    if (!isAlive_) return true;
    state().isClosing = leaves;
    if (!leaves) return false;
    Leave(Leftovers::Clear);
    ports_.closed();
    return true;
}

/// Stops what plays, and asks about what is not saved.
bool Editor::DecideToLeave() {
    const FormHold hold(form);
    transport.ExecStop(StopAt::Here);
    world().user.Sleep(kStopWait);
    AwaitSeek();  // the position window is still there, and the end of a seek is lost on an editor that closes
    state().isClosing = true;
    if (!isAlive_ || !state().gHistory.CanUndo()) return true;
    const Answer answer = world().user.Ask(
        {.text = GetResString(world(), kFormName, "msgIsSave"), .title = {}, .buttons = Buttons::YesNoCancel});
    if (!isAlive_ || answer == Answer::No) return true;
    return answer == Answer::Yes && SaveBeforeLeaving();
}

/// @returns false when something is still unsaved
bool Editor::SaveBeforeLeaving() {
    state().isClosing = false;  // the save lives on events
    modSave::Save_Click(media);
    return !isAlive_ || !state().gHistory.CanUndo();
}

void Editor::Terminate() {
    media.isLeaving = true;  // a save sees it, and ends the program itself
    if (!media.isSaving) ForceExit();
}

void Editor::ForceExit() {
    if (!isAlive_ || isLeaving_) return;
    isLeaving_ = true;
    AwaitSeek();
    media.player.Pause();
    form.TmrFrame = false;
    state().isClosing = true;
    media.mixEdit.Abandon();
    recorder.Abandon();
    Leave(Leftovers::Keep);
    ports_.exitNow();
}

/// Of all that keeps the editor busy only a seek can end here: the rest waits for this call to return.
void Editor::AwaitSeek() {
    for (int polls = 0; state().gIsSeeking && polls < kSeekPolls; ++polls) world().user.Sleep(kPollWait);
}

void Editor::Leave(Leftovers leftovers) {
    TrappedVoid(world(), "Form_Unload", [this, leftovers] {
        if (form.face.navigate) form.face.navigate(InFolder(world().host.ProgramFolder(), "help/index.html").string());
        if (leftovers == Leftovers::Clear) modOpening::ClearFolder(world(), state().gGrid, state().gProjectFolder);
    });
    isAlive_ = false;
    Touch(world(), kGoneForSeconds);
    transport.Disconnect();
    media.player.Close();
    DeleteWorkFolder();
    form.isSetPosOpen = false;
}

void Editor::DeleteWorkFolder() {
    try {
        if (!state().gTempWorkFolder.empty()) modFiles::DeleteUnforced(world(), state().gTempWorkFolder);
    } catch (const std::exception& failure) {
        // Nobody answers a box when the program is told to end.
        if (isLeaving_)
            std::cerr << ErrorText(failure) << '\n';
        else
            ReportStepError(world(), ErrorText(failure), "Form_Unload");
    }
}

}  // namespace mirrane
