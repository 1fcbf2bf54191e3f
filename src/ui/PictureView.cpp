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

/// @param place in the screen's own pixels
void PaintSharp(QPainter& painter, DrawnPicture& picture, const QRect& place) {
    const double ratio = painter.device()->devicePixelRatioF();
    QImage& drawn = picture.At(place.size());
    drawn.setDevicePixelRatio(ratio);
    painter.drawImage(QPointF(place.topLeft()) / ratio, drawn);
}

}  // namespace

QRect FittedRect(QSize picture, QSize room) {
    if (picture.isEmpty() || room.isEmpty()) return {};
    const QSize size = picture.scaled(room, Qt::KeepAspectRatio);
    return {QPoint((room.width() - size.width()) / 2, (room.height() - size.height()) / 2), size};
}

void DrawnPicture::Set(const qv::ShownPicture& picture) {
    picture_ = picture;
    drawn_ = {};
}

QSize DrawnPicture::Size() const { return picture_ ? QSize(picture_->size.width, picture_->size.height) : QSize(); }

QImage& DrawnPicture::At(QSize size) {
    if (drawn_.size() == size) return drawn_;
    drawn_ = QImage(size, QImage::Format_RGB32);
    const qv::BgraTarget target{
        .bytes = {drawn_.bits(), static_cast<std::size_t>(drawn_.sizeInBytes())},
        .stride = drawn_.bytesPerLine(),
        .size = {size.width(), size.height()},
    };
    if (!picture_ || !qv::DrawBgra(*picture_, target)) drawn_.fill(kGround);
    return drawn_;
}

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setObjectName("picVideo");
    setMinimumSize(kLeast);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PictureView::Show(const qv::ShownPicture& picture) {
    picture_.Set(picture);
    update();
}

void PictureView::ShowCamera(const qv::ShownPicture& picture) {
    camera_.Set(picture);
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
    if (!picture_.IsSet()) return PaintPhoto(painter);
    const double ratio = painter.device()->devicePixelRatioF();
    const QSize room(static_cast<int>(std::floor(width() * ratio)), static_cast<int>(std::floor(height() * ratio)));
    const QRect place = FittedRect(picture_.Size(), room);
    if (place.isEmpty()) return painter.fillRect(rect(), QColor(kGround));
    const QRectF covered(QPointF(place.topLeft()) / ratio, QSizeF(place.size()) / ratio);
    for (const QRect& beside : QRegion(rect()) - covered.toAlignedRect().adjusted(1, 1, -1, -1))
        painter.fillRect(beside, QColor(kGround));
    PaintSharp(painter, picture_, place);
    if (camera_.IsSet()) PaintCamera(painter, room);
}

/// In the lower right corner, and small, so that little of the slide is behind it.
void PictureView::PaintCamera(QPainter& painter, QSize room) {
    constexpr int kPart = 4;
    QRect place = FittedRect(camera_.Size(), room / kPart);
    if (place.isEmpty()) return;
    place.moveBottomRight(QRect(QPoint(), room).bottomRight());
    PaintSharp(painter, camera_, place);
}

}  // namespace mirrane
