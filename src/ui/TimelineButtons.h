// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QIcon>
#include <functional>

namespace mirrane {

/// A flat button of the timeline, which shares its border with its neighbours.
class StripButton final : public QAbstractButton {
public:
    using Picture = std::function<QIcon(const QPalette&)>;

    explicit StripButton(QWidget* parent);
    void ShowPicture(Picture picture);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    Picture picture_;
};

/// The header of a track; it is checked while the track is selected, which a click alone does not decide.
class TrackPanel final : public QAbstractButton {
public:
    explicit TrackPanel(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void nextCheckState() override {}
};

}  // namespace mirrane
