// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/ProjectRow.h"

#include <QDateTime>
#include <QFile>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <algorithm>

namespace mirrane {

namespace {

constexpr QSize kPicture{96, 54};
constexpr int kMargin = 8;
constexpr int kGap = 12;
constexpr int kLeastWidth = 360;

/// As the user's desktop writes it; a text that is no moment stays as it is.
QString InUsersForm(const std::string& moment) {
    const QString text = QString::fromStdString(moment);
    const QDateTime time = QDateTime::fromString(text, "yyyy/M/d hh:mm:ss");
    return time.isValid() ? QLocale::system().toString(time, QLocale::ShortFormat) : text;
}

QColor WithAlpha(QColor colour, int alpha) {
    colour.setAlpha(alpha);
    return colour;
}

}  // namespace

ProjectRow::ProjectRow(const RecentRow& row, const QString& currentProj)
    : name_(QString("%1   %2").arg(row.number).arg(QString::fromStdString(row.name).simplified())),
      folder_(QFile::decodeName(row.folder.c_str())),
      date_(InUsersForm(row.date)) {
    if (!row.picture.empty()) picture_ = QImage(QFile::decodeName(row.picture.c_str()));
    if (row.isCurrent) name_ += " " + currentProj;
    setObjectName(QString("lProj(%1)").arg(row.number));
    setAccessibleName(name_.simplified() + ", " + date_);
    setAccessibleDescription(folder_);
    setToolTip(folder_.toHtmlEscaped());
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QFont ProjectRow::NameFont() const {
    QFont bold = font();
    bold.setBold(true);
    return bold;
}

QSize ProjectRow::sizeHint() const {
    const int texts = QFontMetrics(NameFont()).height() + fontMetrics().height() + kMargin / 2;
    return {kLeastWidth, std::max(kPicture.height(), texts) + 2 * kMargin};
}

void ProjectRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    PaintGround(painter);
    if (!isEnabled()) painter.setOpacity(0.5);
    PaintPicture(painter);
    PaintTexts(painter);
}

void ProjectRow::PaintGround(QPainter& painter) const {
    constexpr int kHover = 40;
    constexpr int kPressed = 90;
    const QColor highlight = palette().color(QPalette::Highlight);
    if (isDown() || underMouse()) painter.fillRect(rect(), WithAlpha(highlight, isDown() ? kPressed : kHover));
    if (!hasFocus()) return;
    painter.setPen(QPen(highlight, 2));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

void ProjectRow::PaintPicture(QPainter& painter) const {
    constexpr int kFaint = 60;
    QRect place = QStyle::alignedRect(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter, kPicture,
                                      rect().adjusted(kMargin, 0, -kMargin, 0));
    if (!picture_.isNull()) {
        const QSize size = picture_.size().scaled(place.size(), Qt::KeepAspectRatio);
        place = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, size, place);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(place, picture_);
    }
    painter.setPen(WithAlpha(palette().color(QPalette::Text), kFaint));
    painter.drawRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5));
}

void ProjectRow::PaintTexts(QPainter& painter) const {
    constexpr int kFaint = 170;
    const QFontMetrics bold(NameFont());
    QRect place = rect().adjusted(kMargin + kPicture.width() + kGap, 0, -kMargin - kGap / 2, 0);
    const int height = bold.height() + kMargin / 2 + fontMetrics().height();
    place.setTop((this->height() - height) / 2);
    place.setHeight(height);
    painter.setPen(WithAlpha(palette().color(QPalette::Text), kFaint));
    painter.drawText(place, Qt::AlignRight | Qt::AlignTop, date_);
    const auto measure = [this](const std::string& text) {
        return fontMetrics().horizontalAdvance(QString::fromStdString(text));
    };
    const std::string folder = contractStr(folder_.toStdString(), place.width(), measure);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignBottom, QString::fromStdString(folder));
    place.setRight(place.right() - fontMetrics().horizontalAdvance(date_) - kGap);
    painter.setFont(NameFont());
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(place, Qt::AlignLeft | Qt::AlignTop, bold.elidedText(name_, Qt::ElideRight, place.width()));
}

/// The toolkit presses such a button by the space bar alone.
void ProjectRow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

}  // namespace mirrane
