// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TimelineButtons.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <utility>

#include "ui/Colours.h"

namespace mirrane {

namespace {

constexpr int kPaleness = 110;  // of what is disabled, of 255

/// Enter presses as the space bar does. @returns whether it was that key
bool PressByEnter(QAbstractButton& button, const QKeyEvent& event) {
    if (event.key() != Qt::Key_Return && event.key() != Qt::Key_Enter) return false;
    if (!event.isAutoRepeat()) button.click();
    return true;
}

void PaintFocus(QPainter& painter, const QWidget& widget) {
    if (!widget.hasFocus()) return;
    painter.setPen(QPen(widget.palette().color(QPalette::Highlight), 2));
    painter.drawRect(widget.rect().adjusted(2, 2, -2, -2));
}

}  // namespace

StripButton::StripButton(QWidget* parent) : QAbstractButton(parent) { setFocusPolicy(Qt::TabFocus); }

void StripButton::ShowPicture(Picture picture) {
    picture_ = std::move(picture);
    setIcon(picture_(palette()));
}

void StripButton::paintEvent(QPaintEvent* /*event*/) {
    constexpr int kDarker = 115;
    constexpr int kLighter = 107;
    constexpr int kIconPx = 18;
    const TimelineColours colours = ColoursFor(palette());
    QPainter painter(this);
    QColor ground = colours.strip;
    if (isDown()) ground = ground.darker(kDarker);
    if (isEnabled() && underMouse() && !isDown()) ground = ground.lighter(kLighter);
    painter.fillRect(rect(), colours.frame);
    painter.fillRect(rect().adjusted(1, 1, -1, -1), ground);
    QRect place(0, 0, kIconPx, kIconPx);
    place.moveCenter(rect().center());
    icon().paint(&painter, place, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
    PaintFocus(painter, *this);
}

void StripButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange && picture_) setIcon(picture_(palette()));
    QAbstractButton::changeEvent(event);
}

void StripButton::keyPressEvent(QKeyEvent* event) {
    if (!PressByEnter(*this, *event)) QAbstractButton::keyPressEvent(event);
}

void StripButton::enterEvent(QEnterEvent* event) {
    update();
    QAbstractButton::enterEvent(event);
}

void StripButton::leaveEvent(QEvent* event) {
    update();
    QAbstractButton::leaveEvent(event);
}

TrackPanel::TrackPanel(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
}

void TrackPanel::paintEvent(QPaintEvent* /*event*/) {
    constexpr int kMark = 5;
    constexpr int kTextLeft = 14;
    const TimelineColours colours = ColoursFor(palette());
    QPainter painter(this);
    painter.fillRect(rect(), isChecked() ? colours.panelSelected : colours.panel);
    QFont bold = font();
    bold.setBold(isChecked());
    painter.setFont(bold);
    QColor text = colours.text;
    if (!isEnabled()) text.setAlpha(kPaleness);
    if (isChecked()) painter.fillRect(0, 0, kMark, height(), text);
    painter.setPen(text);
    painter.drawText(rect().adjusted(kTextLeft, 0, -kMark, 0), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap,
                     this->text());
    PaintFocus(painter, *this);
}

void TrackPanel::keyPressEvent(QKeyEvent* event) {
    if (!PressByEnter(*this, *event)) QAbstractButton::keyPressEvent(event);
}

}  // namespace mirrane
