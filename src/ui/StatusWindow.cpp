// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QFrame>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

#include "ui/Dialogs.h"

namespace mirrane {

class StatusWindow::Impl {
public:
    explicit Impl(StatusWindow& window);

    QLabel* const lTitle = new QLabel(kApplicationTitle);
    QLabel* const lStatus = new QLabel;
};

StatusWindow::Impl::Impl(StatusWindow& window) {
    auto* const frame = new QFrame(&window);
    frame->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    auto* const around = new QVBoxLayout(&window);
    around->setContentsMargins(0, 0, 0, 0);
    around->addWidget(frame);

    auto* const column = new QVBoxLayout(frame);
    const int margin = column->spacing() * 4;
    column->setContentsMargins(margin, margin, margin, margin);
    column->addWidget(lTitle);
    column->addWidget(lStatus);
    lTitle->setObjectName("lTitle");
    QFont bold = lTitle->font();
    bold.setBold(true);
    lTitle->setFont(bold);
    lStatus->setObjectName("lStatus");
    lStatus->setMinimumWidth(lStatus->fontMetrics().averageCharWidth() * 40);
}

StatusWindow::StatusWindow(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus),
      impl_(std::make_unique<Impl>(*this)) {
    setObjectName("frmStatus");
    setAttribute(Qt::WA_ShowWithoutActivating);
}

StatusWindow::~StatusWindow() = default;

void StatusWindow::ShowText(const QString& text) {
    impl_->lStatus->setText(text);
    setAccessibleName(text);
    setWindowTitle(text);
    impl_->lStatus->parentWidget()->layout()->activate();  // or the frame tells its old size
    resize(sizeHint());
    const QWidget* const over = QApplication::activeWindow();
    QRect middle(QPoint(), size());
    middle.moveCenter(over != nullptr ? over->frameGeometry().center() : screen()->availableGeometry().center());
    move(middle.topLeft());
    show();
    raise();
    repaint();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

}  // namespace mirrane
