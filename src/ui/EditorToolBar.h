// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QToolBar>
#include <QToolButton>
#include <functional>
#include <vector>

#include "frame/Editor.h"
#include "ui/ElidedLabel.h"
#include "ui/Icons.h"

namespace mirrane {

/// Toolbar1: save, undo and redo, what is done to segments, the lecture's name, manual and exit. Where the window is too
/// narrow for their words, the buttons show their pictures alone.
class EditorToolBar final : public QToolBar {
public:
    /// @param words      a text of the form frmMixEditor by its key
    /// @param openManual empty: there is none
    EditorToolBar(Editor& editor, const Icons& icons, const std::function<QString(const char* key)>& words,
                  const std::function<void()>& openManual);

    /// MainForm, selection or history have changed.
    void Refresh(const QString& lecture);
    /// The colours of the windows, or the pictures of the desktop, have changed.
    void ReloadIcons();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Tool {
        QToolButton* button;
        const char* drawing;
    };

    QToolButton* Add(const char* name, const char* drawing, std::function<void()> click);
    void AddLecture();

    Editor& editor_;
    const Icons& icons_;
    const std::function<QString(const char* key)> words_;
    std::vector<Tool> tools_;
    int widthOfWords_ = 0;  ///< which the bar needs to show them
    QToolButton* save_;
    QToolButton* undo_;
    QToolButton* redo_;
    QToolButton* split_;
    QToolButton* remove_;
    QToolButton* volume_;
    QToolButton* exit_;
    ElidedLabel* lecture_;
};

}  // namespace mirrane
