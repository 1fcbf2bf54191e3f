// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/VolLevel.h"

#include <QPainter>

#include "base/Numbers.h"
#include "media/RecAudio.h"

namespace mirrane {

namespace {

constexpr int kHeight = 22;
constexpr int kBarWidth = 15;
constexpr int kLampWidth = 18;
constexpr int kGap = 1;
constexpr int kPeakWidth = 3;
constexpr int kFirstGreen = 2;
constexpr int kFirstRed = 13;
constexpr QRgb kYellow = qRgb(255, 255, 0);
constexpr QRgb kGreen = qRgb(0, 255, 0);
constexpr QRgb kRed = qRgb(255, 0, 0);
constexpr QRgb kGround = qRgb(24, 24, 26);
constexpr QRgb kUnlit = qRgb(72, 72, 76);
constexpr QRgb kPeak = qRgb(255, 255, 255);

QColor ColourOf(int bar) {
    if (bar < kFirstGreen) return kYellow;
    return bar < kFirstRed ? kGreen : kRed;
}

}  // namespace

VolLevel::VolLevel(QWidget* parent) : QWidget(parent) {
    setObjectName("lVolLevelBg");
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize VolLevel::sizeHint() const { return {RecAudio::kBars * kBarWidth + kLampWidth, kHeight}; }

void VolLevel::Show(int lit, int peak, bool isOverloaded) {
    if (lit == lit_ && peak == peak_ && isOverloaded == isOverloaded_) return;
    lit_ = lit;
    peak_ = peak;
    isOverloaded_ = isOverloaded;
    update();
}

void VolLevel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(kGround));
    const int room = width() - kLampWidth;
    PaintBars(painter, room);
    const QRect lamp(room + kGap, kGap, kLampWidth - 2 * kGap, height() - 2 * kGap);
    painter.fillRect(lamp, QColor(isOverloaded_ ? kRed : kUnlit));
    if (!isOverloaded_) return;
    painter.setPen(QColor(kPeak));
    painter.drawText(lamp, Qt::AlignCenter, "!");
}

void VolLevel::PaintBars(QPainter& painter, int room) const {
    const int width = RoundHalfEven(static_cast<double>(room) / RecAudio::kBars);
    for (int bar = 0; bar < lit_; ++bar)
        painter.fillRect(width * bar + kGap, kGap, width - 2 * kGap, height() - 2 * kGap, ColourOf(bar));
    if (peak_ > lit_)
        painter.fillRect(width * peak_ - kGap - kPeakWidth, kGap, kPeakWidth, height() - 2 * kGap, QColor(kPeak));
}

}  // namespace mirrane
