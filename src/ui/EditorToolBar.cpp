// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/EditorToolBar.h"

#include <QLayout>
#include <string>
#include <utility>

#include "editing/Commands.h"
#include "ui/TransportBar.h"

namespace mirrane {

namespace {

constexpr int kToolIcon = 20;
constexpr int kLeastLecture = 60;  ///< of the name's width; with less the words of the buttons go

}  // namespace

EditorToolBar::EditorToolBar(Editor& editor, const Icons& icons, const std::function<QString(const char* key)>& words,
                             const std::function<void()>& openManual)
    : editor_(editor), icons_(icons), words_(words), lecture_(new ElidedLabel) {
    setObjectName("Toolbar1");
    setMovable(false);
    setContextMenuPolicy(Qt::PreventContextMenu);
    setIconSize({kToolIcon, kToolIcon});
    save_ = Add("Save", "save", [this] { editor_.Save_Click(); });
    undo_ = Add("Undo", "undo", [this] { editor_.Undo_Click(); });
    redo_ = Add("Redo", "redo", [this] { editor_.Redo_Click(); });
    addSeparator();
    split_ = Add("Split", "split", [this] { modCommands::mnuSplit_Click(editor_.edit); });
    remove_ = Add("Remove", "remove", [this] { modCommands::mnuRemove_Click(editor_.edit); });
    volume_ = Add("Volume", "volume", [this] { modCommands::mnuSetVol_Click(editor_.edit); });
    AddLecture();
    Add("Manual", "manual", openManual)->setEnabled(openManual != nullptr);
    exit_ = Add("Exit", "exit", [this] { editor_.Exit_Click(); });
    ReloadIcons();
}

QToolButton* EditorToolBar::Add(const char* name, const char* drawing, std::function<void()> click) {
    auto* button = new QToolButton;
    const std::string key = std::string("Toolbar") + name;
    button->setObjectName(name);
    button->setText(words_(key.c_str()));
    button->setAccessibleName(button->text());
    button->setToolTip(words_((key + "Tip").c_str()));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setFocusPolicy(Qt::TabFocus);
    if (click) connect(button, &QToolButton::clicked, this, std::move(click));
    addWidget(button);
    tools_.push_back({button, drawing});
    return button;
}

void EditorToolBar::AddLecture() {
    lecture_->setObjectName("lLecture");
    QFont bold = lecture_->font();
    bold.setBold(true);
    lecture_->setFont(bold);
    addWidget(lecture_);
}

void EditorToolBar::Refresh(const QString& lecture) {
    FollowEnabled(*save_, editor_.form, Control::Save);
    FollowEnabled(*undo_, editor_.form, Control::Undo);
    FollowEnabled(*redo_, editor_.form, Control::Redo);
    FollowEnabled(*exit_, editor_.form, Control::Exit);
    const TrackMenu tools = modCommands::ToolsNow(editor_.edit);
    split_->setEnabled(tools.canSplit);
    remove_->setEnabled(tools.canRemove);
    volume_->setEnabled(tools.hasSetVol);
    lecture_->setText(lecture);
}

void EditorToolBar::ReloadIcons() {
    for (const Tool& tool : tools_) tool.button->setIcon(icons_.Named(tool.drawing, palette()));
}

void EditorToolBar::resizeEvent(QResizeEvent* event) {
    const bool hasWords = save_->toolButtonStyle() == Qt::ToolButtonTextBesideIcon;
    if (hasWords) widthOfWords_ = layout()->sizeHint().width() + kLeastLecture;
    if (hasWords != (widthOfWords_ <= width()))
        for (const Tool& tool : tools_)
            tool.button->setToolButtonStyle(hasWords ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
    QToolBar::resizeEvent(event);
}

}  // namespace mirrane
