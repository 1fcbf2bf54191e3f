// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Icons.h"

#include <gtest/gtest.h>

#include <QImage>
#include <set>

namespace mirrane {
namespace {

bool Shows(const QImage& image, const QColor& colour) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == colour) return true;
    return false;
}

TEST(Icons, AreDrawnInTheTextsColour) {
    const Icons icons(MIRRANE_SOURCE_DIR "/data");
    for (const QColor text : {Qt::black, Qt::white}) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
        std::set<QByteArray> different;
        for (std::size_t i = 0; i <= kControls; ++i) {
            const QIcon icon = i == kControls ? icons.Pause(palette) : icons.Of(static_cast<Control>(i), palette);
            if (icon.isNull()) continue;
            for (const qreal ratio : {1.0, 1.5, 2.0}) {
                const QPixmap enabled = icon.pixmap(QSize(20, 20), ratio);
                EXPECT_EQ(enabled.size(), QSize(20, 20) * ratio) << i;
                EXPECT_TRUE(Shows(enabled.toImage(), text)) << i;
                EXPECT_TRUE(Shows(icon.pixmap(QSize(20, 20), ratio, QIcon::Disabled).toImage(), Qt::gray)) << i;
            }
            const QImage image = icon.pixmap(40).toImage();
            different.insert(QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes()));
        }
        EXPECT_EQ(different.size(), 15U) << "each button with a picture has its own";
    }
    EXPECT_TRUE(Shows(icons.Application().pixmap(64).toImage(), QColor("#ffb03b")));
    EXPECT_TRUE(Icons("/nowhere").Of(Control::Save, {}).isNull());
}

}  // namespace
}  // namespace mirrane
