// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Icons.h"

#include <gtest/gtest.h>

#include <QImage>
#include <set>

#include "support/Basics.h"

namespace mirrane {
namespace {

bool Shows(const QImage& image, const QColor& colour) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) == colour) return true;
    return false;
}

std::vector<std::uint8_t> BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

TEST(Icons, AreDrawnInTheTextsColour) {
    const Icons icons(MIRRANE_SOURCE_DIR "/data");
    for (const QColor text : {Qt::black, Qt::white}) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, text);
        palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
        std::set<QByteArray> different;
        for (std::size_t i = 0; i <= kControls; ++i) {
            const QIcon icon =
                i == kControls ? icons.Named("pause", palette) : icons.Of(static_cast<Control>(i), palette);
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

/// A desktop's theme of red symbols, one of which may be missing.
TEST(Icons, AreTheThemesAsLongAsItHasThemAll) {
    const std::filesystem::path theme = support::TestFolder() / "red";
    create_directories(theme / "24");
    support::WriteBytes(theme / "index.theme", BytesOf("[Icon Theme]\nName=red\nDirectories=24\n[24]\nSize=24\n"));
    QImage red(24, 24, QImage::Format_ARGB32);
    red.fill(Qt::red);
    for (const char* name : {"document-save", "edit-undo", "edit-redo", "edit-cut", "edit-delete", "audio-volume-high",
                             "help-contents", "application-exit", "media-playback-start", "media-playback-pause",
                             "media-playback-stop", "media-skip-backward", "media-skip-forward"})
        red.save(QString::fromStdString((theme / "24" / name).string() + "-symbolic.png"));
    const QStringList paths = QIcon::themeSearchPaths();
    const Icons icons(MIRRANE_SOURCE_DIR "/data");
    QPalette palette;
    palette.setColor(QPalette::Active, QPalette::WindowText, Qt::blue);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
    const auto pixel = [&](const char* drawing, QIcon::Mode mode) {
        return icons.Named(drawing, palette).pixmap(QSize(24, 24), 1.0, mode).toImage().pixelColor(1, 1);
    };
    QIcon::setThemeSearchPaths({QString::fromStdString(theme.parent_path().string())});
    QIcon::setThemeName("red");
    EXPECT_EQ(pixel("save", QIcon::Normal), QColor(Qt::blue));
    EXPECT_EQ(pixel("save", QIcon::Disabled), QColor(Qt::gray));
    EXPECT_EQ(pixel("import", QIcon::Normal).alpha(), 0) << "no theme has it";
    remove(theme / "24" / "edit-cut-symbolic.png");
    QIcon::setThemeName("none");
    QIcon::setThemeName("red");
    EXPECT_EQ(pixel("save", QIcon::Normal).alpha(), 0) << "its own, as the theme lacks one";
    QIcon::setThemeSearchPaths(paths);
    QIcon::setThemeName({});
}

}  // namespace
}  // namespace mirrane
