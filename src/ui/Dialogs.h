// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>

#include "editing/EditContext.h"
#include "editing/SetPos.h"
#include "editing/SetVol.h"
#include "shell/Progress.h"

namespace mirrane {

/// A text of a form of res.xml; "\r\n" is a plain line end.
using WordsOfForms = std::function<QString(const char* form, const char* key)>;

/// frmWaveSegVol, "Set Volume": shows it modally on a window; in and out by EditorState::gVolDialogValue.
void ShowSetVol(EditorState& state, const WordsOfForms& words, QWidget* parent);

/// frmMsgLink: shows a message modally, with a link to what helps.
/// @param address opened by the desktop; empty: no link
void ShowMsgLink(const QString& message, const QUrl& address, const WordsOfForms& words, QWidget* parent);

/// frmThumbnail, "Thumbnail": shows the present small picture of a page beside the new one, modally on a window.
/// @returns whether the new one is wanted
[[nodiscard]] bool ShowThumbnail(const ThumbnailChoice& choice, const WordsOfForms& words, QWidget* parent);

/// frmMixSetPos: modeless; the window shows it as long as MainForm::isSetPosOpen says so. When the user closes it, it
/// tells MainForm, from inside itself: whoever takes it away then uses deleteLater.
class SetPosDialog final : public QDialog {
public:
    SetPosDialog(EditContext& ctx, const WordsOfForms& words, QWidget* parent);
    ~SetPosDialog() override;
    SetPosDialog(const SetPosDialog&) = delete;
    SetPosDialog& operator=(const SetPosDialog&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// A job's window, frmProgress or frmCreateThumb: follows its rules, and cannot be closed while the job runs. It is not
/// modal: who holds the editor's window is the logic's affair, and when a modal window is gone as soon as it has come, the
/// toolkit may take the focus for its own and leave the editor's window without the keyboard.
class JobDialog final : public QDialog {
public:
    /// @param rules  outlives this
    /// @param lThumb a line that stays while the caption tells how far the job is, as in frmCreateThumb; empty: the line
    ///               tells it
    JobDialog(ProgressWindow& rules, const QString& objectName, QWidget* parent, const QString& lThumb = {});
    ~JobDialog() override;
    JobDialog(const JobDialog&) = delete;
    JobDialog& operator=(const JobDialog&) = delete;
    void reject() override;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// frmStatus: a small frameless window on top of all others, over what blocks next.
class StatusWindow final : public QWidget {
public:
    explicit StatusWindow(QWidget* parent = nullptr);
    ~StatusWindow() override;
    StatusWindow(const StatusWindow&) = delete;
    StatusWindow& operator=(const StatusWindow&) = delete;
    /// Painted when this returns.
    void ShowText(const QString& text);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace mirrane
