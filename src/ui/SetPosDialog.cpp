// SPDX-License-Identifier: GPL-3.0-or-later
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

#include "ui/Dialogs.h"
#include "ui/StepEdit.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmMixSetPos";
constexpr std::size_t kSeconds = 2;

}  // namespace

class SetPosDialog::Impl {
public:
    Impl(SetPosDialog& dialog, EditContext& ctx, const WordsOfForms& words);

private:
    struct Field {
        StepEdit* txtTime = nullptr;
        int caret = 0;  ///< before the key that is being handled
    };

    void BuildField(std::size_t index, const WordsOfForms& words);
    [[nodiscard]] QWidget* BuildVScroll(const WordsOfForms& words);
    [[nodiscard]] QPushButton* BuildSet(const WordsOfForms& words);
    void LayOut(const WordsOfForms& words);
    void StartTmrSetFocus();

    void Show(std::size_t index);
    void Select(std::size_t index);
    void Typed(std::size_t index, const QString& text);
    void Step(std::size_t index, int steps);
    void Set();

    SetPosDialog& dialog_;
    std::shared_ptr<SetPos> rules_;  ///< a seek may end this dialog while they still run
    std::array<Field, SetPos::kFields> fields_{};
    std::size_t current_ = kSeconds;  ///< had the focus last
};

SetPosDialog::Impl::Impl(SetPosDialog& dialog, EditContext& ctx, const WordsOfForms& words)
    : dialog_(dialog), rules_(std::make_shared<SetPos>(ctx)) {
    dialog.setObjectName(kForm);
    dialog.setWindowTitle(words(kForm, kForm));
    for (std::size_t i = 0; i < SetPos::kFields; ++i) {
        BuildField(i, words);
        Show(i);
    }
    LayOut(words);
    StartTmrSetFocus();
}

void SetPosDialog::Impl::BuildField(std::size_t index, const WordsOfForms& words) {
    constexpr std::array<const char*, SetPos::kFields> kCaptions = {"lHours", "lMinutes", "lSeconds", "lTenths"};
    auto* const box = new StepEdit(&dialog_);
    box->setObjectName(QString("txtTime(%1)").arg(index));
    box->setAccessibleName(words(kForm, kCaptions.at(index)));
    box->setToolTip(words(kForm, "txtTimeTip"));
    box->setAlignment(Qt::AlignHCenter);
    box->setValidator(new QRegularExpressionValidator(QRegularExpression("[0-9]*"), box));
    box->setFixedWidth(box->fontMetrics().horizontalAdvance("0000000"));
    box->onStep = [this, index](int steps) { Step(index, steps); };
    box->onFocus = [this, index] { current_ = index; };
    QObject::connect(box, &QLineEdit::cursorPositionChanged, &dialog_,
                     [this, index](int, int caret) { fields_.at(index).caret = caret; });
    QObject::connect(box, &QLineEdit::textEdited, &dialog_, [this, index](const QString& text) { Typed(index, text); });
    fields_.at(index).txtTime = box;
}

/// Two arrows for all fields. They leave the focus where it is; the keyboard has the arrow keys.
QWidget* SetPosDialog::Impl::BuildVScroll(const WordsOfForms& words) {
    auto* const VScroll = new QWidget(&dialog_);
    VScroll->setObjectName("VScroll");
    auto* const column = new QVBoxLayout(VScroll);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (const int steps : {1, -1}) {
        auto* const arrow = new QToolButton(VScroll);
        arrow->setObjectName(steps > 0 ? "VScrollUp" : "VScrollDown");
        arrow->setAccessibleName(words(kForm, steps > 0 ? "VScrollUp" : "VScrollDown"));
        arrow->setArrowType(steps > 0 ? Qt::UpArrow : Qt::DownArrow);
        arrow->setAutoRepeat(true);
        arrow->setFocusPolicy(Qt::NoFocus);
        arrow->setFixedHeight(fields_.front().txtTime->sizeHint().height() * 2 / 3);
        QObject::connect(arrow, &QToolButton::clicked, &dialog_, [this, steps] { Step(current_, steps); });
        column->addWidget(arrow);
    }
    return VScroll;
}

QPushButton* SetPosDialog::Impl::BuildSet(const WordsOfForms& words) {
    auto* const cmdSet = new QPushButton(words(kForm, "cmdSet"), &dialog_);
    cmdSet->setObjectName("cmdSet");
    cmdSet->setAccessibleName(cmdSet->text());
    cmdSet->setToolTip(words(kForm, "cmdSetTip"));
    cmdSet->setDefault(true);
    QObject::connect(cmdSet, &QPushButton::clicked, &dialog_, [this] { Set(); });
    return cmdSet;
}

/// Captions above, the time in one line below: 0 : 01 : 05 . 5, the arrows, the button.
void SetPosDialog::Impl::LayOut(const WordsOfForms& words) {
    constexpr std::array<const char*, SetPos::kFields - 1> kBetween = {":", ":", "."};
    auto* const grid = new QGridLayout(&dialog_);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    int column = 0;
    for (const Field& field : fields_) {
        grid->addWidget(new QLabel(field.txtTime->accessibleName(), &dialog_), 0, column, Qt::AlignHCenter);
        grid->addWidget(field.txtTime, 1, column, Qt::AlignHCenter);
        if (&field != &fields_.back())
            grid->addWidget(new QLabel(kBetween.at(static_cast<std::size_t>(column / 2)), &dialog_), 1, column + 1);
        column += 2;
    }
    grid->addWidget(BuildVScroll(words), 1, column - 1);
    grid->setColumnMinimumWidth(column, grid->spacing() * 2);
    grid->addWidget(BuildSet(words), 1, column + 1);
}

void SetPosDialog::Impl::StartTmrSetFocus() {
    auto* const tmrSetFocus = new QTimer(&dialog_);
    tmrSetFocus->setSingleShot(true);
    QObject::connect(tmrSetFocus, &QTimer::timeout, &dialog_, [this] { Select(kSeconds); });
    tmrSetFocus->start(std::chrono::milliseconds(100));
}

void SetPosDialog::Impl::Show(std::size_t index) {
    fields_.at(index).txtTime->setText(QString::fromStdString(rules_->txtTime(index)));
}

void SetPosDialog::Impl::Select(std::size_t index) {
    fields_.at(index).txtTime->setFocus();
    fields_.at(index).txtTime->selectAll();
}

void SetPosDialog::Impl::Typed(std::size_t index, const QString& text) {
    if (rules_->txtTime_Change(index, text.toStdString())) return;
    const int caret = fields_.at(index).caret;
    Show(index);
    fields_.at(index).txtTime->setCursorPosition(caret);
}

void SetPosDialog::Impl::Step(std::size_t index, int steps) {
    rules_->VScroll_Change(index, steps);
    Show(index);
    Select(index);
}

void SetPosDialog::Impl::Set() {
    const QPointer<SetPosDialog> dialog = &dialog_;
    const std::shared_ptr<SetPos> rules = rules_;
    rules->cmdSet_Click();
    if (dialog == nullptr) return;
    for (std::size_t i = 0; i < SetPos::kFields; ++i) Show(i);
}

SetPosDialog::SetPosDialog(EditContext& ctx, const WordsOfForms& words, QWidget* parent)
    : QDialog(parent), impl_(std::make_unique<Impl>(*this, ctx, words)) {
    connect(this, &QDialog::finished, this, [&ctx] {
        ctx.form.isSetPosOpen = false;
        ctx.form.Changed();
    });
}

SetPosDialog::~SetPosDialog() = default;

}  // namespace mirrane
