// SPDX-License-Identifier: GPL-3.0-or-later
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "ui/Dialogs.h"
#include "ui/LinkLabel.h"

namespace mirrane {

namespace {

constexpr char kForm[] = "frmMsgLink";

QLabel* WarningPicture(const QWidget& beside) {
    auto* const picture = new QLabel;
    const int size = beside.style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
    picture->setPixmap(beside.style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    return picture;
}

QLabel* MessageText(const QString& message) {
    constexpr int kLettersOfALine = 60;
    auto* const lMsg = new QLabel(message);
    lMsg->setObjectName("lMsg");
    lMsg->setTextFormat(Qt::PlainText);
    lMsg->setWordWrap(true);
    lMsg->setTextInteractionFlags(Qt::TextSelectableByMouse);
    lMsg->setFixedWidth(lMsg->fontMetrics().averageCharWidth() * kLettersOfALine);
    return lMsg;
}

}  // namespace

void ShowMsgLink(const QString& message, const QUrl& address, const WordsOfForms& words, QWidget* parent) {
    const QPointer<QDialog> dialog = new QDialog(parent);  // the window may go away under it
    dialog->setObjectName(kForm);
    dialog->setWindowTitle(words(kForm, kForm));
    auto* const all = new QVBoxLayout(dialog);
    all->setSizeConstraint(QLayout::SetFixedSize);
    auto* const row = new QHBoxLayout;
    row->setSpacing(row->spacing() * 2);
    all->addLayout(row);
    row->addWidget(WarningPicture(*dialog), 0, Qt::AlignTop);
    auto* const column = new QVBoxLayout;
    row->addLayout(column);
    column->addWidget(MessageText(message));
    if (!address.isEmpty()) {
        auto* const lLink = new LinkLabel(words(kForm, "lLink"), address);
        lLink->setObjectName("lLink");
        lLink->setToolTip(words(kForm, "lLinkTip"));
        column->addWidget(lLink, 0, Qt::AlignLeft);
    }
    auto* const cmdOK = new QPushButton(words("frmMsgBox", "cmdOK"));
    cmdOK->setObjectName("cmdOK");
    cmdOK->setToolTip(words(kForm, "cmdOKTip"));
    cmdOK->setDefault(true);
    QObject::connect(cmdOK, &QPushButton::clicked, dialog, &QDialog::accept);
    all->addWidget(cmdOK, 0, Qt::AlignRight);
    cmdOK->setFocus();
    dialog->exec();
    delete dialog;
}

}  // namespace mirrane
