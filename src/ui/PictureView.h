// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QRect>
#include <QString>
#include <QWidget>
#include <optional>

#include "qvlib/ShownPicture.h"

namespace mirrane {

/// The largest rectangle of a picture's shape in some room, centred; empty when either is.
[[nodiscard]] QRect FittedRect(QSize picture, QSize room);

/// picVideo: the picture that the player shows, as large as the room allows, with a word in its corner.
class PictureView final : public QWidget {
public:
    explicit PictureView(QWidget* parent = nullptr);

    void Show(const qv::ShownPicture& picture);
    /// A picture file that is shown until the player has a picture; empty: none.
    void SetPhoto(const QString& file);
    /// A word over the pane's lower left corner; empty: none.
    void SetNote(const QString& note);
    /// A text in place of the picture; empty: the picture.
    void SetTitle(const QString& title);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void PaintPicture(QPainter& painter);
    void PaintPhoto(QPainter& painter);
    void PaintTitle(QPainter& painter);

    std::optional<qv::ShownPicture> picture_;
    QImage drawn_;  ///< the picture at the size it was last painted in; null: not drawn yet
    QString photoFile_;
    QImage photo_;
    QString note_;
    QString title_;
};

}  // namespace mirrane
