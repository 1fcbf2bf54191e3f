// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace mirrane {

/// The meter lVolLevelBg with its bars volLevel, from soft on the left to loud, a mark at the loudest so far, and a lamp
/// on the right that stays lit once the sound was too loud.
class VolLevel final : public QWidget {
public:
    explicit VolLevel(QWidget* parent = nullptr);

    /// @param lit, peak bars, 0 to RecAudio::kBars
    void Show(int lit, int peak, bool isOverloaded);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void PaintBars(QPainter& painter, int room) const;

    int lit_ = 0;
    int peak_ = 0;
    bool isOverloaded_ = false;
};

}  // namespace mirrane
