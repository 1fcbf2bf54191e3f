// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ProgSlider.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>
#include <optional>

#include "shell/ProgCtrl.h"

namespace mirrane {

namespace {

constexpr int kWhole = 1000;  ///< the value as a screen reader knows it
constexpr int kHeight = 18;
constexpr int kLeastWidth = 80;
constexpr int kPaleFrame = 110;  ///< of 255
constexpr float kKeyStep = 0.02F;

/// What a key asks for; nothing for a key that is none of the slider's.
std::optional<float> FractionOfKey(int key, float now) {
    switch (key) {
        case Qt::Key_Left:
        case Qt::Key_Down:
            return std::max(now - kKeyStep, 0.0F);
        case Qt::Key_Right:
        case Qt::Key_Up:
            return std::min(now + kKeyStep, 1.0F);
        case Qt::Key_Home:
            return 0.0F;
        case Qt::Key_End:
            return 1.0F;
        default:
            return std::nullopt;
    }
}

}  // namespace

ProgSlider::ProgSlider(QWidget* parent) : QAbstractSlider(parent) {
    setObjectName("ProgCtrl");
    setRange(0, kWhole);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize ProgSlider::sizeHint() const { return {4 * kLeastWidth, kHeight}; }
QSize ProgSlider::minimumSizeHint() const { return {kLeastWidth, kHeight}; }

void ProgSlider::SetFraction(float fraction) {
    if (fraction == fraction_) return;
    fraction_ = QvProgCtrl::Stored(fraction);
    setValue(static_cast<int>(std::lround(fraction_ * kWhole)));
    update();
}

void ProgSlider::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    painter.fillRect(rect(), palette().color(group, QPalette::Base));
    if (const int filled = QvProgCtrl::Filled(fraction_, width()); filled > 0)
        painter.fillRect(QRect(QPoint(1, 1), QPoint(filled + 1, height() - 2)),
                         palette().color(group, QPalette::Highlight));
    QColor frame = palette().color(group, hasFocus() ? QPalette::Highlight : QPalette::WindowText);
    if (!hasFocus()) frame.setAlpha(kPaleFrame);
    painter.setPen(frame);
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

void ProgSlider::mousePressEvent(QMouseEvent* event) { event->accept(); }

void ProgSlider::mouseMoveEvent(QMouseEvent* event) {
    const int x = static_cast<int>(event->position().x());
    if (const std::optional<float> fraction = QvProgCtrl::FractionAt(x, width()); fraction && tipAt)
        QToolTip::showText(event->globalPosition().toPoint(), tipAt(*fraction), this);
}

void ProgSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !onRelease) return;
    onRelease(QvProgCtrl::FractionOfRelease(static_cast<int>(event->position().x()), width()));
}

void ProgSlider::keyPressEvent(QKeyEvent* event) {
    const std::optional<float> fraction = FractionOfKey(event->key(), fraction_);
    if (!fraction)
        event->ignore();
    else if (onRelease)
        onRelease(*fraction);
}

void ProgSlider::wheelEvent(QWheelEvent* event) { event->ignore(); }

}  // namespace mirrane
