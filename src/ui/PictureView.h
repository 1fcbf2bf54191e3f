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

/// A player's picture, drawn at the size in which it was last asked for.
class DrawnPicture {
public:
    void Set(const qv::ShownPicture& picture);
    [[nodiscard]] bool IsSet() const { return picture_.has_value(); }
    /// Its own, in pixels; empty when there is none.
    [[nodiscard]] QSize Size() const;
    /// @param size in the screen's own pixels, not empty
    [[nodiscard]] QImage& At(QSize size);

private:
    std::optional<qv::ShownPicture> picture_;
    QImage drawn_;  ///< null: not drawn yet
};

/// picVideo: the picture that the player shows, as large as the room allows, with the camera's, when there is one, and a
/// word in its lower corners.
class PictureView final : public QWidget {
public:
    explicit PictureView(QWidget* parent = nullptr);

    void Show(const qv::ShownPicture& picture);
    void ShowCamera(const qv::ShownPicture& picture);
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
    /// @param room the pane's, in the screen's own pixels
    void PaintCamera(QPainter& painter, QSize room);
    void PaintPhoto(QPainter& painter);
    void PaintTitle(QPainter& painter);

    DrawnPicture picture_;
    DrawnPicture camera_;
    QString photoFile_;
    QImage photo_;
    QString note_;
    QString title_;
};

}  // namespace mirrane
