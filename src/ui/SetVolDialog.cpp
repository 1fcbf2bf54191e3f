// SPDX-License-Identifier: GPL-3.0-or-later
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTimer>

#include "ui/Dialogs.h"
#include "ui/StepEdit.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmWaveSegVol";

class SetVolDialog final : public QDialog {
public:
    SetVolDialog(EditorState& state, const WordsOfForms& words, QWidget* parent);

private:
    void BuildBox(const WordsOfForms& words);
    void BuildBar(const WordsOfForms& words);
    void BuildOk(const WordsOfForms& words);
    void LayOut(const WordsOfForms& words);
    void Show();
    void SelectText();

    SetVol rules_;
    StepEdit* const txtVolPct_ = new StepEdit(this);
    QScrollBar* const VScroll_ = new QScrollBar(Qt::Vertical, this);
    QPushButton* const cmdOK_ = new QPushButton(this);
};

SetVolDialog::SetVolDialog(EditorState& state, const WordsOfForms& words, QWidget* parent)
    : QDialog(parent), rules_(state) {
    setObjectName(kForm);
    setWindowTitle(words(kForm, kForm));
    BuildBox(words);
    BuildBar(words);
    BuildOk(words);
    LayOut(words);
    Show();
    auto* const tmrInit = new QTimer(this);  // once the form has come up
    tmrInit->setSingleShot(true);
    connect(tmrInit, &QTimer::timeout, this, [this] { SelectText(); });
    tmrInit->start(0);
}

void SetVolDialog::BuildBox(const WordsOfForms& words) {
    txtVolPct_->setObjectName("txtVolPct");
    txtVolPct_->setAccessibleName(words(kForm, "txtVolPct"));
    txtVolPct_->setToolTip(words(kForm, "txtVolPctTip"));
    txtVolPct_->setAlignment(Qt::AlignRight);
    txtVolPct_->setMinimumWidth(txtVolPct_->fontMetrics().horizontalAdvance("0000000000"));
    connect(txtVolPct_, &QLineEdit::textEdited, this, [this](const QString& text) {
        rules_.txtVolPct_Change(text.toStdString());
        const QSignalBlocker blocker(VScroll_);
        VScroll_->setValue(rules_.VScroll());
    });
    txtVolPct_->onStep = [this](int steps) {
        rules_.Step(steps);
        Show();
    };
    txtVolPct_->onEnter = [this] {
        rules_.Enter();
        Show();
        SelectText();
    };
}

void SetVolDialog::BuildBar(const WordsOfForms& words) {
    VScroll_->setObjectName("VScroll");
    VScroll_->setAccessibleName(words(kForm, "txtVolPct"));
    VScroll_->setToolTip(words(kForm, "txtVolPctTip"));
    VScroll_->setRange(0, SetVol::kMax);
    VScroll_->setSingleStep(SetVol::kSmallChange);
    VScroll_->setPageStep(SetVol::kLargeChange);
    VScroll_->setFocusPolicy(Qt::StrongFocus);
    VScroll_->setMinimumHeight(cmdOK_->sizeHint().height() * 4);
    connect(VScroll_, &QScrollBar::valueChanged, this, [this](int value) {
        rules_.VScroll_Change(value);
        Show();
    });
}

void SetVolDialog::BuildOk(const WordsOfForms& words) {
    cmdOK_->setObjectName("cmdOK");
    cmdOK_->setText(words(kForm, "cmdOK"));
    cmdOK_->setAccessibleName(cmdOK_->text());
    cmdOK_->setToolTip(words(kForm, "cmdOKTip"));
    connect(cmdOK_, &QPushButton::clicked, this, [this] {
        if (rules_.cmdOK_Click()) return accept();
        SelectText();
    });
}

/// The number above the button, the bar beside both.
void SetVolDialog::LayOut(const WordsOfForms& words) {
    auto* const lPct = new QLabel(words(kForm, "lPct"), this);
    lPct->setObjectName("lPct");
    auto* const grid = new QGridLayout(this);
    grid->setHorizontalSpacing(grid->spacing() * 2);
    grid->addWidget(txtVolPct_, 0, 0);
    grid->addWidget(lPct, 0, 1);
    grid->addWidget(VScroll_, 0, 2, 3, 1);
    grid->addWidget(cmdOK_, 2, 0, 1, 2);
    grid->setRowStretch(1, 1);
    grid->setColumnStretch(0, 1);
    setTabOrder(txtVolPct_, VScroll_);
    setTabOrder(VScroll_, cmdOK_);
}

void SetVolDialog::Show() {
    const QSignalBlocker blocker(VScroll_);
    VScroll_->setValue(rules_.VScroll());
    txtVolPct_->setText(QString::fromStdString(rules_.txtVolPct()));
}

void SetVolDialog::SelectText() {
    txtVolPct_->setFocus();
    txtVolPct_->selectAll();
}

}  // namespace

void ShowSetVol(EditorState& state, const WordsOfForms& words, QWidget* parent) {
    const QPointer<SetVolDialog> dialog = new SetVolDialog(state, words, parent);  // the window may go away under it
    dialog->exec();
    delete dialog;
}

}  // namespace mirrane
