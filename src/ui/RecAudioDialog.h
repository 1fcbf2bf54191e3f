// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <memory>

#include "media/AudioRecording.h"
#include "ui/Dialogs.h"

namespace mirrane {

/// frmRecAudio: which input is listened to, its meter, the time, a word of advice, and the one button.
class RecAudioDialog final : public QDialog {
public:
    /// @param rules outlives this
    RecAudioDialog(RecAudio& rules, const WordsOfForms& words, QWidget* parent);
    ~RecAudioDialog() override;
    RecAudioDialog(const RecAudioDialog&) = delete;
    RecAudioDialog& operator=(const RecAudioDialog&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Shows it modally on a window, beside the picture that is spoken to.
class RecAudioWindow final : public IRecAudioWindow {
public:
    /// @param window outlives this
    RecAudioWindow(WordsOfForms words, QWidget& window) : words_(std::move(words)), window_(window) {}
    /// @param part of the window, in the middle of which the dialog stands from now on; outlives this
    void StandOn(const QWidget& part) { part_ = &part; }
    void ShowModal(RecAudio& rules) override;

private:
    WordsOfForms words_;
    QWidget& window_;
    const QWidget* part_ = nullptr;  ///< none: the middle of the window
};

}  // namespace mirrane
