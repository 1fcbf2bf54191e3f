// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "media/MediaContext.h"
#include "media/RecAudio.h"
#include "qvlib/IQvCapture.h"

namespace mirrane {

/// The dialog frmRecAudio.
class IRecAudioWindow {
public:
    virtual ~IRecAudioWindow() = default;
    /// Shows it, calls the timers of its rules each 100 ms, and returns when the dialog is gone: since the rules are
    /// done, or the user has closed it.
    virtual void ShowModal(RecAudio& rules) = 0;
};

/// Records a voice-over on Track 2 of the shown slide, from where the player stands, while the picture runs silently.
class AudioRecorder {
public:
    /// All of them outlive this.
    AudioRecorder(MediaContext& media, qv::IQvCapture& capture, IRecAudioWindow& frmRecAudio)
        : media_(media), capture_(capture), frmRecAudio_(frmRecAudio) {}

    void cmdRecAudio_Click();
    /// The input is closed, whatever is recorded: the program ends.
    void Abandon() { capture_.CloseAudioDevice(); }

    /// Listens to a finished take.
    std::function<qv::TakeCheck(const std::filesystem::path& file, Ms recorded)> checkTake = qv::CheckTake;

private:
    void Record();
    void AwaitSeek();
    bool Take(const TakeTarget& target);
    void SeekToStart(const TakeTarget& target);
    void ExecStopRecord(const TakeTarget& target);
    [[nodiscard]] bool IsWanted(const TakeTarget& target);
    void ZoomOutToFit();

    [[nodiscard]] EditContext& edit() const { return media_.edit; }
    [[nodiscard]] std::string Word(const char* key) const;

    MediaContext& media_;
    qv::IQvCapture& capture_;
    IRecAudioWindow& frmRecAudio_;
    int mSavedScroll_ = 0;  ///< of hScrWave, before the take
};

}  // namespace mirrane
