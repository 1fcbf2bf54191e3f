// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <span>

#include "editing/MainForm.h"
#include "timeline/EditorState.h"

namespace mirrane {

/// Where the waveforms come from.
class ISampler {
public:
    virtual ~ISampler() = default;
    /// Fills the samples with the peaks of [start, end) ms of a file, one for each equal part, and returns when that is
    /// done; the user watches meanwhile.
    /// @param fileKind 1 for the project's media.qv, else 0
    /// @returns false after a message; the samples are 0 where nothing came
    virtual bool GetWaveSamples(const std::filesystem::path& file, std::span<std::int16_t> samples, Ms start, Ms end,
                                int fileKind) = 0;
};

enum class StopAt { Here, SlideStart };

/// Playing and seeking, as the editing asks for them.
class ITransport {
public:
    virtual ~ITransport() = default;
    /// ms on the whole timeline.
    [[nodiscard]] virtual Ms Position() const = 0;
    [[nodiscard]] virtual bool IsPlaying() const = 0;
    /// The play button: plays, or pauses.
    virtual void ExecPlay() = 0;
    virtual void ExecStop(StopAt where) = 0;
    /// Starts a seek to a time of the whole timeline, which makes and hands over the play list; nothing while a seek runs.
    virtual void qvSeekTo(Ms ms) = 0;
    /// The same in the shown slide, at most to its end, down to the grid of the samples; pauses, and goes on behind the
    /// seek.
    virtual void SeekInSlide(Ms ms) = 0;
    /// Shows a time of the whole timeline, which lies in the shown slide or behind it, without going there.
    virtual void SetPosInfo(Ms ms) = 0;
    /// Play lists that are made while this is on are silent.
    virtual void SetMuted(bool on) = 0;
    /// Brings the tool bar and the slides' buttons in line with history and selection.
    virtual void SetToolbar() = 0;
};

enum class WhileBusy { Refuse, Allow };

/// The pane that shows a slide.
class ISlideView {
public:
    virtual ~ISlideView() = default;
    /// Makes a slide the shown one, with its timeline, and seeks to its start. Nothing while a seek runs.
    /// @param index 1-based; one outside means the first or the last
    virtual void LoadSlide(std::int32_t index, WhileBusy whileBusy) = 0;
};

/// The editor's life, as far as others have a say in it.
class ILife {
public:
    virtual ~ILife() = default;
    /// Closes the editor once what runs now has returned.
    virtual void PostUnload() = 0;
    /// Ends the program at once, without a question and without saving. Where that returns, the caller returns too.
    virtual void ForceExit() = 0;
    /// Opens the media file anew, after a save has replaced it, and forgets the edited timeline.
    virtual void ReloadMedia() = 0;
};

/// What all editing works with. The ports are there before anything is edited, and outlive it.
struct EditContext {
    EditorState& state;
    MainForm& form;
    ISampler* sampler = nullptr;
    ITransport* transport = nullptr;
    ISlideView* slideView = nullptr;
    ILife* life = nullptr;

    [[nodiscard]] World& world() const { return state.world; }
    /// The slide that is shown, 1-based; 0 before the first one.
    [[nodiscard]] std::int32_t curSlide() const { return state.gGrid.CurrIndex(); }
    /// Whether a slide with a timeline is shown.
    [[nodiscard]] bool hasTimeline() const {
        return curSlide() >= 1 && curSlide() <= state.gSlideList.Count() && state.gSlideList.IsOnTimeline(curSlide());
    }
    /// Nobody seeks, works, drags or replays: commands may begin.
    [[nodiscard]] bool isIdle() const { return !state.gIsBusy() && !form.drag && !form.mUndoBusy; }
};

/// Counts as busy as long as this lives.
class BusyHold {
public:
    explicit BusyHold(EditorState& state) : state_(state) { ++state_.busyDepth; }
    ~BusyHold() { --state_.busyDepth; }
    BusyHold(const BusyHold&) = delete;
    BusyHold& operator=(const BusyHold&) = delete;

private:
    EditorState& state_;
};

}  // namespace mirrane
