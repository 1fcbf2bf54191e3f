// SPDX-License-Identifier: GPL-3.0-or-later
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

#include "ui/Dialogs.h"

namespace mirrane {

class JobDialog::Impl {
public:
    Impl(JobDialog& dialog, ProgressWindow& rules, QString lThumb);
    ~Impl() { rules_.onChanged = nullptr; }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] bool mCanClose() const { return rules_.mCanClose(); }

private:
    void LayOut();
    void Follow();

    JobDialog& dialog_;
    ProgressWindow& rules_;
    const QString lThumb_;
    QLabel* const line_ = new QLabel(&dialog_);
    QProgressBar* const bar_ = new QProgressBar(&dialog_);
};

JobDialog::Impl::Impl(JobDialog& dialog, ProgressWindow& rules, QString lThumb)
    : dialog_(dialog), rules_(rules), lThumb_(std::move(lThumb)) {
    line_->setObjectName(lThumb_.isEmpty() ? "lStatus" : "lThumb");
    bar_->setObjectName(lThumb_.isEmpty() ? "ProgBar" : "ProgressBar");
    LayOut();
    Follow();
    rules.onChanged = [this] { Follow(); };
}

void JobDialog::Impl::LayOut() {
    line_->setWordWrap(true);
    bar_->setRange(0, 100);
    bar_->setTextVisible(false);  // the words tell it
    auto* const column = new QVBoxLayout(&dialog_);
    const int margin = column->spacing() * 3;
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(column->spacing() * 2);
    column->addWidget(line_);
    column->addWidget(bar_);
    dialog_.setMinimumWidth(dialog_.fontMetrics().averageCharWidth() * 64);
}

void JobDialog::Impl::Follow() {
    const QString text = QString::fromStdString(rules_.lStatus());
    dialog_.setWindowTitle(lThumb_.isEmpty() ? QString::fromStdString(rules_.title()) : text);
    line_->setText(lThumb_.isEmpty() ? text : lThumb_);
    bar_->setAccessibleName(dialog_.windowTitle());
    bar_->setValue(rules_.ProgBar());
    dialog_.setVisible(rules_.isShown());
}

JobDialog::JobDialog(ProgressWindow& rules, const QString& objectName, QWidget* parent, const QString& lThumb)
    : QDialog(parent) {
    setObjectName(objectName);
    impl_ = std::make_unique<Impl>(*this, rules, lThumb);
}

JobDialog::~JobDialog() = default;

void JobDialog::reject() {
    if (impl_->mCanClose()) QDialog::reject();
}

}  // namespace mirrane
