// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/PictureView.h"

#include <QPaintDevice>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace mirrane {

namespace {

constexpr QSize kLeast{240, 135};
constexpr QRgb kGround = qRgb(24, 24, 26);
constexpr QRgb kText = qRgb(235, 235, 235);
constexpr int kMargin = 8;

}  // namespace

QRect FittedRect(QSize picture, QSize room) {
    if (picture.isEmpty() || room.isEmpty()) return {};
    const QSize size = picture.scaled(room, Qt::KeepAspectRatio);
    return {QPoint((room.width() - size.width()) / 2, (room.height() - size.height()) / 2), size};
}

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setObjectName("picVideo");
    setMinimumSize(kLeast);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureView::Show(const qv::ShownPicture& picture) {
    picture_ = picture;
    drawn_ = {};
    update();
}

void PictureView::SetPhoto(const QString& file) {
    if (std::exchange(photoFile_, file) == file) return;
    photo_ = QImage(file);
    update();
}

void PictureView::SetNote(const QString& note) {
    if (std::exchange(note_, note) != note) update();
}

void PictureView::SetTitle(const QString& title) {
    if (std::exchange(title_, title) != title) update();
}

void PictureView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    if (title_.isEmpty())
        PaintPicture(painter);
    else
        PaintTitle(painter);
    if (note_.isEmpty()) return;
    QRect box = painter.fontMetrics().boundingRect(note_).adjusted(-kMargin, -kMargin / 2, kMargin, kMargin / 2);
    box.moveBottomLeft(rect().bottomLeft() + QPoint(kMargin, -kMargin));
    painter.fillRect(box, QColor(kGround));
    painter.setPen(QColor(kText));
    painter.drawText(box, Qt::AlignCenter, note_);
}

void PictureView::PaintTitle(QPainter& painter) {
    constexpr double kLarger = 1.6;
    painter.fillRect(rect(), QColor(kGround));
    painter.setPen(QColor(kText));
    QFont large = font();
    large.setPointSizeF(large.pointSizeF() * kLarger);
    painter.setFont(large);
    painter.drawText(rect().adjusted(kMargin, kMargin, -kMargin, -kMargin), Qt::AlignCenter | Qt::TextWordWrap, title_);
    painter.setFont(font());
}

void PictureView::PaintPhoto(QPainter& painter) {
    painter.fillRect(rect(), QColor(kGround));
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(FittedRect(photo_.size(), size()), photo_);
}

/// Scales in the screen's own pixels, so that text on a slide stays sharp.
void PictureView::PaintPicture(QPainter& painter) {
    if (!picture_) return PaintPhoto(painter);
    const double ratio = painter.device()->devicePixelRatioF();
    const QSize room(static_cast<int>(std::floor(width() * ratio)), static_cast<int>(std::floor(height() * ratio)));
    const QRect place = FittedRect({picture_->size.width, picture_->size.height}, room);
    if (place.isEmpty()) return painter.fillRect(rect(), QColor(kGround));
    if (drawn_.size() != place.size()) {
        drawn_ = QImage(place.size(), QImage::Format_RGB32);
        const qv::BgraTarget target{
            .bytes = {drawn_.bits(), static_cast<std::size_t>(drawn_.sizeInBytes())},
            .stride = drawn_.bytesPerLine(),
            .size = {place.width(), place.height()},
        };
        if (!qv::DrawBgra(*picture_, target)) drawn_.fill(kGround);
    }
    drawn_.setDevicePixelRatio(ratio);
    const QRectF covered(QPointF(place.topLeft()) / ratio, QSizeF(place.size()) / ratio);
    for (const QRect& beside : QRegion(rect()) - covered.toAlignedRect().adjusted(1, 1, -1, -1))
        painter.fillRect(beside, QColor(kGround));
    painter.drawImage(covered.topLeft(), drawn_);
}

}  // namespace mirrane
