// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TransportBar.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <algorithm>
#include <string>

#include "editing/SetPos.h"

namespace mirrane {

namespace {

constexpr int kIcon = 20;
constexpr char kWidestTime[] = " 0:00:00.0 / 0:00:00.0 ";

}  // namespace

void FollowEnabled(QWidget& widget, const MainForm& form, Control control) {
    const bool on = form.IsEnabled(control);
    if (on || !form.lSeek) widget.setEnabled(on);
}

TransportBar::TransportBar(EditContext& ctx, Transport& transport, const Icons& icons,
                           std::function<QString(const char* key)> words, QWidget* parent)
    : QWidget(parent), ctx_(ctx), transport_(transport), icons_(icons), words_(std::move(words)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(6, 4, 6, 4);
    cmdPrev_ = AddButton(Control::cmdPrev, [this] { transport_.cmdPrev_Click(); });
    cmdPlay_ = AddButton(Control::cmdPlay, [this] { transport_.cmdPlay_Click(); });
    cmdStop_ = AddButton(Control::cmdStop, [this] { transport_.cmdStop_Click(); });
    cmdNext_ = AddButton(Control::cmdNext, [this] { transport_.cmdNext_Click(); });
    ProgCtrl_ = new ProgSlider;
    ProgCtrl_->setAccessibleName(words_("ProgCtrl"));
    ProgCtrl_->tipAt = [this](float fraction) { return QString::fromStdString(transport_.ProgCtrlTip(fraction)); };
    ProgCtrl_->onRelease = [this](float fraction) { transport_.ProgCtrl_MouseUp(fraction); };
    row->addWidget(ProgCtrl_, 1);
    AddTime();
    chkAuto_ = new QCheckBox(words_("chkAuto"));
    chkAuto_->setObjectName("chkAuto");
    chkAuto_->setToolTip(words_("chkAutoTip"));
    chkAuto_->setFocusPolicy(Qt::TabFocus);
    connect(chkAuto_, &QCheckBox::toggled, this, [this](bool on) { ctx_.form.chkAuto = on; });
    row->addWidget(chkAuto_);
    ReloadIcons();
}

QToolButton* TransportBar::AddButton(Control control, std::function<void()> click) {
    auto* button = new QToolButton;
    const std::string name = NameOf(control);
    button->setObjectName(QString::fromStdString(name));
    button->setText(words_(name.c_str()));
    button->setAccessibleName(button->text());
    button->setToolTip(words_((name + "Tip").c_str()));
    button->setIconSize({kIcon, kIcon});
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    connect(button, &QToolButton::clicked, this, std::move(click));
    layout()->addWidget(button);
    return button;
}

/// The time keeps its place while its digits change.
void TransportBar::AddTime() {
    lPlayInfo_ = new QToolButton;
    lPlayInfo_->setObjectName("lPlayInfo");
    lPlayInfo_->setToolTip(words_("lPlayInfoTip"));
    lPlayInfo_->setAutoRaise(true);
    lPlayInfo_->setFocusPolicy(Qt::TabFocus);
    lPlayInfo_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    lPlayInfo_->setMinimumWidth(lPlayInfo_->fontMetrics().horizontalAdvance(kWidestTime));
    connect(lPlayInfo_, &QToolButton::clicked, this, [this] { lPlayInfo_Click(ctx_); });
    layout()->addWidget(lPlayInfo_);
}

void TransportBar::Refresh() {
    const MainForm& form = ctx_.form;
    FollowEnabled(*cmdPrev_, form, Control::cmdPrev);
    FollowEnabled(*cmdPlay_, form, Control::cmdPlay);
    FollowEnabled(*cmdStop_, form, Control::cmdStop);
    FollowEnabled(*cmdNext_, form, Control::cmdNext);
    FollowEnabled(*ProgCtrl_, form, Control::ProgCtrl);
    FollowEnabled(*lPlayInfo_, form, Control::ProgCtrl);
    ProgCtrl_->SetFraction(form.ProgCtrl);
    lPlayInfo_->setText(QString::fromStdString(form.lPlayInfo));
    chkAuto_->setChecked(form.chkAuto);
    if ((form.cmdPlayCaption == form.mPauseCaption) != showsPause_) FollowPlay();
}

void TransportBar::FollowPlay() {
    const MainForm& form = ctx_.form;
    showsPause_ = form.cmdPlayCaption == form.mPauseCaption;
    cmdPlay_->setText(QString::fromStdString(form.cmdPlayCaption));
    cmdPlay_->setAccessibleName(cmdPlay_->text());
    cmdPlay_->setToolTip(words_(showsPause_ ? "cmdPauseTip" : "cmdPlayTip"));
    cmdPlay_->setIcon(showsPause_ ? icons_.Named("pause", palette()) : icons_.Of(Control::cmdPlay, palette()));
}

void TransportBar::ReloadIcons() {
    cmdPrev_->setIcon(icons_.Of(Control::cmdPrev, palette()));
    cmdPlay_->setIcon(showsPause_ ? icons_.Named("pause", palette()) : icons_.Of(Control::cmdPlay, palette()));
    cmdStop_->setIcon(icons_.Of(Control::cmdStop, palette()));
    cmdNext_->setIcon(icons_.Of(Control::cmdNext, palette()));
}

}  // namespace mirrane
