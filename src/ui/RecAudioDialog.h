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

/// Shows it modally on a window.
class RecAudioWindow final : public IRecAudioWindow {
public:
    /// @param window outlives this
    RecAudioWindow(WordsOfForms words, QWidget& window) : words_(std::move(words)), window_(window) {}
    void ShowModal(RecAudio& rules) override;

private:
    WordsOfForms words_;
    QWidget& window_;
};

}  // namespace mirrane
