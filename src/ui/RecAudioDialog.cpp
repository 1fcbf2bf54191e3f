// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/RecAudioDialog.h"

#include <QAccessible>
#include <QComboBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <utility>

#include "ui/VolLevel.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmRecAudio";
constexpr std::chrono::milliseconds kInterval{100};
constexpr int kAdviceLines = 2;
constexpr int kColumns = 3;

}  // namespace

class RecAudioDialog::Impl {
public:
    Impl(RecAudioDialog& dialog, RecAudio& rules, const WordsOfForms& words);

private:
    void BuildInputs();
    void BuildButton();
    void LayOut();
    void StartTimers();
    void Refresh();
    void Advise(const QString& advice);
    [[nodiscard]] QString Word(const char* key) const { return words_(kForm, key); }

    RecAudioDialog& dialog_;
    RecAudio& rules_;
    WordsOfForms words_;
    QComboBox* const inputs_ = new QComboBox(&dialog_);
    VolLevel* const meter_ = new VolLevel(&dialog_);
    QLabel* const lRecTime_ = new QLabel(&dialog_);
    QLabel* const lAdvice_ = new QLabel(&dialog_);
    QPushButton* const cmdRec_ = new QPushButton(&dialog_);
};

RecAudioDialog::Impl::Impl(RecAudioDialog& dialog, RecAudio& rules, const WordsOfForms& words)
    : dialog_(dialog), rules_(rules), words_(words) {
    dialog.setObjectName(kForm);
    dialog.setWindowTitle(Word(kForm));
    BuildInputs();
    meter_->setAccessibleName(Word("lVolLevelBg"));
    meter_->setToolTip(Word("lVolLevelBgTip"));
    lRecTime_->setObjectName("lRecTime");
    lRecTime_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    lAdvice_->setObjectName("lAdvice");
    lAdvice_->setWordWrap(true);
    lAdvice_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    lAdvice_->setMinimumHeight(kAdviceLines * lAdvice_->fontMetrics().lineSpacing());
    BuildButton();
    LayOut();
    Refresh();
    StartTimers();
}

void RecAudioDialog::Impl::BuildInputs() {
    inputs_->setObjectName("cboInput");
    inputs_->setAccessibleName(Word("lInput"));
    inputs_->setToolTip(Word("lInputTip"));
    inputs_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    for (const AvDevice& input : rules_.inputs()) inputs_->addItem(QString::fromStdString(input.name));
    inputs_->setCurrentIndex(rules_.input());
    connect(inputs_, &QComboBox::activated, &dialog_, [this](int index) {
        rules_.ChooseInput(index);
        inputs_->setCurrentIndex(rules_.input());
    });
}

void RecAudioDialog::Impl::BuildButton() {
    cmdRec_->setObjectName("cmdRec");
    cmdRec_->setDefault(true);
    connect(cmdRec_, &QPushButton::clicked, &dialog_, [this] {
        rules_.cmdRec_Click();
        Refresh();
    });
}

/// The input, below it the meter, the time beside the button, and room for advice.
void RecAudioDialog::Impl::LayOut() {
    auto* const grid = new QGridLayout(&dialog_);
    grid->setVerticalSpacing(grid->verticalSpacing() * 2);
    auto* const lInput = new QLabel(Word("lInput"), &dialog_);
    lInput->setBuddy(inputs_);
    grid->addWidget(lInput, 0, 0);
    grid->addWidget(inputs_, 0, 1, 1, kColumns - 1);
    grid->addWidget(meter_, 1, 0, 1, kColumns);
    grid->addWidget(lAdvice_, 2, 0, 1, kColumns);
    grid->addWidget(lRecTime_, 3, 0, 1, 2);
    grid->addWidget(cmdRec_, 3, 2);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(2, 1);
    cmdRec_->setFocus();
}

void RecAudioDialog::Impl::StartTimers() {
    auto* const timer = new QTimer(&dialog_);
    auto isRunning = std::make_shared<bool>(false);
    connect(timer, &QTimer::timeout, &dialog_, [this, isRunning] {
        if (std::exchange(*isRunning, true)) return;
        rules_.tmrGetVol_Timer();
        rules_.tmrRecording_Timer();
        Refresh();
        *isRunning = false;
    });
    timer->start(kInterval);
}

void RecAudioDialog::Impl::Refresh() {
    meter_->Show(rules_.lit(), rules_.peak(), rules_.isOverloaded());
    lRecTime_->setText(QString::fromStdString(rules_.lRecTime()));
    const bool isRecording = rules_.mRecording();
    const QString advice = QString::fromStdString(rules_.lAdvice());
    const bool isTryingOut = !isRecording && !rules_.isDone();
    Advise(advice.isEmpty() && isTryingOut ? Word("lTryOut") : advice);
    inputs_->setEnabled(!isRecording && inputs_->count() > 1);
    cmdRec_->setText(Word(isRecording ? "cmdStop" : "cmdRec"));
    cmdRec_->setAccessibleName(cmdRec_->text());
    cmdRec_->setToolTip(Word(isRecording ? "cmdStopTip" : "cmdRecTip"));
    if (rules_.isDone()) dialog_.accept();
}

/// A screen reader reads new advice out.
void RecAudioDialog::Impl::Advise(const QString& advice) {
    if (advice == lAdvice_->text()) return;
    lAdvice_->setText(advice);
    if (advice.isEmpty()) return;
    QAccessibleEvent alert(lAdvice_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

RecAudioDialog::RecAudioDialog(RecAudio& rules, const WordsOfForms& words, QWidget* parent)
    : QDialog(parent), impl_(std::make_unique<Impl>(*this, rules, words)) {}

RecAudioDialog::~RecAudioDialog() = default;

void RecAudioWindow::ShowModal(RecAudio& rules) {
    const QPointer<RecAudioDialog> dialog = new RecAudioDialog(rules, words_, &window_);  // the window may go away
    if (part_ != nullptr) {
        dialog->adjustSize();
        const QPoint corner = part_->mapToGlobal(part_->rect().center()) - dialog->rect().center();
        dialog->move(std::max(corner.x(), window_.x()), corner.y());
    }
    dialog->exec();
    delete dialog;
}

}  // namespace mirrane
