// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractSlider>
#include <QString>
#include <functional>

namespace mirrane {

/// The flat slider ProgCtrl: where the player stands in the slide, 0 to 1. It never moves by itself; its owner decides
/// what a press means.
class ProgSlider final : public QAbstractSlider {
public:
    explicit ProgSlider(QWidget* parent = nullptr);

    void SetFraction(float fraction);

    std::function<QString(float fraction)> tipAt;   ///< the tool tip under the mouse
    std::function<void(float fraction)> onRelease;  ///< the mouse was let go there, or a key asks for it

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    float fraction_ = 0;
};

}  // namespace mirrane
