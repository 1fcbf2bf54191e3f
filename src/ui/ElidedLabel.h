// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QEvent>
#include <QLabel>
#include <QPainter>

namespace mirrane {

/// One line of plain text in the middle of the room that is left for it. What does not fit is in the tool tip.
class ElidedLabel final : public QLabel {
public:
    ElidedLabel() {
        setTextFormat(Qt::PlainText);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    }

    [[nodiscard]] QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }
    [[nodiscard]] QSize sizeHint() const override { return minimumSizeHint(); }

protected:
    void paintEvent(QPaintEvent* /*event*/) override { QPainter(this).drawText(rect(), Qt::AlignCenter, Shown()); }

    bool event(QEvent* event) override {
        if (event->type() == QEvent::ToolTip) setToolTip(Shown() == text() ? QString() : text());
        return QLabel::event(event);
    }

private:
    [[nodiscard]] QString Shown() const { return fontMetrics().elidedText(text(), Qt::ElideMiddle, width()); }
};

}  // namespace mirrane
