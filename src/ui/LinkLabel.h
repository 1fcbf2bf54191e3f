// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QDesktopServices>
#include <QPainter>
#include <QUrl>

namespace mirrane {

/// A text that opens an address; underlined while the mouse or the focus is on it.
class LinkLabel final : public QAbstractButton {
public:
    /// @param text "&" is ahead of the letter that opens it together with Alt
    LinkLabel(const QString& text, const QUrl& address) {
        setText(text);
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
        connect(this, &QAbstractButton::clicked, this, [address] { QDesktopServices::openUrl(address); });
    }

    [[nodiscard]] QSize sizeHint() const override { return fontMetrics().size(Qt::TextShowMnemonic, text()); }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        QFont shown = font();
        shown.setUnderline(underMouse() || hasFocus());
        painter.setFont(shown);
        painter.setPen(palette().color(QPalette::Link));
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, text());
    }
};

}  // namespace mirrane
