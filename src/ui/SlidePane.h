// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QKeyEvent>
#include <QWidget>

#include "frame/Editor.h"
#include "ui/Dialogs.h"
#include "ui/PictureView.h"
#include "ui/WebPane.h"

namespace mirrane {

/// What a slide shows: the player's picture, or a page, which the picture gives way to once it is there.
class SlidePane final : public QWidget {
public:
    /// Takes over what the logic tells of pages, MainForm::face, until that is given to others.
    /// @param editor outlives this
    SlidePane(Editor& editor, WordsOfForms words);

    [[nodiscard]] PictureView& Picture() { return *picture_; }
    /// The page did not come, or is gone again.
    [[nodiscard]] bool HasFailed() const { return hasFailed_; }
    /// MainForm has changed.
    void Refresh();
    /// Whether a key is for the page that has the focus; F6 takes the focus away from it.
    [[nodiscard]] bool TakesKey(const QKeyEvent& key);

private:
    void Wire();
    void Navigate(const std::string& file);
    void OnArrived();
    void OnFailed();
    [[nodiscard]] bool ShowThumbnail(const ThumbnailChoice& choice);

    Editor& editor_;
    WordsOfForms words_;
    PictureView* picture_ = nullptr;
    WebPane* ie_ = nullptr;
    bool hasFailed_ = false;
};

}  // namespace mirrane
