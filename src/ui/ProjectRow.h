// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QImage>

#include "shell/StartPage.h"

namespace mirrane {

/// lProj, a recent project as one large button: picture left, number and name beside it, the folder below, the date at the
/// right. The tool tip has the whole folder.
class ProjectRow final : public QAbstractButton {
public:
    /// @param currentProj "(Current Project)"
    ProjectRow(const RecentRow& row, const QString& currentProj);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void PaintGround(QPainter& painter) const;
    void PaintPicture(QPainter& painter) const;
    void PaintTexts(QPainter& painter) const;
    [[nodiscard]] QFont NameFont() const;

    QString name_;  ///< with its number, and whether it is in use
    QString folder_;
    QString date_;
    QImage picture_;
};

}  // namespace mirrane
