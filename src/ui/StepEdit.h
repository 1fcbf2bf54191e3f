// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <functional>
#include <utility>

namespace mirrane {

/// A box for a number, which the arrow keys step.
class StepEdit final : public QLineEdit {
public:
    using QLineEdit::QLineEdit;

    std::function<void(int steps)> onStep;  ///< the arrow up or down was pressed: 1 or -1
    std::function<void()> onEnter;          ///< empty: the key is the dialog's
    std::function<void()> onFocus;          ///< may be empty

protected:
    void keyPressEvent(QKeyEvent* event) override {
        const int key = event->key();
        const bool isEnter = key == Qt::Key_Return || key == Qt::Key_Enter;
        if (key == Qt::Key_Up || key == Qt::Key_Down)
            onStep(key == Qt::Key_Up ? 1 : -1);
        else if (isEnter && onEnter)
            onEnter();
        else
            QLineEdit::keyPressEvent(event);
    }

    void focusInEvent(QFocusEvent* event) override {
        QLineEdit::focusInEvent(event);
        if (onFocus) onFocus();
    }
};

}  // namespace mirrane
