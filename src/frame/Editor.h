// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "editing/EditContext.h"
#include "media/AudioRecording.h"
#include "media/MediaContext.h"
#include "media/Sampling.h"
#include "playback/SlideView.h"
#include "playback/Transport.h"
#include "qvlib/Engine.h"
#include "qvlib/IPlayer.h"
#include "store/MediaCheck.h"

namespace mirrane {

/// What the editor's life needs of the program around it.
struct EditorPorts {
    IProgressWindow& frmProgress;
    IProgressWindow& frmCreateThumb;
    IOpenMediaFile& openMediaFile;
    qv::IQvCapture& capture;
    IRecAudioWindow& frmRecAudio;
    /// Runs a function later, from the event loop.
    std::function<void(std::function<void()>)> post;
    /// Ends the process at once. A double of it returns.
    std::function<void()> exitNow;
    /// The window goes away; called once, last.
    std::function<void()> closed;
};

/// frmMixEditor: the editor on one project, from the moment its window comes up to its end. Owns what lives as long as
/// the window, and wires it together.
class Editor final : public ILife {
public:
    /// @param state with gProjectFolder set; outlives this, as do engine, player, check and what the ports name
    Editor(EditorState& state, qv::Engine& engine, qv::IPlayer& player, modMediaQv::MediaContext& check,
           EditorPorts ports);
    ~Editor() override;
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    /// The quick part of coming up: texts, facts of the media file, the work folder. Without that folder the editor closes
    /// again, after a message.
    void Form_Load();
    /// The slow part, once the window is seen: layout, document, slides, the first slide.
    void tmrLayout_Timer();
    /// The sign of life for the other programs of the suite; to be called each 2000 ms while isAlive().
    void tmrTouchReg_Timer();
    /// Closes the editor, unless it is busy, a dialog is open, or the user decides otherwise. What was asked to be saved
    /// and could not be is not given up.
    /// @returns whether it is closed
    bool Form_Unload();
    /// The program is told to end, by a signal or the end of the session: nothing is asked or saved; a swap that has
    /// begun is finished.
    void Terminate();

    // The tool bar: what plays is paused first.
    void Undo_Click();
    void Redo_Click();
    void Save_Click();
    void Exit_Click();

    void PostUnload() override;
    void ForceExit() override;
    void ReloadMedia() override;

    /// From Form_Load to the end.
    [[nodiscard]] bool isAlive() const { return isAlive_; }

    MainForm form;
    EditContext edit;
    MediaContext media;
    Sampler sampler;
    Transport transport;
    SlideView slideView;
    AudioRecorder recorder;

private:
    enum class Leftovers { Keep, Clear };

    void MakeWorkFolder();
    void ReadMediaFacts();
    bool InitProject();
    void OpenMedia();
    void FillGrid();
    void ForgetEdits();
    void DisableAll();
    [[nodiscard]] bool MayClose() const;
    bool DecideToLeave();
    bool SaveBeforeLeaving();
    void AwaitSeek();
    void Leave(Leftovers leftovers);
    void DeleteWorkFolder();
    bool PressToolbar(Control button);

    [[nodiscard]] EditorState& state() const { return edit.state; }
    [[nodiscard]] World& world() const { return edit.state.world; }
    [[nodiscard]] std::filesystem::path MediaFile() const;

    EditorPorts ports_;
    bool isAlive_ = false;
    bool isUnloading_ = false;                                      ///< Form_Unload runs
    bool isLeaving_ = false;                                        ///< ForceExit runs
    bool isUnloadWanted_ = false;                                   ///< someone inside has asked for it
    std::shared_ptr<bool> isThere_ = std::make_shared<bool>(true);  ///< gone: what was posted means nobody
};

}  // namespace mirrane
