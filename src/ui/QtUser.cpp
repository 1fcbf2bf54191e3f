// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/QtUser.h"

#include <QApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QTimer>

#include "base/Text.h"
#include "ui/Dialogs.h"

namespace mirrane {

namespace {

/// The usual pointer while a box waits for an answer, whatever works behind it.
class UsualPointer {
public:
    explicit UsualPointer(bool isNeeded) : isNeeded_(isNeeded) {
        if (isNeeded_) QApplication::setOverrideCursor(Qt::ArrowCursor);
    }
    ~UsualPointer() {
        if (isNeeded_) QApplication::restoreOverrideCursor();
    }
    UsualPointer(const UsualPointer&) = delete;
    UsualPointer& operator=(const UsualPointer&) = delete;

private:
    bool isNeeded_;
};

QMessageBox::StandardButtons ButtonsOf(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return QMessageBox::Ok;
        case Buttons::OkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case Buttons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case Buttons::YesNoCancel:
            break;
    }
    return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
}

Answer AnswerOf(int button) {
    switch (button) {
        case QMessageBox::Ok:
            return Answer::Ok;
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        default:
            return Answer::Cancel;
    }
}

QMessageBox::Icon IconOf(const MessageBox& box) {
    if (box.isFailure) return QMessageBox::Warning;
    return box.buttons == Buttons::Ok ? QMessageBox::Information : QMessageBox::Question;
}

}  // namespace

QtUser::QtUser() = default;
QtUser::~QtUser() = default;

/// Whoever the user works with now.
QWidget* QtUser::Front() const {
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeWindow())) return dialog;
    return window_ != nullptr && window_->isVisible() ? window_.data() : nullptr;
}

Answer QtUser::Ask(const MessageBox& box) {
    if (hasLeft_) return Answer::Cancel;
    const UsualPointer pointer(busyDepth_ > 0);
    // What it stands on may go away under it.
    const QPointer<QMessageBox> shown =
        new QMessageBox(IconOf(box), QString::fromStdString(box.title.empty() ? kApplicationTitle : box.title),
                        QString::fromStdString(ReplaceAll(box.text, "\r\n", "\n")), ButtonsOf(box.buttons), Front());
    shown->setTextFormat(Qt::PlainText);
    shown->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A box of Yes and No alone has no button that the Escape key would press.
    if (box.buttons == Buttons::YesNo) shown->setEscapeButton(QMessageBox::No);
    const Answer answer = AnswerOf(shown->exec());
    delete shown;
    return answer;
}

void QtUser::Leave() {
    hasLeft_ = true;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(window)) box->reject();
}

void QtUser::ShowStatus(const std::string& text) {
    if (!status_) status_ = std::make_unique<StatusWindow>();
    status_->ShowText(QString::fromStdString(text));
}

void QtUser::HideStatus() { status_.reset(); }

void QtUser::SetBusyCursor(bool busy) {
    if (busy) {
        ++busyDepth_;
        QApplication::setOverrideCursor(Qt::WaitCursor);
    } else if (busyDepth_ > 0) {
        --busyDepth_;
        QApplication::restoreOverrideCursor();
    }
}

void QtUser::RunEvents() { QCoreApplication::processEvents(); }

void QtUser::Sleep(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace mirrane
